// Helpers for the frame's tests: the ping tool with settings a test can read and a run that
// only counts (or creates the participant), and the option loop run on an argument list.
#ifndef QOR_TESTS_UNIT_AGENT_FRAME_TEST_SUPPORT_H
#define QOR_TESTS_UNIT_AGENT_FRAME_TEST_SUPPORT_H

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "kestping/kestPingAgent.h"
#include "qordds/version.h"
#include "tests/unit/support/test_io.h"

namespace frametest {

const char* const TITLE = "QOR Solvane DDS Ping";

using qortest::captureStdout;

inline std::string dotted(const char* format) {
    DDS_ProductVersion_t version = DDS_get_product_version();
    char text[160];
    std::snprintf(text, sizeof text, format, version.major, version.minor, version.release,
                  DDS_get_product_version_text());
    return text;
}

inline std::string header() {
    return "\n" + std::string(TITLE) + dotted(" built with DDS version: %d.%d.%d\n") +
           std::string(42, '~') + "\n";
}

class TestAgent : public KestPingAgent {
  public:
    TestAgent() : KestPingAgent(TITLE) { teardownPause = {0, 0}; }
    bool run() override {
        ++runs;
        return !createsParticipant || createDomainParticipant();
    }

    // Runs the tool on `arguments` as main() hands them over; returns what it printed.
    std::string execute(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "qorddsping");
        std::vector<const char*> argv;
        for (const std::string& argument : arguments) {
            argv.push_back(argument.c_str());
        }
        return captureStdout(
            [&] { result = KestAgent::execute(static_cast<int>(argv.size()), argv.data()); });
    }

    int runs = 0;
    bool createsParticipant = false;
    bool result = false;

    using KestAgent::discoveryPlugin;
    using KestAgent::discoveryPluginSet;
    using KestAgent::domainId;
    using KestAgent::logFormat;
    using KestAgent::participant;
    using KestAgent::participantPartitionCount;
    using KestAgent::peerCount;
    using KestAgent::qosFile;
    using KestAgent::qosProfile;
    using KestAgent::qosProfileLibrary;
    using KestAgent::qosProfileName;
    using KestAgent::verbosity;
    using KestPingAgent::dataWriterListener;
    using KestPingAgent::readerListener;
    using KestPingAgent::sendPeriod;
};

// Runs the option loop on the arguments as the tokenizer hands them over (the title with its
// blank first); returns whether it accepted them, and what it printed after the header.
inline bool parse(TestAgent& agent, const std::vector<std::string>& arguments,
                  std::string& output) {
    std::vector<std::string> storage = {std::string(TITLE) + " "};
    storage.insert(storage.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& argument : storage) {
        argv.push_back(&argument[0]);
    }
    bool accepted = false;
    output = captureStdout(
        [&] { accepted = agent.initialize(static_cast<int>(argv.size()), argv.data()); });
    const std::string expectedHeader = header();
    output = output.compare(0, expectedHeader.size(), expectedHeader) == 0
                 ? output.substr(expectedHeader.size())
                 : "(no header) " + output;
    return accepted;
}

// The arguments of a command line that has no blanks inside its arguments.
inline std::vector<std::string> words(const std::string& line) {
    std::istringstream in(line);
    return std::vector<std::string>(std::istream_iterator<std::string>(in), {});
}

inline std::string errorIn(const std::string& argument) {
    return std::string(TITLE) + ": Error in parameter '" + argument + "'\n";
}

}  // namespace frametest

#endif
