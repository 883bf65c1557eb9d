// Binding-internal: the samples a DataReader has received and not yet taken, and what it
// knows of each instance. Fast DDS 2.9 leaves out parts of a DDS reader's behaviour; they
// live here, apart from Fast DDS, so that they can be exercised without a network:
// - instances of a lost writer become "no writers", with one invalid-data sample each;
// - the time-based filter, per instance.
#ifndef QOR_DDS_SRC_READER_CACHE_H
#define QOR_DDS_SRC_READER_CACHE_H

#include <array>
#include <cstdint>
#include <deque>
#include <map>
#include <vector>

#include "qordds/qos.h"
#include "qordds/status.h"
#include "qordds/subscription.h"
#include "qordds/type_plugin.h"

namespace qordds {

struct ReaderCacheSettings {
    bool keyed = false;
    DDS_HistoryQosPolicy history;
    DDS_ResourceLimitsQosPolicy limits;
    DDS_Duration_t minimum_separation = DDS_DURATION_ZERO;
};

// Not thread-safe: the reader serialises access.
class ReaderCache {
  public:
    enum class Outcome { Kept, Filtered, Ignored, Rejected };

    ReaderCache(const DDSTypePlugin& plugin, const ReaderCacheSettings& settings);
    ~ReaderCache();

    // Takes ownership of `data` (a sample of the plugin, or null for an invalid one). `info`
    // is what Fast DDS reported: for invalid data, its instance state tells a dispose
    // (NOT_ALIVE_DISPOSED) from an unregistration (NOT_ALIVE_NO_WRITERS). On Rejected,
    // *reason says which limit refused the sample.
    Outcome add(void* data, const DDS_SampleInfo& info, DDS_SampleRejectedStatusKind* reason);

    // The writer is gone or no longer alive. Each alive instance left without a writer
    // becomes NOT_ALIVE_NO_WRITERS and gets one invalid-data sample stamped `now`. Returns
    // how many samples were added.
    int writer_lost(const DDS_InstanceHandle_t& writer, const DDS_Time_t& now);

    bool has_unread() const;

    // Samples in the requested states, instance by instance (in the order the instances
    // first appear), each instance's samples in arrival order; at most max_samples of them
    // (DDS_LENGTH_UNLIMITED for all). Taken samples leave the cache and their data is
    // handed over; read ones stay, marked read, and `data` receives copies. Each info's
    // instance state is the one the sample brought.
    void collect(bool take, int32_t max_samples, DDS_SampleStateMask sample_states,
                 DDS_ViewStateMask view_states, DDS_InstanceStateMask instance_states,
                 std::vector<void*>& data, std::vector<DDS_SampleInfo>& infos);

    size_t size() const { return samples_.size(); }

  private:
    typedef std::array<unsigned char, 16> Key;

    struct Instance {
        DDS_InstanceStateKind state = DDS_ALIVE_INSTANCE_STATE;
        bool view_new = true;
        std::vector<DDS_InstanceHandle_t> writers;
        int32_t disposed_generation = 0;
        int32_t no_writers_generation = 0;
        int32_t samples = 0;
        bool filtered_before = false;
        DDS_Time_t last_delivered = {0, 0};
    };

    struct Sample {
        Key key;
        void* data;
        DDS_SampleInfo info;
    };

    ReaderCache(const ReaderCache&) = delete;
    ReaderCache& operator=(const ReaderCache&) = delete;

    Key key_of(const DDS_InstanceHandle_t& handle) const;
    Instance* instance_for(const Key& key, DDS_SampleRejectedStatusKind* reason);
    bool passes_time_filter(const Instance& instance, const DDS_Time_t& reception) const;
    bool make_room(const Key& key, Instance& instance, DDS_SampleRejectedStatusKind* reason);
    void push(const Key& key, Instance& instance, void* data, DDS_SampleInfo info);
    void forget_if_unused(const Key& key);
    void release(void* data);

    DDSTypePlugin plugin_;
    ReaderCacheSettings settings_;
    std::map<Key, Instance> instances_;
    std::deque<Sample> samples_;
};

}  // namespace qordds

#endif
