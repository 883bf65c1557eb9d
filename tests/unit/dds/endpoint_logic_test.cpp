// The endpoint logic that needs no network: reader cache, writer liveliness, status and QoS
// translation, the transport-address parser, domain isolation names, key-only repair.
#include <gtest/gtest.h>

#include <fnmatch.h>

#include <cstring>
#include <string>
#include <vector>

#include <fastrtps/utils/IPLocator.h>
#include <fastdds/dds/core/status/IncompatibleQosStatus.hpp>

#include "dds/logger.h"
#include "dds/src/domain_isolation.h"
#include "dds/src/endpoint_qos.h"
#include "dds/src/fast_log_filter.h"
#include "dds/src/key_only_repair.h"
#include "dds/src/offered_deadline.h"
#include "dds/src/reader_cache.h"
#include "dds/src/status_translation.h"
#include "dds/src/writer_liveliness.h"
#include "dds/transport_address.h"

namespace fdds = eprosima::fastdds::dds;

namespace {

// ---- A sample type of the tests' own ----

struct Sample {
    int32_t key;
    int32_t number;
};

DDSTypePlugin test_plugin(bool keyed) {
    DDSTypePlugin plugin{};
    plugin.type_name = "Sample";
    plugin.key_kind = keyed ? DDS_TYPEPLUGIN_USER_KEY : DDS_TYPEPLUGIN_NO_KEY;
    plugin.create_sample = []() -> void* { return new Sample{0, 0}; };
    plugin.destroy_sample = [](void* sample) { delete static_cast<Sample*>(sample); };
    plugin.copy_sample = [](void* target, const void* source) {
        *static_cast<Sample*>(target) = *static_cast<const Sample*>(source);
        return true;
    };
    return plugin;
}

DDS_InstanceHandle_t handle(unsigned char first) {
    DDS_InstanceHandle_t result = DDS_HANDLE_NIL;
    result.value[0] = first;
    result.isValid = true;
    return result;
}

const DDS_InstanceHandle_t W1 = handle(0xa1);
const DDS_InstanceHandle_t W2 = handle(0xa2);

DDS_Time_t at_ms(int ms) {
    return {ms / 1000, static_cast<uint32_t>(ms % 1000) * 1000000u};
}

// A sample as Fast DDS would hand it to the cache.
struct Arrival {
    int key;
    int number;  // -1: a dispose, -2: an unregistration
    DDS_InstanceHandle_t writer;
    int ms;
};

qordds::ReaderCacheSettings settings(bool keyed, int depth, int separation_ms = 0) {
    qordds::ReaderCacheSettings s;
    s.keyed = keyed;
    s.history.kind = depth > 0 ? DDS_KEEP_LAST_HISTORY_QOS : DDS_KEEP_ALL_HISTORY_QOS;
    s.history.depth = depth > 0 ? depth : 1;
    s.minimum_separation = {separation_ms / 1000,
                            static_cast<uint32_t>(separation_ms % 1000) * 1000000u};
    return s;
}

qordds::ReaderCache::Outcome arrive(qordds::ReaderCache& cache, const Arrival& a) {
    DDS_SampleInfo info;
    info.instance_handle = handle(static_cast<unsigned char>(a.key));
    info.publication_handle = a.writer;
    info.reception_timestamp = at_ms(a.ms);
    info.source_timestamp = at_ms(a.ms);
    void* data = nullptr;
    if (a.number >= 0) {
        info.valid_data = true;
        data = new Sample{a.key, a.number};
    } else {
        info.valid_data = false;
        info.instance_state = a.number == -1 ? DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE
                                             : DDS_NOT_ALIVE_NO_WRITERS_INSTANCE_STATE;
    }
    DDS_SampleRejectedStatusKind reason = DDS_NOT_REJECTED;
    return cache.add(data, info, &reason);
}

// What a take returns, one text per sample: "k<key>:<number>" for data, "k<key>:disposed"
// or "k<key>:nowriters" for instance changes.
std::vector<std::string> take_all(qordds::ReaderCache& cache, bool take = true,
                                  DDS_SampleStateMask states = DDS_ANY_SAMPLE_STATE) {
    std::vector<void*> data;
    std::vector<DDS_SampleInfo> infos;
    cache.collect(take, DDS_LENGTH_UNLIMITED, states, DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE,
                  data, infos);
    std::vector<std::string> result;
    for (size_t i = 0; i < data.size(); ++i) {
        std::string key = "k" + std::to_string(infos[i].instance_handle.value[0]) + ":";
        if (infos[i].valid_data) {
            result.push_back(key + std::to_string(static_cast<Sample*>(data[i])->number));
        } else {
            result.push_back(key + (infos[i].instance_state == DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE
                                        ? "disposed"
                                        : "nowriters"));
        }
        delete static_cast<Sample*>(data[i]);
    }
    return result;
}

typedef std::vector<std::string> Texts;

}  // namespace

// ---- Reader cache ----

TEST(ReaderCache, KeepLastDropsOnlyTheSameInstancesOldestAndTakesInstanceByInstance) {
    qordds::ReaderCache cache(test_plugin(true), settings(true, 2));
    for (Arrival a : {Arrival{1, 10, W1, 0}, Arrival{2, 20, W1, 1}, Arrival{1, 11, W1, 2},
                      Arrival{1, 12, W1, 3}, Arrival{2, 21, W1, 4}}) {
        EXPECT_EQ(arrive(cache, a), qordds::ReaderCache::Outcome::Kept);
    }
    EXPECT_EQ(take_all(cache), (Texts{"k2:20", "k2:21", "k1:11", "k1:12"}));
    EXPECT_EQ(take_all(cache), Texts{});
}

TEST(ReaderCache, TimeBasedFilterKeepsOneSamplePerSeparationPerInstance) {
    struct Case {
        Arrival arrival;
        qordds::ReaderCache::Outcome outcome;
    };
    const qordds::ReaderCache::Outcome kept = qordds::ReaderCache::Outcome::Kept;
    const qordds::ReaderCache::Outcome filtered = qordds::ReaderCache::Outcome::Filtered;
    const Case cases[] = {
        {{1, 0, W1, 0}, kept},         // first of key 1
        {{1, 1, W1, 500}, filtered},   // 0.5 s after the kept one
        {{2, 2, W1, 600}, kept},       // key 2 has its own clock
        {{1, 3, W1, 999}, filtered},   // just short of the separation
        {{1, 4, W1, 1000}, kept},      // a full separation after the last kept one
        {{2, 5, W1, 1200}, filtered},  // 0.6 s after key 2's
        {{1, -1, W1, 1100}, kept},     // instance changes are never filtered
        {{1, 6, W1, 1150}, kept},      // the first sample after a dispose passes
    };
    qordds::ReaderCache cache(test_plugin(true), settings(true, 10, 1000));
    for (const Case& c : cases) {
        EXPECT_EQ(arrive(cache, c.arrival), c.outcome) << "sample " << c.arrival.number;
    }
    EXPECT_EQ(take_all(cache), (Texts{"k1:0", "k1:4", "k1:disposed", "k1:6", "k2:2"}));
}

TEST(ReaderCache, LostWriterLeavesOneNoWritersSamplePerAliveInstanceItAloneWrote) {
    qordds::ReaderCache cache(test_plugin(true), settings(true, 5));
    arrive(cache, {1, 1, W1, 0});  // W1 alone
    arrive(cache, {2, 2, W1, 1});  // W1 and W2
    arrive(cache, {2, 3, W2, 2});
    arrive(cache, {3, 4, W1, 3});  // W1, then disposed
    arrive(cache, {3, -1, W1, 4});
    arrive(cache, {4, 5, W2, 5});  // W2 alone
    take_all(cache);

    EXPECT_EQ(cache.writer_lost(W1, at_ms(10)), 1);
    EXPECT_EQ(take_all(cache), Texts{"k1:nowriters"});
    EXPECT_EQ(cache.writer_lost(W1, at_ms(11)), 0) << "a writer is lost once";
    EXPECT_EQ(cache.writer_lost(W2, at_ms(12)), 2);
    EXPECT_EQ(take_all(cache), (Texts{"k2:nowriters", "k4:nowriters"}));
}

TEST(ReaderCache, UnkeyedReaderGetsNoNoWritersSample) {
    qordds::ReaderCache cache(test_plugin(false), settings(false, 5));
    arrive(cache, {0, 1, W1, 0});
    take_all(cache);
    EXPECT_EQ(cache.writer_lost(W1, at_ms(1)), 0);
}

TEST(ReaderCache, InstanceStatesAndGenerationsFollowDisposeUnregisterAndRebirth) {
    qordds::ReaderCache cache(test_plugin(true), settings(true, 10));
    arrive(cache, {1, 1, W1, 0});
    arrive(cache, {1, -1, W1, 1});  // disposed
    arrive(cache, {1, 2, W1, 2});   // alive again: disposed generation 1
    arrive(cache, {1, -2, W1, 3});  // unregistered: no writers
    arrive(cache, {1, 3, W1, 4});   // alive again: no-writers generation 1
    std::vector<void*> data;
    std::vector<DDS_SampleInfo> infos;
    cache.collect(true, DDS_LENGTH_UNLIMITED, DDS_ANY_SAMPLE_STATE, DDS_ANY_VIEW_STATE,
                  DDS_ANY_INSTANCE_STATE, data, infos);
    ASSERT_EQ(infos.size(), 5u);
    const DDS_InstanceStateKind alive = DDS_ALIVE_INSTANCE_STATE;
    const DDS_InstanceStateKind disposed = DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE;
    const DDS_InstanceStateKind no_writers = DDS_NOT_ALIVE_NO_WRITERS_INSTANCE_STATE;
    const DDS_InstanceStateKind states[] = {alive, disposed, alive, no_writers, alive};
    const int32_t disposed_generations[] = {0, 0, 1, 1, 1};
    const int32_t no_writers_generations[] = {0, 0, 0, 0, 1};
    for (size_t i = 0; i < infos.size(); ++i) {
        EXPECT_EQ(infos[i].instance_state, states[i]) << i;
        EXPECT_EQ(infos[i].disposed_generation_count, disposed_generations[i]) << i;
        EXPECT_EQ(infos[i].no_writers_generation_count, no_writers_generations[i]) << i;
        EXPECT_EQ(infos[i].sample_rank, static_cast<int32_t>(infos.size() - 1 - i)) << i;
        EXPECT_EQ(infos[i].view_state, DDS_NEW_VIEW_STATE);
        delete static_cast<Sample*>(data[i]);
    }
}

TEST(ReaderCache, ReadCopiesAndMarksReadTakeRemovesAndViewTurnsNotNew) {
    qordds::ReaderCache cache(test_plugin(true), settings(true, 10));
    arrive(cache, {1, 1, W1, 0});
    EXPECT_TRUE(cache.has_unread());
    EXPECT_EQ(take_all(cache, false), Texts{"k1:1"});
    EXPECT_FALSE(cache.has_unread());
    EXPECT_EQ(take_all(cache, false, DDS_NOT_READ_SAMPLE_STATE), Texts{});
    arrive(cache, {1, 2, W1, 1});
    std::vector<void*> data;
    std::vector<DDS_SampleInfo> infos;
    cache.collect(true, DDS_LENGTH_UNLIMITED, DDS_ANY_SAMPLE_STATE, DDS_NOT_NEW_VIEW_STATE,
                  DDS_ANY_INSTANCE_STATE, data, infos);
    ASSERT_EQ(infos.size(), 2u);
    EXPECT_EQ(infos[0].sample_state, DDS_READ_SAMPLE_STATE);
    EXPECT_EQ(infos[1].sample_state, DDS_NOT_READ_SAMPLE_STATE);
    for (void* sample : data) {
        delete static_cast<Sample*>(sample);
    }
    EXPECT_EQ(cache.size(), 0u);
}

TEST(ReaderCache, KeepAllRefusesBeyondItsLimits) {
    qordds::ReaderCacheSettings s = settings(true, 0);
    s.limits.max_samples = 3;
    s.limits.max_instances = 2;
    s.limits.max_samples_per_instance = 2;
    qordds::ReaderCache cache(test_plugin(true), s);
    struct Case {
        Arrival arrival;
        DDS_SampleRejectedStatusKind reason;
    };
    const Case cases[] = {
        {{1, 1, W1, 0}, DDS_NOT_REJECTED},
        {{1, 2, W1, 1}, DDS_NOT_REJECTED},
        {{1, 3, W1, 2}, DDS_REJECTED_BY_SAMPLES_PER_INSTANCE_LIMIT},
        {{2, 4, W1, 3}, DDS_NOT_REJECTED},
        {{3, 5, W1, 4}, DDS_REJECTED_BY_INSTANCES_LIMIT},
        {{2, 6, W1, 5}, DDS_REJECTED_BY_SAMPLES_LIMIT},
    };
    for (const Case& c : cases) {
        DDS_SampleInfo info;
        info.valid_data = true;
        info.instance_handle = handle(static_cast<unsigned char>(c.arrival.key));
        info.publication_handle = W1;
        DDS_SampleRejectedStatusKind reason = DDS_NOT_REJECTED;
        qordds::ReaderCache::Outcome outcome =
            cache.add(new Sample{c.arrival.key, c.arrival.number}, info, &reason);
        EXPECT_EQ(reason, c.reason) << "sample " << c.arrival.number;
        EXPECT_EQ(outcome == qordds::ReaderCache::Outcome::Rejected, c.reason != DDS_NOT_REJECTED);
    }
}

// ---- Writer liveliness ----

TEST(WriterLiveliness, CountsMatchedWritersAliveAndTheirLossOnce) {
    struct Step {
        const char* event;  // "match", "unmatch", "fast+" (alive), "fast-" (lost)
        DDS_InstanceHandle_t writer;
        bool reported;
        int alive, not_alive, alive_change, not_alive_change;
        bool lost;
    };
    const Step steps[] = {
        {"match", W1, true, 1, 0, 1, 0, false},
        {"fast+", W1, false, 1, 0, 0, 0, false},  // Fast DDS confirms: not counted twice
        {"match", W2, true, 2, 0, 1, 0, false},
        {"unmatch", W1, true, 1, 1, -1, 1, true},
        {"fast-", W1, false, 1, 1, 0, 0, false},  // gone already
        {"fast-", W2, true, 0, 2, -1, 1, true},   // lease lost while matched
        {"fast+", W2, true, 1, 1, 1, -1, false},  // and back
        {"unmatch", W2, true, 0, 2, -1, 1, true},
        {"unmatch", W2, false, 0, 2, 0, 0, false},
        {"fast+", W1, false, 0, 2, 0, 0, false},  // a removed writer stays removed
    };
    qordds::WriterLiveliness liveliness;
    for (const Step& step : steps) {
        qordds::WriterLiveliness::Change change;
        std::string event = step.event;
        if (event == "match") {
            change = liveliness.matched(step.writer);
        } else if (event == "unmatch") {
            change = liveliness.unmatched(step.writer);
        } else {
            DDS_LivelinessChangedStatus fast;
            fast.last_publication_handle = step.writer;
            fast.alive_count_change = event == "fast+" ? 1 : -1;
            fast.not_alive_count_change = event == "fast+" ? 0 : 1;
            change = liveliness.reported_by_fast(fast);
        }
        SCOPED_TRACE(std::string(step.event) + " writer " + std::to_string(step.writer.value[0]));
        EXPECT_EQ(change.reported, step.reported);
        EXPECT_EQ(change.writer_lost, step.lost);
        EXPECT_EQ(liveliness.alive_count(), step.alive);
        EXPECT_EQ(liveliness.not_alive_count(), step.not_alive);
        if (change.reported) {
            EXPECT_EQ(change.status.alive_count, step.alive);
            EXPECT_EQ(change.status.not_alive_count, step.not_alive);
            EXPECT_EQ(change.status.alive_count_change, step.alive_change);
            EXPECT_EQ(change.status.not_alive_count_change, step.not_alive_change);
            EXPECT_EQ(change.status.last_publication_handle, step.writer);
        }
    }
}

// ---- Offered deadline ----

namespace {

DDS_InstanceHandle_t instance(unsigned char key) {
    DDS_InstanceHandle_t handle = DDS_HANDLE_NIL;
    handle.value[3] = key;
    handle.isValid = true;
    return handle;
}

// The keys of the missed instances, in order, and each status's total count.
std::string missed(const std::vector<DDS_OfferedDeadlineMissedStatus>& statuses) {
    std::string text;
    for (const DDS_OfferedDeadlineMissedStatus& status : statuses) {
        text += "k" + std::to_string(status.last_instance_handle.value[3]) + "#" +
                std::to_string(status.total_count) + " ";
    }
    return text;
}

}  // namespace

TEST(OfferedDeadline, EachOwedInstanceMissesOncePerSilentPeriodUntilUnregistered) {
    using std::chrono::milliseconds;
    qordds::OfferedDeadline deadline{milliseconds(100)};
    qordds::OfferedDeadline::Clock::time_point t0;
    qordds::OfferedDeadline::Clock::time_point when;
    EXPECT_FALSE(deadline.next_miss(&when)) << "nothing owed yet";

    deadline.written(instance(1), t0);
    deadline.written(instance(2), t0 + milliseconds(10));
    ASSERT_TRUE(deadline.next_miss(&when));
    EXPECT_EQ(when, t0 + milliseconds(100));
    EXPECT_EQ(missed(deadline.expire(t0 + milliseconds(99))), "");
    EXPECT_EQ(missed(deadline.expire(t0 + milliseconds(100))), "k1#1 ");
    EXPECT_EQ(missed(deadline.expire(t0 + milliseconds(150))), "k2#2 ");

    // Disposing keeps the instance owed; writing it again restarts its period.
    deadline.written(instance(2), t0 + milliseconds(180));
    EXPECT_EQ(missed(deadline.expire(t0 + milliseconds(200))), "k1#3 ");
    EXPECT_EQ(missed(deadline.expire(t0 + milliseconds(280))), "k2#4 ");

    // An unregistered instance owes nothing, even when its deadline came first.
    deadline.unregistered(instance(1));
    ASSERT_TRUE(deadline.next_miss(&when));
    EXPECT_EQ(when, t0 + milliseconds(380));
    EXPECT_EQ(missed(deadline.expire(t0 + milliseconds(1000))), "k2#5 ");
    deadline.unregistered(instance(2));
    EXPECT_FALSE(deadline.next_miss(&when));
    EXPECT_EQ(missed(deadline.expire(t0 + milliseconds(5000))), "");

    // Written again after its unregistration, it is owed again.
    deadline.written(instance(1), t0 + milliseconds(5000));
    EXPECT_EQ(missed(deadline.expire(t0 + milliseconds(5100))), "k1#6 ");
}

TEST(OfferedDeadline, SeveralLateInstancesComeInTheOrderOfTheirDeadlinesAndAZeroPeriodIsPaced) {
    using std::chrono::milliseconds;
    qordds::OfferedDeadline::Clock::time_point t0;
    qordds::OfferedDeadline deadline{milliseconds(100)};
    deadline.written(instance(3), t0 + milliseconds(20));
    deadline.written(instance(1), t0 + milliseconds(30));
    deadline.written(instance(2), t0 + milliseconds(10));
    EXPECT_EQ(missed(deadline.expire(t0 + milliseconds(500))), "k2#1 k3#2 k1#3 ");

    qordds::OfferedDeadline zero{milliseconds(0)};
    qordds::OfferedDeadline::Clock::time_point when;
    zero.written(DDS_HANDLE_NIL, t0);
    ASSERT_TRUE(zero.next_miss(&when));
    EXPECT_EQ(when, t0 + milliseconds(1));
}

TEST(FastLogFilter, DropsOnlyTheListedEntriesExactly) {
    struct Case {
        const char* category;
        const char* message;
        bool dropped;
    };
    const Case cases[] = {
        {"DATA_WRITER", "Could not set the next deadline in the history", true},
        {"PUBLISHER", "Could not set the next deadline in the history", false},
        {"DATA_WRITER", "Could not set the next deadline in the history!", false},
        {"DATA_WRITER", "Could not get the next deadline from the history", false},
        {nullptr, "Could not set the next deadline in the history", false},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(qordds::is_known_false_fast_entry(c.category, c.message), c.dropped)
            << (c.category == nullptr ? "(none)" : c.category) << " " << c.message;
    }
}

// ---- Status translation ----

TEST(StatusTranslation, IncompatibleQosListsOnlyOffendersWithStandardIdsInCheckOrder) {
    fdds::RequestedIncompatibleQosStatus fast;
    fast.total_count = 3;
    fast.total_count_change = 1;
    fast.last_policy_id = fdds::DURABILITY_QOS_POLICY_ID;
    fast.policies[fdds::DURABILITY_QOS_POLICY_ID].count = 1;
    fast.policies[fdds::DEADLINE_QOS_POLICY_ID].count = 1;
    fast.policies[fdds::RELIABILITY_QOS_POLICY_ID].count = 2;
    fast.policies[fdds::DISABLEPOSITIVEACKS_QOS_POLICY_ID].count = 1;  // no standard id
    DDS_RequestedIncompatibleQosStatus status = qordds::translate_requested_incompatible_qos(fast);
    EXPECT_EQ(status.total_count, 3);
    EXPECT_EQ(status.total_count_change, 1);
    EXPECT_EQ(status.last_policy_id, DDS_DURABILITY_QOS_POLICY_ID);
    ASSERT_EQ(status.policies.length(), 3);
    EXPECT_EQ(status.policies[0].policy_id, DDS_RELIABILITY_QOS_POLICY_ID);
    EXPECT_EQ(status.policies[0].count, 2);
    EXPECT_EQ(status.policies[1].policy_id, DDS_DURABILITY_QOS_POLICY_ID);
    EXPECT_EQ(status.policies[2].policy_id, DDS_DEADLINE_QOS_POLICY_ID);

    fdds::OfferedIncompatibleQosStatus none;
    EXPECT_EQ(qordds::translate_offered_incompatible_qos(none).policies.length(), 0);
}

// ---- Endpoint QoS ----

TEST(EndpointQos, HistoryAndLimitsThatDdsOrFastDdsRefuseFailCleanly) {
    struct Case {
        const char* what;
        DDS_HistoryQosPolicyKind kind;
        int32_t depth, max_samples, max_instances, per_instance;
        DDS_ReturnCode_t expected;
    };
    const int32_t U = DDS_LENGTH_UNLIMITED;
    const Case cases[] = {
        {"defaults", DDS_KEEP_LAST_HISTORY_QOS, 1, U, U, U, DDS_RETCODE_OK},
        {"depth 0", DDS_KEEP_LAST_HISTORY_QOS, 0, U, U, U, DDS_RETCODE_INCONSISTENT_POLICY},
        {"depth -3", DDS_KEEP_LAST_HISTORY_QOS, -3, U, U, U, DDS_RETCODE_INCONSISTENT_POLICY},
        {"keep all ignores depth", DDS_KEEP_ALL_HISTORY_QOS, 0, U, U, U, DDS_RETCODE_OK},
        {"zero limit", DDS_KEEP_LAST_HISTORY_QOS, 1, 0, U, U, DDS_RETCODE_INCONSISTENT_POLICY},
        {"samples below per instance", DDS_KEEP_LAST_HISTORY_QOS, 1, 2, U, 3,
         DDS_RETCODE_INCONSISTENT_POLICY},
        {"depth above per instance", DDS_KEEP_LAST_HISTORY_QOS, 4, U, U, 3,
         DDS_RETCODE_INCONSISTENT_POLICY},
        {"product above samples", DDS_KEEP_LAST_HISTORY_QOS, 1, 5, 5, 5,
         DDS_RETCODE_INCONSISTENT_POLICY},
        {"product fits", DDS_KEEP_LAST_HISTORY_QOS, 5, 25, 5, 5, DDS_RETCODE_OK},
    };
    DDSLogger::get_instance()->set_verbosity(DDS_LOG_VERBOSITY_SILENT);
    for (const Case& c : cases) {
        DDS_DataReaderQos reader;
        reader.history.kind = c.kind;
        reader.history.depth = c.depth;
        reader.resource_limits = {c.max_samples, c.max_instances, c.per_instance};
        DDS_DataWriterQos writer;
        writer.history = reader.history;
        writer.resource_limits = reader.resource_limits;
        fdds::DataReaderQos fast_reader;
        fdds::DataWriterQos fast_writer;
        EXPECT_EQ(qordds::translate_reader_qos(reader, fast_reader, "test"), c.expected) << c.what;
        EXPECT_EQ(qordds::translate_writer_qos(writer, true, fast_writer, "test"), c.expected)
            << c.what;
    }
    DDSLogger::get_instance()->set_verbosity(DDS_LOG_VERBOSITY_ERROR);
}

TEST(EndpointQos, WriterPoliciesReachFastDds) {
    DDS_DataWriterQos qos;
    qos.reliability.kind = DDS_BEST_EFFORT_RELIABILITY_QOS;
    qos.durability.kind = DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
    qos.history.depth = 7;
    qos.deadline.period = {1, 500000000};
    qos.liveliness.kind = DDS_MANUAL_BY_TOPIC_LIVELINESS_QOS;
    qos.liveliness.lease_duration = {4, 0};
    qos.ownership.kind = DDS_EXCLUSIVE_OWNERSHIP_QOS;
    qos.lifespan.duration = {9, 5};
    fdds::DataWriterQos fast;
    ASSERT_EQ(qordds::translate_writer_qos(qos, true, fast, "test"), DDS_RETCODE_OK);
    EXPECT_EQ(fast.reliability().kind, fdds::BEST_EFFORT_RELIABILITY_QOS);
    EXPECT_EQ(fast.durability().kind, fdds::TRANSIENT_LOCAL_DURABILITY_QOS);
    EXPECT_EQ(fast.history().kind, fdds::KEEP_LAST_HISTORY_QOS);
    EXPECT_EQ(fast.history().depth, 7);
    EXPECT_EQ(fast.deadline().period, eprosima::fastrtps::Duration_t(1, 500000000));
    EXPECT_EQ(fast.liveliness().kind, fdds::MANUAL_BY_TOPIC_LIVELINESS_QOS);
    EXPECT_EQ(fast.liveliness().lease_duration, eprosima::fastrtps::Duration_t(4, 0));
    EXPECT_LT(fast.liveliness().announcement_period, fast.liveliness().lease_duration);
    EXPECT_EQ(fast.ownership().kind, fdds::EXCLUSIVE_OWNERSHIP_QOS);
    EXPECT_EQ(fast.lifespan().duration, eprosima::fastrtps::Duration_t(9, 5));
    EXPECT_EQ(fast.resource_limits().max_samples, 0) << "unlimited is Fast DDS's 0";
    EXPECT_EQ(fast.resource_limits().max_instances, 0);
    EXPECT_FALSE(fast.writer_data_lifecycle().autodispose_unregistered_instances);
    EXPECT_EQ(fast.deadline().period == eprosima::fastrtps::c_TimeInfinite, false);

    DDS_DataWriterQos defaults;
    fdds::DataWriterQos fast_defaults;
    ASSERT_EQ(qordds::translate_writer_qos(defaults, true, fast_defaults, "test"), DDS_RETCODE_OK);
    EXPECT_EQ(fast_defaults.reliability().kind, fdds::RELIABLE_RELIABILITY_QOS);
    EXPECT_EQ(fast_defaults.deadline().period, eprosima::fastrtps::c_TimeInfinite);
    EXPECT_EQ(fast_defaults.liveliness().announcement_period, eprosima::fastrtps::c_TimeInfinite);
}

// Reliable KEEP_LAST writers hold at most `depth` unacknowledged samples per instance: Fast
// DDS's KEEP_ALL capped per instance (and in all, for an unkeyed type); everything else keeps
// Fast DDS's KEEP_LAST.
TEST(EndpointQos, ReliableKeepLastWritersBecomeASendWindowOfTheDepth) {
    struct Case {
        const char* what;
        DDS_ReliabilityQosPolicyKind reliability;
        DDS_HistoryQosPolicyKind kind;
        bool keyed;
        int32_t max_samples;  // the binding's limit
        fdds::HistoryQosPolicyKind fast_kind;
        int32_t fast_depth, fast_max_samples, fast_per_instance;
    };
    const int32_t U = DDS_LENGTH_UNLIMITED;
    const Case cases[] = {
        {"reliable unkeyed", DDS_RELIABLE_RELIABILITY_QOS, DDS_KEEP_LAST_HISTORY_QOS, false, U,
         fdds::KEEP_ALL_HISTORY_QOS, 1000, 1000, 1000},
        {"reliable keyed", DDS_RELIABLE_RELIABILITY_QOS, DDS_KEEP_LAST_HISTORY_QOS, true, U,
         fdds::KEEP_ALL_HISTORY_QOS, 1000, 0, 1000},
        {"reliable keyed, limited", DDS_RELIABLE_RELIABILITY_QOS, DDS_KEEP_LAST_HISTORY_QOS, true,
         5000, fdds::KEEP_ALL_HISTORY_QOS, 1000, 5000, 1000},
        {"best effort", DDS_BEST_EFFORT_RELIABILITY_QOS, DDS_KEEP_LAST_HISTORY_QOS, false, U,
         fdds::KEEP_LAST_HISTORY_QOS, 1000, 0, 0},
        {"reliable keep all", DDS_RELIABLE_RELIABILITY_QOS, DDS_KEEP_ALL_HISTORY_QOS, false, U,
         fdds::KEEP_ALL_HISTORY_QOS, 1, 0, 0},
    };
    for (const Case& c : cases) {
        DDS_DataWriterQos qos;
        qos.reliability.kind = c.reliability;
        qos.history.kind = c.kind;
        qos.history.depth = 1000;
        qos.resource_limits.max_samples = c.max_samples;
        fdds::DataWriterQos fast;
        ASSERT_EQ(qordds::translate_writer_qos(qos, c.keyed, fast, "test"), DDS_RETCODE_OK)
            << c.what;
        EXPECT_EQ(fast.history().kind, c.fast_kind) << c.what;
        EXPECT_EQ(fast.history().depth, c.fast_depth) << c.what;
        EXPECT_EQ(fast.resource_limits().max_samples, c.fast_max_samples) << c.what;
        EXPECT_EQ(fast.resource_limits().max_samples_per_instance, c.fast_per_instance) << c.what;
        EXPECT_LE(fast.resource_limits().allocated_samples,
                  c.fast_max_samples > 0 ? c.fast_max_samples : INT32_MAX)
            << c.what;
    }
}

TEST(EndpointQos, ReaderMulticastSettingsBecomeMulticastLocators) {
    struct Setting {
        const char* address;
        int32_t port;
        const char* transport;  // null: the empty list, every transport
    };
    const Setting settings_in[] = {
        {"239.255.0.1", 23001, nullptr},
        {"ff02::1", 7400, nullptr},
        {"239.255.0.2", 23002, "UDPv6"},  // another transport's only: left out
        {"239.255.0.3", 23003, "builtin.udpv4"},
        {"foo", 12, nullptr},          // not an address: left out
        {"239.255.0.4", 0, nullptr},   // no port: left out
        {"10.0.0.1", 23001, nullptr},  // no multicast group: left out
        {"223.255.255.255", 23001, nullptr},
        {"224.0.0.0", 23005, nullptr},
        {"239.255.255.255", 23006, nullptr},
        {"240.0.0.0", 23001, nullptr},
        {"::1", 23001, nullptr},
        {"fe80::1", 23001, nullptr},
    };
    DDS_DataReaderQos qos;
    int32_t count = sizeof settings_in / sizeof settings_in[0];
    ASSERT_TRUE(qos.multicast.value.ensure_length(count, count));
    for (int32_t i = 0; i < count; ++i) {
        DDS_TransportMulticastSettings_t& setting = qos.multicast.value[i];
        DDS_String_replace(&setting.receive_address, settings_in[i].address);
        setting.receive_port = settings_in[i].port;
        if (settings_in[i].transport != nullptr) {
            ASSERT_TRUE(setting.transports.ensure_length(1, 1));
            DDS_String_replace(&setting.transports[0], settings_in[i].transport);
        }
    }
    fdds::DataReaderQos fast;
    DDSLogger::get_instance()->set_verbosity(DDS_LOG_VERBOSITY_SILENT);
    ASSERT_EQ(qordds::translate_reader_qos(qos, fast, "test"), DDS_RETCODE_OK);
    DDSLogger::get_instance()->set_verbosity(DDS_LOG_VERBOSITY_ERROR);
    std::vector<std::string> locators;
    for (const auto& locator : fast.endpoint().multicast_locator_list) {
        locators.push_back(eprosima::fastrtps::rtps::IPLocator::ip_to_string(locator) + ":" +
                           std::to_string(locator.port));
    }
    EXPECT_EQ(locators, (Texts{"239.255.0.1:23001", "ff02::1:7400", "239.255.0.3:23003",
                               "224.0.0.0:23005", "239.255.255.255:23006"}));
    EXPECT_TRUE(fast.endpoint().unicast_locator_list.empty());
}

TEST(EndpointQos, TimeBasedFilterIsCarriedAndMustFitInTheDeadline) {
    DDS_DataReaderQos qos;
    qos.time_based_filter.minimum_separation = {0, 500000000};
    fdds::DataReaderQos fast;
    ASSERT_EQ(qordds::translate_reader_qos(qos, fast, "test"), DDS_RETCODE_OK);
    EXPECT_EQ(fast.time_based_filter().minimum_separation,
              eprosima::fastrtps::Duration_t(0, 500000000));
    qos.deadline.period = {0, 500000000};
    EXPECT_EQ(qordds::translate_reader_qos(qos, fast, "test"), DDS_RETCODE_OK);
    qos.deadline.period = {0, 499999999};
    DDSLogger::get_instance()->set_verbosity(DDS_LOG_VERBOSITY_SILENT);
    EXPECT_EQ(qordds::translate_reader_qos(qos, fast, "test"), DDS_RETCODE_INCONSISTENT_POLICY);
    DDSLogger::get_instance()->set_verbosity(DDS_LOG_VERBOSITY_ERROR);
}

// ---- Transport addresses ----

TEST(TransportAddress, ParsesNumericAddressesOnly) {
    struct Case {
        const char* text;
        int result;
        std::vector<unsigned char> bytes;  // all 16 when parsed
    };
    const std::vector<unsigned char> zero(16, 0);
    std::vector<unsigned char> v4(16, 0);
    v4[12] = 239, v4[13] = 255, v4[14] = 0, v4[15] = 1;
    std::vector<unsigned char> v6(16, 0);
    v6[0] = 0xff, v6[1] = 0x02, v6[15] = 0x01;
    std::vector<unsigned char> loopback6(16, 0);
    loopback6[15] = 1;
    const Case cases[] = {
        {"239.255.0.1", 1, v4},
        {"ff02::1", 1, v6},
        {"::1", 1, loopback6},
        {"foo", 0, zero},
        {"localhost", 0, zero},  // names are never looked up
        {" 239.255.0.1", 0, zero},
        {"239.255.0.1.5", 0, zero},
        {"239.255.0.1:7400", 0, zero},
        {"", 0, zero},
        {nullptr, 0, zero},
    };
    for (const Case& c : cases) {
        DDS_TransportAddress_t address;
        std::memset(address.network_ordered_value, 0xee, 16);
        EXPECT_EQ(DDS_TransportAddress_from_string(&address, c.text), c.result)
            << (c.text ? c.text : "(null)");
        EXPECT_EQ(std::vector<unsigned char>(address.network_ordered_value,
                                             address.network_ordered_value + 16),
                  c.bytes)
            << (c.text ? c.text : "(null)");
    }
    EXPECT_EQ(DDS_TransportAddress_from_string(nullptr, "1.2.3.4"), 0);
}

// ---- Domain tag and participant partitions ----

namespace {

DDS_DomainParticipantQos participant_with(const std::vector<std::string>& partitions,
                                          const char* tag = nullptr) {
    DDS_DomainParticipantQos qos;
    int32_t count = static_cast<int32_t>(partitions.size());
    qos.partition.name.ensure_length(count, count);
    for (int32_t i = 0; i < count; ++i) {
        DDS_String_replace(&qos.partition.name[i], partitions[i].c_str());
    }
    if (tag != nullptr) {
        DDSPropertyQosPolicyHelper::assert_property(
            qos.property, "dds.domain_participant.domain_tag", tag, false);
    }
    return qos;
}

DDS_PartitionQosPolicy group_with(const std::vector<std::string>& partitions) {
    DDS_PartitionQosPolicy policy;
    int32_t count = static_cast<int32_t>(partitions.size());
    policy.name.ensure_length(count, count);
    for (int32_t i = 0; i < count; ++i) {
        DDS_String_replace(&policy.name[i], partitions[i].c_str());
    }
    return policy;
}

bool fnmatch_either(const std::string& a, const std::string& b) {
    return fnmatch(a.c_str(), b.c_str(), FNM_NOESCAPE) == 0 ||
           fnmatch(b.c_str(), a.c_str(), FNM_NOESCAPE) == 0;
}

// How Fast DDS 2.9 decides whether a writer's and a reader's partition lists match.
bool fast_dds_partitions_match(const std::vector<std::string>& a,
                               const std::vector<std::string>& b) {
    auto has_empty = [](const std::vector<std::string>& list) {
        for (const std::string& name : list) {
            if (name.empty()) {
                return true;
            }
        }
        return false;
    };
    if (a.empty() && b.empty()) {
        return true;
    }
    if (a.empty()) {
        return has_empty(b);
    }
    if (b.empty()) {
        return has_empty(a);
    }
    for (const std::string& x : a) {
        for (const std::string& y : b) {
            if (fnmatch_either(x, y)) {
                return true;
            }
        }
    }
    return false;
}

}  // namespace

TEST(DomainIsolation, ParticipantPartitionsMatchByTheirNamesAndWildcards) {
    struct Side {
        std::vector<std::string> participant;
        std::vector<std::string> group;
    };
    struct Case {
        const char* what;
        Side a, b;
        bool match;
    };
    const Case cases[] = {
        {"built-in default on both", {{"*"}, {}}, {{"*"}, {}}, true},
        {"equal lists", {{"A", "B"}, {}}, {{"A", "B"}, {}}, true},
        {"one name in common", {{"A", "B"}, {}}, {{"B", "C"}, {}}, true},
        {"disjoint lists", {{"A"}, {}}, {{"B"}, {}}, false},
        {"wildcard on one side", {{"A*"}, {}}, {{"AB"}, {}}, true},
        {"wildcard that misses", {{"A*"}, {}}, {{"BA"}, {}}, false},
        {"star meets any name", {{"*"}, {}}, {{"X"}, {}}, true},
        {"no list is the default partition", {{}, {}}, {{""}, {}}, true},
        {"no list misses a named one", {{}, {}}, {{"A"}, {}}, false},
        {"star meets no list", {{"*"}, {}}, {{}, {}}, true},
        {"same publisher partitions", {{"*"}, {"P"}}, {{"*"}, {"P"}}, true},
        {"different publisher partitions", {{"*"}, {"P"}}, {{"*"}, {"Q"}}, false},
        {"publisher partition against none", {{"*"}, {"P"}}, {{"*"}, {}}, false},
        {"publisher wildcard", {{"A"}, {"P*"}}, {{"A"}, {"PQ"}}, true},
        {"both halves must match", {{"A"}, {"P"}}, {{"B"}, {"P"}}, false},
    };
    for (const Case& c : cases) {
        std::vector<std::string> a =
            qordds::wire_partitions(participant_with(c.a.participant), group_with(c.a.group));
        std::vector<std::string> b =
            qordds::wire_partitions(participant_with(c.b.participant), group_with(c.b.group));
        EXPECT_EQ(fast_dds_partitions_match(a, b), c.match) << c.what;
    }
}

TEST(DomainIsolation, PlainPeersCountAsDefaultPartitionParticipants) {
    struct Case {
        const char* what;
        std::vector<std::string> participant;
        std::vector<std::string> group;
        std::vector<std::string> peer;  // a plain peer's publisher/subscriber partitions
        bool match;
    };
    const Case cases[] = {
        {"built-in default, peer in the default partition", {"*"}, {}, {}, true},
        {"built-in default, peer in a named partition", {"*"}, {}, {"X"}, false},
        {"same named group partition", {"*"}, {"X"}, {"X"}, true},
        {"named participant partition", {"A"}, {}, {}, false},
        {"default partition named", {""}, {}, {}, true},
    };
    for (const Case& c : cases) {
        std::vector<std::string> ours =
            qordds::wire_partitions(participant_with(c.participant), group_with(c.group));
        EXPECT_EQ(fast_dds_partitions_match(ours, c.peer), c.match) << c.what;
    }
}

TEST(DomainIsolation, TheTagGoesIntoTheTopicName) {
    EXPECT_EQ(qordds::wire_topic_name(participant_with({"*"}), "PingTopic"), "PingTopic");
    EXPECT_EQ(qordds::wire_topic_name(participant_with({"*"}, ""), "PingTopic"), "PingTopic");
    std::string red = qordds::wire_topic_name(participant_with({"*"}, "red"), "PingTopic");
    std::string blue = qordds::wire_topic_name(participant_with({"*"}, "blue"), "PingTopic");
    EXPECT_NE(red, "PingTopic");
    EXPECT_NE(red, blue);
    EXPECT_EQ(red, qordds::wire_topic_name(participant_with({"A"}, "red"), "PingTopic"));
    EXPECT_EQ(qordds::wire_topic_name(participant_with({}, "t"), std::string(300, 'x').c_str()), "")
        << "a name Fast DDS would cut is refused";
}

// ---- Key-only dispose and unregister messages ----

namespace {

// A key-only dispose as a Cyclone DDS writer sends it (captured on a private host, the key
// then changed from 0 to 5):
// RTPS header, INFO_TS, then DATA with the K flag, inline PID_STATUS_INFO and a payload of
// encapsulation CDR_LE and the key.
const std::vector<unsigned char> kCycloneDispose = {
    'R',  'T',  'P',  'S',  0x02, 0x01, 0x01, 0x10, 0x01, 0x10, 0x4f, 0x70,
    0x6a, 0x79, 0x6e, 0x90, 0x7f, 0x5e, 0x42, 0xa9,                          // header
    0x09, 0x01, 0x08, 0x00, 0xa4, 0xfb, 0x01, 0x6b, 0x8d, 0xcd, 0xa4, 0x06,  // INFO_TS
    0x15, 0x0b, 0x28, 0x00, 0x00, 0x00, 0x10, 0x00, 0x00, 0x00, 0x00, 0x00,  // DATA
    0x00, 0x00, 0x01, 0x02, 0x00, 0x00, 0x00, 0x00, 0x03, 0x00, 0x00, 0x00,  // ids, SN
    0x71, 0x00, 0x04, 0x00, 0x00, 0x00, 0x00, 0x01, 0x01, 0x00, 0x00, 0x00,  // inline QoS
    0x00, 0x01, 0x00, 0x00, 0x05, 0x00, 0x00, 0x00,                          // payload
};

const unsigned char kCycloneWriter[16] = {0x01, 0x10, 0x4f, 0x70, 0x6a, 0x79, 0x6e, 0x90,
                                          0x7f, 0x5e, 0x42, 0xa9, 0x00, 0x00, 0x01, 0x02};

// Hashes like the ping type: the big-endian int32 key, then zeros. Knows only `writer`.
qordds::KeyHasher hasher_for(const unsigned char* writer, std::vector<unsigned char>* seen) {
    return [writer, seen](const unsigned char guid[16], const unsigned char* key, uint32_t length,
                          unsigned char hash[16]) {
        if (std::memcmp(guid, writer, 16) != 0 || length < 8) {
            return false;
        }
        seen->assign(key, key + length);
        bool little = key[1] == 0x01;
        std::memset(hash, 0, 16);
        for (int i = 0; i < 4; ++i) {
            hash[i] = little ? key[7 - i] : key[4 + i];
        }
        return true;
    };
}

}  // namespace

TEST(KeyOnlyRepair, RewritesAKeyOnlyDisposeIntoTheKeyHashForm) {
    std::vector<unsigned char> message = kCycloneDispose;
    std::vector<unsigned char> seen;
    ASSERT_TRUE(qordds::repair_key_only_data(message, hasher_for(kCycloneWriter, &seen)));
    EXPECT_EQ(seen, (std::vector<unsigned char>{0x00, 0x01, 0x00, 0x00, 0x05, 0, 0, 0}));
    std::vector<unsigned char> expected(kCycloneDispose.begin(), kCycloneDispose.begin() + 32);
    const std::vector<unsigned char> data = {
        0x15, 0x03, 0x34, 0x00,                                      // DATA, Q|E, 52 octets
        0x00, 0x00, 0x10, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,  // extra flags, to QoS, ids
        0x01, 0x02, 0x00, 0x00, 0x00, 0x00, 0x03, 0x00, 0x00, 0x00,  // writer id, SN
        0x71, 0x00, 0x04, 0x00, 0x00, 0x00, 0x00, 0x01,              // status info kept
        0x70, 0x00, 0x10, 0x00, 0x00, 0x00, 0x00, 0x05, 0x00, 0x00,  // key hash of key 5
        0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
        0x01, 0x00, 0x00, 0x00,  // sentinel, no payload
    };
    expected.insert(expected.end(), data.begin(), data.end());
    EXPECT_EQ(message, expected);
}

TEST(KeyOnlyRepair, LeavesOtherMessagesAlone) {
    std::vector<unsigned char> seen;
    struct Case {
        const char* what;
        std::vector<unsigned char> message;
    };
    std::vector<unsigned char> with_data = kCycloneDispose;
    with_data[33] = 0x05;  // D|E: an ordinary sample
    std::vector<unsigned char> other_writer = kCycloneDispose;
    other_writer[47] = 0x03;  // writer entity 0x00000103, not tracked
    std::vector<unsigned char> truncated(kCycloneDispose.begin(), kCycloneDispose.end() - 10);
    std::vector<unsigned char> not_rtps = kCycloneDispose;
    not_rtps[0] = 'X';
    const Case cases[] = {
        {"a DATA with data", with_data},
        {"an untracked writer", other_writer},
        {"a truncated message", truncated},
        {"not RTPS", not_rtps},
    };
    for (const Case& c : cases) {
        std::vector<unsigned char> message = c.message;
        EXPECT_FALSE(qordds::repair_key_only_data(message, hasher_for(kCycloneWriter, &seen)))
            << c.what;
        EXPECT_EQ(message, c.message) << c.what;
    }
}

TEST(KeyOnlyRepair, FollowsInfoSourceAndBigEndianSubmessages) {
    const unsigned char other_prefix[12] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
    unsigned char other_writer[16];
    std::memcpy(other_writer, other_prefix, 12);
    const unsigned char entity[4] = {0x00, 0x00, 0x01, 0x02};
    std::memcpy(other_writer + 12, entity, 4);
    std::vector<unsigned char> message(kCycloneDispose.begin(), kCycloneDispose.begin() + 20);
    // INFO_SRC (big-endian) naming another participant.
    const std::vector<unsigned char> info_src = {0x0c, 0x00, 0x00, 0x14, 0, 0, 0, 0, 2, 1, 1, 0x10};
    message.insert(message.end(), info_src.begin(), info_src.end());
    message.insert(message.end(), other_prefix, other_prefix + 12);
    // A big-endian key-only unregistration of key 7, no inline QoS besides status info.
    const std::vector<unsigned char> data = {
        0x15, 0x0a, 0x00, 0x28, 0x00, 0x00, 0x00, 0x10, 0,    0,    0,    0,    0x00, 0x00, 0x01,
        0x02, 0,    0,    0,    0,    0,    0,    0,    9,    0x00, 0x71, 0x00, 0x04, 0,    0,
        0,    2,    0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0,    0,    0,    7,
    };
    message.insert(message.end(), data.begin(), data.end());
    std::vector<unsigned char> seen;
    ASSERT_TRUE(qordds::repair_key_only_data(message, hasher_for(other_writer, &seen)));
    size_t at = 20 + info_src.size() + 12;
    EXPECT_EQ(message[at + 1], 0x02) << "Q flag, big-endian kept";
    EXPECT_EQ(message[at + 3], 0x34);
    const std::vector<unsigned char> key_hash_parameter = {0x00, 0x70, 0x00, 0x10, 0, 0, 0, 7};
    EXPECT_EQ(std::vector<unsigned char>(message.begin() + at + 32, message.begin() + at + 40),
              key_hash_parameter);
    EXPECT_EQ(message.size(), at + 56);
}
