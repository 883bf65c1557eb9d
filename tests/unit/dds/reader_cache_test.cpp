// The reader cache: KEEP_LAST and KEEP_ALL history, the time-based filter per instance, the
// samples a lost writer leaves.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/unit/dds/instance_handle.h"
#include "workarounds/reader_cache.h"

typedef std::vector<std::string> Texts;
using qortest::handle;

namespace {

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
