// qorddsping against an independent DDS implementation: a ping peer on Eclipse Cyclone DDS
// publishes to the tool's subscriber and subscribes to the tool's publisher, with the plain
// and the keyed sample layout, on one private host.
#include <gtest/gtest.h>

#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include "tests/e2e/support/private_host.h"

namespace {

using Lines = std::vector<std::string>;

// The lines of `output` that tell what was received, in order.
Lines received(const std::string& output) {
    const char* const wanted[] = {"qorddsping, ", "Detected Missed", "cyclone peer: issue",
                                  "cyclone peer: key"};
    Lines lines;
    std::istringstream in(output);
    for (std::string line; std::getline(in, line);) {
        for (const char* prefix : wanted) {
            if (line.rfind(prefix, 0) == 0) {
                lines.push_back(line);
                break;
            }
        }
    }
    return lines;
}

const std::string ISSUE = "qorddsping, issue received: 000000";
const std::string SAYS = "cyclone peer: ";

// The tool's and the peer's command lines, and the lines the receiving side prints.
struct InteropCase {
    const char* name;
    Lines tool;
    Lines peer;
    Lines lines;
};

void PrintTo(const InteropCase& c, std::ostream* out) {
    *out << c.name;
}

class CycloneInterop : public ::testing::TestWithParam<InteropCase> {};

// Issue numbers, disposals and lost writers reach the other side as they were sent; the tool's
// subscriber counts the issues the disposals and unregistrations took as missed.
TEST_P(CycloneInterop, SamplesReachTheOtherSide) {
    const InteropCase& c = GetParam();
    bool toolSubscribes = c.tool[0] == "-subscriber";
    qortest::PrivateHost host;
    // The receiving side starts first.
    auto first = toolSubscribes ? host.startPing(c.tool) : host.start(c.peer);
    auto second = toolSubscribes ? host.start(c.peer) : host.startPing(c.tool);
    qortest::Process& tool = toolSubscribes ? *first : *second;
    qortest::Process& cyclone = toolSubscribes ? *second : *first;
    EXPECT_TRUE(cyclone.wait(90) && tool.wait(90));
    EXPECT_EQ(1, tool.exitStatus()) << tool.output();
    EXPECT_EQ(0, cyclone.exitStatus()) << cyclone.output() << cyclone.errors();
    std::string output = toolSubscribes ? tool.output() : cyclone.output();
    EXPECT_EQ(c.lines, received(output)) << output;
}

// Both layouts, both ways.
INSTANTIATE_TEST_SUITE_P(
    LayoutsAndDirections, CycloneInterop,
    ::testing::Values(
        InteropCase{"PlainToTheTool",
                    {"-subscriber", "-timeout", "8"},
                    {QOR_CYCLONE_PEER_PLAIN, "pub", "5"},
                    {ISSUE + "0", ISSUE + "1", ISSUE + "2", ISSUE + "3", ISSUE + "4"}},
        InteropCase{"KeyedToTheTool",
                    {"-subscriber", "-timeout", "8", "-useKeys", "2"},
                    {QOR_CYCLONE_PEER_KEYED, "pub", "8"},
                    {ISSUE + "0", ISSUE + "1", "qorddsping, instance disposed key: 00000000",
                     "qorddsping, instance disposed key: 00000001", ISSUE + "4",
                     "Detected Missed Sample(s) current: 3 cumulative: 3  (37.50)%", ISSUE + "5",
                     "qorddsping, instance no writers", "qorddsping, instance no writers"}},
        InteropCase{"PlainFromTheTool",
                    {"-numSamples", "5", "-queueSize", "5", "-sendPeriod", "0.2", "-reliable",
                     "-durability", "TRANSIENT_LOCAL"},
                    {QOR_CYCLONE_PEER_PLAIN, "sub", "5"},
                    {SAYS + "issue 0000000", SAYS + "issue 0000001", SAYS + "issue 0000002",
                     SAYS + "issue 0000003", SAYS + "issue 0000004"}},
        InteropCase{
            "KeyedFromTheTool",
            {"-useKeys", "2", "-numSamples", "8", "-queueSize", "8", "-sendPeriod", "0.2",
             "-reliable", "-durability", "TRANSIENT_LOCAL"},
            {QOR_CYCLONE_PEER_KEYED, "sub", "8"},
            {SAYS + "key 0 issue 0000000", SAYS + "key 1 issue 0000001", SAYS + "key 0 disposed",
             SAYS + "key 1 disposed", SAYS + "key 0 issue 0000004", SAYS + "key 1 issue 0000005",
             SAYS + "key 0 no writers", SAYS + "key 1 no writers"}}),
    [](const ::testing::TestParamInfo<InteropCase>& c) { return std::string(c.param.name); });

// At verbosity 4 the tool names the peer's vendor from its vendor id, as registered.
TEST(CycloneInterop, ThePeerIsReportedAsEclipseCycloneDds) {
    qortest::PrivateHost host;
    auto tool = host.startPing({"-subscriber", "-timeout", "4", "-verbosity", "4"});
    auto cyclone = host.start({QOR_CYCLONE_PEER_PLAIN, "pub", "3"});
    EXPECT_TRUE(cyclone->wait(90) && tool->wait(90));
    // The peer's GUID prefix, from the line that reports its discovery.
    const std::string start = "INFO [discovery] remote participant ";
    std::string line;
    std::istringstream in(tool->output());
    while (std::getline(in, line) &&
           (line.rfind(start, 0) != 0 || line.find(" discovered: ") == std::string::npos)) {
    }
    std::string prefix = line.substr(start.size(), line.find(' ', start.size()) - start.size());
    EXPECT_EQ(start + prefix +
                  " \"\" discovered: vendor Eclipse Cyclone DDS, on this host, lease duration 10 s",
              line)
        << tool->output();
}

}  // namespace
