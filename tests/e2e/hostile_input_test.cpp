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
