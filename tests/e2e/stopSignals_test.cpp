// Ctrl+C and SIGTERM on the real qorddsping, on private hosts: the first one ends the publish or
// subscribe loop and the run tears down as usual (exit status 1); a second one during the
// teardown ends the process by that signal. The figures printed are measurements; nothing here
// asserts on them.
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "tests/e2e/support/private_host.h"

namespace {

using qortest::PrivateHost;
using qortest::Process;
using Clock = std::chrono::steady_clock;

const double GENEROUS = 60;  // seconds any wait may take before the run counts as hung
const char* const LISTENING = "qorddsping is listening for data, press CTRL+C to stop it.";
const char* const FOUND = "Found 1 additional ping publishers(s).";
const char* const LOST = "Detected loss of 1 ping publishers(s).";
const char* const SAMPLE_RELEASED = "Destroying data sample...";

size_t occurrences(const std::string& text, const std::string& what) {
    size_t n = 0;
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) {
        ++n;
    }
    return n;
}

// Waits until the process has printed `what` `times` times, looking every 2 ms; the moment it
// saw so, or nothing when the process ended or GENEROUS seconds passed first.
bool waitForPrinted(Process& process, const std::string& what, size_t times = 1,
                    Clock::time_point* seen = nullptr) {
    return process.waitUntil(
        [&] {
            if (occurrences(process.output(), what) < times) {
                return false;
            }
            if (seen != nullptr) {
                *seen = Clock::now();
            }
            return true;
        },
        GENEROUS, std::chrono::milliseconds(2));
}

double secondsBetween(Clock::time_point from, Clock::time_point to) {
    return std::chrono::duration<double>(to - from).count();
}

// Ends by itself, with the status of a successful run and nothing on standard error.
void expectStoppedCleanly(Process& process, const char* who) {
    ASSERT_TRUE(process.wait(GENEROUS)) << who << ":\n" << process.output();
    EXPECT_EQ(1, process.exitStatus()) << who << ":\n" << process.output() << process.errors();
    EXPECT_EQ("", process.errors()) << who;
}

// A publisher stopped with Ctrl+C leaves cleanly: its subscriber hears of it from the
// publisher's teardown, not from a lease that runs out as after SIGKILL. The subscriber then
// stops on SIGTERM. Prints how long each took.
TEST(StopSignals, CtrlCLeavesAtOnceWhereSigkillWaitsForTheLease) {
    PrivateHost host;
    auto subscriber = host.startPing({"-subscriber"});
    ASSERT_TRUE(waitForPrinted(*subscriber, LISTENING)) << subscriber->output();

    auto stopped = host.startPing({"-verbosity", "2"});
    ASSERT_TRUE(waitForPrinted(*subscriber, "qorddsping, issue received: 0000001"))
        << subscriber->output();
    Clock::time_point interrupted = Clock::now();
    stopped->signal(SIGINT);
    Clock::time_point loopEnded, lossSeen;
    EXPECT_TRUE(waitForPrinted(*stopped, SAMPLE_RELEASED, 1, &loopEnded)) << stopped->output();
    EXPECT_TRUE(waitForPrinted(*subscriber, LOST, 1, &lossSeen)) << subscriber->output();
    expectStoppedCleanly(*stopped, "publisher stopped with SIGINT");
    Clock::time_point publisherGone = Clock::now();

    auto killed = host.startPing({});
    ASSERT_TRUE(waitForPrinted(*subscriber, FOUND, 2)) << subscriber->output();
    ASSERT_TRUE(waitForPrinted(*killed, "Found 1 additional ping subscriber(s)."))
        << killed->output();
    Clock::time_point killedAt = Clock::now();
    killed->signal(SIGKILL);
    Clock::time_point leaseExpired;
    EXPECT_TRUE(waitForPrinted(*subscriber, LOST, 2, &leaseExpired)) << subscriber->output();

    Clock::time_point terminated = Clock::now();
    subscriber->signal(SIGTERM);
    expectStoppedCleanly(*subscriber, "subscriber stopped with SIGTERM");
    Clock::time_point subscriberGone = Clock::now();
    EXPECT_EQ(std::string::npos, subscriber->output().find("Timeout!")) << subscriber->output();

    std::printf("publisher SIGINT -> end of its publish loop:  %.3f s\n",
                secondsBetween(interrupted, loopEnded));
    std::printf("publisher SIGINT -> subscriber reports loss:  %.3f s\n",
                secondsBetween(interrupted, lossSeen));
    std::printf("publisher SIGINT -> publisher exits (status 1): %.3f s\n",
                secondsBetween(interrupted, publisherGone));
    std::printf("publisher SIGKILL -> subscriber reports loss: %.3f s (participant lease)\n",
                secondsBetween(killedAt, leaseExpired));
    std::printf("subscriber SIGTERM -> subscriber exits (status 1): %.3f s\n",
                secondsBetween(terminated, subscriberGone));
}

// The second Ctrl+C, during the teardown's pause, ends the process by SIGINT.
TEST(StopSignals, SecondCtrlCEndsTheTeardownAtOnce) {
    PrivateHost host;
    auto publisher = host.startPing({"-verbosity", "2"});
    ASSERT_TRUE(waitForPrinted(*publisher, "Sending data...   value: 0000000 "))
        << publisher->output();
    publisher->signal(SIGINT);
    ASSERT_TRUE(waitForPrinted(*publisher, SAMPLE_RELEASED)) << publisher->output();
    Clock::time_point second = Clock::now();
    publisher->signal(SIGINT);
    ASSERT_TRUE(publisher->wait(GENEROUS)) << publisher->output();
    Clock::time_point gone = Clock::now();
    EXPECT_EQ(SIGINT, publisher->termSignal()) << publisher->output();
    std::printf("second SIGINT -> process gone: %.3f s\n", secondsBetween(second, gone));
}

// A SIGINT that the process inherited as ignored (as a script's & job does) stays ignored: the
// SIGTERM sent after it is the first stop signal, and the run ends cleanly.
TEST(StopSignals, InheritedIgnoredCtrlCStaysIgnored) {
    PrivateHost host;
    auto subscriber =
        host.start({"sh", "-c", "trap '' INT; exec \"$0\" -subscriber", QOR_PING_BINARY});
    ASSERT_TRUE(waitForPrinted(*subscriber, LISTENING)) << subscriber->output();
    subscriber->signal(SIGINT);
    subscriber->signal(SIGTERM);
    expectStoppedCleanly(*subscriber, "subscriber ignoring SIGINT");
}

}  // namespace
