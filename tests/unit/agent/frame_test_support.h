// Helpers for the frame's unit tests: captured standard output, agents whose settings a test
// can read, and the option loop run on an argument list.
#ifndef QOR_TESTS_UNIT_AGENT_FRAME_TEST_SUPPORT_H
#define QOR_TESTS_UNIT_AGENT_FRAME_TEST_SUPPORT_H

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "agent/kestAgent.h"
#include "dds/version.h"
#include "kestping/kestPingAgent.h"
#include "tests/unit/support/capture_stdout.h"

namespace frametest {

const char* const TITLE = "QOR Solvane DDS Ping";

using qortest::captureStdout;

inline std::string header() {
    DDS_ProductVersion_t version = DDS_get_product_version();
    char line[128];
    std::snprintf(line, sizeof line, "\n%s built with DDS version: %d.%d.%d\n", TITLE,
                  version.major, version.minor, version.release);
    return std::string(line) + "~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~\n";
}

// The frame with a run that only counts.
class FrameAgent : public KestAgent {
  public:
    FrameAgent() : KestAgent(TITLE, 0) {}
    bool run() override {
        ++runs;
        return true;
    }
    int runs = 0;

    using KestAgent::appId;
    using KestAgent::discoveryPlugin;
    using KestAgent::discoveryPluginSet;
    using KestAgent::discoveryTTL;
    using KestAgent::domainId;
    using KestAgent::domainTag;
    using KestAgent::logFormat;
    using KestAgent::msgMaxSize;
    using KestAgent::participantIndex;
    using KestAgent::participantPartitionCount;
    using KestAgent::participantPartitions;
    using KestAgent::peerCount;
    using KestAgent::peers;
    using KestAgent::qosFile;
    using KestAgent::qosProfile;
    using KestAgent::qosProfileLibrary;
    using KestAgent::qosProfileName;
    using KestAgent::shmRcvSize;
    using KestAgent::tcMaxSize;
    using KestAgent::transportMask;
    using KestAgent::verbosity;
};

// The ping tool without the destructor's closing pause.
class PingAgent : public KestPingAgent {
  public:
    PingAgent() : KestPingAgent(TITLE) { teardownPause = {0, 0}; }

    using KestAgent::domainId;
    using KestAgent::shmRcvSize;
    using KestAgent::transportMask;
    using KestAgent::verbosity;
    using KestPingAgent::deadline;
    using KestPingAgent::durability;
    using KestPingAgent::multicast;
    using KestPingAgent::multicastAddress;
    using KestPingAgent::numKeys;
    using KestPingAgent::numSamples;
    using KestPingAgent::operation;
    using KestPingAgent::queueSize;
    using KestPingAgent::reliable;
    using KestPingAgent::sendPeriod;
    using KestPingAgent::timeFilter;
    using KestPingAgent::timeout;
    using KestPingAgent::topicName;
    using KestPingAgent::typeName;
    using KestPingAgent::useKeys;
};

struct ParseResult {
    bool accepted;
    std::string output;  // without the header
};

// Runs the option loop on the arguments as the tokenizer hands them over (the title with its
// blank first).
inline ParseResult parse(KestAgent& agent, const std::vector<std::string>& arguments) {
    std::vector<std::string> storage = {std::string(TITLE) + " "};
    storage.insert(storage.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    for (std::string& argument : storage) {
        argv.push_back(&argument[0]);
    }
    ParseResult result = {false, ""};
    std::string output = captureStdout(
        [&] { result.accepted = agent.initialize(static_cast<int>(argv.size()), argv.data()); });
    std::string expectedHeader = header();
    result.output = output.compare(0, expectedHeader.size(), expectedHeader) == 0
                        ? output.substr(expectedHeader.size())
                        : "(no header) " + output;
    return result;
}

inline std::string errorIn(const std::string& argument) {
    return std::string(TITLE) + ": Error in parameter '" + argument + "'\n";
}

// One run of the option loop: the arguments, whether the loop accepted them, what it printed
// after the header, and a look at the settings afterwards.
template <class Agent>
struct OptionCase {
    std::vector<std::string> arguments;
    bool accepted;
    std::string output;
    std::function<void(Agent&)> check;
};

template <class Agent>
void expectOptionCases(const std::vector<OptionCase<Agent>>& cases) {
    for (const OptionCase<Agent>& c : cases) {
        std::string trace;
        for (const std::string& argument : c.arguments) {
            trace += argument + " ";
        }
        SCOPED_TRACE(trace);
        Agent agent;
        ParseResult result = parse(agent, c.arguments);
        EXPECT_EQ(c.accepted, result.accepted);
        EXPECT_EQ(c.output, result.output);
        if (c.check) {
            c.check(agent);
        }
    }
}

}  // namespace frametest

#endif
