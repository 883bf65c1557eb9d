// The option loop of the ping tool: which option an abbreviation reaches, the settings an
// accepted value leaves (read back through the summary where it shows them), each rejected
// value's message and the "Error in parameter" line naming the right argument.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/unit/agent/frame_test_support.h"

namespace {

using frametest::errorIn;
using frametest::TestAgent;
using Check = std::function<void(TestAgent&)>;

struct Case {
    std::vector<std::string> arguments;
    bool accepted;
    std::string output;  // after the header
    Check check;
};

// Checks that the summary shows `text`.
Check shows(const std::string& text) {
    return [text](TestAgent& agent) {
        std::string summary = frametest::captureStdout([&] { agent.printSummary(); });
        EXPECT_NE(std::string::npos, summary.find(text)) << summary;
    };
}

void expectCases(const std::vector<Case>& cases) {
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.arguments));
        TestAgent agent;
        std::string output;
        EXPECT_EQ(c.accepted, frametest::parse(agent, c.arguments, output));
        EXPECT_EQ(c.output, output);
        if (c.check) {
            c.check(agent);
        }
    }
}

Case accepted(const std::vector<std::string>& arguments, Check check, std::string output = "") {
    return {arguments, true, output, check};
}

// A rejected value prints its message, then the loop names the value (or, as given, the
// option) and stops.
Case rejected(const std::vector<std::string>& arguments, const std::string& message,
              Check check = nullptr, std::string named = "") {
    return {arguments, false, message + errorIn(named.empty() ? arguments.back() : named), check};
}

// Generic options are tested first, then the ping options, each list in its own order.
TEST(Options, AbbreviationsGoToTheFirstOptionInOrder) {
    expectCases({
        accepted({"-d", "5"}, shows("Domain.................: 5\n")),
        accepted({"-domain", "5"}, shows(": 5\n    Domain Tag.............: (not set)\n")),
        // Any case; the value as the standard conversion reads it.
        accepted({"-DOMAINID", " +42"}, shows("Domain.................: 42\n")),
        accepted({"-qosF", "-x"}, [](TestAgent& a) { EXPECT_STREQ("-x", a.qosFile); }),
        rejected({"-qos"}, "Missing value for argument '-qosFile'\n"),
        accepted({"-domainT", "x"}, shows("Domain Tag.............: x\n")),
        accepted({"-verb", "3"}, [](TestAgent& a) { EXPECT_EQ(3, a.verbosity); }),
        accepted({"-discovery", "5"}, shows("DiscoveryTTL...........: 5 \n")),
        accepted({"-t", "1"}, shows("Transport mask.........: 1 \n")),
        accepted({"-l", "5"}, [](TestAgent& a) { EXPECT_EQ(5, a.logFormat); }),
        accepted({"-q", "f.xml"}, [](TestAgent& a) { EXPECT_STREQ("f.xml", a.qosFile); }),
        accepted({"-p", "A"}, shows("list.........: A    Peer")),
        accepted({"-s", "100"}, shows("Shmem receive size.....: 100 \n")),
        rejected({"-m", "239.255.0.1"},
                 "Missing or mal-formed value following argument '-msgMaxSize'\n"),
        accepted({"-sub"}, shows("operation mode.........: Subscriber\n")),
        accepted({"-r"}, shows("reliable...............: true\n")),
        accepted({"-mu", "239.255.0.1"}, shows("true\n    Multicast address......: 239.255.0.1\n")),
        accepted({"-du", "TRANSIENT_LOCAL"}, shows(": DDS_TRANSIENT_LOCAL_DURABILITY_QOS\n")),
        accepted({"-se", "0.25"}, shows("send period............: 0.250000\n")),
        accepted({"-ti", "4"}, shows("timeout................: 4\n")),
        accepted({"-n", "3"}, shows("Number of packets......: 3\n")),
        accepted({"-qu", "0"}, shows("queue size.............: 0\n")),
        accepted({"-to", "T"}, shows("topic name.............: T\n")),
        accepted({"-ty", "X"}, shows("type  name.............: X\n")),
        accepted({"-de", "2.5"}, shows("deadline...............: +2.500000 \n")),
        accepted({"-timeF", "0.5"}, shows("time based filter......: +0.500000 \n")),
        accepted({"-u", "2"}, shows(": yes\n    num keys...............: 2 \n")),
        {{"-domainIdx", "3"},
         false,
         "QOR Solvane DDS Ping: Unrecognized parameter '-domainIdx'\n",
         nullptr},
    });
}

TEST(Options, AcceptedValues) {
    expectCases({
        accepted(
            {"-domainId", "0", "-index", "-1", "-appId", "0", "-msgMaxSize", "-1", "-shmRcvSize",
             "-1", "-tcMaxSize", "1", "-LogFormat", "70000", "-discoveryTTL", "255"},
            nullptr),
        accepted({"-index", "50"}, shows("Participant index......: 50 \n")),
        accepted({"-appId", "255"}, shows("AppId..................: 000000ff \n")),
        accepted(
            {"-verbosity", "9"}, [](TestAgent& a) { EXPECT_EQ(5, a.verbosity); },
            "Verbosity value: 9 exceeds maximum of 5. Using the maximum value\n"),
        accepted({"-discoveryTTL", "0"}, shows("DiscoveryTTL...........: 0 \n")),
        accepted({"-discoveryPlugins", "sdp2"},
                 [](TestAgent& a) { EXPECT_EQ(0x12, a.discoveryPlugin); }),
        accepted({"-discoveryPlugins", "SDP2", "-discoveryPlugins", "SDP"},
                 [](TestAgent& a) { EXPECT_EQ(3, a.discoveryPlugin); }),
        accepted({"-transport", "12"}, shows("Transport mask.........: 12 \n")),
        accepted({"-msgMaxSize", "9000"}, shows("Max message size.......: 9000 \n")),
        accepted({"-shmRcvSize", "0"}, shows("Shmem receive size.....: 0 \n")),
        accepted({"-tcMaxSize", "5000"}, shows("Type code max size.....: 5000 \n")),
        accepted({"-qosProfile", "A::B", "-qosProfile", "My Lib::My Prof"},
                 [](TestAgent& a) {
                     EXPECT_EQ("My Lib::My Prof|My Lib|My Prof", std::string(a.qosProfile) + "|" +
                                                                     a.qosProfileLibrary + "|" +
                                                                     a.qosProfileName);
                 }),
        accepted({"-participantPartition", "A", "-participantPartition", "B"},
                 shows("    Partition in the Participant list.........: A,B    Peer Host "
                       "list.........: <default from environment>\n")),
        accepted({"-peer", "1.2.3.4", "-peer", "::1"}, shows("list.........: 1.2.3.4 ::1\n")),
        accepted({"-subscriber", "-publisher"}, shows("mode.........: Publisher\n")),
        accepted({"-publisher", "-subscriber"}, shows("mode.........: Subscriber\n")),
        accepted({"-multicast", "239.255.0.1", "-multicast", "239.255.0.2"},
                 shows("address......: 239.255.0.2\n")),
        accepted({"-durability", "TRANSIENT_LOCAL", "-durability", "VOLATILE"},
                 shows(": DDS_VOLATILE_DURABILITY_QOS\n")),
        accepted({"-sendPeriod", "0"}, shows("send period............: 0.000000\n")),
        accepted({"-sendPeriod", "nan"}, shows("send period............: nan\n")),
        accepted({"-useKeys", "5", "-useKeys", "0"},
                 shows(": no\n    num keys...............: 0 (ignored for subs)\n")),
        accepted({"-useKeys", "3", "-subscriber"}, shows("keys...............: 3 (ignored")),
    });
}

TEST(Options, RejectedValuesPrintTheirMessageAndNameTheArgument) {
    expectCases({
        rejected({"-domainId", "-1"}, "Invalid domain number: -1 (must be greater than 0)\n",
                 [](TestAgent& a) { EXPECT_EQ(0, a.domainId); }),
        rejected({"-index", "51"}, "Invalid participant index: 51 (must be between 0 and 50)\n"),
        rejected({"-index", "-2"}, "Invalid participant index: -2 (must be between 0 and 50)\n"),
        rejected({"-appId", "-5"}, "Invalid appId: -5. Must be a positive integer\n"),
        rejected({"-verbosity", "-1"}, "Invalid verbosity value: -1 (must be >=0, and <= 5)\n",
                 [](TestAgent& a) { EXPECT_EQ(1, a.verbosity); }),
        rejected({"-LogFormat", "-1"},
                 "Invalid log format value: -1 (must be >=0, and <= 65535)\n"),
        rejected({"-discoveryTTL", "256"},
                 "Invalid DiscoveryTTL value: 256  Must be between 1 and 255\n"),
        rejected({"-discoveryTTL", "-1"},
                 "Invalid DiscoveryTTL value: -1  Must be between 1 and 255\n"),
        rejected(
            {"-participantPartition", "-peer"},
            "Missing or invalid partition '-peer' following the -participantPartition option\n",
            [](TestAgent& a) { EXPECT_EQ(0, a.participantPartitionCount); },
            "-participantPartition"),
        rejected({"-pee", "-x"}, "Missing or invalid peer '-x' following the -pee option\n",
                 nullptr, "-pee"),
        rejected({"-discoveryPlugins", "SPDP2"},
                 "Invalid value \"SPDP2\" for '-discoveryPlugins'. It must be: 'SDP', or 'SDP2'.\n",
                 [](TestAgent& a) {
                     EXPECT_TRUE(a.discoveryPluginSet);
                     EXPECT_EQ(3, a.discoveryPlugin);
                 }),
        rejected({"-transport", "0"},
                 "Invalid transport mask: 0 (must be >0 to select at least one transport)\n"),
        rejected({"-msgMaxSize", "-2"}, "Invalid message size: -2\n"),
        rejected({"-shmRcvSize", "-2"}, "Invalid shmem size: -2\n"),
        rejected({"-tcMaxSize", "0"}, "Invalid type code max size: 0\n"),
        rejected(
            {"-durability", "transient_local"},
            "Invalid value for -durability. Acceptable values are: VOLATILE | TRANSIENT_LOCAL\n"),
        // Stored before it is checked.
        rejected({"-sendPeriod", "-2"},
                 "Invalid value for sendPeriod: -2 (must be >=0, 0=unlimited)\n",
                 [](TestAgent& a) { EXPECT_EQ(-2.0f, a.sendPeriod); }),
        rejected({"-sendPeriod", "0.5x"},
                 "Invalid value for sendPeriod: 0.5x (must be >=0, 0=unlimited)\n"),
        rejected({"-timeout", "-1"}, "Invalid value for timeout: -1 (must be >=0, 0=unlimited)\n"),
        rejected({"-timeout", "x"}, "Missing or mal-formed value following argument '-timeout'\n"),
        rejected({"-numSamples", "-1"},
                 "Invalid value for numSamples: -1 (must be >=0, 0=unlimited)\n"),
        rejected({"-queueSize", "-1"}, "Invalid value for queuSize: -1 (must be >0)\n"),
        rejected({"-deadline", "2s"},
                 "Invalid value for deadline: 2.000000 (must be >=0, 0=unlimited)\n"),
        rejected({"-deadline", "-1"},
                 "Invalid value for deadline: -1.000000 (must be >=0, 0=unlimited)\n"),
        rejected({"-timeFilter", "-0.5"},
                 "Invalid value for time-filter duration: -0.500000 (must be >=0, 0=unlimited)\n"),
        rejected({"-useKeys", "-1"}, "Invalid value for useKeys: -1 (must be >0)\n"),
        rejected({"-reliable", "-multicast"}, "Missing value for argument '-multicast'\n"),
        // The loop stops at the first bad option.
        rejected(
            {"-domainId", "4", "-index", "99", "-domainId", "6"},
            "Invalid participant index: 99 (must be between 0 and 50)\n",
            [](TestAgent& a) { EXPECT_EQ(4, a.domainId); }, "99"),
    });
    // A malformed profile has no message of its own, and is not kept.
    for (const char* profile : {"MyLib:MyProf", "::MyProf", "MyLib::", "a::b:c", "MyLib"}) {
        expectCases({rejected({"-qosProfile", profile}, "",
                              [](TestAgent& a) { EXPECT_EQ(nullptr, a.qosProfile); })});
    }
}

TEST(Options, ListsHoldTheirLimits) {
    std::vector<std::string> partitions;
    for (int i = 0; i < 257; ++i) {
        partitions.insert(partitions.end(), {"-participantPartition", "P" + std::to_string(i)});
    }
    std::vector<std::string> peers;
    for (int i = 0; i < 1025; ++i) {
        peers.insert(peers.end(), {"-peer", "10.0.0." + std::to_string(i)});
    }
    expectCases({
        {partitions, false, "Number of partitions exceeded. Maximum is 1024\n" + errorIn("P256"),
         [](TestAgent& a) { EXPECT_EQ(256, a.participantPartitionCount); }},
        {peers, false, "Number of peers exceeded. Maximum is 1024\n" + errorIn("10.0.0.1024"),
         [](TestAgent& a) { EXPECT_EQ(1024, a.peerCount); }},
    });
}

// The defaults that the option tables leave alone, and the label of each verbosity.
TEST(Options, SummaryOfTheDefaults) {
    TestAgent agent;
    shows(
        "    Number of packets......: 0\n    durability.............: DDS_VOLATILE_DURABILITY_QOS\n"
        "    send period............: 1.000000\n")(agent);
    const char* labels[] = {"0 (Silent)",      "1 (Error)",    "2 (Warning)", "3 (Local Info)",
                            "4 (Remote Info)", "5 (All Info)", "Unknown"};
    for (int level = 0; level <= 6; ++level) {
        theVerbosity = level;
        shows(std::string("    Verbosity..............: ") + labels[level] + "\n")(agent);
    }
    theVerbosity = 1;
}

}  // namespace
