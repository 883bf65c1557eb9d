// qorddsping against an independent DDS implementation: a ping peer on Eclipse Cyclone DDS
// publishes to the tool's subscriber and subscribes to the tool's publisher, with the plain
// and the keyed sample layout, on one private host.
#include <gtest/gtest.h>

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

// Issue numbers, disposals and lost writers reach the other side as they were sent; the tool's
// subscriber counts the issues the disposals and unregistrations took as missed.
TEST(CycloneInterop, SamplesReachTheOtherSideInBothLayoutsBothWays) {
    const std::string issue = "qorddsping, issue received: 000000", says = "cyclone peer: ";
    const struct {
        Lines tool;
        Lines peer;
        Lines lines;  // the receiving side's
    } cases[] = {
        {{"-subscriber", "-timeout", "8"},
         {QOR_CYCLONE_PEER_PLAIN, "pub", "5"},
         {issue + "0", issue + "1", issue + "2", issue + "3", issue + "4"}},
        {{"-subscriber", "-timeout", "8", "-useKeys", "2"},
         {QOR_CYCLONE_PEER_KEYED, "pub", "8"},
         {issue + "0", issue + "1", "qorddsping, instance disposed key: 00000000",
          "qorddsping, instance disposed key: 00000001", issue + "4",
          "Detected Missed Sample(s) current: 3 cumulative: 3  (37.50)%", issue + "5",
          "qorddsping, instance no writers", "qorddsping, instance no writers"}},
        {{"-numSamples", "5", "-queueSize", "5", "-sendPeriod", "0.2", "-reliable", "-durability",
          "TRANSIENT_LOCAL"},
         {QOR_CYCLONE_PEER_PLAIN, "sub", "5"},
         {says + "issue 0000000", says + "issue 0000001", says + "issue 0000002",
          says + "issue 0000003", says + "issue 0000004"}},
        {{"-useKeys", "2", "-numSamples", "8", "-queueSize", "8", "-sendPeriod", "0.2", "-reliable",
          "-durability", "TRANSIENT_LOCAL"},
         {QOR_CYCLONE_PEER_KEYED, "sub", "8"},
         {says + "key 0 issue 0000000", says + "key 1 issue 0000001", says + "key 0 disposed",
          says + "key 1 disposed", says + "key 0 issue 0000004", says + "key 1 issue 0000005",
          says + "key 0 no writers", says + "key 1 no writers"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.peer[0] + " " + c.peer[1]);
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
}

}  // namespace
