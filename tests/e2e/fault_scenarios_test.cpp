// Broken networks between real hosts: private hosts joined by veth pairs through a bridge,
// loss made with nftables (numgen random), cuts made with a drop rule, multicast dropped.
// Publisher and subscribers use UDPv4 alone, so that everything crosses the link. Every
// count the tool prints is compared with the counters of the nftables rules that made it.
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "tests/e2e/support/lines.h"
#include "tests/e2e/support/private_host.h"
#include "tests/e2e/support/private_network.h"

namespace {

using qortest::concat;
using qortest::countStarting;
using qortest::PrivateNetwork;
using qortest::Process;
using qortest::splitLines;
using Arguments = qortest::Lines;

const double GENEROUS = 60;  // seconds any run may take before it counts as hung
const char* const LISTENING = "qorddsping is listening for data";
const char* const ISSUED = "qorddsping, issue received: ";
const char* const FOUND = "Found 1 additional ping publishers(s).";
const char* const LOST = "Detected loss of 1 ping publishers(s).";
const char* const ALIVE = "Found 1 additional alive ping publishers(s).";
const char* const NOT_ALIVE = "Detected loss of 1 previously alive ping publishers(s).";

// The user-traffic port of participant 0 in domain 0: the only participant on its host.
const char* const USER_PORT = "7411";

std::string issueLine(int number) {
    char line[64];
    std::snprintf(line, sizeof line, "%s%07d\n", ISSUED, number);
    return line;
}

// Runs an nftables script on a host.
void nft(PrivateNetwork& network, int host, const std::string& script) {
    network.run(host, {"nft", script});
}

// Drops 30 % of the user traffic both ways on `host`'s link (data, heartbeats,
// acknowledgements), counted in the table "loss", counter "dropped".
void loseThirtyPercentBothWays(PrivateNetwork& network, int host) {
    nft(network, host,
        std::string("add table inet loss; add counter inet loss dropped; "
                    "add chain inet loss in { type filter hook input priority 0; }; "
                    "add chain inet loss out { type filter hook output priority 0; }; "
                    "add rule inet loss in iifname eth0 udp dport ") +
            USER_PORT +
            " numgen random mod 100 < 30 counter name dropped drop; "
            "add rule inet loss out oifname eth0 udp dport " +
            USER_PORT + " numgen random mod 100 < 30 counter name dropped drop");
}

// The packets a named nftables counter of table inet `table` has seen on a host.
long counted(PrivateNetwork& network, int host, const std::string& table,
             const std::string& counter) {
    std::unique_ptr<Process> list =
        network.host(host).start({"nft", "list", "counter", "inet", table, counter});
    EXPECT_TRUE(list->wait(GENEROUS));
    std::string listing = list->output();
    size_t packets = listing.find("packets ");
    EXPECT_NE(std::string::npos, packets) << listing << list->errors();
    return packets == std::string::npos ? -1 : std::atol(listing.c_str() + packets + 8);
}

// A subscriber started on a host, once it listens.
std::unique_ptr<Process> startListening(PrivateNetwork& network, int host,
                                        const Arguments& arguments) {
    auto subscriber =
        network.host(host).startPing(concat({"-subscriber", "-transport", "1"}, arguments));
    EXPECT_TRUE(subscriber->waitForOutput(LISTENING, GENEROUS)) << subscriber->output();
    return subscriber;
}

// Stops a subscriber once its publisher has ended. A publisher ends only after its writer has
// delivered what it could (a reliable one waits for acknowledgements) and a 2 s pause, so
// nothing more can arrive. A subscriber's -timeout would count from its start instead, and
// could end it before a slow start-up of the publisher has finished.
void stop(Process& subscriber) {
    subscriber.signal(SIGKILL);
    EXPECT_TRUE(subscriber.wait(GENEROUS));
}

// What a subscriber's output says about the issues: the cumulative missed count of its last
// statistic line (0 without one), the first and last issues received (-1 without any), and how
// many it received.
struct Tally {
    long missed = 0;
    long firstIssue = -1;
    long lastIssue = -1;
    long received = 0;
};

Tally tallyOf(const std::string& output) {
    Tally tally;
    size_t cumulative = output.rfind("cumulative: ");
    if (cumulative != std::string::npos) {
        tally.missed = std::atol(output.c_str() + cumulative + 12);
    }
    const size_t number = std::string(ISSUED).size();
    size_t first = output.find(ISSUED);
    if (first != std::string::npos) {
        tally.firstIssue = std::atol(output.c_str() + first + number);
        tally.lastIssue = std::atol(output.c_str() + output.rfind(ISSUED) + number);
    }
    for (size_t at = output.find(ISSUED); at != std::string::npos;
         at = output.find(ISSUED, at + 1)) {
        ++tally.received;
    }
    return tally;
}

class BestEffortLoss : public ::testing::TestWithParam<int> {};

// Best effort: each sample is one packet to the subscriber's user-traffic port. Once the first
// issue has arrived, nftables drops a share of those packets on the subscriber host's input;
// the issues the subscriber counts missed from then on, and those lost after its last issue
// received, are exactly the packets dropped. (Issues before the first one received, written
// before publisher and subscriber had matched each other, are counted missed too: the first
// issue received tells how many.)
TEST_P(BestEffortLoss, MissedSamplesEqualTheDroppedPackets) {
    const int samples = 300;
    PrivateNetwork network(2);
    nft(network, 1,
        "add table inet loss; add counter inet loss dropped; "
        "add chain inet loss in { type filter hook input priority 0; }");
    auto subscriber = startListening(network, 1, {});
    auto publisher = network.host(0).startPing(
        {"-transport", "1", "-numSamples", std::to_string(samples), "-sendPeriod", "0.01"});
    ASSERT_TRUE(subscriber->waitForOutput(ISSUED, GENEROUS)) << subscriber->output();
    nft(network, 1,
        std::string("add rule inet loss in iifname eth0 udp dport ") + USER_PORT +
            " numgen random mod 100 < " + std::to_string(GetParam()) +
            " counter name dropped drop");
    ASSERT_TRUE(publisher->wait(GENEROUS));
    stop(*subscriber);
    long dropped = counted(network, 1, "loss", "dropped");
    std::string output = subscriber->output();
    Tally tally = tallyOf(output);
    EXPECT_GT(dropped, 0);
    EXPECT_EQ(dropped, tally.missed - tally.firstIssue + (samples - 1 - tally.lastIssue))
        << output << "dropped " << dropped;
    EXPECT_EQ(samples - tally.firstIssue - dropped, tally.received) << output;
}

INSTANTIATE_TEST_SUITE_P(FaultScenario, BestEffortLoss, ::testing::Values(5, 30),
                         [](const ::testing::TestParamInfo<int>& c) {
                             return "Percent" + std::to_string(c.param);
                         });

// Reliable with a queue of one second of samples, 30 % of the user traffic lost both ways on
// the subscriber's link (data, heartbeats, acknowledgements): every issue arrives, none is
// counted missed, no write gives up.
TEST(FaultScenario, ReliableWithASufficientQueueMissesNothingAtThirtyPercentLoss) {
    PrivateNetwork network(2);
    loseThirtyPercentBothWays(network, 1);
    const Arguments reliable = {"-reliable", "-queueSize", "100"};
    auto subscriber = startListening(network, 1, reliable);
    auto publisher = network.host(0).startPing(
        concat(reliable, {"-transport", "1", "-numSamples", "500", "-sendPeriod", "0.01"}));
    ASSERT_TRUE(publisher->wait(GENEROUS));
    stop(*subscriber);
    EXPECT_GT(counted(network, 1, "loss", "dropped"), 0);
    EXPECT_EQ(std::string::npos, publisher->output().find("write error")) << publisher->output();
    std::string output = subscriber->output();
    EXPECT_EQ(std::string::npos, output.find("Detected Missed Sample(s)")) << output;
    for (int issue = 0; issue < 500; ++issue) {
        ASSERT_NE(std::string::npos, output.find(issueLine(issue))) << issue << output;
    }
}

// The issue numbers a subscriber printed, in the order printed.
std::vector<int> receivedIssues(const std::string& output) {
    std::vector<int> received;
    const size_t number = std::string(ISSUED).size();
    for (size_t at = output.find(ISSUED); at != std::string::npos;
         at = output.find(ISSUED, at + 1)) {
        received.push_back(std::atoi(output.c_str() + at + number));
    }
    return received;
}

class ReliableBurstLoss : public ::testing::TestWithParam<bool> {};

// A reliable burst, 30 % of the user traffic lost both ways on the subscriber's link: each
// repaired loss releases at once what the subscriber received after it, now and then more
// than a hundred samples (a few times per run here), which the subscriber takes from Fast DDS
// in several calls. Every issue written arrives, once, but for those the publisher's window
// had to let go: each wait for acknowledgements that ran out is a warning of the publisher
// (at -verbosity 2), and lets at most one sample go. Unkeyed, in the order written. Keyed,
// over 2000 instances each written, disposed and written again (the publisher's cycle,
// stopped before it unregisters), in the order written per instance, instances changing
// state in the middle of what arrives at once; across instances, the reader hands out what
// it holds instance by instance.
TEST_P(ReliableBurstLoss, EveryIssueArrivesOnce) {
    const bool keyed = GetParam();
    const int keys = 2000;
    const int samples = keyed ? 3 * keys : 10000;
    PrivateNetwork network(2);
    loseThirtyPercentBothWays(network, 1);
    Arguments reliable = {"-reliable", "-queueSize", "1000"};
    if (keyed) {
        reliable = concat(reliable, {"-useKeys", std::to_string(keys)});
    }
    auto subscriber = startListening(network, 1, reliable);
    auto publisher = network.host(0).startPing(
        concat(reliable, {"-transport", "1", "-numSamples", std::to_string(samples), "-sendPeriod",
                          "0", "-verbosity", "2"}));
    ASSERT_TRUE(publisher->wait(GENEROUS)) << publisher->output();
    stop(*subscriber);
    EXPECT_GT(counted(network, 1, "loss", "dropped"), 0);
    const Arguments published = splitLines(publisher->output());
    ASSERT_EQ(countStarting(published, "Sending data"), static_cast<size_t>(samples));
    EXPECT_EQ(countStarting(published, "write error"), 0u) << publisher->output();
    const size_t windowsLetGo = countStarting(published, "WARNING [DDSDataWriter::write]");
    std::set<int> expected;
    for (int issue = 0; issue < samples; ++issue) {
        // Keyed, the second third of the issues are disposes, which carry no number.
        if (!keyed || issue / keys != 1) {
            expected.insert(issue);
        }
    }
    std::vector<int> received = receivedIssues(subscriber->output());
    // In the order written: overall unkeyed, per instance keyed.
    std::vector<int> last(keyed ? keys : 1, -1);
    for (int issue : received) {
        int& before = last[static_cast<size_t>(keyed ? issue % keys : 0)];
        ASSERT_LT(before, issue) << subscriber->output();
        ASSERT_EQ(expected.count(issue), 1u) << issue << " was never written";
        before = issue;
    }
    EXPECT_LE(expected.size() - received.size(), windowsLetGo) << subscriber->output();
}

INSTANTIATE_TEST_SUITE_P(FaultScenario, ReliableBurstLoss, ::testing::Values(false, true),
                         [](const ::testing::TestParamInfo<bool>& c) {
                             return c.param ? "Keyed" : "Unkeyed";
                         });

// Reliable, and every sample kept for subscribers that the publisher discovers late.
const Arguments DURABLE = {"-reliable", "-durability", "TRANSIENT_LOCAL", "-queueSize", "100"};

// Counters on the subscriber host's link for cuts: "delivered" counts the user traffic that
// gets through (after the cut's chains), "cut" the user traffic that a cut drops.
void prepareCuts(PrivateNetwork& network, int host) {
    nft(network, host,
        std::string("add table inet cut; add counter inet cut delivered; "
                    "add counter inet cut cut; "
                    "add chain inet cut count { type filter hook input priority 10; }; "
                    "add rule inet cut count iifname eth0 udp dport ") +
            USER_PORT + " counter name delivered");
}

// Cuts the host's link: everything in and out over eth0 is dropped.
void cut(PrivateNetwork& network, int host) {
    nft(network, host,
        std::string("add chain inet cut in { type filter hook input priority 0; }; "
                    "add chain inet cut out { type filter hook output priority 0; }; "
                    "add rule inet cut in iifname eth0 udp dport ") +
            USER_PORT +
            " counter name cut drop; add rule inet cut in iifname eth0 drop; "
            "add rule inet cut out oifname eth0 drop");
}

void mend(PrivateNetwork& network, int host) {
    nft(network, host, "delete chain inet cut in; delete chain inet cut out");
}

// A 5 s cut at 10 samples a second, shorter than the participants' lease (6.5 s) on both sides:
// the subscriber hears the publisher until the cut (every sample refreshes the lease), and the
// cut starts just after the subscriber's own periodic announcement (every 2 s). Neither loses
// the other, so the samples the cut dropped are exactly those counted missed (after the first
// issue received, as with loss).
TEST(FaultScenario, AFiveSecondCutMissesExactlyTheSamplesItDropped) {
    const int samples = 150;
    PrivateNetwork network(2);
    prepareCuts(network, 1);
    auto announcements = network.host(1).start(
        {"tshark", "-i", "eth0", "-n", "-l", "-f",
         "udp and src host " + PrivateNetwork::address(1) + " and dst port 7400", "-T", "fields",
         "-e", "frame.number", "-a", "duration:60"});
    ASSERT_TRUE(announcements->waitForErrors("Capturing on", GENEROUS)) << announcements->errors();
    auto subscriber = startListening(network, 1, {});
    auto publisher = network.host(0).startPing(
        {"-transport", "1", "-numSamples", std::to_string(samples), "-sendPeriod", "0.1"});
    ASSERT_TRUE(subscriber->waitForOutput(issueLine(20), GENEROUS)) << subscriber->output();
    size_t seen = announcements->output().size();
    // The next announcement, looked for every 5 ms: the cut follows it closely.
    ASSERT_TRUE(announcements->waitUntil([&] { return announcements->output().size() > seen; }, 3,
                                         std::chrono::milliseconds(5)))
        << announcements->errors();
    cut(network, 1);
    std::this_thread::sleep_for(std::chrono::seconds(5));
    mend(network, 1);
    ASSERT_TRUE(publisher->wait(GENEROUS));
    stop(*subscriber);
    announcements->signal(SIGKILL);

    long dropped = counted(network, 1, "cut", "cut");
    std::string output = subscriber->output();
    Tally tally = tallyOf(output);
    EXPECT_EQ(samples - 1, tally.lastIssue) << output;
    EXPECT_GT(dropped, 0);
    EXPECT_EQ(dropped, tally.missed - tally.firstIssue) << output;
    EXPECT_EQ(samples - tally.firstIssue, tally.received + dropped) << output;
    // Neither side lost the other before the publisher ended.
    EXPECT_EQ(std::string::npos, output.rfind(LOST, output.find(issueLine(samples - 1)))) << output;
    EXPECT_EQ(std::string::npos, publisher->output().find("Detected loss of 1 ping subscriber"))
        << publisher->output();
}

// A 10 s cut, longer than the lease: each side loses the other; once mended they meet again,
// the publisher alive again, and every sample not received is counted missed.
TEST(FaultScenario, ATenSecondCutLosesThePublisherAndFindsItAliveAgain) {
    const int samples = 200;
    PrivateNetwork network(2);
    prepareCuts(network, 1);
    auto subscriber = startListening(network, 1, {});
    auto publisher = network.host(0).startPing(
        {"-transport", "1", "-numSamples", std::to_string(samples), "-sendPeriod", "0.1"});
    ASSERT_TRUE(subscriber->waitForOutput(issueLine(20), GENEROUS)) << subscriber->output();
    cut(network, 1);
    size_t cutAt = subscriber->output().size();
    std::this_thread::sleep_for(std::chrono::seconds(10));
    mend(network, 1);
    ASSERT_TRUE(publisher->wait(GENEROUS));
    stop(*subscriber);

    long dropped = counted(network, 1, "cut", "cut");
    long delivered = counted(network, 1, "cut", "delivered");
    std::string output = subscriber->output();
    Tally tally = tallyOf(output);
    EXPECT_EQ(samples - 1, tally.lastIssue) << output;
    EXPECT_GT(dropped, 0);
    // Each issue not received is counted once: the cut's drops, the samples not sent while the
    // publisher had lost the subscriber, and those that reached the subscriber host before its
    // reader had matched the publisher again (counted "delivered" on the link but not taken).
    EXPECT_EQ(samples - tally.received, tally.missed) << output;
    EXPECT_GE(tally.missed - tally.firstIssue, dropped) << output;
    EXPECT_LE(tally.received, delivered) << output;
    size_t lost = output.find(LOST, cutAt);
    ASSERT_NE(std::string::npos, lost) << output;
    size_t notAlive = output.find(NOT_ALIVE, cutAt);
    ASSERT_NE(std::string::npos, notAlive) << output;
    size_t found = output.find(FOUND, lost);
    ASSERT_NE(std::string::npos, found) << output;
    size_t alive = output.find(ALIVE, notAlive);
    ASSERT_NE(std::string::npos, alive) << output;
    EXPECT_NE(std::string::npos, output.find("Current alive publisher tally is: 1", alive))
        << output;
    std::string published = publisher->output();
    size_t gone = published.find("Detected loss of 1 ping subscriber(s).");
    ASSERT_NE(std::string::npos, gone) << published;
    EXPECT_NE(std::string::npos, published.find("Found 1 additional ping subscriber(s).", gone))
        << published;
}

// A publisher killed (SIGKILL) sends nothing more: the subscriber reports it lost, as a
// publisher and as a previously alive one, within its participant's lease (6.5 s) of the kill.
TEST(FaultScenario, AKilledPublisherIsReportedLostWithinItsLease) {
    PrivateNetwork network(2);
    auto subscriber = startListening(network, 1, {});
    auto publisher = network.host(0).startPing({"-transport", "1", "-sendPeriod", "0.1"});
    ASSERT_TRUE(subscriber->waitForOutput(issueLine(5), GENEROUS)) << subscriber->output();
    size_t killedAt = subscriber->output().size();
    publisher->signal(SIGKILL);
    // The lease and half a second for the report: all the bound this scenario allows.
    EXPECT_TRUE(subscriber->waitForOutput(NOT_ALIVE, 7, killedAt)) << subscriber->output();
    std::string output = subscriber->output();
    EXPECT_NE(std::string::npos, output.find(LOST, killedAt)) << output;
    EXPECT_NE(std::string::npos, output.find("Current alive publisher tally is: 0", killedAt))
        << output;
    subscriber->signal(SIGKILL);
}

// Multicast dropped between the hosts (both ways, on each host's link): the participants never
// discover each other. With -peer naming the other host on both sides they do, and every issue
// arrives (reliable and durable, so that none depends on when discovery completes).
TEST(FaultScenario, DroppedMulticastIsBridgedByPeersOnBothSides) {
    const int samples = 30;
    for (bool peers : {false, true}) {
        SCOPED_TRACE(peers ? "with -peer" : "without -peer");
        PrivateNetwork network(2);
        for (int host : {0, 1}) {
            nft(network, host,
                "add table inet block; add counter inet block multicast; "
                "add chain inet block in { type filter hook input priority 0; }; "
                "add chain inet block out { type filter hook output priority 0; }; "
                "add rule inet block in iifname eth0 ip daddr 224.0.0.0/4 counter name "
                "multicast drop; "
                "add rule inet block out oifname eth0 ip daddr 224.0.0.0/4 counter name "
                "multicast drop");
        }
        auto peer = [&](int host) {
            return peers ? concat(DURABLE, {"-peer", PrivateNetwork::address(host)}) : DURABLE;
        };
        auto subscriber = startListening(network, 1, peer(0));
        auto publisher = network.host(0).startPing(concat(
            peer(1),
            {"-transport", "1", "-numSamples", std::to_string(samples), "-sendPeriod", "0.1"}));
        ASSERT_TRUE(publisher->wait(GENEROUS));
        stop(*subscriber);
        EXPECT_GT(counted(network, 0, "block", "multicast"), 0);
        EXPECT_GT(counted(network, 1, "block", "multicast"), 0);
        std::string output = subscriber->output() + "-- publisher:" + publisher->output();
        if (peers) {
            for (int issue = 0; issue < samples; ++issue) {
                ASSERT_NE(std::string::npos, output.find(issueLine(issue))) << issue << output;
            }
            EXPECT_EQ(std::string::npos, output.find("Detected Missed Sample(s)")) << output;
        } else {
            EXPECT_EQ(std::string::npos, output.find(FOUND)) << output;
            EXPECT_EQ(std::string::npos, output.find(ISSUED)) << output;
            EXPECT_EQ(std::string::npos, output.find("Found 1 additional")) << output;
        }
    }
}

// One publisher, three subscribers on three more hosts, one of them receiving over multicast:
// every host gets every issue, the multicast one over its group and nothing to its user-traffic
// port.
TEST(FaultScenario, ThreeSubscribersOnThreeHostsGetEveryIssue) {
    const int samples = 100;
    PrivateNetwork network(4);
    nft(network, 3,
        "add table inet group; add counter inet group data; "
        "add chain inet group in { type filter hook input priority 0; }; "
        "add counter inet group unicast; "
        "add rule inet group in iifname eth0 ip daddr 239.255.0.1 udp dport 23001 counter "
        "name data; "
        "add rule inet group in iifname eth0 udp dport 7411 counter name unicast");
    std::vector<std::unique_ptr<Process>> subscribers;
    for (int host : {1, 2, 3}) {
        Arguments arguments = DURABLE;
        if (host == 3) {
            arguments = concat(arguments, {"-multicast", "239.255.0.1"});
        }
        subscribers.push_back(startListening(network, host, arguments));
    }
    auto publisher = network.host(0).startPing(
        concat(DURABLE,
               {"-transport", "1", "-numSamples", std::to_string(samples), "-sendPeriod", "0.02"}));
    ASSERT_TRUE(publisher->wait(GENEROUS));
    for (size_t i = 0; i < subscribers.size(); ++i) {
        SCOPED_TRACE("host " + std::to_string(i + 1));
        stop(*subscribers[i]);
        std::string output = subscribers[i]->output();
        for (int issue = 0; issue < samples; ++issue) {
            ASSERT_NE(std::string::npos, output.find(issueLine(issue))) << issue << output;
        }
        EXPECT_EQ(std::string::npos, output.find("Detected Missed Sample(s)")) << output;
    }
    // The multicast subscriber's host got its traffic over the group alone.
    EXPECT_GT(counted(network, 3, "group", "data"), 0);
    EXPECT_EQ(0, counted(network, 3, "group", "unicast"));
}

// What the test network may carry: its subnet and discovery group, IGMP and ARP within the
// subnet, and IPv6 link-local neighbour discovery (router and neighbour solicitations and
// advertisements) with its multicast listener reports (MLD, IPv6's IGMP).
const char* const OWN_TRAFFIC =
    "(ip.src == 10.77.0.0/24 && (ip.dst == 10.77.0.0/24 || ip.dst == 239.255.0.1 || "
    "(igmp && ip.dst == 224.0.0.0/24)))"
    " || (arp.src.proto_ipv4 == 10.77.0.0/24 && arp.dst.proto_ipv4 == 10.77.0.0/24)"
    " || ((ipv6.src == fe80::/10 || ipv6.src == ::) && (ipv6.dst == ff02::/16 || "
    "ipv6.dst == fe80::/10) && icmpv6.type in {130..137, 143})";

// The packets of a capture file that a display filter selects, one line each.
std::string packets(PrivateNetwork& network, const std::string& file, const std::string& filter) {
    auto read = network.host(1).start(
        {"tshark", "-r", file, "-n", "--enable-heuristic", "rtps_udp", "-Y", filter});
    EXPECT_TRUE(read->wait(GENEROUS));
    EXPECT_EQ(0, read->exitStatus()) << read->errors();
    return read->output();
}

size_t lineCount(const std::string& text) {
    return static_cast<size_t>(std::count(text.begin(), text.end(), '\n'));
}

// What crosses the test network is its own: on a host's link, a capture of a publisher and a
// subscriber at work shows the test subnet and its discovery group, IGMP, ARP within the
// subnet and IPv6 neighbour discovery, and nothing else.
TEST(FaultScenario, TheLinkCarriesOnlyTheTestSubnetItsGroupsIgmpAndNeighbourDiscovery) {
    PrivateNetwork network(2);
    const std::string file = "/tmp/qor-fault-capture-" + std::to_string(getpid()) + ".pcapng";
    auto capture =
        network.host(1).start({"tshark", "-i", "eth0", "-n", "-w", file, "-a", "duration:60"});
    ASSERT_TRUE(capture->waitForErrors("Capturing on", GENEROUS)) << capture->errors();
    auto subscriber = startListening(network, 1, {});
    auto publisher =
        network.host(0).startPing({"-transport", "1", "-numSamples", "20", "-sendPeriod", "0.05"});
    ASSERT_TRUE(publisher->wait(GENEROUS));
    stop(*subscriber);
    Tally tally = tallyOf(subscriber->output());
    EXPECT_GT(tally.received, 0) << subscriber->output();
    capture->signal(SIGINT);
    ASSERT_TRUE(capture->wait(GENEROUS));
    EXPECT_EQ("", packets(network, file, "!(" + std::string(OWN_TRAFFIC) + ")"));
    // The filters see the traffic: each sample received (from the one user-defined, unkeyed
    // writer) is there, on its way to the subscriber's user-traffic port. (A sample that
    // arrived before the reader had matched the writer is there too, but not received.)
    EXPECT_LE(static_cast<size_t>(tally.received),
              lineCount(packets(network, file,
                                "ip.dst == 10.77.0.2 && udp.dstport == 7411 && "
                                "rtps.sm.wrEntityId.entityKind == 0x03")));
    std::remove(file.c_str());
}

}  // namespace
