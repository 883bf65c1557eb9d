// The ping listeners over canned takes and statuses: what they print, and what the end-to-end
// runs cannot bring about (failed takes, odd statuses, wrapped numbers, wide key bytes).
#include "kestping/pingDataListener.h"

#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "agent/kestAgent.h"
#include "kestping/pingDataSupport.h"
#include "kestping/pingDataWriterListener.h"
#include "qordds/logger.h"
#include "tests/unit/kestping/fakeEndpoints.h"
#include "tests/unit/support/test_io.h"

namespace {

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

std::string missed(int current, int cumulative, const char* percent) {
    return "Detected Missed Sample(s) current: " + std::to_string(current) +
           " cumulative: " + std::to_string(cumulative) + "  (" + percent + ")%\n";
}

// Plays a script to a plain listener and returns what it printed. Issue numbers and "-" (an
// info without writers) make up a take, "|" ends one, "@n" reports n alive publishers.
std::string play(KestPingDataListener& listener, const char* script) {
    FakeReader<KestPingData> fake(KestPingDataTYPENAME);
    KestPingDataDataReader typed(&fake);
    std::vector<Taken<KestPingData>> take;
    auto flush = [&] {
        if (!take.empty()) {
            fake.takes.push_back(take);
            take.clear();
            listener.on_data_available(&typed);
        }
    };
    std::string out = printedBy(1, [&] {
        std::istringstream words(script);
        for (std::string word; words >> word;) {
            if (word == "|" || word[0] == '@') {
                flush();
            }
            if (word[0] == '@') {
                DDS_LivelinessChangedStatus status;
                status.alive_count = std::stoi(word.substr(1));
                listener.on_liveliness_changed(nullptr, status);
            } else if (word == "-") {
                take.push_back({{0}, stateInfo(DDS_NOT_ALIVE_NO_WRITERS_INSTANCE_STATE, 0)});
            } else if (word != "|") {
                take.push_back({{std::stoi(word)}, validInfo()});
            }
        }
        flush();
    });
    EXPECT_EQ(fake.loansOut, 0) << "every loan goes back";
    return out;
}

TEST(PingDataListener, IssuesAndMissedSampleStatistic) {
    const std::string noWriters = "qorddsping, instance no writers\n";
    const std::string alive1 = "Current alive publisher tally is: 1\n";
    const std::string alive2 = "Current alive publisher tally is: 2\n";
    const struct {
        const char* name;
        bool timeFilterActive;
        const char* script;
        std::string expected;
    } cases[] = {
        {"start at 1, then a gap of 2 in the same take", false, "1 2 5",
         issueLine(1) + missed(1, 1, "50.0") + issueLine(2) + issueLine(5) + missed(2, 3, "50.0")},
        {"a gap across takes; 97.05 % shows as 97.5", false, "0 | 67",
         issueLine(0) + issueLine(67) + missed(66, 66, "97.5")},
        {"repeats and restarts are not counted", false, "0 1 1 0 1",
         issueLine(0) + issueLine(1) + issueLine(1) + issueLine(0) + issueLine(1)},
        {"a time-based filter silences the statistic", true, "3 7", issueLine(3) + issueLine(7)},
        {"no writers resets the expectation from the last number of the take", false, "5 - 9",
         issueLine(5) + missed(5, 5, "83.33") + noWriters + issueLine(9) + missed(3, 8, "72.72")},
        {"no writers first in a take expects issue 1", false, "0 1 2 | - | 3",
         issueLine(0) + issueLine(1) + issueLine(2) + noWriters + issueLine(3) +
             missed(2, 2, "28.57")},
        {"two alive publishers leave gaps uncounted and the expectation where it was", false,
         "@2 4 9 @1 10",
         alive2 + issueLine(4) + issueLine(9) + alive1 + issueLine(10) + missed(10, 10, "76.92")},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        KestPingDataListener listener(false, c.timeFilterActive);
        EXPECT_EQ(play(listener, c.script), c.expected);
    }
}

TEST(PingDataListener, KeyedInstanceStatesAndTheReceivedFlag) {
    KestPingDataListener listener(true, false);
    FakeReader<KestKeyedPingData> fake(KestKeyedPingDataTYPENAME);
    fake.takes = {{{{0, 0}, stateInfo(DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE, 0x12345678)},
                   {{0, 0}, stateInfo(DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE, 0x80)}},
                  {{{0, 4}, validInfo()}}};
    KestKeyedPingDataDataReader typed(&fake);
    // A key byte of 0x80 or more widens to eight hex digits.
    EXPECT_EQ(printedBy(1, [&] { listener.on_data_available(&typed); }),
              "qorddsping, instance disposed key: 12345678\n"
              "qorddsping, instance disposed key: 000000ffffff80\n");
    EXPECT_FALSE(listener.received) << "only valid samples raise it";
    EXPECT_EQ(listener.sampleCount, 2u) << "infos without data count as samples";
    printedBy(1, [&] { listener.on_data_available(&typed); });
    EXPECT_TRUE(listener.received);
    EXPECT_EQ(fake.loansOut, 0);
}

TEST(PingDataListener, TakeOutcomes) {
    const char* ping = KestPingDataTYPENAME;
    const DDS_ReturnCode_t ok = DDS_RETCODE_OK, refused = DDS_RETCODE_PRECONDITION_NOT_MET;
    const struct {
        const char* name;
        bool keyed;
        const char* readerType;
        DDS_ReturnCode_t takeResult;
        DDS_ReturnCode_t returnLoanResult;
        int verbosity;
        std::string expected;
    } cases[] = {
        {"no data prints nothing", false, ping, DDS_RETCODE_NO_DATA, ok, 1, ""},
        {"take error", false, ping, DDS_RETCODE_ERROR, ok, 1, "take error 1\n"},
        {"return loan error", false, ping, ok, refused, 1, issueLine(0) + "return loan error 4\n"},
        {"narrow error", false, "OtherType", ok, ok, 1, "DataReader narrow error\n"},
        {"keyed narrow error", true, ping, ok, ok, 1, "DataReader (keyed) narrow error\n"},
        {"silent at verbosity 0", false, ping, ok, refused, 0, ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        KestPingDataListener listener(c.keyed, false);
        FakeReader<KestPingData> fake(c.readerType);
        fake.takes.push_back({{{0}, validInfo()}});
        fake.takeResult = c.takeResult;
        fake.returnLoanResult = c.returnLoanResult;
        KestPingDataDataReader typed(&fake);
        EXPECT_EQ(printedBy(c.verbosity, [&] { listener.on_data_available(&typed); }), c.expected);
        EXPECT_EQ(fake.loansOut, 0) << "every loan goes back";
    }
}

template <class Status>
Status matchCounts(int change, int current) {
    Status status;
    status.current_count_change = change;
    status.current_count = current;
    return status;
}

DDS_RequestedIncompatibleQosStatus incompatible(const std::vector<DDS_QosPolicyId_t>& ids) {
    DDS_RequestedIncompatibleQosStatus status;
    int32_t n = static_cast<int32_t>(ids.size());
    status.policies.ensure_length(n, n);
    for (int32_t i = 0; i < n; ++i) {
        status.policies[i].policy_id = ids[static_cast<size_t>(i)];
    }
    return status;
}

// Status lines the end-to-end runs do not bring about; at verbosity 0 only the policy list.
TEST(PingListeners, StatusLines) {
    KestPingDataListener listener(false, false), filtered(false, true);
    KESTPingDataWriterListener writerListener;
    auto events = [&] {
        listener.on_subscription_matched(nullptr, matchCounts<DDS_SubscriptionMatchedStatus>(0, 2));
        listener.on_sample_rejected(nullptr, {});
        listener.on_sample_lost(nullptr, {});
        filtered.on_sample_lost(nullptr, {});
        listener.on_requested_deadline_missed(nullptr, {});
        listener.on_requested_incompatible_qos(
            nullptr, incompatible({DDS_RELIABILITY_QOS_POLICY_ID, DDS_DURABILITY_QOS_POLICY_ID}));
        listener.on_requested_incompatible_qos(nullptr, incompatible({}));
        for (auto counts : {std::make_pair(2, 3), std::make_pair(-1, 0), std::make_pair(0, 1)}) {
            writerListener.on_publication_matched(
                nullptr, matchCounts<DDS_PublicationMatchedStatus>(counts.first, counts.second));
        }
    };
    EXPECT_EQ(printedBy(1, events),
              "Detected loss of 0 ping publishers(s).\nCurrent publisher tally is: 2\n"
              "DataListener::on_sample_rejected !!!!\n"
              "DataListener::on_sample_lost !!!!\n"
              "DataListener::on_requested_deadline_missed !!!!\n"
              "DataListener::on_requested_incompatible_qos !!!!\n"
              "Incompatible policies: [ 11, 2, ];\n"
              "DataListener::on_requested_incompatible_qos !!!!\n"
              "Found 2 additional ping subscriber(s).\nCurrent subscriber tally is: 3\n"
              "Detected loss of 1 ping subscriber(s).\nCurrent subscriber tally is: 0\n"
              "Detected loss of 0 ping subscriber(s).\nCurrent subscriber tally is: 1\n");
    EXPECT_EQ(printedBy(0, events), "Incompatible policies: [ 11, 2, ];\n");
}

}  // namespace
