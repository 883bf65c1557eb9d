// The endpoint logic that needs no network: reader cache, writer liveliness, offered deadline,
// status and QoS translation, domain isolation names, key-only repair.
#include <gtest/gtest.h>

#include <fnmatch.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include <fastrtps/utils/IPLocator.h>
#include <fastdds/dds/core/status/IncompatibleQosStatus.hpp>

#include "qordds/logger.h"
#include "qos/endpoint_qos.h"
#include "qos/status_translation.h"
#include "workarounds/domain_isolation.h"
#include "workarounds/key_only_repair.h"
#include "workarounds/offered_deadline.h"
#include "workarounds/reader_cache.h"
#include "workarounds/writer_liveliness.h"

namespace fdds = eprosima::fastdds::dds;
using eprosima::fastrtps::Duration_t;
typedef std::vector<std::string> Texts;
typedef std::vector<unsigned char> Bytes;

namespace {

DDS_InstanceHandle_t handle(unsigned char first) {
    DDS_InstanceHandle_t result = DDS_HANDLE_NIL;
    result.value[0] = first;
    result.isValid = true;
    return result;
}

const DDS_InstanceHandle_t W1 = handle(0xa1);
const DDS_InstanceHandle_t W2 = handle(0xa2);
const int kDisposed = -1;  // any other negative number: an unregistration
const qordds::ReaderCache::Outcome kKept = qordds::ReaderCache::Outcome::Kept;
const qordds::ReaderCache::Outcome kFiltered = qordds::ReaderCache::Outcome::Filtered;

DDS_Time_t at_ms(int ms) {
    return {ms / 1000, static_cast<uint32_t>(ms % 1000) * 1000000u};
}

// A reader cache whose samples are a plain int, fed as Fast DDS would feed it.
struct Cache {
    explicit Cache(bool keyed, int depth, int separation_ms = 0,
                   const DDS_ResourceLimitsQosPolicy& limits = DDS_ResourceLimitsQosPolicy())
        : cache(plugin(keyed), settings(keyed, depth, separation_ms, limits)) {}
    static DDSTypePlugin plugin(bool keyed) {
        DDSTypePlugin plugin{};
        plugin.type_name = "Sample";
        plugin.key_kind = keyed ? DDS_TYPEPLUGIN_USER_KEY : DDS_TYPEPLUGIN_NO_KEY;
        plugin.create_sample = []() -> void* { return new int(0); };
        plugin.destroy_sample = [](void* sample) { delete static_cast<int*>(sample); };
        plugin.copy_sample = [](void* target, const void* source) {
            *static_cast<int*>(target) = *static_cast<const int*>(source);
            return true;
        };
        return plugin;
    }
    static qordds::ReaderCacheSettings settings(bool keyed, int depth, int separation_ms,
                                                const DDS_ResourceLimitsQosPolicy& limits) {
        qordds::ReaderCacheSettings s;
        s.keyed = keyed;
        s.history.kind = depth > 0 ? DDS_KEEP_LAST_HISTORY_QOS : DDS_KEEP_ALL_HISTORY_QOS;
        s.history.depth = depth > 0 ? depth : 1;
        s.limits = limits;
        s.minimum_separation = {separation_ms / 1000,
                                static_cast<uint32_t>(separation_ms % 1000) * 1000000u};
        return s;
    }

    qordds::ReaderCache::Outcome arrive(int key, int number, DDS_InstanceHandle_t writer = W1,
                                        int ms = 0,
                                        DDS_SampleRejectedStatusKind* reason = nullptr) {
        DDS_SampleInfo info;
        info.instance_handle = handle(static_cast<unsigned char>(key));
        info.publication_handle = writer;
        info.reception_timestamp = info.source_timestamp = at_ms(ms);
        info.valid_data = number >= 0;
        info.instance_state = number == kDisposed ? DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE
                                                  : DDS_NOT_ALIVE_NO_WRITERS_INSTANCE_STATE;
        DDS_SampleRejectedStatusKind ignored;
        return cache.add(number >= 0 ? new int(number) : nullptr, info,
                         reason != nullptr ? reason : &ignored);
    }

    // One text per sample: "k<key>:<number>", "k<key>:disposed" or "k<key>:nowriters".
    Texts collect(bool take = true, DDS_SampleStateMask samples = DDS_ANY_SAMPLE_STATE,
                  DDS_ViewStateMask views = DDS_ANY_VIEW_STATE) {
        std::vector<void*> data;
        infos.clear();
        cache.collect(take, DDS_LENGTH_UNLIMITED, samples, views, DDS_ANY_INSTANCE_STATE, data,
                      infos);
        Texts result;
        for (size_t i = 0; i < data.size(); ++i) {
            bool disposed = infos[i].instance_state == DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE;
            result.push_back("k" + std::to_string(infos[i].instance_handle.value[0]) + ":" +
                             (infos[i].valid_data ? std::to_string(*static_cast<int*>(data[i]))
                              : disposed          ? "disposed"
                                                  : "nowriters"));
            delete static_cast<int*>(data[i]);
        }
        return result;
    }

    qordds::ReaderCache cache;
    std::vector<DDS_SampleInfo> infos;  // of the last collect
};

}  // namespace

TEST(ReaderCache, KeepLastDropsOnlyTheSameInstancesOldestAndTakesInstanceByInstance) {
    Cache c(true, 2);
    const int arrivals[][2] = {{1, 10}, {2, 20}, {1, 11}, {1, 12}, {2, 21}};
    for (const auto& a : arrivals) {
        EXPECT_EQ(c.arrive(a[0], a[1]), kKept);
    }
    EXPECT_EQ(c.collect(), (Texts{"k2:20", "k2:21", "k1:11", "k1:12"}));
    EXPECT_EQ(c.collect(), Texts{});
}

TEST(ReaderCache, TimeBasedFilterKeepsOneSamplePerSeparationPerInstance) {
    struct Case {
        int key, number, ms;
        qordds::ReaderCache::Outcome outcome;
    };
    const Case cases[] = {
        {1, 0, 0, kKept},             // first of key 1
        {1, 1, 500, kFiltered},       // 0.5 s after the kept one
        {2, 2, 600, kKept},           // key 2 has its own clock
        {1, 3, 999, kFiltered},       // just short of the separation
        {1, 4, 1000, kKept},          // a full separation after the last kept one
        {2, 5, 1200, kFiltered},      // 0.6 s after key 2's
        {1, kDisposed, 1100, kKept},  // instance changes are never filtered
        {1, 6, 1150, kKept},          // the first sample after a dispose passes
    };
    Cache c(true, 10, 1000);
    for (const Case& k : cases) {
        EXPECT_EQ(c.arrive(k.key, k.number, W1, k.ms), k.outcome) << "sample " << k.number;
    }
    EXPECT_EQ(c.collect(), (Texts{"k1:0", "k1:4", "k1:disposed", "k1:6", "k2:2"}));
}

TEST(ReaderCache, KeepAllRefusesBeyondItsLimitsAndSaysWhich) {
    Cache c(true, 0, 0, DDS_ResourceLimitsQosPolicy{3, 2, 2});
    const int arrivals[][2] = {{1, 1}, {1, 2}, {1, 3}, {2, 4}, {3, 5}, {2, 6}};
    std::vector<int> reasons;
    for (const auto& a : arrivals) {
        DDS_SampleRejectedStatusKind reason = DDS_NOT_REJECTED;
        qordds::ReaderCache::Outcome outcome = c.arrive(a[0], a[1], W1, 0, &reason);
        EXPECT_EQ(outcome == qordds::ReaderCache::Outcome::Rejected, reason != DDS_NOT_REJECTED);
        reasons.push_back(reason);
    }
    EXPECT_EQ(reasons,
              (std::vector<int>{DDS_NOT_REJECTED, DDS_NOT_REJECTED,
                                DDS_REJECTED_BY_SAMPLES_PER_INSTANCE_LIMIT, DDS_NOT_REJECTED,
                                DDS_REJECTED_BY_INSTANCES_LIMIT, DDS_REJECTED_BY_SAMPLES_LIMIT}));
}

TEST(WriterLiveliness, CountsMatchedWritersAliveAndTheirLossOnce) {
    // Expected after each step: reported (R) or not, writer lost (L) or not, the alive and not
    // alive counts, and what a report says: last writer and changes.
    const struct {
        const char* event;  // "match", "unmatch", "fast+" (alive), "fast-" (lost)
        DDS_InstanceHandle_t writer;
        const char* expected;
    } steps[] = {
        {"match", W1, "R- 1/0 161 +1/+0"},
        {"fast+", W1, "-- 1/0"},  // Fast DDS confirms: not counted twice
        {"match", W2, "R- 2/0 162 +1/+0"},
        {"unmatch", W1, "RL 1/1 161 -1/+1"},
        {"fast-", W1, "-- 1/1"},            // gone already
        {"fast-", W2, "RL 0/2 162 -1/+1"},  // lease lost while matched
        {"fast+", W2, "R- 1/1 162 +1/-1"},  // and back
        {"unmatch", W2, "RL 0/2 162 -1/+1"},
        {"unmatch", W2, "-- 0/2"},
        {"fast+", W1, "-- 0/2"},  // a removed writer stays removed
    };
    auto sign = [](int n) { return (n < 0 ? "" : "+") + std::to_string(n); };
    qordds::WriterLiveliness liveliness;
    for (const auto& step : steps) {
        std::string event = step.event;
        qordds::WriterLiveliness::Change change;
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
        const DDS_LivelinessChangedStatus& s = change.status;
        std::string seen = std::string(change.reported ? "R" : "-") +
                           (change.writer_lost ? "L " : "- ") +
                           std::to_string(liveliness.alive_count()) + "/" +
                           std::to_string(liveliness.not_alive_count());
        if (change.reported) {
            EXPECT_EQ(s.alive_count, liveliness.alive_count());
            EXPECT_EQ(s.not_alive_count, liveliness.not_alive_count());
            seen += " " + std::to_string(s.last_publication_handle.value[0]) + " " +
                    sign(s.alive_count_change) + "/" + sign(s.not_alive_count_change);
        }
        EXPECT_EQ(seen, step.expected) << event << " writer " << int(step.writer.value[0]);
    }
}

TEST(OfferedDeadline, EachOwedInstanceMissesOncePerPeriodInDeadlineOrderUntilUnregistered) {
    using std::chrono::milliseconds;
    qordds::OfferedDeadline deadline{milliseconds(100)};
    // The keys of the instances that missed, each with its status's total count.
    auto expire_at = [&](int ms) {
        std::string text;
        for (const DDS_OfferedDeadlineMissedStatus& status :
             deadline.expire(qordds::OfferedDeadline::Clock::time_point() + milliseconds(ms))) {
            text += "k" + std::to_string(status.last_instance_handle.value[0]) + "#" +
                    std::to_string(status.total_count) + " ";
        }
        return text;
    };
    auto written_at = [&](unsigned char k, int ms) {
        deadline.written(handle(k),
                         qordds::OfferedDeadline::Clock::time_point() + milliseconds(ms));
    };
    qordds::OfferedDeadline::Clock::time_point when;
    EXPECT_FALSE(deadline.next_miss(&when)) << "nothing owed yet";
    written_at(3, 20);
    written_at(1, 30);
    written_at(2, 10);
    ASSERT_TRUE(deadline.next_miss(&when));
    EXPECT_EQ(when.time_since_epoch(), milliseconds(110));
    EXPECT_EQ(expire_at(109), "");
    EXPECT_EQ(expire_at(500), "k2#1 k3#2 k1#3 ") << "each owes again a period from now";
    written_at(2, 550);  // written again (or disposed): its period starts over
    written_at(1, 560);
    EXPECT_EQ(expire_at(600), "k3#4 ");
    EXPECT_EQ(expire_at(650), "k2#5 ");
    deadline.unregistered(handle(1));
    ASSERT_TRUE(deadline.next_miss(&when));
    EXPECT_EQ(when.time_since_epoch(), milliseconds(700))
        << "an unregistered instance owes nothing";
    EXPECT_EQ(expire_at(1000), "k3#6 k2#7 ");
    deadline.unregistered(handle(3));
    deadline.unregistered(handle(2));
    EXPECT_FALSE(deadline.next_miss(&when));
    written_at(1, 5000);
    EXPECT_EQ(expire_at(5100), "k1#8 ") << "written after its unregistration, owed again";

    qordds::OfferedDeadline zero{milliseconds(0)};
    zero.written(DDS_HANDLE_NIL, qordds::OfferedDeadline::Clock::time_point());
    ASSERT_TRUE(zero.next_miss(&when));
    EXPECT_EQ(when.time_since_epoch(), milliseconds(1)) << "a zero period is paced";
}

TEST(StatusTranslation, IncompatibleQosListsOnlyOffendersWithStandardIdsInCheckOrder) {
    fdds::RequestedIncompatibleQosStatus fast;
    fast.total_count = 3;
    fast.last_policy_id = fdds::DURABILITY_QOS_POLICY_ID;
    fast.policies[fdds::DURABILITY_QOS_POLICY_ID].count = 1;
    fast.policies[fdds::DEADLINE_QOS_POLICY_ID].count = 1;
    fast.policies[fdds::RELIABILITY_QOS_POLICY_ID].count = 2;
    fast.policies[fdds::DISABLEPOSITIVEACKS_QOS_POLICY_ID].count = 1;  // no standard id
    DDS_RequestedIncompatibleQosStatus status = qordds::translate_requested_incompatible_qos(fast);
    std::string policies;
    for (int32_t i = 0; i < status.policies.length(); ++i) {
        policies += std::to_string(status.policies[i].policy_id) + "x" +
                    std::to_string(status.policies[i].count) + " ";
    }
    EXPECT_EQ(policies, "11x2 2x1 4x1 ");
    EXPECT_EQ(status.total_count, 3);
    EXPECT_EQ(status.last_policy_id, DDS_DURABILITY_QOS_POLICY_ID);
}

// ---- Endpoint QoS ----

TEST(EndpointQos, HistoryLimitsAndFilterThatDdsOrFastDdsRefuseFailCleanly) {
    struct Case {
        const char* what;
        DDS_HistoryQosPolicyKind kind;
        int32_t depth, max_samples, max_instances, per_instance;
        DDS_ReturnCode_t expected;
    };
    const int32_t U = DDS_LENGTH_UNLIMITED;
    const DDS_HistoryQosPolicyKind LAST = DDS_KEEP_LAST_HISTORY_QOS;
    const DDS_ReturnCode_t BAD = DDS_RETCODE_INCONSISTENT_POLICY;
    const Case cases[] = {
        {"defaults", LAST, 1, U, U, U, DDS_RETCODE_OK},
        {"depth 0", LAST, 0, U, U, U, BAD},
        {"keep all ignores depth", DDS_KEEP_ALL_HISTORY_QOS, 0, U, U, U, DDS_RETCODE_OK},
        {"zero limit", LAST, 1, 0, U, U, BAD},
        {"samples below per instance", LAST, 1, 2, U, 3, BAD},
        {"depth above per instance", LAST, 4, U, U, 3, BAD},
        {"product above samples", LAST, 1, 5, 5, 5, BAD},
        {"product fits", LAST, 5, 25, 5, 5, DDS_RETCODE_OK},
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
    // The time-based filter is carried for discovery and must fit in the deadline.
    DDS_DataReaderQos qos;
    qos.time_based_filter.minimum_separation = {0, 500000000};
    qos.deadline.period = {0, 500000000};
    fdds::DataReaderQos fast;
    EXPECT_EQ(qordds::translate_reader_qos(qos, fast, "test"), DDS_RETCODE_OK);
    EXPECT_EQ(fast.time_based_filter().minimum_separation, Duration_t(0, 500000000));
    qos.deadline.period = {0, 499999999};
    EXPECT_EQ(qordds::translate_reader_qos(qos, fast, "test"), BAD);
    DDSLogger::get_instance()->set_verbosity(DDS_LOG_VERBOSITY_ERROR);
}

// Reliable KEEP_LAST writers hold at most `depth` unacknowledged samples per instance: Fast
// DDS's KEEP_ALL capped per instance (and in all, for an unkeyed type).
TEST(EndpointQos, ReliableKeepLastWritersBecomeASendWindowOfTheDepth) {
    const struct {
        bool reliable, keep_last, keyed;
        int32_t max_samples;  // the binding's limit
        const char* fast;     // history kind, depth, max samples, max samples per instance
    } cases[] = {
        {true, true, false, DDS_LENGTH_UNLIMITED, "all 1000 1000 1000"},  // unkeyed: capped in all
        {true, true, true, DDS_LENGTH_UNLIMITED, "all 1000 0 1000"},
        {true, true, true, 5000, "all 1000 5000 1000"},
        {false, true, false, DDS_LENGTH_UNLIMITED, "last 1000 0 0"},  // best effort: untouched
        {true, false, false, DDS_LENGTH_UNLIMITED, "all 1 0 0"},      // keep all: untouched
    };
    for (const auto& c : cases) {
        DDS_DataWriterQos qos;
        qos.reliability.kind =
            c.reliable ? DDS_RELIABLE_RELIABILITY_QOS : DDS_BEST_EFFORT_RELIABILITY_QOS;
        qos.history.kind = c.keep_last ? DDS_KEEP_LAST_HISTORY_QOS : DDS_KEEP_ALL_HISTORY_QOS;
        qos.history.depth = 1000;
        qos.resource_limits.max_samples = c.max_samples;
        fdds::DataWriterQos fast;
        ASSERT_EQ(qordds::translate_writer_qos(qos, c.keyed, fast, "test"), DDS_RETCODE_OK);
        const fdds::ResourceLimitsQosPolicy& limits = fast.resource_limits();
        EXPECT_EQ(
            std::string(fast.history().kind == fdds::KEEP_ALL_HISTORY_QOS ? "all " : "last ") +
                std::to_string(fast.history().depth) + " " + std::to_string(limits.max_samples) +
                " " + std::to_string(limits.max_samples_per_instance),
            c.fast);
        EXPECT_LE(limits.allocated_samples, limits.max_samples > 0 ? limits.max_samples : INT32_MAX)
            << c.fast;
    }
}

TEST(EndpointQos, ReaderMulticastSettingsBecomeMulticastLocators) {
    struct Setting {
        const char* address;
        int32_t port;
        const char* transport;  // null: the empty list, every transport
    };
    const Setting settings[] = {
        {"239.255.0.1", 23001, nullptr},
        {"ff02::1", 7400, nullptr},
        {"239.255.0.2", 23002, "UDPv6"},  // another transport's only: left out
        {"239.255.0.3", 23003, "builtin.udpv4"},
        {"foo", 12, nullptr},           // not an address: left out
        {"localhost", 23001, nullptr},  // names are never looked up
        {nullptr, 23001, nullptr},
        {"239.255.0.4", 0, nullptr},   // no port: left out
        {"10.0.0.1", 23001, nullptr},  // no multicast group: left out
        {"223.255.255.255", 23001, nullptr},
        {"224.0.0.0", 23005, nullptr},
        {"239.255.255.255", 23006, nullptr},
        {"240.0.0.0", 23001, nullptr},
        {"::1", 23001, nullptr},
    };
    DDS_DataReaderQos qos;
    const int32_t count = sizeof settings / sizeof settings[0];
    ASSERT_TRUE(qos.multicast.value.ensure_length(count, count));
    for (int32_t i = 0; i < count; ++i) {
        DDS_TransportMulticastSettings_t& setting = qos.multicast.value[i];
        if (settings[i].address != nullptr) {
            DDS_String_replace(&setting.receive_address, settings[i].address);
        }
        setting.receive_port = settings[i].port;
        if (settings[i].transport != nullptr) {
            ASSERT_TRUE(setting.transports.ensure_length(1, 1));
            DDS_String_replace(&setting.transports[0], settings[i].transport);
        }
    }
    fdds::DataReaderQos fast;
    DDSLogger::get_instance()->set_verbosity(DDS_LOG_VERBOSITY_SILENT);
    ASSERT_EQ(qordds::translate_reader_qos(qos, fast, "test"), DDS_RETCODE_OK);
    DDSLogger::get_instance()->set_verbosity(DDS_LOG_VERBOSITY_ERROR);
    Texts locators;
    for (const auto& locator : fast.endpoint().multicast_locator_list) {
        locators.push_back(eprosima::fastrtps::rtps::IPLocator::ip_to_string(locator) + ":" +
                           std::to_string(locator.port));
    }
    EXPECT_EQ(locators, (Texts{"239.255.0.1:23001", "ff02::1:7400", "239.255.0.3:23003",
                               "224.0.0.0:23005", "239.255.255.255:23006"}));
    EXPECT_TRUE(fast.endpoint().unicast_locator_list.empty());
}

// ---- Domain tag and participant partitions ----

namespace {

void set_names(DDS_StringSeq& seq, const Texts& names) {
    int32_t count = static_cast<int32_t>(names.size());
    seq.ensure_length(count, count);
    for (int32_t i = 0; i < count; ++i) {
        DDS_String_replace(&seq[i], names[i].c_str());
    }
}

DDS_DomainParticipantQos participant_with(const Texts& partitions, const char* tag = nullptr) {
    DDS_DomainParticipantQos qos;
    set_names(qos.partition.name, partitions);
    if (tag != nullptr) {
        DDSPropertyQosPolicyHelper::assert_property(
            qos.property, "dds.domain_participant.domain_tag", tag, false);
    }
    return qos;
}

// The partitions a publisher or subscriber of a participant announces.
Texts on_wire(const Texts& participant, const Texts& group) {
    DDS_PartitionQosPolicy policy;
    set_names(policy.name, group);
    return qordds::wire_partitions(participant_with(participant), policy);
}

// How Fast DDS 2.9 decides whether a writer's and a reader's partition lists match.
bool fast_dds_partitions_match(const Texts& a, const Texts& b) {
    auto has_empty = [](const Texts& list) {
        return std::find(list.begin(), list.end(), "") != list.end();
    };
    if (a.empty() || b.empty()) {
        return a.empty() ? b.empty() || has_empty(b) : has_empty(a);
    }
    for (const std::string& x : a) {
        for (const std::string& y : b) {
            if (fnmatch(x.c_str(), y.c_str(), FNM_NOESCAPE) == 0 ||
                fnmatch(y.c_str(), x.c_str(), FNM_NOESCAPE) == 0) {
                return true;
            }
        }
    }
    return false;
}

}  // namespace

TEST(DomainIsolation, ParticipantPartitionsMatchByTheirNamesAndWildcards) {
    struct Side {
        Texts participant, group;
        bool plain;  // a peer without participant partitions: announces the group's as they are
    };
    struct Case {
        const char* what;
        Side a, b;
        bool match;
    };
    const Side star = {{"*"}, {}, false};
    const Case cases[] = {
        {"built-in default on both", star, star, true},
        {"one name in common", {{"A", "B"}, {}, false}, {{"B", "C"}, {}, false}, true},
        {"disjoint lists", {{"A"}, {}, false}, {{"B"}, {}, false}, false},
        {"wildcard on one side", {{"A*"}, {}, false}, {{"AB"}, {}, false}, true},
        {"wildcard that misses", {{"A*"}, {}, false}, {{"BA"}, {}, false}, false},
        {"star meets any name", star, {{"X"}, {}, false}, true},
        {"no list is the default partition", {{}, {}, false}, {{""}, {}, false}, true},
        {"no list misses a named one", {{}, {}, false}, {{"A"}, {}, false}, false},
        {"same publisher partitions", {{"*"}, {"P"}, false}, {{"*"}, {"P"}, false}, true},
        {"publisher partition against none", {{"*"}, {"P"}, false}, star, false},
        {"publisher wildcard", {{"A"}, {"P*"}, false}, {{"A"}, {"PQ"}, false}, true},
        {"both halves must match", {{"A"}, {"P"}, false}, {{"B"}, {"P"}, false}, false},
        {"plain peer, default partition", star, {{}, {}, true}, true},
        {"plain peer, named partition", star, {{}, {"X"}, true}, false},
        {"plain peer, same group partition", {{"*"}, {"X"}, false}, {{}, {"X"}, true}, true},
        {"plain peer, named list", {{"A"}, {}, false}, {{}, {}, true}, false},
    };
    for (const Case& c : cases) {
        auto wire = [](const Side& side) {
            return side.plain ? side.group : on_wire(side.participant, side.group);
        };
        EXPECT_EQ(fast_dds_partitions_match(wire(c.a), wire(c.b)), c.match) << c.what;
    }
}

TEST(DomainIsolation, TheTagGoesIntoTheTopicName) {
    auto wire_name = [](const Texts& partitions, const char* tag, const char* name) {
        return qordds::wire_topic_name(participant_with(partitions, tag), name);
    };
    EXPECT_EQ(wire_name({"*"}, nullptr, "PingTopic"), "PingTopic");
    EXPECT_EQ(wire_name({"*"}, "", "PingTopic"), "PingTopic");
    std::string red = wire_name({"*"}, "red", "PingTopic");
    EXPECT_NE(red, "PingTopic");
    EXPECT_NE(red, wire_name({"*"}, "blue", "PingTopic"));
    EXPECT_EQ(red, wire_name({"A"}, "red", "PingTopic"));
    EXPECT_EQ(wire_name({}, "t", std::string(300, 'x').c_str()), "")
        << "a name Fast DDS would cut is refused";
}

// ---- Key-only dispose and unregister messages ----

namespace {

// A key-only dispose as a Cyclone DDS writer sends it (captured on a private host, the key
// then changed from 0 to 5): RTPS header, INFO_TS, then DATA with the K flag, inline
// PID_STATUS_INFO and a payload of encapsulation CDR_LE and the key.
const Bytes kCycloneDispose = {
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
qordds::KeyHasher hasher_for(const unsigned char* writer, Bytes* seen) {
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

TEST(KeyOnlyRepair, RewritesAKeyOnlyDisposeIntoTheKeyHashFormAndLeavesOtherMessagesAlone) {
    Bytes message = kCycloneDispose;
    Bytes seen;
    ASSERT_TRUE(qordds::repair_key_only_data(message, hasher_for(kCycloneWriter, &seen)));
    EXPECT_EQ(seen, (Bytes{0x00, 0x01, 0x00, 0x00, 0x05, 0, 0, 0}));
    Bytes expected(kCycloneDispose.begin(), kCycloneDispose.begin() + 32);
    const Bytes data = {
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

    Bytes with_data = kCycloneDispose;
    with_data[33] = 0x05;  // D|E: an ordinary sample
    Bytes other_writer = kCycloneDispose;
    other_writer[47] = 0x03;  // writer entity 0x00000103, not tracked
    Bytes not_rtps = kCycloneDispose;
    not_rtps[0] = 'X';
    const Bytes untouched[] = {with_data, other_writer, not_rtps,
                               Bytes(kCycloneDispose.begin(), kCycloneDispose.end() - 10)};
    for (const Bytes& original : untouched) {
        message = original;
        EXPECT_FALSE(qordds::repair_key_only_data(message, hasher_for(kCycloneWriter, &seen)));
        EXPECT_EQ(message, original);
    }
}

TEST(KeyOnlyRepair, FollowsInfoSourceAndBigEndianSubmessages) {
    const unsigned char other_writer[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 0, 0, 1, 2};
    Bytes message(kCycloneDispose.begin(), kCycloneDispose.begin() + 20);
    // INFO_SRC (big-endian) naming another participant.
    const Bytes info_src = {0x0c, 0x00, 0x00, 0x14, 0, 0, 0, 0, 2, 1, 1, 0x10};
    message.insert(message.end(), info_src.begin(), info_src.end());
    message.insert(message.end(), other_writer, other_writer + 12);
    // A big-endian key-only unregistration of key 7, no inline QoS besides status info.
    const Bytes data = {
        0x15, 0x0a, 0x00, 0x28, 0x00, 0x00, 0x00, 0x10, 0,    0,    0,    0,    0x00, 0x00, 0x01,
        0x02, 0,    0,    0,    0,    0,    0,    0,    9,    0x00, 0x71, 0x00, 0x04, 0,    0,
        0,    2,    0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0,    0,    0,    7,
    };
    message.insert(message.end(), data.begin(), data.end());
    Bytes seen;
    ASSERT_TRUE(qordds::repair_key_only_data(message, hasher_for(other_writer, &seen)));
    size_t at = 20 + info_src.size() + 12;
    EXPECT_EQ(message[at + 1], 0x02) << "Q flag, big-endian kept";
    EXPECT_EQ(message[at + 3], 0x34);
    EXPECT_EQ(Bytes(message.begin() + at + 32, message.begin() + at + 40),
              (Bytes{0x00, 0x70, 0x00, 0x10, 0, 0, 0, 7}));
    EXPECT_EQ(message.size(), at + 56);
}
