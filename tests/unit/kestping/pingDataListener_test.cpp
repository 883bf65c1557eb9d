#include "kestping/pingDataListener.h"

#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#include <string>
#include <type_traits>
#include <vector>

#include "agent/kestAgent.h"
#include "dds/logger.h"
#include "kestping/pingDataSupport.h"
#include "kestping/pingDataWriterListener.h"
#include "tests/unit/kestping/fakeEndpoints.h"
#include "tests/unit/support/test_io.h"

namespace {

// Runs `operation` at the given verbosity and returns what it printed.
std::string printedBy(int verbosity, const std::function<void()>& operation) {
    DDSLogger::get_instance()->set_verbosity(DDS_LOG_VERBOSITY_SILENT);
    int saved = theVerbosity;
    theVerbosity = verbosity;
    std::string out = qortest::captureStdout(operation);
    theVerbosity = saved;
    return out;
}

std::string issueLine(int number) {
    char line[64];
    std::snprintf(line, sizeof line, "qorddsping, issue received: %.7d\n", number);
    return line;
}

Taken<KestPingData> issue(int number) {
    return {{number}, validInfo()};
}
Taken<KestPingData> noWriters() {
    return {{0}, stateInfo(DDS_NOT_ALIVE_NO_WRITERS_INSTANCE_STATE, 0)};
}
Taken<KestKeyedPingData> keyedIssue(int key, int number) {
    return {{key, number}, validInfo()};
}
Taken<KestKeyedPingData> disposed(uint32_t key) {
    return {{0, 0}, stateInfo(DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE, key)};
}

template <class Sample>
using Takes = std::vector<std::vector<Taken<Sample>>>;

// Hands the takes to the listener, one on_data_available each, through the typed reader of
// the sample's type around the fake; returns what was printed.
template <class Sample>
std::string feed(KestPingDataListener& listener, const Takes<Sample>& takes) {
    constexpr bool keyed = std::is_same<Sample, KestKeyedPingData>::value;
    FakeReader<Sample> fake(keyed ? KestKeyedPingDataTYPENAME : KestPingDataTYPENAME);
    fake.takes.assign(takes.begin(), takes.end());
    typename std::conditional<keyed, KestKeyedPingDataDataReader, KestPingDataDataReader>::type
        typed(&fake);
    std::string out = printedBy(1, [&] {
        for (size_t i = 0; i < takes.size(); ++i) {
            listener.on_data_available(&typed);
        }
    });
    EXPECT_EQ(fake.loansOut, 0) << "every loan goes back";
    return out;
}

std::string missed(int current, int cumulative, const char* percent) {
    return "Detected Missed Sample(s) current: " + std::to_string(current) +
           " cumulative: " + std::to_string(cumulative) + "  (" + percent + ")%\n";
}

// Takes written as text: issue numbers, "-" for an info without writers, "|" between takes.
Takes<KestPingData> plainTakes(const char* text) {
    Takes<KestPingData> takes(1);
    std::istringstream words(text);
    for (std::string word; words >> word;) {
        if (word == "|") {
            takes.emplace_back();
        } else {
            takes.back().push_back(word == "-" ? noWriters() : issue(std::stoi(word)));
        }
    }
    return takes;
}

TEST(PingDataListener, IssuesAndMissedSampleStatistic) {
    const std::string noWritersLine = "qorddsping, instance no writers\n";
    struct Case {
        const char* name;
        bool timeFilterActive;
        const char* takes;
        std::string expected;
        int expectedNumber;
    } cases[] = {
        {"start at 1, then a gap of 2 in the same take", false, "1 2 5",
         issueLine(1) + "Detected Missed Sample(s) current: 1 cumulative: 1  (50.0)%\n" +
             issueLine(2) + issueLine(5) + missed(2, 3, "50.0"),
         6},
        {"hundredths are not zero padded", false, "0 | 2",
         issueLine(0) + issueLine(2) + missed(1, 1, "33.33"), 3},
        {"repeats and restarts are not counted", false, "0 1 1 0 1",
         issueLine(0) + issueLine(1) + issueLine(1) + issueLine(0) + issueLine(1), 2},
        {"a time-based filter silences the statistic", true, "3 7", issueLine(3) + issueLine(7), 0},
        {"no writers resets the expectation from the last number of the take", false, "5 - 9",
         issueLine(5) + missed(5, 5, "83.33") + noWritersLine + issueLine(9) +
             missed(3, 8, "72.72"),
         10},
        {"no writers first in a take expects issue 1", false, "0 1 2 | -",
         issueLine(0) + issueLine(1) + issueLine(2) + noWritersLine, 1},
        {"an empty take prints nothing", false, "", "", 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        KestPingDataListener listener(false, c.timeFilterActive);
        EXPECT_EQ(feed(listener, plainTakes(c.takes)), c.expected);
        EXPECT_EQ(listener.expectedNumber, c.expectedNumber);
    }
}

TEST(PingDataListener, OneMissedInTwoThousandShowsAsHalfAPercent) {
    KestPingDataListener listener(false, false);
    Takes<KestPingData> takes(1);
    for (int i = 0; i < 2000; ++i) {
        if (i != 1998) {
            takes[0].push_back(issue(i));
        }
    }
    std::string out = feed(listener, takes);
    std::string last = "Detected Missed Sample(s) current: 1 cumulative: 1  (0.5)%\n";
    EXPECT_EQ(out.find("Detected"), out.size() - last.size()) << "one gap, at the end";
    EXPECT_EQ(out.substr(out.size() - last.size()), last);
    EXPECT_EQ(listener.sampleCount, 1999u);
}

TEST(PingDataListener, KeyedInstanceStatesAndTheReceivedFlag) {
    struct Case {
        Taken<KestKeyedPingData> taken;
        std::string expected;
    } cases[] = {
        {disposed(1), "qorddsping, instance disposed key: 00000001\n"},
        {disposed(0x12345678), "qorddsping, instance disposed key: 12345678\n"},
        // A byte of 0x80 or more widens to eight hex digits.
        {disposed(0x80), "qorddsping, instance disposed key: 000000ffffff80\n"},
        {keyedIssue(1, 0), issueLine(0)},
    };
    for (const Case& c : cases) {
        KestPingDataListener listener(true, false);
        EXPECT_EQ(feed(listener, Takes<KestKeyedPingData>{{c.taken}}), c.expected);
    }

    KestPingDataListener listener(true, false);
    feed(listener, Takes<KestKeyedPingData>{{disposed(1), disposed(2)}});
    EXPECT_FALSE(listener.received) << "only valid samples raise it";
    EXPECT_EQ(listener.sampleCount, 2u) << "infos without data count as samples";
    feed(listener, Takes<KestKeyedPingData>{{keyedIssue(0, 4)}});
    EXPECT_TRUE(listener.received);
}

TEST(PingDataListener, TakeOutcomes) {
    struct Case {
        const char* name;
        bool keyed;
        const char* readerType;
        DDS_ReturnCode_t takeResult;
        DDS_ReturnCode_t returnLoanResult;
        int verbosity;
        std::string expected;
    };
    const char* ping = KestPingDataTYPENAME;
    const DDS_ReturnCode_t ok = DDS_RETCODE_OK, refused = DDS_RETCODE_PRECONDITION_NOT_MET;
    const std::vector<Case> cases = {
        {"no data prints nothing", false, ping, DDS_RETCODE_NO_DATA, ok, 1, ""},
        {"take error", false, ping, DDS_RETCODE_ERROR, ok, 1, "take error 1\n"},
        {"return loan error", false, ping, ok, refused, 1, issueLine(0) + "return loan error 4\n"},
        {"narrow error", false, "OtherType", ok, ok, 1, "DataReader narrow error\n"},
        {"keyed narrow error", true, ping, ok, ok, 1, "DataReader (keyed) narrow error\n"},
        {"silent at verbosity 0", false, ping, ok, refused, 0, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        KestPingDataListener listener(c.keyed, false);
        FakeReader<KestPingData> fake(c.readerType);
        fake.takes.push_back({issue(0)});
        fake.takeResult = c.takeResult;
        fake.returnLoanResult = c.returnLoanResult;
        KestPingDataDataReader typed(&fake);
        EXPECT_EQ(printedBy(c.verbosity, [&] { listener.on_data_available(&typed); }), c.expected);
        EXPECT_EQ(fake.loansOut, 0) << "every loan goes back";
    }
}

typedef std::function<void(KestPingDataListener&)> Event;

Event matched(int change, int current) {
    return [=](KestPingDataListener& listener) {
        DDS_SubscriptionMatchedStatus status;
        status.current_count_change = change;
        status.current_count = current;
        listener.on_subscription_matched(nullptr, status);
    };
}

Event liveliness(int aliveChange, int notAliveChange, int alive) {
    return [=](KestPingDataListener& listener) {
        DDS_LivelinessChangedStatus status;
        status.alive_count_change = aliveChange;
        status.not_alive_count_change = notAliveChange;
        status.alive_count = alive;
        listener.on_liveliness_changed(nullptr, status);
    };
}

Event incompatible(const std::vector<DDS_QosPolicyId_t>& ids) {
    return [=](KestPingDataListener& listener) {
        DDS_RequestedIncompatibleQosStatus status;
        int32_t n = static_cast<int32_t>(ids.size());
        status.policies.ensure_length(n, n);
        for (int32_t i = 0; i < n; ++i) {
            status.policies[i].policy_id = ids[static_cast<size_t>(i)];
            status.policies[i].count = 1;
        }
        status.total_count = status.total_count_change = 1;
        listener.on_requested_incompatible_qos(nullptr, status);
    };
}

// The writer's listener, for the subscriber lines it prints.
Event published(int change, int current) {
    return [=](KestPingDataListener&) {
        KESTPingDataWriterListener writerListener;
        DDS_PublicationMatchedStatus status;
        status.current_count_change = change;
        status.current_count = current;
        writerListener.on_publication_matched(nullptr, status);
    };
}

const Event deadline = [](KestPingDataListener& l) { l.on_requested_deadline_missed(nullptr, {}); };
const Event rejected = [](KestPingDataListener& l) { l.on_sample_rejected(nullptr, {}); };
const Event lost = [](KestPingDataListener& l) { l.on_sample_lost(nullptr, {}); };

TEST(PingListeners, StatusLines) {
    struct Case {
        int verbosity;
        bool timeFilterActive;
        Event event;
        std::string expected;
    } cases[] = {
        {1, false, matched(1, 1),
         "Found 1 additional ping publishers(s).\nCurrent publisher tally is: 1\n"},
        {1, false, matched(-1, 0),
         "Detected loss of 1 ping publishers(s).\nCurrent publisher tally is: 0\n"},
        {1, false, matched(0, 2),
         "Detected loss of 0 ping publishers(s).\nCurrent publisher tally is: 2\n"},
        {0, false, matched(1, 1), ""},
        {1, false, liveliness(1, 0, 1),
         "Found 1 additional alive ping publishers(s).\nCurrent alive publisher tally is: 1\n"},
        {1, false, liveliness(-1, 1, 0),
         "Detected loss of 1 previously alive ping publishers(s).\n"
         "Current alive publisher tally is: 0\n"},
        {1, false, liveliness(0, 0, 3), "Current alive publisher tally is: 3\n"},
        {1, false, deadline, "DataListener::on_requested_deadline_missed !!!!\n"},
        {0, false, deadline, ""},
        {1, false, rejected, "DataListener::on_sample_rejected !!!!\n"},
        {1, false, lost, "DataListener::on_sample_lost !!!!\n"},
        {1, true, lost, ""},
        {1, false, incompatible({DDS_RELIABILITY_QOS_POLICY_ID, DDS_DURABILITY_QOS_POLICY_ID}),
         "DataListener::on_requested_incompatible_qos !!!!\nIncompatible policies: [ 11, 2, ];\n"},
        {1, false, incompatible({}), "DataListener::on_requested_incompatible_qos !!!!\n"},
        {0, false, incompatible({DDS_DEADLINE_QOS_POLICY_ID}), "Incompatible policies: [ 4, ];\n"},
        {1, false, published(2, 3),
         "Found 2 additional ping subscriber(s).\nCurrent subscriber tally is: 3\n"},
        {1, false, published(-1, 0),
         "Detected loss of 1 ping subscriber(s).\nCurrent subscriber tally is: 0\n"},
        {1, false, published(0, 1),
         "Detected loss of 0 ping subscriber(s).\nCurrent subscriber tally is: 1\n"},
        {0, false, published(1, 1), ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.expected);
        KestPingDataListener listener(false, c.timeFilterActive);
        EXPECT_EQ(printedBy(c.verbosity, [&] { c.event(listener); }), c.expected);
    }
}

TEST(PingDataListener, AliveTallyDecidesWhetherGapsAreCounted) {
    KestPingDataListener listener(false, false);
    printedBy(0, [&] { liveliness(2, 0, 2)(listener); });
    EXPECT_TRUE(listener.multiplePublishers);
    EXPECT_EQ(feed(listener, plainTakes("4 9")), issueLine(4) + issueLine(9));
    EXPECT_EQ(listener.expectedNumber, 0) << "the expectation stays where it was";
    printedBy(0, [&] { liveliness(-1, 1, 1)(listener); });
    EXPECT_FALSE(listener.multiplePublishers);
    EXPECT_EQ(feed(listener, plainTakes("10")), issueLine(10) + missed(10, 10, "76.92"));
}

}  // namespace
