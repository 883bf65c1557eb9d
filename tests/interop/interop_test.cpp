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

// The lines of `output` that start with one of `prefixes`, in order.
Lines linesFrom(const std::string& output, const Lines& prefixes) {
    Lines lines;
    std::istringstream in(output);
    for (std::string line; std::getline(in, line);) {
        for (const std::string& prefix : prefixes) {
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
    const std::string received = "qorddsping, issue received: 000000";
    const struct {
        const char* what;
        Lines tool;
        Lines peer;
        Lines lines;  // the receiving side's
    } cases[] = {
        {"plain to the tool",
         {"-subscriber", "-timeout", "8"},
         {QOR_CYCLONE_PEER_PLAIN, "pub", "5"},
         {received + "0", received + "1", received + "2", received + "3", received + "4"}},
        {"keyed to the tool",
         {"-subscriber", "-timeout", "8", "-useKeys", "2"},
         {QOR_CYCLONE_PEER_KEYED, "pub", "8"},
         {received + "0", received + "1", "qorddsping, instance disposed key: 00000000",
          "qorddsping, instance disposed key: 00000001", received + "4",
          "Detected Missed Sample(s) current: 3 cumulative: 3  (37.50)%", received + "5",
          "qorddsping, instance no writers", "qorddsping, instance no writers"}},
        {"plain from the tool",
         {"-numSamples", "5", "-queueSize", "5", "-sendPeriod", "0.2", "-reliable", "-durability",
          "TRANSIENT_LOCAL"},
         {QOR_CYCLONE_PEER_PLAIN, "sub", "5"},
         {"cyclone peer: issue 0000000", "cyclone peer: issue 0000001",
          "cyclone peer: issue 0000002", "cyclone peer: issue 0000003",
          "cyclone peer: issue 0000004"}},
        {"keyed from the tool",
         {"-useKeys", "2", "-numSamples", "8", "-queueSize", "8", "-sendPeriod", "0.2", "-reliable",
          "-durability", "TRANSIENT_LOCAL"},
         {QOR_CYCLONE_PEER_KEYED, "sub", "8"},
         {"cyclone peer: key 0 issue 0000000", "cyclone peer: key 1 issue 0000001",
          "cyclone peer: key 0 disposed", "cyclone peer: key 1 disposed",
          "cyclone peer: key 0 issue 0000004", "cyclone peer: key 1 issue 0000005",
          "cyclone peer: key 0 no writers", "cyclone peer: key 1 no writers"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        bool toolSubscribes = c.tool[0] == "-subscriber";
        qortest::PrivateHost host;
        // The receiving side starts first.
        auto first = toolSubscribes ? host.startPing(c.tool) : host.start(c.peer);
        auto second = toolSubscribes ? host.start(c.peer) : host.startPing(c.tool);
        qortest::Process& tool = toolSubscribes ? *first : *second;
        qortest::Process& peer = toolSubscribes ? *second : *first;
        EXPECT_TRUE(peer.wait(90) && tool.wait(90));
        EXPECT_EQ(1, tool.exitStatus()) << tool.output();
        EXPECT_EQ(0, peer.exitStatus()) << peer.output() << peer.errors();
        std::string output = toolSubscribes ? tool.output() : peer.output();
        EXPECT_EQ(c.lines, linesFrom(output, {"qorddsping, ", "Detected Missed",
                                              "cyclone peer: issue", "cyclone peer: key"}))
            << output;
    }
}

}  // namespace
