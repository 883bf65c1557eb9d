// The ping options after the generic ones: abbreviations shared with generic options, every
// rejected value's message and the settings each accepted one leaves.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "tests/unit/agent/frame_test_support.h"

namespace {

using frametest::parse;
using frametest::PingAgent;

using frametest::errorIn;
using Case = frametest::OptionCase<PingAgent>;

void expectCases(const std::vector<Case>& cases) {
    frametest::expectOptionCases(cases);
}

TEST(PingOptions, GenericOptionsWinSharedAbbreviations) {
    expectCases({
        {{"-d", "3"}, true, "", [](PingAgent& a) { EXPECT_EQ(3, a.domainId); }},
        {{"-t", "8"}, true, "", [](PingAgent& a) { EXPECT_EQ(8, a.transportMask); }},
        {{"-s", "100"}, true, "", [](PingAgent& a) { EXPECT_EQ(100, a.shmRcvSize); }},
        {{"-m", "239.255.0.1"},
         false,
         "Missing or mal-formed value following argument '-msgMaxSize'\n" + errorIn("239.255.0.1"),
         nullptr},
        {{"-sub"}, true, "", [](PingAgent& a) { EXPECT_EQ(Subscriber, a.operation); }},
        {{"-se", "0.25"}, true, "", [](PingAgent& a) { EXPECT_FLOAT_EQ(0.25f, a.sendPeriod); }},
        {{"-r"}, true, "", [](PingAgent& a) { EXPECT_TRUE(a.reliable); }},
        {{"-du", "TRANSIENT_LOCAL"}, true, "", [](PingAgent& a) { EXPECT_EQ(1, a.durability); }},
        {{"-ti", "4"}, true, "", [](PingAgent& a) { EXPECT_EQ(4, a.timeout); }},
        {{"-to", "T"}, true, "", [](PingAgent& a) { EXPECT_STREQ("T", a.topicName); }},
        {{"-ty", "X"}, true, "", [](PingAgent& a) { EXPECT_STREQ("X", a.typeName); }},
        {{"-n", "3"}, true, "", [](PingAgent& a) { EXPECT_EQ(3, a.numSamples); }},
        {{"-u", "2"}, true, "", [](PingAgent& a) { EXPECT_EQ(2, a.numKeys); }},
        {{"-de", "2.5"}, true, "", [](PingAgent& a) { EXPECT_FLOAT_EQ(2.5f, a.deadline); }},
        {{"-bar"}, false, "QOR Solvane DDS Ping: Unrecognized parameter '-bar'\n", nullptr},
    });
}

TEST(PingOptions, AcceptedValuesAreStored) {
    expectCases({
        {{"-subscriber", "-publisher"},
         true,
         "",
         [](PingAgent& a) { EXPECT_EQ(Publisher, a.operation); }},
        {{"-publisher", "-subscriber"},
         true,
         "",
         [](PingAgent& a) { EXPECT_EQ(Subscriber, a.operation); }},
        {{"-multicast", "239.255.0.1", "-multicast", "239.255.0.2"},
         true,
         "",
         [](PingAgent& a) {
             EXPECT_TRUE(a.multicast);
             EXPECT_STREQ("239.255.0.2", a.multicastAddress);
         }},
        {{"-durability", "VOLATILE"}, true, "", [](PingAgent& a) { EXPECT_EQ(0, a.durability); }},
        {{"-sendPeriod", "0"}, true, "", [](PingAgent& a) { EXPECT_EQ(0.0f, a.sendPeriod); }},
        {{"-sendPeriod", "1e-1"},
         true,
         "",
         [](PingAgent& a) { EXPECT_FLOAT_EQ(0.1f, a.sendPeriod); }},
        {{"-sendPeriod", "nan"},
         true,
         "",
         [](PingAgent& a) { EXPECT_TRUE(std::isnan(a.sendPeriod)); }},
        {{"-queueSize", "0"}, true, "", [](PingAgent& a) { EXPECT_EQ(0, a.queueSize); }},
        {{"-useKeys", "5"},
         true,
         "",
         [](PingAgent& a) {
             EXPECT_TRUE(a.useKeys);
             EXPECT_EQ(5, a.numKeys);
         }},
        {{"-useKeys", "5", "-useKeys", "0"},
         true,
         "",
         [](PingAgent& a) {
             EXPECT_FALSE(a.useKeys);
             EXPECT_EQ(0, a.numKeys);
         }},
        {{"-timeFilter", "0.5"},
         true,
         "",
         [](PingAgent& a) { EXPECT_FLOAT_EQ(0.5f, a.timeFilter); }},
    });
}

TEST(PingOptions, RejectedValuesPrintTheirMessageAndNameTheArgument) {
    expectCases({
        {{"-durability", "transient_local"},
         false,
         "Invalid value for -durability. Acceptable values are: VOLATILE | TRANSIENT_LOCAL\n" +
             errorIn("transient_local"),
         nullptr},
        {{"-sendPeriod", "0.5x"},
         false,
         "Invalid value for sendPeriod: 0.5x (must be >=0, 0=unlimited)\n" + errorIn("0.5x"),
         nullptr},
        // Stored before it was checked.
        {{"-sendPeriod", "-2"},
         false,
         "Invalid value for sendPeriod: -2 (must be >=0, 0=unlimited)\n" + errorIn("-2"),
         [](PingAgent& a) { EXPECT_EQ(-2.0f, a.sendPeriod); }},
        {{"-timeout", "-1"},
         false,
         "Invalid value for timeout: -1 (must be >=0, 0=unlimited)\n" + errorIn("-1"),
         nullptr},
        {{"-numSamples", "-1"},
         false,
         "Invalid value for numSamples: -1 (must be >=0, 0=unlimited)\n" + errorIn("-1"),
         nullptr},
        {{"-queueSize", "-1"},
         false,
         "Invalid value for queuSize: -1 (must be >0)\n" + errorIn("-1"),
         nullptr},
        {{"-deadline", "-1"},
         false,
         "Invalid value for deadline: -1.000000 (must be >=0, 0=unlimited)\n" + errorIn("-1"),
         nullptr},
        {{"-deadline", "2s"},
         false,
         "Invalid value for deadline: 2.000000 (must be >=0, 0=unlimited)\n" + errorIn("2s"),
         nullptr},
        {{"-timeFilter", "-0.5"},
         false,
         "Invalid value for time-filter duration: -0.500000 (must be >=0, 0=unlimited)\n" +
             errorIn("-0.5"),
         nullptr},
        {{"-useKeys", "-1"},
         false,
         "Invalid value for useKeys: -1 (must be >0)\n" + errorIn("-1"),
         nullptr},
        {{"-reliable", "-multicast"},
         false,
         "Missing value for argument '-multicast'\n" + errorIn("-multicast"),
         nullptr},
        {{"-timeout", "x"},
         false,
         "Missing or mal-formed value following argument '-timeout'\n" + errorIn("x"),
         nullptr},
    });
}

TEST(PingOptions, OperationCanBeLockedButTheToolNeverLocksIt) {
    PingAgent agent;
    EXPECT_EQ(Publisher, agent.getOperation());
    EXPECT_TRUE(agent.setOperation(Undefined));
    EXPECT_EQ(Undefined, agent.getOperation());
}

}  // namespace
