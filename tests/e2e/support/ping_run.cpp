#include "tests/e2e/support/ping_run.h"

#include <fastrtps/config.h>
#include <gtest/gtest.h>

namespace qortest {

namespace {

const double GENEROUS = 60;  // seconds any run may take before it counts as hung
const std::string HEADER = std::string("\nQOR Solvane DDS Ping built with DDS version: ") +
                           FASTRTPS_VERSION_STR + "\n" + std::string(42, '~') + "\n";
const char* const LISTENING = "qorddsping is listening for data, press CTRL+C to stop it.";

}  // namespace

Lines body(const std::string& output) {
    bool headed = output.compare(0, HEADER.size(), HEADER) == 0;
    EXPECT_TRUE(headed) << "no header in:\n" << output;
    return splitLines(headed ? output.substr(HEADER.size()) : output);
}

std::string timeoutLine(int seconds) {
    return "Timeout! No packets received for more than " + std::to_string(seconds) + " seconds";
}

std::unique_ptr<Process> startListening(PrivateHost& host, const Lines& arguments) {
    auto subscriber = host.startPing(concat({"-subscriber"}, arguments));
    EXPECT_TRUE(subscriber->waitForOutput(LISTENING, GENEROUS)) << subscriber->output();
    return subscriber;
}

void expectEnded(Process& process) {
    ASSERT_TRUE(process.wait(GENEROUS)) << process.output();
    EXPECT_EQ(process.exitStatus(), 1) << process.output() << process.errors();
    EXPECT_EQ(process.errors(), "");
}

}  // namespace qortest
