// The real qorddsping publishing and subscribing on private hosts. Lines that different
// middleware threads print (matches, liveliness, data) may interleave in any order: each
// thread's lines are compared in order, and no other line may appear.
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <memory>
#include <numeric>
#include <set>
#include <string>
#include <vector>

#include "tests/e2e/support/lines.h"
#include "tests/e2e/support/ping_run.h"
#include "tests/e2e/support/private_host.h"

namespace {

using qortest::body;
using qortest::concat;
using qortest::count;
using qortest::countStarting;
using qortest::expectEnded;
using qortest::joined;
using qortest::Lines;
using qortest::PrivateHost;
using qortest::Process;
using qortest::splitLines;
using qortest::startListening;
using qortest::timeoutLine;

const double GENEROUS = 60;  // seconds any run may take before it counts as hung
const char* const LISTENING = "qorddsping is listening for data, press CTRL+C to stop it.";
const char* const ISSUED = "qorddsping, issue received: ";
const char* const ISSUE = "qorddsping, issue received: %.7d";
const char* const SENT = "Sending data...   value: %.7d ";
const char* const MISSED = "Detected Missed Sample(s)";
const char* const NO_WRITERS = "qorddsping, instance no writers";

Lines numbered(const char* format, int first, int last) {
    Lines lines;
    for (int i = first; i <= last; ++i) {
        char line[80];
        std::snprintf(line, sizeof line, format, i);
        lines.push_back(line);
    }
    return lines;
}

std::string issueLine(int number) {
    return numbered(ISSUE, number, number)[0];
}

// Expects `lines` to interleave the streams: each stream's lines in its order, nothing else.
void expectInterleaving(const Lines& lines, const std::vector<Lines>& streams) {
    std::map<std::string, size_t> owner;
    for (size_t s = 0; s < streams.size(); ++s) {
        for (const std::string& line : streams[s]) {
            owner.emplace(line, s);
        }
    }
    std::vector<Lines> seen(streams.size());
    Lines stray;
    for (const std::string& line : lines) {
        auto it = owner.find(line);
        (it == owner.end() ? stray : seen[it->second]).push_back(line);
    }
    EXPECT_TRUE(stray.empty()) << stray.size() << " unexpected lines, the first \"" << stray[0]
                               << "\", in:\n"
                               << joined(lines);
    for (size_t s = 0; s < streams.size(); ++s) {
        const Lines &got = seen[s], &want = streams[s];
        size_t i = static_cast<size_t>(
            std::mismatch(got.begin(), got.end(), want.begin(), want.end()).first - got.begin());
        EXPECT_TRUE(got == want) << "stream " << s << " departs at its line " << i
                                 << ", expected \"" << (i < want.size() ? want[i] : "(end)")
                                 << "\", in:\n"
                                 << joined(lines);
    }
}

// What a subscriber prints of one publisher that comes, sends `data` and goes.
std::vector<Lines> onePublisher(int timeout, const Lines& data) {
    return {{LISTENING, timeoutLine(timeout)},
            data,
            {"Found 1 additional ping publishers(s).", "Current publisher tally is: 1",
             "Detected loss of 1 ping publishers(s).", "Current publisher tally is: 0"},
            {"Found 1 additional alive ping publishers(s).", "Current alive publisher tally is: 1",
             "Detected loss of 1 previously alive ping publishers(s).",
             "Current alive publisher tally is: 0"}};
}

// What a subscriber prints of the issues that reach it, each gap counted as the listener does.
Lines dataLines(const std::vector<int>& issues) {
    Lines lines;
    unsigned missed = 0, taken = 0, expected = 0;
    for (int issue : issues) {
        unsigned number = static_cast<unsigned>(issue);
        lines.push_back(issueLine(issue));
        ++taken;
        if (number > expected) {
            missed += number - expected;
            char line[128];
            std::snprintf(line, sizeof line, "%s current: %u cumulative: %u  (%u.%u)%%", MISSED,
                          number - expected, missed, missed * 100 / (missed + taken),
                          missed * 10000 / (missed + taken) % 100);
            lines.push_back(line);
        }
        expected = number + 1;
    }
    return lines;
}

const Lines SUBSCRIBER_FOUND = {"Found 1 additional ping subscriber(s).",
                                "Current subscriber tally is: 1"};

// A subscriber (timing out after 3 s) and then a publisher on a fresh host, both run to their
// end; the bodies of their outputs.
std::pair<Lines, Lines> runPair(const Lines& subscriberArguments, const Lines& publisherArguments) {
    PrivateHost host;
    auto subscriber = startListening(host, concat({"-timeout", "3"}, subscriberArguments));
    auto publisher = host.startPing(publisherArguments);
    expectEnded(*publisher);
    expectEnded(*subscriber);
    return {body(subscriber->output()), body(publisher->output())};
}

// One publisher and one subscriber on a fresh host: the arguments of both, what each adds, the
// publisher's send lines and the subscriber's data lines.
struct OnePublisherCase {
    const char* name;
    Lines common, subscriber, publisher, sent, received;
};

const Lines DURABLE = {"-durability", "TRANSIENT_LOCAL", "-queueSize"};

OnePublisherCase plainOverTransport(const char* name, const Lines& transport) {
    return {name,
            concat(concat(DURABLE, {"5"}), transport),
            {},
            {"-numSamples", "5", "-sendPeriod", "0.2"},
            numbered(SENT, 0, 4),
            numbered(ISSUE, 0, 4)};
}

// A disposal resets the expectation to 1, so issue 4 counts 3 missed out of 5 infos.
OnePublisherCase keyed() {
    return {"Keyed",
            concat(DURABLE, {"8", "-reliable"}),
            {"-useKeys", "1"},
            {"-useKeys", "2", "-numSamples", "8", "-sendPeriod", "0.2"},
            {"Sending data...   key: 0000000 value: 0000000",
             "Sending data...   key: 0000001 value: 0000001",
             "Sending data...   key: 0000000 value: dispose",
             "Sending data...   key: 0000001 value: dispose",
             "Sending data...   key: 0000000 value: 0000004",
             "Sending data...   key: 0000001 value: 0000005",
             "Sending data...   key: 0000000 value: unregister",
             "Sending data...   key: 0000001 value: unregister"},
            {issueLine(0), issueLine(1), "qorddsping, instance disposed key: 00000000",
             "qorddsping, instance disposed key: 00000001", issueLine(4),
             "Detected Missed Sample(s) current: 3 cumulative: 3  (37.50)%", issueLine(5),
             NO_WRITERS, NO_WRITERS}};
}

void PrintTo(const OnePublisherCase& c, std::ostream* out) {
    *out << c.name;
}

class OnePublisher : public ::testing::TestWithParam<OnePublisherCase> {};

// Exact outputs of both sides, issue 0 included and the subscriber's timeout last.
TEST_P(OnePublisher, ComesSendsAndGoes) {
    const OnePublisherCase& c = GetParam();
    auto outputs = runPair(concat(c.common, c.subscriber), concat(c.common, c.publisher));
    expectInterleaving(outputs.second, {c.sent, SUBSCRIBER_FOUND});
    expectInterleaving(outputs.first, onePublisher(3, c.received));
    EXPECT_EQ(outputs.first.empty() ? "" : outputs.first.back(), timeoutLine(3));
}

std::string caseName(const ::testing::TestParamInfo<OnePublisherCase>& info) {
    return info.param.name;
}

// Over the default transports and each built-in one alone.
INSTANTIATE_TEST_SUITE_P(
    PingScenarioTransports, OnePublisher,
    ::testing::Values(plainOverTransport("DefaultTransports", {}),
                      plainOverTransport("UDPv4", {"-reliable", "-transport", "1"}),
                      plainOverTransport("SharedMemory", {"-reliable", "-transport", "2"}),
                      plainOverTransport("UDPv6",
                                         {"-reliable", "-transport", "8", "-peer", "::1"})),
    caseName);
INSTANTIATE_TEST_SUITE_P(PingScenarioKeyed, OnePublisher, ::testing::Values(keyed()), caseName);

// Subscribers joining late: one counts the issues it missed, one with a time filter is let
// fewer issues through and prints no statistic.
TEST(PingScenario, LateSubscribersCountTheIssuesTheyMissedUnlessFiltered) {
    PrivateHost host;
    auto publisher = host.startPing({"-reliable", "-numSamples", "60", "-sendPeriod", "0.1"});
    ASSERT_TRUE(publisher->waitForOutput(numbered(SENT, 10, 10)[0], GENEROUS));
    auto subscriber = host.startPing({"-subscriber", "-reliable", "-timeout", "3"});
    auto filtered = host.startPing({"-subscriber", "-timeFilter", "0.5", "-timeout", "3"});
    expectEnded(*publisher);
    expectEnded(*subscriber);
    expectEnded(*filtered);

    Lines lines = body(subscriber->output());
    auto first = std::find_if(lines.begin(), lines.end(),
                              [](const std::string& l) { return l.rfind(ISSUED, 0) == 0; });
    ASSERT_NE(first, lines.end()) << joined(lines);
    int n = std::stoi(first->substr(first->size() - 7));
    ASSERT_GT(n, 0);
    std::vector<int> issues(static_cast<size_t>(60 - n));
    std::iota(issues.begin(), issues.end(), n);
    expectInterleaving(lines, onePublisher(3, dataLines(issues)));

    // About five seconds of pings at ten a second, let through at two a second.
    lines = body(filtered->output());
    EXPECT_GE(countStarting(lines, ISSUED), 2u) << joined(lines);
    EXPECT_LE(countStarting(lines, ISSUED), 25u) << joined(lines);
    EXPECT_EQ(countStarting(lines, MISSED), 0u) << joined(lines);
    EXPECT_EQ(countStarting(lines, "DataListener::on_sample_lost"), 0u) << joined(lines);
}

// Stopped after issue 1, the publisher misses the requested deadline; once its lease runs out
// both instances are left without writers, none disposed.
TEST(PingScenario, StoppedKeyedPublisherMissesTheDeadlineAndLeavesNoWriters) {
    PrivateHost host;
    const Lines common = {"-reliable", "-durability", "TRANSIENT_LOCAL", "-queueSize", "2"};
    auto subscriber =
        startListening(host, concat({"-useKeys", "1", "-deadline", "5", "-timeout", "10"}, common));
    // Each instance is written every other period, within the deadline; the first dispose
    // comes a whole period after issue 1.
    auto publisher = host.startPing(concat({"-useKeys", "2", "-sendPeriod", "2"}, common));
    ASSERT_TRUE(subscriber->waitForOutput(issueLine(1), GENEROUS));
    publisher->signal(SIGSTOP);
    expectEnded(*subscriber);
    publisher->signal(SIGKILL);

    Lines lines = body(subscriber->output());
    auto last = std::find(lines.begin(), lines.end(), issueLine(1));
    ASSERT_NE(last, lines.end());
    EXPECT_GE(count(Lines(last, lines.end()), "DataListener::on_requested_deadline_missed !!!!"),
              1u)
        << joined(lines);
    EXPECT_EQ(count(lines, NO_WRITERS), 2u) << joined(lines);
    EXPECT_EQ(countStarting(lines, "qorddsping, instance disposed"), 0u) << joined(lines);
    EXPECT_EQ(lines.back(), timeoutLine(10));
}

TEST(PingScenario, TwoPublishersAreBothReportedWithoutMissedSamples) {
    PrivateHost host;
    const Lines common = {"-reliable", "-durability", "TRANSIENT_LOCAL", "-queueSize", "10"};
    auto subscriber = startListening(host, concat({"-timeout", "3"}, common));
    const Lines publishing = concat({"-numSamples", "10", "-sendPeriod", "0.2"}, common);
    auto first = host.startPing(publishing);
    auto second = host.startPing(publishing);
    expectEnded(*first);
    expectEnded(*second);
    expectEnded(*subscriber);

    Lines lines = body(subscriber->output());
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(count(lines, issueLine(i)), 2u) << i << " in:\n" << joined(lines);
    }
    EXPECT_EQ(countStarting(lines, MISSED), 0u) << joined(lines);
    EXPECT_EQ(count(lines, "Current alive publisher tally is: 2"), 1u) << joined(lines);
    EXPECT_EQ(count(lines, "Current publisher tally is: 2"), 1u) << joined(lines);
}

// One subscriber per kind of -multicast address. Questionable ones are warned about and left
// out, so samples still arrive; the group carries keyed pings as little-endian XCDR1 behind
// their encapsulation header.
TEST(PingScenario, MulticastReceiveAddresses) {
    PrivateHost host;
    auto capture = host.start({"tshark", "-i", "lo", "-n", "-l", "--enable-heuristic", "rtps_udp",
                               "-f", "udp and dst host 239.255.0.1 and dst port 7777", "-T",
                               "fields", "-E", "separator=|", "-e", "rtps.issueData", "-e",
                               "udp.payload", "-a", "duration:60"});
    // tshark announces on its error stream when it listens.
    capture->waitForErrors("Capturing on", 30);
    const std::vector<std::pair<std::string, Lines>> cases = {
        {"239.255.0.1:7777", {LISTENING}},
        {"10.0.0.1", {"10.0.0.1 is not a valid multicast address", LISTENING}},
        {"foo:12", {"foo is not a valid address", LISTENING}}};
    std::vector<std::unique_ptr<Process>> subscribers;
    for (const auto& c : cases) {
        subscribers.push_back(
            startListening(host, {"-useKeys", "1", "-multicast", c.first, "-timeout", "5"}));
    }
    auto publisher = host.startPing({"-useKeys", "2", "-numSamples", "20", "-sendPeriod", "0.1"});
    expectEnded(*publisher);
    for (size_t i = 0; i < cases.size(); ++i) {
        SCOPED_TRACE(cases[i].first);
        expectEnded(*subscribers[i]);
        Lines lines = body(subscribers[i]->output());
        const Lines& opening = cases[i].second;
        EXPECT_EQ(Lines(lines.begin(), lines.begin() + static_cast<std::ptrdiff_t>(
                                                           std::min(lines.size(), opening.size()))),
                  opening);
        EXPECT_GE(countStarting(lines, ISSUED), 5u) << joined(lines);
    }
    capture->signal(SIGINT);
    ASSERT_TRUE(capture->wait(GENEROUS));

    // Every write is { key n % 2, number n }: two little-endian int32 behind the header.
    size_t writes = 0;
    for (const std::string& line : splitLines(capture->output())) {
        std::string data = line.substr(0, line.find('|'));
        if (!data.empty()) {
            int n = data.size() == 16 ? std::stoi(data.substr(8, 2), nullptr, 16) : 0;
            EXPECT_EQ(data, numbered(n % 2 ? "01000000%02x000000" : "00000000%02x000000", n, n)[0]);
            EXPECT_NE(line.find("00010000" + data, data.size()), std::string::npos) << line;
            ++writes;
        }
    }
    EXPECT_GE(writes, 3u) << capture->output() << capture->errors();
}

// A subscriber and a publisher that differ in one setting, and what the subscriber prints
// besides listening and its timeout when they do not match.
struct MatchCase {
    const char* name;
    Lines subscriber, publisher, why;
};

const Lines MATCH = {"(matches)"};
const Lines PARTITIONS_AB = {"-participantPartition", "A", "-participantPartition", "B"};

Lines incompatible(const char* policies) {
    return Lines{"DataListener::on_requested_incompatible_qos !!!!",
                 std::string("Incompatible policies: [ ") + policies + ", ];"};
}

void PrintTo(const MatchCase& c, std::ostream* out) {
    *out << c.name;
}

class CompatibleEndpoints : public ::testing::TestWithParam<MatchCase> {};

// Where they cannot match, the subscriber prints only why (an incompatible QoS, or nothing) and
// the publisher only its pings.
TEST_P(CompatibleEndpoints, OnlyEqualTopicTypeDomainTagAndPartitionsMatch) {
    const MatchCase& c = GetParam();
    auto outputs =
        runPair(c.subscriber, concat({"-numSamples", "10", "-sendPeriod", "0.2"}, c.publisher));
    if (c.why == MATCH) {
        EXPECT_GE(countStarting(outputs.first, ISSUED), 5u) << joined(outputs.first);
    } else {
        expectInterleaving(outputs.first, {{LISTENING, timeoutLine(3)}, c.why});
        expectInterleaving(outputs.second, {numbered(SENT, 0, 9)});
    }
}

INSTANTIATE_TEST_SUITE_P(
    PingScenario, CompatibleEndpoints,
    ::testing::Values(
        MatchCase{"TopicNames", {"-topicName", "A"}, {"-topicName", "B"}, {}},
        MatchCase{"EqualTopicNames", {"-topicName", "A"}, {"-topicName", "A"}, MATCH},
        MatchCase{"TypeNames", {"-typeName", "A"}, {"-typeName", "B"}, {}},
        MatchCase{"EqualTypeNames", {"-typeName", "A"}, {"-typeName", "A"}, MATCH},
        MatchCase{"Domains", {"-domainId", "1"}, {"-domainId", "2"}, {}},
        MatchCase{"EqualDomains", {"-domainId", "3"}, {"-domainId", "3"}, MATCH},
        MatchCase{"DomainTags", {"-domainTag", "red"}, {"-domainTag", "blue"}, {}},
        MatchCase{"EqualDomainTags", {"-domainTag", "red"}, {"-domainTag", "red"}, MATCH},
        MatchCase{"DisjointPartitions", PARTITIONS_AB, {"-participantPartition", "C"}, {}},
        MatchCase{"EqualPartitions", PARTITIONS_AB, PARTITIONS_AB, MATCH},
        MatchCase{"Reliability", {"-reliable"}, {}, incompatible("11")},
        MatchCase{"Durability", {"-durability", "TRANSIENT_LOCAL"}, {}, incompatible("2")},
        MatchCase{"DeadlineShorterThanTheSendPeriod", {"-deadline", "0.1"}, {}, incompatible("4")}),
    [](const ::testing::TestParamInfo<MatchCase>& c) { return std::string(c.param.name); });

// Every sample written arrives. On a loaded machine the subscriber may lag behind the
// publisher's window for longer than max_blocking_time; each such wait is a warning of the
// publisher (at -verbosity 2), after which the write goes ahead and the oldest sample leaves
// the history. So at most one sample is lost per warning, and the subscriber counts each.
TEST(PingScenario, ReliableBurstArrivesWhole) {
    const int total = 100000;
    const Lines common = {"-reliable", "-durability", "TRANSIENT_LOCAL", "-queueSize", "1000"};
    auto outputs = runPair(common, concat({"-sendPeriod", "0", "-numSamples", std::to_string(total),
                                           "-verbosity", "2"},
                                          common));
    const std::string windowFull =
        "WARNING [DDSDataWriter::write] 1000 samples still "
        "unacknowledged after max_blocking_time: writing on, the "
        "oldest leaves the history, and a reader that has not "
        "received it will miss it";
    Lines published;
    size_t windowsFull = 0;
    for (const std::string& line : outputs.second) {
        if (line == windowFull) {
            ++windowsFull;
        } else if (line.rfind("Sending data", 0) == 0 || line.rfind("Found ", 0) == 0 ||
                   line.rfind("Current ", 0) == 0 || line.rfind("write error", 0) == 0) {
            published.push_back(line);
        }
    }
    expectInterleaving(published, {numbered(SENT, 0, total - 1), SUBSCRIBER_FOUND});

    std::vector<int> received;
    Lines subscribed;
    for (const std::string& line : outputs.first) {
        if (line.rfind(ISSUED, 0) == 0) {
            received.push_back(std::stoi(line.substr(line.size() - 7)));
        }
        if (line != "DataListener::on_sample_lost !!!!") {
            subscribed.push_back(line);
        }
    }
    EXPECT_LE(static_cast<size_t>(total) - received.size(), windowsFull);
    ASSERT_FALSE(received.empty());
    EXPECT_EQ(received.front(), 0);
    expectInterleaving(subscribed, onePublisher(3, dataLines(received)));
}

}  // namespace
