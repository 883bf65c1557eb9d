#include "kestping/pingDataListener.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "agent/kestAgent.h"
#include "dds/logger.h"
#include "kestping/pingDataSupport.h"
#include "kestping/pingDataWriterListener.h"
#include "tests/unit/kestping/fakeEndpoints.h"

namespace {

// Runs `operation` at the given verbosity and returns what it printed.
std::string printedBy(int verbosity, const std::function<void()>& operation) {
    DDSLogger::get_instance()->set_verbosity(DDS_LOG_VERBOSITY_SILENT);
    int saved = theVerbosity;
    theVerbosity = verbosity;
    testing::internal::CaptureStdout();
    operation();
    std::string out = testing::internal::GetCapturedStdout();
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
Taken<KestKeyedPingData> keyedNoWriters(uint32_t key) {
    return {{0, 0}, stateInfo(DDS_NOT_ALIVE_NO_WRITERS_INSTANCE_STATE, key)};
}

// Feeds the takes to a listener, one on_data_available per take, through the typed reader that
// the type support wraps around the fake.
template <class Sample, class Support>
std::string feed(KestPingDataListener& listener, const char* readerType,
                 const std::vector<std::vector<Taken<Sample>>>& takes, int verbosity = 1,
                 int* loansOut = nullptr) {
    FakeReader<Sample> fake(readerType);
    for (const auto& take : takes) {
        fake.takes.push_back(take);
    }
    Support support;
    DDSDataReader* typed = support.create_datareaderI(&fake);
    std::string out = printedBy(verbosity, [&] {
        for (size_t i = 0; i < takes.size(); ++i) {
            listener.on_data_available(typed);
        }
    });
    support.destroy_datareaderI(typed);
    if (loansOut != nullptr) {
        *loansOut = fake.loansOut;
    }
    return out;
}

std::string feedPlain(KestPingDataListener& listener,
                      const std::vector<std::vector<Taken<KestPingData>>>& takes,
                      int verbosity = 1) {
    return feed<KestPingData, KestPingDataTypeSupport>(listener, KestPingDataTYPENAME, takes,
                                                       verbosity);
}

std::string feedKeyed(KestPingDataListener& listener,
                      const std::vector<std::vector<Taken<KestKeyedPingData>>>& takes) {
    return feed<KestKeyedPingData, KestKeyedPingDataTypeSupport>(listener,
                                                                 KestKeyedPingDataTYPENAME, takes);
}

TEST(PingDataListener, IssuesAndMissedSampleStatistic) {
    struct Case {
        const char* name;
        bool timeFilterActive;
        bool multiplePublishers;
        std::vector<std::vector<Taken<KestPingData>>> takes;
        std::string expected;
        int expectedNumber;
    };
    const std::vector<Case> cases = {
        {"start at 1, then a gap of 2 in the same take",
         false,
         false,
         {{issue(1), issue(2), issue(5)}},
         issueLine(1) + "Detected Missed Sample(s) current: 1 cumulative: 1  (50.0)%\n" +
             issueLine(2) + issueLine(5) +
             "Detected Missed Sample(s) current: 2 cumulative: 3  (50.0)%\n",
         6},
        {"hundredths are not zero padded",
         false,
         false,
         {{issue(0)}, {issue(2)}},
         issueLine(0) + issueLine(2) +
             "Detected Missed Sample(s) current: 1 cumulative: 1  (33.33)%\n",
         3},
        {"repeats and restarts are not counted",
         false,
         false,
         {{issue(0), issue(1), issue(1), issue(0), issue(1)}},
         issueLine(0) + issueLine(1) + issueLine(1) + issueLine(0) + issueLine(1),
         2},
        {"a time-based filter silences the statistic",
         true,
         false,
         {{issue(3), issue(7)}},
         issueLine(3) + issueLine(7),
         0},
        {"two publishers silence the statistic",
         false,
         true,
         {{issue(3)}, {issue(7)}},
         issueLine(3) + issueLine(7),
         0},
        {"no writers resets the expectation from the last number of the take",
         false,
         false,
         {{issue(5), noWriters(), issue(9)}},
         issueLine(5) + "Detected Missed Sample(s) current: 5 cumulative: 5  (83.33)%\n" +
             "qorddsping, instance no writers\n" + issueLine(9) +
             "Detected Missed Sample(s) current: 3 cumulative: 8  (72.72)%\n",
         10},
        {"no writers first in a take expects issue 1",
         false,
         false,
         {{issue(0), issue(1), issue(2)}, {noWriters()}},
         issueLine(0) + issueLine(1) + issueLine(2) + "qorddsping, instance no writers\n",
         1},
        {"an empty take prints nothing", false, false, {{}}, "", 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        KestPingDataListener listener(false, c.timeFilterActive);
        listener.multiplePublishers = c.multiplePublishers;
        EXPECT_EQ(feedPlain(listener, c.takes), c.expected);
        EXPECT_EQ(listener.expectedNumber, c.expectedNumber);
    }
}

TEST(PingDataListener, PercentageOfOneInTwoThousandShowsAsHalfAPercent) {
    KestPingDataListener listener(false, false);
    std::vector<Taken<KestPingData>> take;
    for (int i = 0; i < 1998; ++i) {
        take.push_back(issue(i));
    }
    take.push_back(issue(1999));
    std::string out = feedPlain(listener, {take});
    std::string last = "Detected Missed Sample(s) current: 1 cumulative: 1  (0.5)%\n";
    ASSERT_GE(out.size(), last.size());
    EXPECT_EQ(out.substr(out.size() - last.size()), last);
    EXPECT_EQ(out.find("Detected Missed"), out.size() - last.size()) << "only one gap";
    EXPECT_EQ(listener.sampleCount, 1999u);
    EXPECT_EQ(listener.missedTotal, 1u);
}

TEST(PingDataListener, ReceivedFlagFollowsValidSamplesOnly) {
    KestPingDataListener listener(true, false);
    feedKeyed(listener, {{disposed(1), keyedNoWriters(2)}});
    EXPECT_FALSE(listener.received);
    EXPECT_EQ(listener.sampleCount, 2u) << "infos without data count as samples";
    feedKeyed(listener, {{keyedIssue(0, 4)}});
    EXPECT_TRUE(listener.received);
}

TEST(PingDataListener, KeyedInstanceStates) {
    struct Case {
        const char* name;
        std::vector<Taken<KestKeyedPingData>> take;
        std::string expected;
    };
    const std::vector<Case> cases = {
        {"disposed key 1", {disposed(1)}, "qorddsping, instance disposed key: 00000001\n"},
        {"key bytes are printed in order",
         {disposed(0x12345678)},
         "qorddsping, instance disposed key: 12345678\n"},
        {"a byte of 0x80 or more widens to eight hex digits",
         {disposed(0x80)},
         "qorddsping, instance disposed key: 000000ffffff80\n"},
        {"key -1",
         {disposed(0xffffffffu)},
         "qorddsping, instance disposed key: ffffffffffffffffffffffffffffffff\n"},
        {"no writers", {keyedNoWriters(1)}, "qorddsping, instance no writers\n"},
        {"keyed issues carry their number",
         {keyedIssue(1, 0), disposed(0)},
         issueLine(0) + "qorddsping, instance disposed key: 00000000\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        KestPingDataListener listener(true, false);
        EXPECT_EQ(feedKeyed(listener, {c.take}), c.expected);
    }
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
    const std::vector<Case> cases = {
        {"no data prints nothing", false, KestPingDataTYPENAME, DDS_RETCODE_NO_DATA, DDS_RETCODE_OK,
         1, ""},
        {"take error", false, KestPingDataTYPENAME, DDS_RETCODE_ERROR, DDS_RETCODE_OK, 1,
         "take error 1\n"},
        {"return loan error", false, KestPingDataTYPENAME, DDS_RETCODE_OK,
         DDS_RETCODE_PRECONDITION_NOT_MET, 1, issueLine(0) + "return loan error 4\n"},
        {"narrow error", false, "OtherType", DDS_RETCODE_OK, DDS_RETCODE_OK, 1,
         "DataReader narrow error\n"},
        {"keyed narrow error", true, KestPingDataTYPENAME, DDS_RETCODE_OK, DDS_RETCODE_OK, 1,
         "DataReader (keyed) narrow error\n"},
        {"silent at verbosity 0", false, KestPingDataTYPENAME, DDS_RETCODE_OK,
         DDS_RETCODE_PRECONDITION_NOT_MET, 0, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        KestPingDataListener listener(c.keyed, false);
        FakeReader<KestPingData> fake(c.readerType);
        fake.takes.push_back({issue(0)});
        fake.takeResult = c.takeResult;
        fake.returnLoanResult = c.returnLoanResult;
        KestPingDataTypeSupport support;
        DDSDataReader* typed = support.create_datareaderI(&fake);
        EXPECT_EQ(printedBy(c.verbosity, [&] { listener.on_data_available(typed); }), c.expected);
        support.destroy_datareaderI(typed);
        EXPECT_EQ(fake.loansOut, 0) << "every loan goes back";
    }
}

DDS_RequestedIncompatibleQosStatus incompatible(const std::vector<DDS_QosPolicyId_t>& ids) {
    DDS_RequestedIncompatibleQosStatus status;
    status.policies.ensure_length(static_cast<int32_t>(ids.size()),
                                  static_cast<int32_t>(ids.size()));
    for (size_t i = 0; i < ids.size(); ++i) {
        status.policies[static_cast<int32_t>(i)].policy_id = ids[i];
        status.policies[static_cast<int32_t>(i)].count = 1;
    }
    status.total_count = status.total_count_change = 1;
    return status;
}

DDS_SubscriptionMatchedStatus matched(int change, int current) {
    DDS_SubscriptionMatchedStatus status;
    status.current_count_change = change;
    status.current_count = current;
    return status;
}

DDS_LivelinessChangedStatus liveliness(int aliveChange, int notAliveChange, int alive) {
    DDS_LivelinessChangedStatus status;
    status.alive_count_change = aliveChange;
    status.not_alive_count_change = notAliveChange;
    status.alive_count = alive;
    return status;
}

TEST(PingDataListener, StatusCallbacks) {
    struct Case {
        const char* name;
        int verbosity;
        bool timeFilterActive;
        std::function<void(KestPingDataListener&)> event;
        std::string expected;
    };
    const std::vector<Case> cases = {
        {"publisher found", 1, false,
         [](KestPingDataListener& l) { l.on_subscription_matched(nullptr, matched(1, 1)); },
         "Found 1 additional ping publishers(s).\nCurrent publisher tally is: 1\n"},
        {"publisher lost", 1, false,
         [](KestPingDataListener& l) { l.on_subscription_matched(nullptr, matched(-1, 0)); },
         "Detected loss of 1 ping publishers(s).\nCurrent publisher tally is: 0\n"},
        {"no change reads as a loss of 0", 1, false,
         [](KestPingDataListener& l) { l.on_subscription_matched(nullptr, matched(0, 2)); },
         "Detected loss of 0 ping publishers(s).\nCurrent publisher tally is: 2\n"},
        {"match is silent at verbosity 0", 0, false,
         [](KestPingDataListener& l) { l.on_subscription_matched(nullptr, matched(1, 1)); }, ""},
        {"publisher alive", 1, false,
         [](KestPingDataListener& l) { l.on_liveliness_changed(nullptr, liveliness(1, 0, 1)); },
         "Found 1 additional alive ping publishers(s).\nCurrent alive publisher tally is: 1\n"},
        {"publisher no longer alive", 1, false,
         [](KestPingDataListener& l) { l.on_liveliness_changed(nullptr, liveliness(-1, 1, 0)); },
         "Detected loss of 1 previously alive ping publishers(s).\n"
         "Current alive publisher tally is: 0\n"},
        {"liveliness without a change prints only the tally", 1, false,
         [](KestPingDataListener& l) { l.on_liveliness_changed(nullptr, liveliness(0, 0, 3)); },
         "Current alive publisher tally is: 3\n"},
        {"deadline", 1, false,
         [](KestPingDataListener& l) { l.on_requested_deadline_missed(nullptr, {}); },
         "DataListener::on_requested_deadline_missed !!!!\n"},
        {"rejected", 1, false, [](KestPingDataListener& l) { l.on_sample_rejected(nullptr, {}); },
         "DataListener::on_sample_rejected !!!!\n"},
        {"lost", 1, false, [](KestPingDataListener& l) { l.on_sample_lost(nullptr, {}); },
         "DataListener::on_sample_lost !!!!\n"},
        {"lost is silent under a time-based filter", 1, true,
         [](KestPingDataListener& l) { l.on_sample_lost(nullptr, {}); }, ""},
        {"incompatible policies", 1, false,
         [](KestPingDataListener& l) {
             l.on_requested_incompatible_qos(nullptr, incompatible({DDS_RELIABILITY_QOS_POLICY_ID,
                                                                    DDS_DURABILITY_QOS_POLICY_ID}));
         },
         "DataListener::on_requested_incompatible_qos !!!!\nIncompatible policies: [ 11, 2, ];\n"},
        {"incompatible without a policy list", 1, false,
         [](KestPingDataListener& l) {
             l.on_requested_incompatible_qos(nullptr, incompatible({}));
         },
         "DataListener::on_requested_incompatible_qos !!!!\n"},
        {"the policy list prints at any verbosity", 0, false,
         [](KestPingDataListener& l) {
             l.on_requested_incompatible_qos(nullptr, incompatible({DDS_DEADLINE_QOS_POLICY_ID}));
         },
         "Incompatible policies: [ 4, ];\n"},
        {"deadline is silent at verbosity 0", 0, false,
         [](KestPingDataListener& l) { l.on_requested_deadline_missed(nullptr, {}); }, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        KestPingDataListener listener(false, c.timeFilterActive);
        EXPECT_EQ(printedBy(c.verbosity, [&] { c.event(listener); }), c.expected);
    }
}

TEST(PingDataListener, AliveTallyDecidesWhetherGapsAreCounted) {
    KestPingDataListener listener(false, false);
    printedBy(0, [&] { listener.on_liveliness_changed(nullptr, liveliness(2, 0, 2)); });
    EXPECT_TRUE(listener.multiplePublishers);
    EXPECT_EQ(feedPlain(listener, {{issue(4), issue(9)}}), issueLine(4) + issueLine(9));
    EXPECT_EQ(listener.expectedNumber, 0) << "the expectation stays where it was";

    printedBy(0, [&] { listener.on_liveliness_changed(nullptr, liveliness(-1, 1, 1)); });
    EXPECT_FALSE(listener.multiplePublishers);
    EXPECT_EQ(feedPlain(listener, {{issue(10)}}),
              issueLine(10) + "Detected Missed Sample(s) current: 10 cumulative: 10  (76.92)%\n");
}

TEST(PingDataWriterListener, ReportsSubscribersComingAndGoing) {
    struct Case {
        int verbosity;
        int change;
        int current;
        std::string expected;
    };
    const std::vector<Case> cases = {
        {1, 1, 1, "Found 1 additional ping subscriber(s).\nCurrent subscriber tally is: 1\n"},
        {1, 2, 3, "Found 2 additional ping subscriber(s).\nCurrent subscriber tally is: 3\n"},
        {1, -1, 0, "Detected loss of 1 ping subscriber(s).\nCurrent subscriber tally is: 0\n"},
        {1, 0, 1, "Detected loss of 0 ping subscriber(s).\nCurrent subscriber tally is: 1\n"},
        {0, 1, 1, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.expected);
        KESTPingDataWriterListener listener;
        DDS_PublicationMatchedStatus status;
        status.current_count_change = c.change;
        status.current_count = c.current;
        EXPECT_EQ(printedBy(c.verbosity, [&] { listener.on_publication_matched(nullptr, status); }),
                  c.expected);
    }
}

}  // namespace
