// What a hostile user gives the tool: sizes that the shared memory cannot hold, names that
// Fast DDS cannot carry or that imitate the domain tag, and output that must reach a file
// while the run goes on. Each run is on its own private host (/dev/shm of 256 MB).
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "tests/e2e/support/private_host.h"

namespace {

// Shared-memory sizes beyond what /dev/shm holds stop the run before Fast DDS maps them,
// with one line and status 0, in both roles.
TEST(HostileInput, SharedMemorySizesBeyondDevShmStopTheRunWithOneLine) {
    const std::vector<std::vector<std::string>> cases = {
        {"-shmRcvSize", "2147483647"},
        {"-shmRcvSize", "300000000"},
        {"-msgMaxSize", "150000000"},
        {"-subscriber", "-shmRcvSize", "300000000", "-timeout", "1"},
    };
    for (const auto& arguments : cases) {
        std::string joined;
        for (const auto& argument : arguments) {
            joined += argument + " ";
        }
        SCOPED_TRACE(joined);
        std::vector<std::string> full = arguments;
        full.insert(full.end(), {"-numSamples", "1", "-sendPeriod", "0"});
        qortest::PrivateHost host;
        std::unique_ptr<qortest::Process> ping = host.startPing(full);
        ASSERT_TRUE(ping->wait(60));
        EXPECT_EQ(0, ping->termSignal());
        EXPECT_EQ(0, ping->exitStatus()) << ping->output();
        std::string output = ping->output();
        size_t error = output.find("shared memory");
        ASSERT_NE(std::string::npos, error) << output;
        EXPECT_NE(std::string::npos, output.find("/dev/shm", error)) << output;
        EXPECT_EQ(std::string::npos, output.find("Sending data")) << output;
        EXPECT_EQ(std::string::npos, output.find("listening for data")) << output;
    }
}

// A size that fits is still used.
TEST(HostileInput, SharedMemorySizesWithinDevShmRun) {
    qortest::RunResult run =
        qortest::runPing({"-shmRcvSize", "20000000", "-numSamples", "1", "-sendPeriod", "0"});
    EXPECT_EQ(1, run.exitStatus) << run.output;
    EXPECT_NE(std::string::npos, run.output.find("Sending data...   value: 0000000")) << run.output;
}

// Every line is in the output file as soon as it is printed: a subscriber without a timeout
// wakes every 30 s only, and its "Listening..." line must not wait for that.
TEST(HostileInput, EveryLineReachesTheOutputFileWhenItIsPrinted) {
    qortest::PrivateHost host;
    std::unique_ptr<qortest::Process> subscriber =
        host.startPing({"-subscriber", "-verbosity", "3"});
    ASSERT_TRUE(subscriber->waitForOutput("qorddsping is listening for data", 30))
        << subscriber->output();
    EXPECT_TRUE(subscriber->waitForOutput("Listening...\n", 10)) << subscriber->output();
    subscriber->signal(SIGKILL);
    subscriber->wait(10);
}

// Names that Fast DDS cannot carry whole are refused when the topic is created; 251
// characters still go.
TEST(HostileInput, OverlongTopicAndTypeNamesAreRefusedNamingTheLimit) {
    const std::string longest(251, 'n');
    const std::string tooLong(252, 'n');
    const struct {
        std::vector<std::string> arguments;
        bool refused;
    } cases[] = {
        {{"-topicName", tooLong}, true},
        {{"-typeName", tooLong}, true},
        {{"-topicName", longest}, false},
        {{"-typeName", longest}, false},
        {{"-topicName", std::string(248, 'n'), "-domainTag", "tag"}, true},
        {{"-topicName", std::string(247, 'n'), "-domainTag", "tag"}, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.arguments[0] + " " + std::to_string(c.arguments[1].size()));
        std::vector<std::string> arguments = c.arguments;
        arguments.insert(arguments.end(), {"-numSamples", "1", "-sendPeriod", "0"});
        qortest::RunResult run = qortest::runPing(arguments);
        if (c.refused) {
            EXPECT_EQ(0, run.exitStatus) << run.output;
            EXPECT_NE(std::string::npos, run.output.find("251 characters")) << run.output;
            EXPECT_EQ(std::string::npos, run.output.find("Sending data")) << run.output;
        } else {
            EXPECT_EQ(1, run.exitStatus) << run.output;
            EXPECT_NE(std::string::npos, run.output.find("Sending data")) << run.output;
        }
    }
}

// At the limit, topic and type names still match: the subscriber receives. (One at a time:
// both together would pass the 512 characters of the joined command line.)
TEST(HostileInput, TopicAndTypeNamesAtTheLimitMatch) {
    const std::string longest(251, 'n');
    for (const char* option : {"-topicName", "-typeName"}) {
        SCOPED_TRACE(option);
        qortest::PrivateHost host;
        std::unique_ptr<qortest::Process> subscriber =
            host.startPing({"-subscriber", option, longest, "-timeout", "3"});
        ASSERT_TRUE(subscriber->waitForOutput("qorddsping is listening for data", 30))
            << subscriber->output();
        std::unique_ptr<qortest::Process> publisher =
            host.startPing({option, longest, "-numSamples", "3", "-sendPeriod", "0.3"});
        ASSERT_TRUE(publisher->wait(60));
        ASSERT_TRUE(subscriber->wait(60));
        EXPECT_NE(std::string::npos, subscriber->output().find("issue received: 0000002"))
            << subscriber->output();
    }
}

// A topic name that carries the domain tag's separator could reach a tagged subscriber from
// an untagged publisher; such names are refused.
TEST(HostileInput, ATopicNameCannotForgeTheDomainTag) {
    qortest::PrivateHost host;
    std::unique_ptr<qortest::Process> subscriber =
        host.startPing({"-subscriber", "-domainTag", "X", "-timeout", "4"});
    ASSERT_TRUE(subscriber->waitForOutput("qorddsping is listening for data", 30));
    std::unique_ptr<qortest::Process> publisher = host.startPing(
        {"-topicName", std::string("PingTopic\035X"), "-numSamples", "4", "-sendPeriod", "0.2"});
    ASSERT_TRUE(publisher->wait(60));
    ASSERT_TRUE(subscriber->wait(60));
    EXPECT_EQ(0, publisher->exitStatus()) << publisher->output();
    EXPECT_NE(std::string::npos, publisher->output().find("0x1d")) << publisher->output();
    EXPECT_EQ(std::string::npos, subscriber->output().find("issue received"))
        << subscriber->output();
}

// A publisher stopped (SIGSTOP) past its participant's lease is lost; when it goes on it is
// matched again and alive again: the alive line and the tally come back.
TEST(HostileInput, APublisherStoppedPastItsLeaseIsAliveAgainWhenItGoesOn) {
    const std::string alive = "Found 1 additional alive ping publishers(s).";
    qortest::PrivateHost host;
    std::unique_ptr<qortest::Process> subscriber = host.startPing({"-subscriber"});
    ASSERT_TRUE(subscriber->waitForOutput("qorddsping is listening for data", 30));
    std::unique_ptr<qortest::Process> publisher =
        host.startPing({"-sendPeriod", "0.2", "-numSamples", "200"});
    ASSERT_TRUE(subscriber->waitForOutput("issue received", 30)) << subscriber->output();
    publisher->signal(SIGSTOP);
    ASSERT_TRUE(subscriber->waitForOutput("Detected loss of 1 ping publishers(s).", 30))
        << subscriber->output();
    publisher->signal(SIGCONT);
    std::string output;
    subscriber->waitUntil(
        [&] {
            output = subscriber->output();
            size_t first = output.find(alive);
            return first != std::string::npos && output.find(alive, first + 1) != std::string::npos;
        },
        30);
    size_t lost = output.find("Detected loss of 1 ping publishers(s).");
    ASSERT_NE(std::string::npos, lost) << output;
    size_t again = output.find(alive, lost);
    ASSERT_NE(std::string::npos, again) << output;
    EXPECT_NE(std::string::npos, output.find("Current alive publisher tally is: 1", again))
        << output;
    publisher->signal(SIGKILL);
    subscriber->signal(SIGKILL);
}

// With two publishers the missed-sample statistic is off (their issue numbers interleave). One
// of them lost past its lease and back again makes two alive publishers again, so the
// statistic stays off: no missed-sample line, although both streams keep arriving.
TEST(HostileInput, TwoPublishersOneStoppedAndBackCountNoPhantomMissedSamples) {
    qortest::PrivateHost host;
    std::unique_ptr<qortest::Process> subscriber = host.startPing({"-subscriber"});
    ASSERT_TRUE(subscriber->waitForOutput("qorddsping is listening for data", 30));
    std::unique_ptr<qortest::Process> steady =
        host.startPing({"-sendPeriod", "0.1", "-numSamples", "400"});
    std::unique_ptr<qortest::Process> stopped =
        host.startPing({"-sendPeriod", "0.1", "-numSamples", "400"});
    ASSERT_TRUE(subscriber->waitForOutput("Current alive publisher tally is: 2", 30))
        << subscriber->output();
    stopped->signal(SIGSTOP);
    ASSERT_TRUE(subscriber->waitForOutput("Detected loss of 1 ping publishers(s).", 30))
        << subscriber->output();
    size_t lost = subscriber->output().find("Detected loss of 1 ping publishers(s).");
    stopped->signal(SIGCONT);
    subscriber->waitForOutput("Current alive publisher tally is: 2", 30, lost);
    // Both streams for a few seconds more.
    std::this_thread::sleep_for(std::chrono::seconds(4));
    std::string output = subscriber->output();
    size_t back = output.find("Current alive publisher tally is: 2", lost);
    ASSERT_NE(std::string::npos, back) << output;
    EXPECT_EQ(std::string::npos, output.find("Detected Missed Sample(s)", back)) << output;
    steady->signal(SIGKILL);
    stopped->signal(SIGKILL);
    subscriber->signal(SIGKILL);
}

}  // namespace
