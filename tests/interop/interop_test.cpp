// qorddsping against an independent DDS implementation: a ping peer on Eclipse Cyclone DDS
// publishes to the tool's subscriber and subscribes to the tool's publisher, with the plain
// and the keyed sample layout, on one private host.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "tests/e2e/support/private_host.h"

namespace {

// The lines of `output` that contain `marker`, in order.
std::vector<std::string> linesWith(const std::string& output, const std::string& marker) {
    std::vector<std::string> lines;
    std::istringstream in(output);
    for (std::string line; std::getline(in, line);) {
        if (line.find(marker) != std::string::npos) {
            lines.push_back(line);
        }
    }
    return lines;
}

struct Outputs {
    std::string tool;
    std::string peer;
};

// Starts the receiving side first, then the sending side, and waits for both.
Outputs exchange(const std::vector<std::string>& toolArguments, bool toolSubscribes,
                 const std::vector<std::string>& peerCommand) {
    qortest::PrivateHost host;
    std::unique_ptr<qortest::Process> tool, peer;
    if (toolSubscribes) {
        tool = host.startPing(toolArguments);
        peer = host.start(peerCommand);
    } else {
        peer = host.start(peerCommand);
        tool = host.startPing(toolArguments);
    }
    EXPECT_TRUE(peer->wait(60)) << peer->output();
    EXPECT_TRUE(tool->wait(60)) << tool->output();
    EXPECT_EQ(1, tool->exitStatus()) << tool->output();
    EXPECT_EQ(0, peer->exitStatus()) << peer->output() << peer->errors();
    return {tool->output(), peer->output()};
}

TEST(CycloneInterop, PlainPeerPublishesToTheToolsSubscriber) {
    Outputs run = exchange({"-subscriber", "-timeout", "3"}, true,
                           {QOR_CYCLONE_PEER_PLAIN, "pub", "-n", "5", "-period", "100"});
    EXPECT_EQ((std::vector<std::string>{
                  "qorddsping, issue received: 0000000", "qorddsping, issue received: 0000001",
                  "qorddsping, issue received: 0000002", "qorddsping, issue received: 0000003",
                  "qorddsping, issue received: 0000004"}),
              linesWith(run.tool, "qorddsping, "))
        << run.tool;
    EXPECT_TRUE(linesWith(run.tool, "Missed").empty()) << run.tool;
}

TEST(CycloneInterop, KeyedPeerWritesDisposesAndUnregistersToTheToolsSubscriber) {
    Outputs run =
        exchange({"-subscriber", "-useKeys", "2", "-timeout", "3"}, true,
                 {QOR_CYCLONE_PEER_KEYED, "pub", "-n", "8", "-period", "100", "-keys", "2"});
    EXPECT_EQ((std::vector<std::string>{
                  "qorddsping, issue received: 0000000",
                  "qorddsping, issue received: 0000001",
                  "qorddsping, instance disposed key: 00000000",
                  "qorddsping, instance disposed key: 00000001",
                  "qorddsping, issue received: 0000004",
                  "qorddsping, issue received: 0000005",
                  "qorddsping, instance no writers",
                  "qorddsping, instance no writers",
              }),
              linesWith(run.tool, "qorddsping, "))
        << run.tool;
}

TEST(CycloneInterop, ToolsPublisherReachesThePlainPeer) {
    Outputs run = exchange({"-numSamples", "5", "-sendPeriod", "0.2", "-reliable", "-durability",
                            "TRANSIENT_LOCAL", "-queueSize", "5"},
                           false,
                           {QOR_CYCLONE_PEER_PLAIN, "sub", "-timeout", "4", "-reliable",
                            "-transient-local", "-depth", "5"});
    std::vector<std::string> issues = linesWith(run.peer, "issue");
    EXPECT_EQ(
        (std::vector<std::string>{"cyclone peer: issue 0000000", "cyclone peer: issue 0000001",
                                  "cyclone peer: issue 0000002", "cyclone peer: issue 0000003",
                                  "cyclone peer: issue 0000004"}),
        issues)
        << run.peer;
}

TEST(CycloneInterop, ToolsKeyedPublisherReachesTheKeyedPeer) {
    Outputs run = exchange({"-useKeys", "2", "-numSamples", "8", "-sendPeriod", "0.2", "-reliable",
                            "-durability", "TRANSIENT_LOCAL", "-queueSize", "8"},
                           false,
                           {QOR_CYCLONE_PEER_KEYED, "sub", "-timeout", "4", "-reliable",
                            "-transient-local", "-depth", "8"});
    EXPECT_EQ((std::vector<std::string>{
                  "cyclone peer: key 0 issue 0000000",
                  "cyclone peer: key 1 issue 0000001",
                  "cyclone peer: key 0 disposed",
                  "cyclone peer: key 1 disposed",
                  "cyclone peer: key 0 issue 0000004",
                  "cyclone peer: key 1 issue 0000005",
                  "cyclone peer: key 0 no writers",
                  "cyclone peer: key 1 no writers",
              }),
              linesWith(run.peer, "cyclone peer: key"))
        << run.peer;
}

}  // namespace
