// The usage page and the summaries, character for character.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>

#include "tests/unit/agent/frame_test_support.h"

namespace {

using frametest::captureStdout;
using frametest::parse;
using frametest::PingAgent;

class Texts : public ::testing::Test {
  protected:
    void TearDown() override { theVerbosity = 1; }
};

// The page after the header, as tests/e2e/expected/help.txt holds it.
std::string expectedUsagePage() {
    std::ifstream in(std::string(QOR_E2E_EXPECTED_DIR) + "/help.txt", std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    std::string page = text.str();
    return page.substr(page.find("Usage:"));
}

TEST_F(Texts, UsagePageOfBothLevels) {
    PingAgent agent;
    EXPECT_EQ(expectedUsagePage(), captureStdout([&] { agent.printUsage(); }));
}

const std::string DEFAULT_GENERIC_SUMMARY =
    "Running QOR Solvane DDS Ping with the following options:\n"
    "    Verbosity..............: 2 (Warning)\n"
    "    Domain.................: 0\n"
    "    Domain Tag.............: (not set)\n"
    "    Participant index......: -1 (auto pick)\n"
    "    AppId..................: 00000000 (auto pick)\n"
    "    DiscoveryTTL...........: -1 (use default)\n"
    "    Partition in the Participant list.........: * (unless overwritten with qosProfile)\n"
    "    Peer Host list.........: <default from environment>\n"
    "    Transport mask.........: 3 (default)\n"
    "    Max message size.......: -1 (use default)\n"
    "    Shmem receive size.....: -1 (use default)\n"
    "    Type code max size.....: 4096 (use default)\n";

const std::string DEFAULT_PING_SUMMARY =
    "    operation mode.........: Publisher\n"
    "    reliable...............: false\n"
    "    multicast..............: false\n"
    "    Number of packets......: 0\n"
    "    durability.............: DDS_VOLATILE_DURABILITY_QOS\n"
    "    send period............: 1.000000\n"
    "    timeout................: 0\n"
    "    queue size.............: 1\n"
    "    topic name.............: PingTopic\n"
    "    type  name.............: PingType\n"
    "    deadline...............: -1.000000 (no deadline)\n"
    "    time based filter......: +0.000000 (no time-based filter)\n"
    "\n"
    "    use keys...............: no\n"
    "    num keys...............: 0 (ignored for subs)\n";

std::string summaryOf(const std::vector<std::string>& arguments, int verbosity = 2) {
    PingAgent agent;
    parse(agent, arguments);
    theVerbosity = verbosity;
    return captureStdout([&] { agent.printSummary(); });
}

TEST_F(Texts, DefaultSummaries) {
    EXPECT_EQ(DEFAULT_GENERIC_SUMMARY + DEFAULT_PING_SUMMARY, summaryOf({}));
}

TEST_F(Texts, SummaryLinesFollowTheSettings) {
    struct Case {
        std::vector<std::string> arguments;
        std::string line;
    };
    const Case cases[] = {
        // With partitions the partition line runs into the peer line.
        {{"-participantPartition", "A", "-participantPartition", "B"},
         "    Partition in the Participant list.........: A,B    Peer Host list.........: "
         "<default from environment>\n"},
        {{"-peer", "1.2.3.4", "-peer", "::1"}, "    Peer Host list.........: 1.2.3.4 ::1\n"},
        {{"-domainTag", "a tag"}, "    Domain Tag.............: a tag\n"},
        {{"-index", "3"}, "    Participant index......: 3 \n"},
        {{"-appId", "255"}, "    AppId..................: 000000ff \n"},
        {{"-discoveryTTL", "0"}, "    DiscoveryTTL...........: 0 \n"},
        {{"-transport", "1"}, "    Transport mask.........: 1 \n"},
        {{"-msgMaxSize", "9000"}, "    Max message size.......: 9000 \n"},
        {{"-shmRcvSize", "0"}, "    Shmem receive size.....: 0 \n"},
        {{"-tcMaxSize", "5000"}, "    Type code max size.....: 5000 \n"},
        {{"-subscriber"}, "    operation mode.........: Subscriber\n"},
        {{"-multicast", "239.255.0.1"},
         "    multicast..............: true\n    Multicast address......: 239.255.0.1\n"},
        {{"-durability", "TRANSIENT_LOCAL"},
         "    durability.............: DDS_TRANSIENT_LOCAL_DURABILITY_QOS\n"},
        {{"-sendPeriod", "0.5"}, "    send period............: 0.500000\n"},
        {{"-deadline", "2.5"}, "    deadline...............: +2.500000 \n"},
        {{"-timeFilter", "0.5"}, "    time based filter......: +0.500000 \n"},
        {{"-useKeys", "3"}, "    use keys...............: yes\n    num keys...............: 3 \n"},
        {{"-useKeys", "3", "-subscriber"}, "    num keys...............: 3 (ignored for subs)\n"},
    };
    for (const Case& c : cases) {
        std::string summary = summaryOf(c.arguments);
        EXPECT_NE(std::string::npos, summary.find(c.line)) << c.arguments[0] << "\n" << summary;
    }
}

TEST_F(Texts, VerbosityLabels) {
    const char* labels[] = {"0 (Silent)",      "1 (Error)",    "2 (Warning)", "3 (Local Info)",
                            "4 (Remote Info)", "5 (All Info)", "Unknown"};
    for (int level = 0; level <= 6; ++level) {
        std::string summary = summaryOf({}, level);
        EXPECT_NE(std::string::npos,
                  summary.find(std::string("    Verbosity..............: ") + labels[level] + "\n"))
            << level;
    }
}

}  // namespace
