// The option loop of the ping tool: which option an abbreviation reaches, the settings an
// accepted value leaves, each rejected value's message and the argument it names.
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/unit/agent/frame_test_support.h"

namespace {

using frametest::errorIn;
using frametest::TestAgent;
using Arguments = std::vector<std::string>;

void expectParse(TestAgent& agent, const Arguments& arguments, bool accepted,
                 const std::string& output) {
    std::string printed;
    EXPECT_EQ(accepted, frametest::parse(agent, arguments, printed))
        << testing::PrintToString(arguments);
    EXPECT_EQ(output, printed) << testing::PrintToString(arguments);
}

std::string summaryOf(TestAgent& agent) {
    return frametest::captureStdout([&] { agent.printSummary(); });
}

// A table of lines "arguments | text", the text (possibly empty) with \n for a line end.
std::vector<std::pair<Arguments, std::string>> rows(const std::string& table) {
    std::vector<std::pair<Arguments, std::string>> result;
    std::istringstream lines(table);
    for (std::string line; std::getline(lines, line);) {
        size_t bar = line.find(" |");
        if (bar == std::string::npos) {
            continue;
        }
        Arguments arguments = frametest::words(line.substr(0, bar));
        std::string text = line.substr(std::min(bar + 3, line.size()));
        for (size_t at = text.find("\\n"); at != std::string::npos; at = text.find("\\n", at)) {
            text.replace(at, 2, "\n");
        }
        result.emplace_back(arguments, text);
    }
    return result;
}

// Abbreviations go to the first option they fit, generic options before the ping ones.
TEST(Options, AcceptedValuesShowInTheSummary) {
    for (const auto& row : rows(R"(
    -d 5 |     Domain.................: 5\n
    -domain 5 | : 5\n    Domain Tag.............: (not set)\n
    -DOMAINID 42 |     Domain.................: 42\n
    -domainT x | Domain Tag.............: x\n
    -discovery 5 | DiscoveryTTL...........: 5 \n
    -discoveryTTL 0 | DiscoveryTTL...........: 0 \n
    -index 50 | Participant index......: 50 \n
    -appId 255 | AppId..................: 000000ff \n
    -t 1 | Transport mask.........: 1 \n
    -transport 12 | Transport mask.........: 12 \n
    -msgMaxSize 9000 | Max message size.......: 9000 \n
    -s 0 | Shmem receive size.....: 0 \n
    -tcMaxSize 5000 | Type code max size.....: 5000 \n
    -p A | list.........: A    Peer
    -participantPartition A -p B | : A,B    Peer Host list.........: <default from environment>\n
    -peer 1.2.3.4 -peer ::1 | Peer Host list.........: 1.2.3.4 ::1\n
    -sub | operation mode.........: Subscriber\n
    -publisher -subscriber | operation mode.........: Subscriber\n
    -subscriber -publisher | operation mode.........: Publisher\n
    -r | reliable...............: true\n
    -mu 239.255.0.1 | true\n    Multicast address......: 239.255.0.1\n
    -multicast 1 -multicast 2 | Multicast address......: 2\n
    -du TRANSIENT_LOCAL | durability.............: DDS_TRANSIENT_LOCAL_DURABILITY_QOS\n
    -du TRANSIENT_LOCAL -du VOLATILE | durability.............: DDS_VOLATILE_DURABILITY_QOS\n
    -se 0.25 | send period............: 0.250000\n
    -sendPeriod 0 | send period............: 0.000000\n
    -sendPeriod nan | send period............: nan\n
    -ti 4 | timeout................: 4\n
    -n 3 | Number of packets......: 3\n
    -qu 0 | queue size.............: 0\n
    -to T | topic name.............: T\n
    -ty X | type  name.............: X\n
    -de 2.5 | deadline...............: +2.500000 \n
    -timeF 0.5 | time based filter......: +0.500000 \n
    -u 2 | use keys...............: yes\n    num keys...............: 2 \n
    -useKeys 5 -useKeys 0 | : no\n    num keys...............: 0 (ignored for subs)\n
    -useKeys 3 -subscriber | num keys...............: 3 (ignored for subs)\n
    )")) {
        TestAgent agent;
        expectParse(agent, row.first, true, "");
        EXPECT_NE(std::string::npos, summaryOf(agent).find(row.second)) << row.second;
    }
}

TEST(Options, AcceptedValuesOutsideTheSummary) {
    TestAgent agent, lowest, highest;
    expectParse(agent,
                {"-verb", "3", "-l", "5", "-q", "f.xml", "-discoveryPlugins", "sdp2", "-qosProfile",
                 "A::B", "-qosProfile", "My Lib::My Prof", "-domainId", " +42"},
                true, "");
    EXPECT_EQ(3, agent.verbosity);
    EXPECT_EQ(5, agent.logFormat);
    EXPECT_STREQ("f.xml", agent.qosFile);
    EXPECT_EQ(0x12, agent.discoveryPlugin);
    EXPECT_STREQ("My Lib::My Prof", agent.qosProfile);
    EXPECT_STREQ("My Lib", agent.qosProfileLibrary);
    EXPECT_STREQ("My Prof", agent.qosProfileName);
    EXPECT_EQ(42, agent.domainId);
    expectParse(lowest,
                frametest::words("-domainId 0 -index -1 -appId 0 -msgMaxSize -1 -shmRcvSize -1 "
                                 "-tcMaxSize 1 -LogFormat 70000 -discoveryTTL 255 "
                                 "-discoveryPlugins SDP2 -discoveryPlugins SDP -qosF -x"),
                true, "");
    EXPECT_EQ(3, lowest.discoveryPlugin);
    EXPECT_STREQ("-x", lowest.qosFile);
    expectParse(highest, {"-verbosity", "9"}, true,
                "Verbosity value: 9 exceeds maximum of 5. Using the maximum value\n");
    EXPECT_EQ(5, highest.verbosity);
}

// Each rejection prints its message, then the loop names the value (the last argument) and
// stops; an unknown option has only its own line.
TEST(Options, RejectedValuesPrintTheirMessageAndNameTheArgument) {
    for (const auto& row : rows(R"(
    -domainIdx | QOR Solvane DDS Ping: Unrecognized parameter '-domainIdx'\n
    -domainId -1 | Invalid domain number: -1 (must be greater than 0)\n
    -index 51 | Invalid participant index: 51 (must be between 0 and 50)\n
    -index -2 | Invalid participant index: -2 (must be between 0 and 50)\n
    -appId -5 | Invalid appId: -5. Must be a positive integer\n
    -verbosity -1 | Invalid verbosity value: -1 (must be >=0, and <= 5)\n
    -LogFormat -1 | Invalid log format value: -1 (must be >=0, and <= 65535)\n
    -discoveryTTL 256 | Invalid DiscoveryTTL value: 256  Must be between 1 and 255\n
    -discoveryTTL -1 | Invalid DiscoveryTTL value: -1  Must be between 1 and 255\n
    -t 0 | Invalid transport mask: 0 (must be >0 to select at least one transport)\n
    -msgMaxSize -2 | Invalid message size: -2\n
    -shmRcvSize -2 | Invalid shmem size: -2\n
    -tcMaxSize 0 | Invalid type code max size: 0\n
    -sendPeriod 0.5x | Invalid value for sendPeriod: 0.5x (must be >=0, 0=unlimited)\n
    -timeout -1 | Invalid value for timeout: -1 (must be >=0, 0=unlimited)\n
    -numSamples -1 | Invalid value for numSamples: -1 (must be >=0, 0=unlimited)\n
    -queueSize -1 | Invalid value for queuSize: -1 (must be >0)\n
    -deadline 2s | Invalid value for deadline: 2.000000 (must be >=0, 0=unlimited)\n
    -deadline -1 | Invalid value for deadline: -1.000000 (must be >=0, 0=unlimited)\n
    -timeF -0.5 | Invalid value for time-filter duration: -0.500000 (must be >=0, 0=unlimited)\n
    -useKeys -1 | Invalid value for useKeys: -1 (must be >0)\n
    -m 239.255.0.1 | Missing or mal-formed value following argument '-msgMaxSize'\n
    -reliable -multicast | Missing value for argument '-multicast'\n
    -qos | Missing value for argument '-qosFile'\n
    -qosProfile MyLib:MyProf |
    -qosProfile ::MyProf |
    -qosProfile MyLib:: |
    -qosProfile a::b:c |
    -qosProfile MyLib |
    )")) {
        TestAgent agent;
        const std::string& named = row.first.back();
        expectParse(agent, row.first, false,
                    named == "-domainIdx" ? row.second : row.second + errorIn(named));
    }
}

// What a rejection leaves: the settings as they were, but the discovery plugins marked as set
// and the send period stored. List options name themselves when their value looks like one.
TEST(Options, RejectionsLeaveTheSettings) {
    TestAgent stopped, plugins, period, profile, partition, peer, durability;
    expectParse(stopped, {"-domainId", "4", "-verbosity", "-1", "-domainId", "6"}, false,
                "Invalid verbosity value: -1 (must be >=0, and <= 5)\n" + errorIn("-1"));
    EXPECT_EQ(4, stopped.domainId);
    EXPECT_EQ(1, stopped.verbosity);
    expectParse(plugins, {"-discoveryPlugins", "x"}, false,
                "Invalid value \"x\" for '-discoveryPlugins'. It must be: 'SDP', or 'SDP2'.\n" +
                    errorIn("x"));
    EXPECT_TRUE(plugins.discoveryPluginSet);
    EXPECT_EQ(3, plugins.discoveryPlugin);
    expectParse(period, {"-sendPeriod", "-2"}, false,
                "Invalid value for sendPeriod: -2 (must be >=0, 0=unlimited)\n" + errorIn("-2"));
    EXPECT_EQ(-2.0f, period.sendPeriod);
    expectParse(profile, {"-qosProfile", "A::B", "-qosProfile", "a::b:c"}, false,
                errorIn("a::b:c"));
    EXPECT_STREQ("A::B", profile.qosProfile);
    EXPECT_STREQ("B", profile.qosProfileName);
    expectParse(
        partition, {"-participantPartition", "-peer"}, false,
        "Missing or invalid partition '-peer' following the -participantPartition option\n" +
            errorIn("-participantPartition"));
    EXPECT_EQ(0, partition.participantPartitionCount);
    expectParse(durability, {"-durability", "transient_local"}, false,
                "Invalid value for -durability. Acceptable values are: VOLATILE | "
                "TRANSIENT_LOCAL\n" +
                    errorIn("transient_local"));
    expectParse(peer, {"-pee", "-x"}, false,
                "Missing or invalid peer '-x' following the -pee option\n" + errorIn("-pee"));
}

TEST(Options, ListsHoldTheirLimits) {
    Arguments partitions, peers;
    for (int i = 0; i < 1025; ++i) {
        peers.insert(peers.end(), {"-peer", "10.0.0." + std::to_string(i)});
        partitions.insert(partitions.end(), {"-participantPartition", "P" + std::to_string(i)});
    }
    partitions.resize(2 * 257);
    TestAgent partitionAgent, peerAgent;
    expectParse(partitionAgent, partitions, false,
                "Number of partitions exceeded. Maximum is 1024\n" + errorIn("P256"));
    EXPECT_EQ(256, partitionAgent.participantPartitionCount);
    expectParse(peerAgent, peers, false,
                "Number of peers exceeded. Maximum is 1024\n" + errorIn("10.0.0.1024"));
    EXPECT_EQ(1024, peerAgent.peerCount);
}

// The defaults that the option tables leave alone, and the label of each verbosity.
TEST(Options, SummaryOfTheDefaults) {
    TestAgent agent;
    EXPECT_NE(summaryOf(agent).find("packets......: 0\n    durability.............: "
                                    "DDS_VOLATILE_DURABILITY_QOS\n    send period............: "
                                    "1.000000\n"),
              std::string::npos);
    for (const char* label : {"0 (Silent)", "1 (Error)", "2 (Warning)", "3 (Local Info)",
                              "4 (Remote Info)", "5 (All Info)", "Unknown"}) {
        theVerbosity = label[0] == 'U' ? 6 : label[0] - '0';
        EXPECT_NE(summaryOf(agent).find(std::string("Verbosity..............: ") + label + "\n"),
                  std::string::npos);
    }
    theVerbosity = 1;
}

}  // namespace
