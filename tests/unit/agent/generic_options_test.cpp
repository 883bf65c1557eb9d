// The generic options through the option loop: which option an abbreviation reaches, every
// rejected value's message, and the "Error in parameter" line naming the right argument.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/unit/agent/frame_test_support.h"

namespace {

using frametest::FrameAgent;
using frametest::parse;

using frametest::errorIn;
using Case = frametest::OptionCase<FrameAgent>;

void expectCases(const std::vector<Case>& cases) {
    frametest::expectOptionCases(cases);
}

TEST(GenericOptions, AbbreviationsGoToTheFirstOptionInOrder) {
    expectCases({
        {{"-d", "5"}, true, "", [](FrameAgent& a) { EXPECT_EQ(5, a.domainId); }},
        {{"-domain", "5"},
         true,
         "",
         [](FrameAgent& a) {
             EXPECT_EQ(5, a.domainId);
             EXPECT_EQ(nullptr, a.domainTag);
         }},
        {{"-DOMAINID", "3"}, true, "", [](FrameAgent& a) { EXPECT_EQ(3, a.domainId); }},
        {{"-domainT", "x"}, true, "", [](FrameAgent& a) { EXPECT_STREQ("x", a.domainTag); }},
        {{"-verb", "3"}, true, "", [](FrameAgent& a) { EXPECT_EQ(3, a.verbosity); }},
        {{"-discovery", "5"},
         true,
         "",
         [](FrameAgent& a) {
             EXPECT_EQ(5, a.discoveryTTL);
             EXPECT_FALSE(a.discoveryPluginSet);
         }},
        {{"-t", "1"}, true, "", [](FrameAgent& a) { EXPECT_EQ(1, a.transportMask); }},
        {{"-l", "5"}, true, "", [](FrameAgent& a) { EXPECT_EQ(5, a.logFormat); }},
        {{"-q", "file.xml"}, true, "", [](FrameAgent& a) { EXPECT_STREQ("file.xml", a.qosFile); }},
        {{"-p", "A"},
         true,
         "",
         [](FrameAgent& a) {
             ASSERT_EQ(1, a.participantPartitionCount);
             EXPECT_STREQ("A", a.participantPartitions[0]);
         }},
        {{"-domainIdx", "3"},
         false,
         "QOR Solvane DDS Ping: Unrecognized parameter '-domainIdx'\n",
         nullptr},
        {{"-foo"}, false, "QOR Solvane DDS Ping: Unrecognized parameter '-foo'\n", nullptr},
    });
}

TEST(GenericOptions, AcceptedValuesAreStored) {
    expectCases({
        {{"-domainId", "0"}, true, "", [](FrameAgent& a) { EXPECT_EQ(0, a.domainId); }},
        {{"-index", "-1"}, true, "", [](FrameAgent& a) { EXPECT_EQ(-1, a.participantIndex); }},
        {{"-index", "50"}, true, "", [](FrameAgent& a) { EXPECT_EQ(50, a.participantIndex); }},
        {{"-appId", "0"}, true, "", [](FrameAgent& a) { EXPECT_EQ(0, a.appId); }},
        {{"-verbosity", "9"},
         true,
         "Verbosity value: 9 exceeds maximum of 5. Using the maximum value\n",
         [](FrameAgent& a) { EXPECT_EQ(5, a.verbosity); }},
        {{"-LogFormat", "70000"}, true, "", [](FrameAgent& a) { EXPECT_EQ(70000, a.logFormat); }},
        {{"-discoveryTTL", "0"}, true, "", [](FrameAgent& a) { EXPECT_EQ(0, a.discoveryTTL); }},
        {{"-discoveryTTL", "255"}, true, "", [](FrameAgent& a) { EXPECT_EQ(255, a.discoveryTTL); }},
        {{"-discoveryPlugins", "sdp2"},
         true,
         "",
         [](FrameAgent& a) {
             EXPECT_TRUE(a.discoveryPluginSet);
             EXPECT_EQ(0x12, a.discoveryPlugin);
         }},
        {{"-discoveryPlugins", "SDP"},
         true,
         "",
         [](FrameAgent& a) { EXPECT_EQ(3, a.discoveryPlugin); }},
        {{"-transport", "12"}, true, "", [](FrameAgent& a) { EXPECT_EQ(12, a.transportMask); }},
        {{"-msgMaxSize", "-1"}, true, "", [](FrameAgent& a) { EXPECT_EQ(-1, a.msgMaxSize); }},
        {{"-shmRcvSize", "-1"}, true, "", [](FrameAgent& a) { EXPECT_EQ(-1, a.shmRcvSize); }},
        {{"-tcMaxSize", "1"}, true, "", [](FrameAgent& a) { EXPECT_EQ(1, a.tcMaxSize); }},
        {{"-qosProfile", "My Lib::My Prof"},
         true,
         "",
         [](FrameAgent& a) {
             EXPECT_STREQ("My Lib::My Prof", a.qosProfile);
             EXPECT_STREQ("My Lib", a.qosProfileLibrary);
             EXPECT_STREQ("My Prof", a.qosProfileName);
         }},
        {{"-qosProfile", "A::B", "-qosProfile", "C::D"},
         true,
         "",
         [](FrameAgent& a) {
             EXPECT_STREQ("C", a.qosProfileLibrary);
             EXPECT_STREQ("D", a.qosProfileName);
         }},
        {{"-peer", "1.2.3.4", "-peer", "udpv4://5.6.7.8"},
         true,
         "",
         [](FrameAgent& a) {
             ASSERT_EQ(2, a.peerCount);
             EXPECT_STREQ("udpv4://5.6.7.8", a.peers[1]);
         }},
    });
}

TEST(GenericOptions, RejectedValuesPrintTheirMessageAndNameTheArgument) {
    expectCases({
        {{"-domainId", "-1"},
         false,
         "Invalid domain number: -1 (must be greater than 0)\n" + errorIn("-1"),
         [](FrameAgent& a) { EXPECT_EQ(0, a.domainId); }},
        {{"-domainId", "3x"},
         false,
         "Missing or mal-formed value following argument '-domainId'\n" + errorIn("3x"),
         nullptr},
        {{"-domainId"},
         false,
         "Missing value for argument '-domainId'\n" + errorIn("-domainId"),
         nullptr},
        {{"-index", "51"},
         false,
         "Invalid participant index: 51 (must be between 0 and 50)\n" + errorIn("51"),
         nullptr},
        {{"-index", "-2"},
         false,
         "Invalid participant index: -2 (must be between 0 and 50)\n" + errorIn("-2"),
         nullptr},
        {{"-appId", "-5"},
         false,
         "Invalid appId: -5. Must be a positive integer\n" + errorIn("-5"),
         nullptr},
        {{"-verbosity", "-1"},
         false,
         "Invalid verbosity value: -1 (must be >=0, and <= 5)\n" + errorIn("-1"),
         [](FrameAgent& a) { EXPECT_EQ(1, a.verbosity); }},
        {{"-LogFormat", "-1"},
         false,
         "Invalid log format value: -1 (must be >=0, and <= 65535)\n" + errorIn("-1"),
         nullptr},
        {{"-discoveryTTL", "256"},
         false,
         "Invalid DiscoveryTTL value: 256  Must be between 1 and 255\n" + errorIn("256"),
         nullptr},
        {{"-discoveryTTL", "-1"},
         false,
         "Invalid DiscoveryTTL value: -1  Must be between 1 and 255\n" + errorIn("-1"),
         nullptr},
        {{"-participantPartition", "-peer"},
         false,
         "Missing or invalid partition '-peer' following the -participantPartition option\n" +
             errorIn("-participantPartition"),
         [](FrameAgent& a) { EXPECT_EQ(0, a.participantPartitionCount); }},
        // The option is named as typed.
        {{"-pa", "-x"},
         false,
         "Missing or invalid partition '-x' following the -pa option\n" + errorIn("-pa"),
         nullptr},
        {{"-peer", "-x"},
         false,
         "Missing or invalid peer '-x' following the -peer option\n" + errorIn("-peer"),
         nullptr},
        {{"-discoveryPlugins", "SPDP2"},
         false,
         "Invalid value \"SPDP2\" for '-discoveryPlugins'. It must be: 'SDP', or 'SDP2'.\n" +
             errorIn("SPDP2"),
         [](FrameAgent& a) {
             EXPECT_TRUE(a.discoveryPluginSet);
             EXPECT_EQ(3, a.discoveryPlugin);
         }},
        {{"-transport", "0"},
         false,
         "Invalid transport mask: 0 (must be >0 to select at least one transport)\n" + errorIn("0"),
         nullptr},
        {{"-msgMaxSize", "-2"}, false, "Invalid message size: -2\n" + errorIn("-2"), nullptr},
        {{"-shmRcvSize", "-2"}, false, "Invalid shmem size: -2\n" + errorIn("-2"), nullptr},
        {{"-tcMaxSize", "0"}, false, "Invalid type code max size: 0\n" + errorIn("0"), nullptr},
        // A malformed profile has no message of its own.
        {{"-qosProfile", "MyLib:MyProf"}, false, errorIn("MyLib:MyProf"), nullptr},
        {{"-qosProfile", "::MyProf"}, false, errorIn("::MyProf"), nullptr},
        {{"-qosProfile", "MyLib::"}, false, errorIn("MyLib::"), nullptr},
        {{"-qosProfile", "a::b:c"},
         false,
         errorIn("a::b:c"),
         [](FrameAgent& a) { EXPECT_EQ(nullptr, a.qosProfile); }},
        {{"-qosProfile", "MyLib"}, false, errorIn("MyLib"), nullptr},
        // The loop stops at the first bad option.
        {{"-domainId", "4", "-index", "99", "-domainId", "6"},
         false,
         "Invalid participant index: 99 (must be between 0 and 50)\n" + errorIn("99"),
         [](FrameAgent& a) { EXPECT_EQ(4, a.domainId); }},
    });
}

TEST(GenericOptions, ListsHoldTheirLimits) {
    std::vector<std::string> partitions;
    for (int i = 0; i < 257; ++i) {
        partitions.push_back("-participantPartition");
        partitions.push_back("P" + std::to_string(i));
    }
    FrameAgent agent;
    frametest::ParseResult result = parse(agent, partitions);
    EXPECT_FALSE(result.accepted);
    EXPECT_EQ("Number of partitions exceeded. Maximum is 1024\n" + errorIn("P256"), result.output);
    EXPECT_EQ(256, agent.participantPartitionCount);

    std::vector<std::string> peers;
    for (int i = 0; i < 1025; ++i) {
        peers.push_back("-peer");
        peers.push_back("10.0.0." + std::to_string(i));
    }
    FrameAgent peerAgent;
    result = parse(peerAgent, peers);
    EXPECT_EQ("Number of peers exceeded. Maximum is 1024\n" + errorIn("10.0.0.1024"),
              result.output);
    EXPECT_EQ(1024, peerAgent.peerCount);
}

TEST(GenericOptions, HelpAndVersionStopWithoutAnError) {
    FrameAgent agent;
    frametest::ParseResult help = parse(agent, {"-domainId", "7", "-help", "-foo"});
    EXPECT_FALSE(help.accepted);
    EXPECT_EQ(0u, help.output.find("Usage: qorddsping [options]\nGeneric options:\n"));
    EXPECT_NE(std::string::npos, help.output.find("Sets the domainId (default 7)\n"));
    EXPECT_EQ(std::string::npos, help.output.find("Unrecognized"));

    // A lone dash is a prefix of the first option tested.
    FrameAgent dash;
    EXPECT_EQ(0u, parse(dash, {"-"}).output.find("Usage: qorddsping [options]\n"));

    DDS_ProductVersion_t version = DDS_get_product_version();
    char line[160];
    std::snprintf(line, sizeof line, "QOR KESTAGENT built with DDS version: %d.%d.%d (%s)\n",
                  version.major, version.minor, version.release, DDS_get_product_version_text());
    FrameAgent versionAgent;
    frametest::ParseResult shown = parse(versionAgent, {"-v"});
    EXPECT_FALSE(shown.accepted);
    EXPECT_EQ(line, shown.output);
}

}  // namespace
