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

// Waits up to `seconds` for `text` in the process's output.
bool waitForOutput(qortest::Process& process, const std::string& text, double seconds) {
    auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (std::chrono::steady_clock::now() < end) {
        if (process.output().find(text) != std::string::npos) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return process.output().find(text) != std::string::npos;
}

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
    ASSERT_TRUE(waitForOutput(*subscriber, "qorddsping is listening for data", 30))
        << subscriber->output();
    EXPECT_TRUE(waitForOutput(*subscriber, "Listening...\n", 10)) << subscriber->output();
    subscriber->signal(SIGKILL);
    subscriber->wait(10);
}

}  // namespace
