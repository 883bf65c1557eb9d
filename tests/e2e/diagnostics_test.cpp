// What the binding tells at verbosity 3 and 4 when endpoints do not meet, and the warning of
// verbosity 2 when no other participant is found: exact lines of the real qorddsping on
// private hosts. GUIDs are read from each side's own verbosity-3 description.
#include <gtest/gtest.h>

#include <chrono>
#include <ostream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/e2e/support/private_host.h"
#include "tests/e2e/support/private_network.h"

namespace {

using qortest::PrivateHost;
using qortest::Process;
using Lines = std::vector<std::string>;

const double GENEROUS = 60;  // seconds any run may take before it counts as hung
const char* const LISTENING = "qorddsping is listening for data, press CTRL+C to stop it.";
const char* const ISSUED = "qorddsping, issue received: ";

Lines lines(const std::string& text) {
    Lines result;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        result.push_back(line);
    }
    return result;
}

size_t count(const std::string& output, const std::string& line) {
    size_t n = 0;
    for (const std::string& l : lines(output)) {
        n += l == line ? 1u : 0u;
    }
    return n;
}

size_t countStarting(const std::string& output, const std::string& start) {
    size_t n = 0;
    for (const std::string& l : lines(output)) {
        n += l.rfind(start, 0) == 0 ? 1u : 0u;
    }
    return n;
}

// The text between `start` and the next `end` in the first line that begins with `start`;
// "" when there is none.
std::string field(const std::string& output, const std::string& start, char end) {
    for (const std::string& line : lines(output)) {
        if (line.rfind(start, 0) == 0) {
            return line.substr(start.size(), line.find(end, start.size()) - start.size());
        }
    }
    return "";
}

// The GUID of the process's own reader or writer, from its verbosity-3 line.
std::string localGuid(const std::string& output, const char* kind) {
    return field(output, std::string("INFO [local] local ") + kind + " ", ':');
}

// The GUID prefix of the process's own participant.
std::string localPrefix(const std::string& output) {
    return field(output, "INFO [local] participant ", ':');
}

bool waitForOutput(Process& process, const std::string& text, double seconds = GENEROUS) {
    auto until = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (std::chrono::steady_clock::now() < until && process.running()) {
        if (process.output().find(text) != std::string::npos) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return process.output().find(text) != std::string::npos;
}

Lines concat(Lines a, const Lines& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// A subscriber (verbosity 4, 3 s timeout) and then a publisher (verbosity 3) on one fresh
// private host, both run to their end.
struct PairOutputs {
    std::string subscriber, publisher;
};

PairOutputs runPair(const Lines& subscriber, const Lines& publisher) {
    PrivateHost host;
    auto sub =
        host.startPing(concat({"-subscriber", "-timeout", "3", "-verbosity", "4"}, subscriber));
    EXPECT_TRUE(waitForOutput(*sub, LISTENING)) << sub->output();
    auto pub = host.startPing(
        concat({"-numSamples", "10", "-sendPeriod", "0.2", "-verbosity", "3"}, publisher));
    EXPECT_TRUE(pub->wait(GENEROUS)) << pub->output();
    EXPECT_TRUE(sub->wait(GENEROUS)) << sub->output();
    EXPECT_EQ(1, sub->exitStatus()) << sub->output();
    EXPECT_EQ(1, pub->exitStatus()) << pub->output();
    return {sub->output(), pub->output()};
}

// A pair that does not match: what the remote writer looks like from the subscriber, and why.
struct NearMissCase {
    const char* name;
    Lines subscriber, publisher;
    std::string remote;  // topic, type and key-ness of the publisher's writer as shown
    std::string reason;
};

void PrintTo(const NearMissCase& c, std::ostream* out) {
    *out << c.name;
}

class NearMiss : public ::testing::TestWithParam<NearMissCase> {};

// The subscriber names the cause in one line, and receives nothing.
TEST_P(NearMiss, TheSubscriberNamesTheCauseInOneLine) {
    const NearMissCase& c = GetParam();
    PairOutputs run = runPair(c.subscriber, c.publisher);
    std::string reader = localGuid(run.subscriber, "reader");
    std::string writer = localGuid(run.publisher, "writer");
    ASSERT_NE("", reader) << run.subscriber;
    ASSERT_NE("", writer) << run.publisher;
    std::string expected = "INFO [discovery] remote writer " + writer + " (" + c.remote +
                           ") does not match local reader " + reader + ": " + c.reason;
    EXPECT_EQ(1u, count(run.subscriber, expected)) << expected << "\nin:\n" << run.subscriber;
    EXPECT_EQ(0u, countStarting(run.subscriber, ISSUED)) << run.subscriber;
}

const std::string PLAIN = "topic \"PingTopic\", type \"PingType\", unkeyed";

INSTANTIATE_TEST_SUITE_P(
    Diagnostics, NearMiss,
    ::testing::Values(
        NearMissCase{"TypeNames",
                     {"-typeName", "A"},
                     {"-typeName", "B"},
                     "topic \"PingTopic\", type \"B\", unkeyed",
                     "type name differs: \"A\" here, \"B\" there"},
        NearMissCase{"KeyedAgainstUnkeyed",
                     {},
                     {"-useKeys", "1"},
                     "topic \"PingTopic\", type \"PingType\", keyed",
                     "unkeyed here, keyed there"},
        NearMissCase{"DisjointPartitions",
                     {"-participantPartition", "A", "-participantPartition", "B"},
                     {"-participantPartition", "C"},
                     PLAIN,
                     "partitions disjoint: [\"A\", \"B\"] here, [\"C\"] there"},
        NearMissCase{"DomainTags",
                     {"-domainTag", "red"},
                     {"-domainTag", "blue"},
                     PLAIN,
                     "domain tag differs: \"red\" here, \"blue\" there"},
        NearMissCase{"ReliableAgainstBestEffort",
                     {"-reliable"},
                     {},
                     PLAIN,
                     "reliability incompatible: offered BEST_EFFORT, requested RELIABLE"},
        NearMissCase{"TopicNamesInLetterCase",
                     {"-topicName", "ping"},
                     {"-topicName", "PING"},
                     "topic \"PING\", type \"PingType\", unkeyed",
                     "topic name differs: \"ping\" here, \"PING\" there (only in letter case)"}),
    [](const ::testing::TestParamInfo<NearMissCase>& c) { return std::string(c.param.name); });

// A pair that matches says so, and samples arrive.
TEST(Diagnostics, AMatchingWriterIsSaidToMatch) {
    PairOutputs run = runPair({}, {});
    std::string expected = "INFO [discovery] remote writer " + localGuid(run.publisher, "writer") +
                           " (" + PLAIN + ") matches local reader " +
                           localGuid(run.subscriber, "reader");
    EXPECT_EQ(1u, count(run.subscriber, expected)) << expected << "\nin:\n" << run.subscriber;
    EXPECT_LT(0u, countStarting(run.subscriber, ISSUED)) << run.subscriber;
}

// Under another domain tag, the publisher's participant is named as being in this domain.
TEST(Diagnostics, AParticipantUnderAnotherDomainTagIsNamed) {
    PairOutputs run = runPair({"-domainTag", "red"}, {"-domainTag", "blue"});
    std::string expected = "INFO [discovery] remote participant " + localPrefix(run.publisher) +
                           " is in domain 0 under domain tag \"blue\", this one under \"red\"";
    EXPECT_EQ(1u, count(run.subscriber, expected)) << expected << "\nin:\n" << run.subscriber;
}

}  // namespace
