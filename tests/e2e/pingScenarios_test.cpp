// Publisher and subscribers of the real qorddsping exchanging pings, each scenario on its own
// private host. Lines that different middleware threads print (matches, liveliness, data) may
// interleave in any order; each thread's own lines are compared in order, and every line of
// the output must be accounted for.
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/e2e/support/private_host.h"

namespace {

using qortest::PrivateHost;
using qortest::Process;
using Lines = std::vector<std::string>;

const double GENEROUS = 60;  // seconds any run may take before it counts as hung

const char* const LISTENING = "qorddsping is listening for data, press CTRL+C to stop it.";

Lines splitLines(const std::string& text) {
    Lines lines;
    std::istringstream in(text);
    std::string line;
    while (std::getline(in, line)) {
        lines.push_back(line);
    }
    return lines;
}

std::string joined(const Lines& lines) {
    std::string text;
    for (const std::string& line : lines) {
        text += line + "\n";
    }
    return text;
}

// The output after the three header lines (an empty line, the title with the DDS version and
// the rule), which every run prints first.
Lines body(const std::string& output) {
    Lines lines = splitLines(output);
    if (lines.size() < 3 || !lines[0].empty() ||
        lines[1].rfind("QOR Solvane DDS Ping built with DDS version: ", 0) != 0 ||
        lines[2].find_first_not_of('~') != std::string::npos) {
        ADD_FAILURE() << "no header in:\n" << output;
        return lines;
    }
    return Lines(lines.begin() + 3, lines.end());
}

// Outputs of a hundred thousand lines are too long to print, and far too long to diff.
std::string shown(const Lines& lines) {
    return lines.size() <= 200 ? joined(lines) : std::string("(too long to show)\n");
}

// Names the first line where `seen` departs from `wanted`, with the lines around it.
void expectSameLines(const Lines& seen, const Lines& wanted, const Lines& all) {
    size_t i = 0;
    while (i < seen.size() && i < wanted.size() && seen[i] == wanted[i]) {
        ++i;
    }
    if (i == seen.size() && i == wanted.size()) {
        return;
    }
    auto at = [&](size_t k) { return seen.begin() + static_cast<long>(std::min(k, seen.size())); };
    ADD_FAILURE() << "line " << i << " of a stream is "
                  << (i < seen.size() ? "\"" + seen[i] + "\"" : std::string("missing"))
                  << ", expected "
                  << (i < wanted.size() ? "\"" + wanted[i] + "\"" : std::string("nothing more"))
                  << " (" << seen.size() << " lines seen, " << wanted.size()
                  << " expected); the stream around it:\n"
                  << joined(Lines(at(i < 5 ? 0 : i - 5), at(i + 5))) << "whole output:\n"
                  << shown(all);
}

// Expects `lines` to be an interleaving of the streams: every stream's lines appear in its
// order, and no other line appears. A line may belong to one stream only.
void expectInterleaving(const Lines& lines, const std::vector<Lines>& streams) {
    std::map<std::string, size_t> owner;
    for (size_t s = 0; s < streams.size(); ++s) {
        for (const std::string& line : streams[s]) {
            auto [it, fresh] = owner.emplace(line, s);
            ASSERT_TRUE(fresh || it->second == s) << "line in two streams: " << line;
        }
    }
    std::vector<Lines> seen(streams.size());
    Lines stray;
    for (const std::string& line : lines) {
        auto it = owner.find(line);
        if (it == owner.end()) {
            stray.push_back(line);
        } else {
            seen[it->second].push_back(line);
        }
    }
    if (!stray.empty()) {
        ADD_FAILURE() << stray.size() << " unexpected lines, the first:\n"
                      << joined(
                             Lines(stray.begin(), stray.begin() + std::min<long>(20, stray.size())))
                      << "in:\n"
                      << shown(lines);
    }
    for (size_t s = 0; s < streams.size(); ++s) {
        expectSameLines(seen[s], streams[s], lines);
    }
}

size_t countOf(const Lines& lines, const std::string& wanted) {
    return static_cast<size_t>(std::count(lines.begin(), lines.end(), wanted));
}

size_t countStartingWith(const Lines& lines, const std::string& prefix) {
    return static_cast<size_t>(std::count_if(
        lines.begin(), lines.end(), [&](const std::string& l) { return l.rfind(prefix, 0) == 0; }));
}

// Waits until the process has printed `text`; false when it ended or `seconds` passed first.
bool waitForOutput(Process& process, const std::string& text, double seconds = GENEROUS) {
    auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (std::chrono::steady_clock::now() < deadline) {
        if (process.output().find(text) != std::string::npos) {
            return true;
        }
        if (!process.running()) {
            return process.output().find(text) != std::string::npos;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return false;
}

const char* const ISSUE_PREFIX = "qorddsping, issue received: ";
const char* const MISSED_PREFIX = "Detected Missed Sample(s)";

std::string issueLine(int number) {
    char line[64];
    std::snprintf(line, sizeof line, "qorddsping, issue received: %.7d", number);
    return line;
}

std::string sendLine(int number) {
    char line[64];
    std::snprintf(line, sizeof line, "Sending data...   value: %.7d ", number);
    return line;
}

Lines issueLines(int first, int last) {
    Lines lines;
    for (int i = first; i <= last; ++i) {
        lines.push_back(issueLine(i));
    }
    return lines;
}

Lines sendLines(int count) {
    Lines lines;
    for (int i = 0; i < count; ++i) {
        lines.push_back(sendLine(i));
    }
    return lines;
}

std::string timeoutLine(int seconds) {
    return "Timeout! No packets received for more than " + std::to_string(seconds) + " seconds";
}

Lines concat(Lines a, const Lines& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// What a subscriber prints of one publisher that comes and goes.
const Lines PUBLISHER_MATCH_AND_LOSS = {
    "Found 1 additional ping publishers(s).", "Current publisher tally is: 1",
    "Detected loss of 1 ping publishers(s).", "Current publisher tally is: 0"};
const Lines PUBLISHER_ALIVE_AND_GONE = {"Found 1 additional alive ping publishers(s).",
                                        "Current alive publisher tally is: 1",
                                        "Detected loss of 1 previously alive ping publishers(s).",
                                        "Current alive publisher tally is: 0"};
// What a publisher prints of the one subscriber that it finds.
const Lines SUBSCRIBER_FOUND = {"Found 1 additional ping subscriber(s).",
                                "Current subscriber tally is: 1"};

// Starts a subscriber and waits until it listens, so that a publisher started next finds it.
std::unique_ptr<Process> startListening(PrivateHost& host, const Lines& arguments) {
    auto subscriber = host.startPing(concat({"-subscriber"}, arguments));
    EXPECT_TRUE(waitForOutput(*subscriber, LISTENING)) << subscriber->output();
    return subscriber;
}

// Expects the process to end by itself with `status` and without a word on standard error,
// where a sanitizer would report.
void expectEnded(Process& process, int status = 1) {
    ASSERT_TRUE(process.wait(GENEROUS)) << process.output();
    EXPECT_EQ(process.exitStatus(), status) << process.output() << process.errors();
    EXPECT_EQ(process.errors(), "");
}

// ---- Scenarios ----

TEST(PingScenario, SubscriberSeesAPublisherComeSendAndGo) {
    PrivateHost host;
    const Lines common = {"-durability", "TRANSIENT_LOCAL", "-queueSize", "5"};
    auto subscriber = startListening(host, concat({"-timeout", "3"}, common));
    auto publisher = host.startPing(concat({"-numSamples", "5", "-sendPeriod", "0.2"}, common));
    expectEnded(*publisher);
    expectEnded(*subscriber);

    expectInterleaving(body(publisher->output()), {sendLines(5), SUBSCRIBER_FOUND});
    Lines lines = body(subscriber->output());
    expectInterleaving(lines, {{LISTENING, timeoutLine(3)},
                               issueLines(0, 4),
                               PUBLISHER_MATCH_AND_LOSS,
                               PUBLISHER_ALIVE_AND_GONE});
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.back(), timeoutLine(3));
}

TEST(PingScenario, LateSubscriberCountsTheIssuesItMissed) {
    PrivateHost host;
    auto publisher = host.startPing({"-reliable", "-numSamples", "60", "-sendPeriod", "0.1"});
    ASSERT_TRUE(waitForOutput(*publisher, sendLine(10)));
    auto subscriber = host.startPing({"-subscriber", "-reliable", "-timeout", "3"});
    expectEnded(*publisher);
    expectEnded(*subscriber);

    Lines lines = body(subscriber->output());
    auto first = std::find_if(lines.begin(), lines.end(),
                              [](const std::string& l) { return l.rfind(ISSUE_PREFIX, 0) == 0; });
    ASSERT_NE(first, lines.end()) << joined(lines);
    int n = std::stoi(first->substr(first->size() - 7));
    ASSERT_GT(n, 0);
    // One sample taken and n missed: n * 100 / (n + 1) percent, hundredths unpadded.
    unsigned total = static_cast<unsigned>(n) + 1u;
    char missed[128];
    std::snprintf(missed, sizeof missed,
                  "Detected Missed Sample(s) current: %d cumulative: %d  (%u.%u)%%", n, n,
                  static_cast<unsigned>(n) * 100u / total,
                  (static_cast<unsigned>(n) * 10000u / total) % 100u);
    Lines data = concat({issueLine(n), missed}, issueLines(n + 1, 59));
    expectInterleaving(
        lines,
        {{LISTENING, timeoutLine(3)}, data, PUBLISHER_MATCH_AND_LOSS, PUBLISHER_ALIVE_AND_GONE});
}

TEST(PingScenario, KeyedPublisherWritesDisposesAndUnregisters) {
    PrivateHost host;
    const Lines common = {"-reliable", "-durability", "TRANSIENT_LOCAL", "-queueSize", "8"};
    auto subscriber = startListening(host, concat({"-useKeys", "1", "-timeout", "3"}, common));
    auto publisher =
        host.startPing(concat({"-useKeys", "2", "-numSamples", "8", "-sendPeriod", "0.2"}, common));
    expectEnded(*publisher);
    expectEnded(*subscriber);

    const Lines sent = {"Sending data...   key: 0000000 value: 0000000",
                        "Sending data...   key: 0000001 value: 0000001",
                        "Sending data...   key: 0000000 value: dispose",
                        "Sending data...   key: 0000001 value: dispose",
                        "Sending data...   key: 0000000 value: 0000004",
                        "Sending data...   key: 0000001 value: 0000005",
                        "Sending data...   key: 0000000 value: unregister",
                        "Sending data...   key: 0000001 value: unregister"};
    expectInterleaving(body(publisher->output()), {sent, SUBSCRIBER_FOUND});

    // A disposal resets the expectation to 1, so issue 4 counts 3 missed out of 5 infos.
    const Lines data = {issueLine(0),
                        issueLine(1),
                        "qorddsping, instance disposed key: 00000000",
                        "qorddsping, instance disposed key: 00000001",
                        issueLine(4),
                        "Detected Missed Sample(s) current: 3 cumulative: 3  (37.50)%",
                        issueLine(5),
                        "qorddsping, instance no writers",
                        "qorddsping, instance no writers"};
    expectInterleaving(
        body(subscriber->output()),
        {{LISTENING, timeoutLine(3)}, data, PUBLISHER_MATCH_AND_LOSS, PUBLISHER_ALIVE_AND_GONE});
}

TEST(PingScenario, KilledKeyedPublisherLeavesItsInstancesWithoutWriters) {
    PrivateHost host;
    const Lines common = {"-reliable", "-durability", "TRANSIENT_LOCAL", "-queueSize", "2"};
    auto subscriber = startListening(host, concat({"-useKeys", "1", "-timeout", "20"}, common));
    // Both instances are alive after issue 1; the first dispose comes one period later.
    auto publisher = host.startPing(concat({"-useKeys", "2", "-sendPeriod", "2"}, common));
    ASSERT_TRUE(waitForOutput(*subscriber, issueLine(1)));
    publisher->signal(SIGKILL);
    ASSERT_TRUE(publisher->wait(GENEROUS));
    expectEnded(*subscriber);

    Lines lines = body(subscriber->output());
    EXPECT_EQ(countOf(lines, "qorddsping, instance no writers"), 2u) << joined(lines);
    EXPECT_EQ(countStartingWith(lines, "qorddsping, instance disposed"), 0u) << joined(lines);
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.back(), timeoutLine(20));
}

TEST(PingScenario, IncompatibleQosIsReportedWithThePolicies) {
    struct Case {
        const char* name;
        Lines subscriberArguments;
        Lines publisherArguments;
        const char* policies;
    };
    const std::vector<Case> cases = {
        {"reliable reader, best-effort writer",
         {"-reliable"},
         {},
         "Incompatible policies: [ 11, ];"},
        {"transient-local reader, volatile writer",
         {"-durability", "TRANSIENT_LOCAL"},
         {"-durability", "VOLATILE"},
         "Incompatible policies: [ 2, ];"},
        {"deadline shorter than the send period",
         {"-deadline", "0.5"},
         {"-sendPeriod", "1"},
         "Incompatible policies: [ 4, ];"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        PrivateHost host;
        auto subscriber = startListening(host, concat({"-timeout", "3"}, c.subscriberArguments));
        auto publisher = host.startPing(concat({"-numSamples", "4"}, c.publisherArguments));
        expectEnded(*publisher);
        expectEnded(*subscriber);
        expectInterleaving(body(subscriber->output()),
                           {{LISTENING, timeoutLine(3)},
                            {"DataListener::on_requested_incompatible_qos !!!!", c.policies}});
    }
}

TEST(PingScenario, StoppedPublisherMissesTheRequestedDeadline) {
    PrivateHost host;
    auto subscriber = startListening(host, {"-deadline", "2", "-timeout", "6"});
    auto publisher = host.startPing({"-sendPeriod", "1"});
    ASSERT_TRUE(waitForOutput(*subscriber, issueLine(2)));
    publisher->signal(SIGSTOP);
    expectEnded(*subscriber);
    publisher->signal(SIGKILL);

    Lines lines = body(subscriber->output());
    auto lastIssue = std::find_if(lines.rbegin(), lines.rend(), [](const std::string& l) {
        return l.rfind(ISSUE_PREFIX, 0) == 0;
    });
    ASSERT_NE(lastIssue, lines.rend());
    Lines afterStop(lastIssue.base(), lines.end());
    EXPECT_GE(countOf(afterStop, "DataListener::on_requested_deadline_missed !!!!"), 1u)
        << joined(lines);
    EXPECT_EQ(lines.back(), timeoutLine(6));
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
        EXPECT_EQ(countOf(lines, issueLine(i)), 2u) << i << " in:\n" << joined(lines);
    }
    EXPECT_EQ(countStartingWith(lines, MISSED_PREFIX), 0u) << joined(lines);
    EXPECT_EQ(countOf(lines, "Current alive publisher tally is: 2"), 1u) << joined(lines);
    EXPECT_EQ(countOf(lines, "Current publisher tally is: 2"), 1u) << joined(lines);
}

TEST(PingScenario, TimeFilterThinsTheIssuesAndSilencesTheStatistic) {
    PrivateHost host;
    auto subscriber = startListening(host, {"-timeFilter", "0.5", "-timeout", "3"});
    auto publisher = host.startPing({"-numSamples", "40", "-sendPeriod", "0.1"});
    expectEnded(*publisher);
    expectEnded(*subscriber);

    Lines lines = body(subscriber->output());
    size_t issues = countStartingWith(lines, ISSUE_PREFIX);
    // Four seconds of pings at ten a second, let through at two a second; the bounds leave
    // room for a slow machine.
    EXPECT_GE(issues, 2u) << joined(lines);
    EXPECT_LE(issues, 20u) << joined(lines);
    EXPECT_EQ(countStartingWith(lines, MISSED_PREFIX), 0u) << joined(lines);
    EXPECT_EQ(countStartingWith(lines, "DataListener::on_sample_lost"), 0u) << joined(lines);
}

TEST(PingScenario, MulticastReceiveAddressCarriesTheSamples) {
    PrivateHost host;
    auto capture = host.start({"tshark", "-i", "lo", "-n", "-l", "-f",
                               "udp and dst host 239.255.0.1 and dst port 7777", "-T", "fields",
                               "-e", "udp.dstport", "-a", "duration:60"});
    // tshark announces on its error stream when it listens.
    for (int i = 0; i < 1500 && capture->errors().find("Capturing on") == std::string::npos; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    auto subscriber = startListening(host, {"-multicast", "239.255.0.1:7777", "-timeout", "3"});
    auto publisher = host.startPing({"-numSamples", "10", "-sendPeriod", "0.2"});
    expectEnded(*publisher);
    expectEnded(*subscriber);
    capture->signal(SIGINT);
    ASSERT_TRUE(capture->wait(GENEROUS));

    Lines lines = body(subscriber->output());
    EXPECT_GE(countStartingWith(lines, ISSUE_PREFIX), 5u) << joined(lines);
    EXPECT_GE(countOf(splitLines(capture->output()), "7777"), 5u)
        << capture->output() << capture->errors();
}

// The warnings never stop the run: the reader is created and matches the publisher, and
// samples arrive. An address that is no multicast group, like a text that is no address, is
// left out of the reader's locators, so the publisher sends where the reader listens anyway.
TEST(PingScenario, QuestionableMulticastAddressesAreWarnedAboutAndStillWork) {
    struct Case {
        const char* address;
        const char* warning;
    };
    const std::vector<Case> cases = {
        {"10.0.0.1", "10.0.0.1 is not a valid multicast address"},
        {"foo:12", "foo is not a valid address"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.address);
        PrivateHost host;
        auto subscriber = startListening(host, {"-multicast", c.address, "-timeout", "3"});
        auto publisher = host.startPing({"-numSamples", "10", "-sendPeriod", "0.2"});
        expectEnded(*publisher);
        expectEnded(*subscriber);
        Lines lines = body(subscriber->output());
        ASSERT_GE(lines.size(), 2u);
        EXPECT_EQ(lines[0], c.warning);
        EXPECT_EQ(lines[1], LISTENING);
        EXPECT_EQ(countOf(lines, "Found 1 additional ping publishers(s)."), 1u) << joined(lines);
        EXPECT_GE(countStartingWith(lines, ISSUE_PREFIX), 5u) << joined(lines);
    }
}

TEST(PingScenario, OnlyEqualTopicTypeDomainTagAndPartitionsMatch) {
    struct Case {
        const char* name;
        Lines subscriberArguments;
        Lines publisherArguments;
        bool match;
    };
    const Lines partitionsAB = {"-participantPartition", "A", "-participantPartition", "B"};
    const std::vector<Case> cases = {
        {"topic names", {"-topicName", "A"}, {"-topicName", "B"}, false},
        {"equal topic names", {"-topicName", "A"}, {"-topicName", "A"}, true},
        {"type names", {"-typeName", "A"}, {"-typeName", "B"}, false},
        {"equal type names", {"-typeName", "A"}, {"-typeName", "A"}, true},
        {"domains", {"-domainId", "1"}, {"-domainId", "2"}, false},
        {"equal domains", {"-domainId", "3"}, {"-domainId", "3"}, true},
        {"domain tags", {"-domainTag", "red"}, {"-domainTag", "blue"}, false},
        {"equal domain tags", {"-domainTag", "red"}, {"-domainTag", "red"}, true},
        {"disjoint partitions", partitionsAB, {"-participantPartition", "C"}, false},
        {"equal partitions", partitionsAB, partitionsAB, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        PrivateHost host;
        auto subscriber = startListening(host, concat({"-timeout", "3"}, c.subscriberArguments));
        auto publisher = host.startPing(
            concat({"-numSamples", "10", "-sendPeriod", "0.2"}, c.publisherArguments));
        expectEnded(*publisher);
        expectEnded(*subscriber);
        Lines lines = body(subscriber->output());
        if (c.match) {
            EXPECT_GE(countStartingWith(lines, ISSUE_PREFIX), 5u) << joined(lines);
        } else {
            expectInterleaving(lines, {{LISTENING, timeoutLine(3)}});
            expectInterleaving(body(publisher->output()), {sendLines(10)});
        }
    }
}

TEST(PingScenario, ReliableBurstArrivesWhole) {
    PrivateHost host;
    const Lines common = {"-reliable", "-durability", "TRANSIENT_LOCAL", "-queueSize", "1000"};
    auto subscriber = startListening(host, concat({"-timeout", "3"}, common));
    auto publisher = host.startPing(
        concat({"-sendPeriod", "0", "-numSamples", "100000", "-verbosity", "0"}, common));
    expectEnded(*publisher);
    expectEnded(*subscriber);

    EXPECT_EQ(joined(body(publisher->output())), "");
    expectInterleaving(body(subscriber->output()), {{LISTENING, timeoutLine(3)},
                                                    issueLines(0, 99999),
                                                    PUBLISHER_MATCH_AND_LOSS,
                                                    PUBLISHER_ALIVE_AND_GONE});
}

TEST(PingScenario, EachBuiltinTransportAloneCarriesThePing) {
    const std::vector<Lines> transports = {
        {"-transport", "1"}, {"-transport", "2"}, {"-transport", "8", "-peer", "::1"}};
    for (const Lines& transport : transports) {
        SCOPED_TRACE(transport[1]);
        PrivateHost host;
        const Lines common =
            concat({"-reliable", "-durability", "TRANSIENT_LOCAL", "-queueSize", "5"}, transport);
        auto subscriber = startListening(host, concat({"-timeout", "3"}, common));
        auto publisher = host.startPing(concat({"-numSamples", "5", "-sendPeriod", "0.2"}, common));
        expectEnded(*publisher);
        expectEnded(*subscriber);
        expectInterleaving(body(subscriber->output()), {{LISTENING, timeoutLine(3)},
                                                        issueLines(0, 4),
                                                        PUBLISHER_MATCH_AND_LOSS,
                                                        PUBLISHER_ALIVE_AND_GONE});
    }
}

}  // namespace
