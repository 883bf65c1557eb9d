#include "workarounds/reader_cache.h"

#include <algorithm>
#include <cstring>
#include <functional>

namespace qordds {

namespace {

int64_t to_ns(const DDS_Time_t& time) {
    return static_cast<int64_t>(time.sec) * 1000000000 + time.nanosec;
}

int64_t to_ns(const DDS_Duration_t& duration) {
    if (duration == DDS_DURATION_INFINITE) {
        return INT64_MAX;
    }
    return static_cast<int64_t>(duration.sec) * 1000000000 + duration.nanosec;
}

bool limited(int32_t value) {
    return value != DDS_LENGTH_UNLIMITED;
}

bool has_writer(const std::vector<DDS_InstanceHandle_t>& writers,
                const DDS_InstanceHandle_t& writer) {
    return std::find(writers.begin(), writers.end(), writer) != writers.end();
}

void add_writer(std::vector<DDS_InstanceHandle_t>& writers, const DDS_InstanceHandle_t& writer) {
    if (writer.isValid && !has_writer(writers, writer)) {
        writers.push_back(writer);
    }
}

void remove_writer(std::vector<DDS_InstanceHandle_t>& writers, const DDS_InstanceHandle_t& writer) {
    writers.erase(std::remove(writers.begin(), writers.end(), writer), writers.end());
}

}  // namespace

ReaderCache::ReaderCache(const DDSTypePlugin& plugin, const ReaderCacheSettings& settings)
    : plugin_(plugin), settings_(settings) {}

ReaderCache::~ReaderCache() {
    for (Sample& sample : samples_) {
        release(sample.data);
    }
}

void ReaderCache::release(void* data) {
    if (data != nullptr) {
        plugin_.destroy_sample(data);
    }
}

ReaderCache::Key ReaderCache::key_of(const DDS_InstanceHandle_t& handle) const {
    Key key{};
    if (settings_.keyed && handle.isValid) {
        std::memcpy(key.data(), handle.value, key.size());
    }
    return key;
}

void ReaderCache::forget_if_unused(const Key& key) {
    auto found = instances_.find(key);
    if (found != instances_.end() && found->second.samples == 0 && found->second.writers.empty() &&
        found->second.state == DDS_NOT_ALIVE_NO_WRITERS_INSTANCE_STATE) {
        instances_.erase(found);
    }
}

ReaderCache::Instance* ReaderCache::instance_for(const Key& key,
                                                 DDS_SampleRejectedStatusKind* reason) {
    auto found = instances_.find(key);
    if (found != instances_.end()) {
        return &found->second;
    }
    int32_t max_instances = settings_.limits.max_instances;
    if (limited(max_instances) && instances_.size() >= static_cast<size_t>(max_instances)) {
        for (auto it = instances_.begin(); it != instances_.end();) {
            Key unused = (it++)->first;
            forget_if_unused(unused);
        }
        if (instances_.size() >= static_cast<size_t>(max_instances)) {
            *reason = DDS_REJECTED_BY_INSTANCES_LIMIT;
            return nullptr;
        }
    }
    return &instances_[key];
}

bool ReaderCache::passes_time_filter(const Instance& instance, const DDS_Time_t& reception) const {
    int64_t separation = to_ns(settings_.minimum_separation);
    if (separation <= 0 || !instance.filtered_before) {
        return true;
    }
    int64_t elapsed = to_ns(reception) - to_ns(instance.last_delivered);
    return elapsed < 0 || elapsed >= separation;
}

// KEEP_LAST makes room by dropping the instance's oldest sample; KEEP_ALL refuses once a
// limit is reached.
bool ReaderCache::make_room(const Key& key, Instance& instance,
                            DDS_SampleRejectedStatusKind* reason) {
    const ReaderCacheSettings& s = settings_;
    if (s.history.kind == DDS_KEEP_LAST_HISTORY_QOS) {
        while (instance.samples >= s.history.depth) {
            auto oldest = std::find_if(samples_.begin(), samples_.end(),
                                       [&key](const Sample& sample) { return sample.key == key; });
            release(oldest->data);
            samples_.erase(oldest);
            --instance.samples;
        }
    } else if (limited(s.limits.max_samples_per_instance) &&
               instance.samples >= s.limits.max_samples_per_instance) {
        *reason = DDS_REJECTED_BY_SAMPLES_PER_INSTANCE_LIMIT;
        return false;
    }
    if (limited(s.limits.max_samples) &&
        samples_.size() >= static_cast<size_t>(s.limits.max_samples)) {
        *reason = DDS_REJECTED_BY_SAMPLES_LIMIT;
        return false;
    }
    return true;
}

void ReaderCache::push(const Key& key, Instance& instance, void* data, DDS_SampleInfo info) {
    info.sample_state = DDS_NOT_READ_SAMPLE_STATE;
    info.instance_state = instance.state;
    info.disposed_generation_count = instance.disposed_generation;
    info.no_writers_generation_count = instance.no_writers_generation;
    if (settings_.keyed) {
        std::memcpy(info.instance_handle.value, key.data(), key.size());
        info.instance_handle.isValid = true;
    }
    samples_.push_back(Sample{key, data, info});
    ++instance.samples;
}

ReaderCache::Outcome ReaderCache::add(void* data, const DDS_SampleInfo& info,
                                      DDS_SampleRejectedStatusKind* reason) {
    if (data == nullptr) {
        data = plugin_.create_sample();
        if (data == nullptr) {
            return Outcome::Ignored;
        }
    }
    Key key = key_of(info.instance_handle);
    Instance* instance = instance_for(key, reason);
    if (instance == nullptr) {
        release(data);
        return Outcome::Rejected;
    }
    const DDS_InstanceHandle_t& writer = info.publication_handle;

    if (info.valid_data) {
        add_writer(instance->writers, writer);
        if (instance->state == DDS_ALIVE_INSTANCE_STATE &&
            !passes_time_filter(*instance, info.reception_timestamp)) {
            release(data);
            return Outcome::Filtered;
        }
        if (instance->state == DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE) {
            ++instance->disposed_generation;
            instance->view_new = true;
        } else if (instance->state == DDS_NOT_ALIVE_NO_WRITERS_INSTANCE_STATE) {
            ++instance->no_writers_generation;
            instance->view_new = true;
        }
        instance->state = DDS_ALIVE_INSTANCE_STATE;
        if (!make_room(key, *instance, reason)) {
            release(data);
            return Outcome::Rejected;
        }
        instance->filtered_before = true;
        instance->last_delivered = info.reception_timestamp;
        push(key, *instance, data, info);
        return Outcome::Kept;
    }

    if (info.instance_state == DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE) {
        add_writer(instance->writers, writer);
        instance->state = DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE;
    } else if (info.instance_state == DDS_NOT_ALIVE_NO_WRITERS_INSTANCE_STATE) {
        remove_writer(instance->writers, writer);
        if (instance->state == DDS_ALIVE_INSTANCE_STATE) {
            instance->state = DDS_NOT_ALIVE_NO_WRITERS_INSTANCE_STATE;
        }
    } else {
        // One of several writers let go of an instance that stays alive: nothing to show.
        remove_writer(instance->writers, writer);
        release(data);
        return Outcome::Ignored;
    }
    if (!make_room(key, *instance, reason)) {
        release(data);
        return Outcome::Rejected;
    }
    push(key, *instance, data, info);
    return Outcome::Kept;
}

int ReaderCache::writer_lost(const DDS_InstanceHandle_t& writer, const DDS_Time_t& now) {
    int added = 0;
    for (auto& entry : instances_) {
        Instance& instance = entry.second;
        if (!has_writer(instance.writers, writer)) {
            continue;
        }
        remove_writer(instance.writers, writer);
        if (!settings_.keyed || !instance.writers.empty() ||
            instance.state != DDS_ALIVE_INSTANCE_STATE) {
            continue;
        }
        instance.state = DDS_NOT_ALIVE_NO_WRITERS_INSTANCE_STATE;
        DDS_SampleRejectedStatusKind reason = DDS_NOT_REJECTED;
        void* blank = plugin_.create_sample();
        if (blank == nullptr || !make_room(entry.first, instance, &reason)) {
            release(blank);
            continue;
        }
        DDS_SampleInfo info;
        info.valid_data = false;
        info.publication_handle = writer;
        info.source_timestamp = now;
        info.reception_timestamp = now;
        push(entry.first, instance, blank, info);
        ++added;
    }
    return added;
}

bool ReaderCache::has_unread() const {
    return std::any_of(samples_.begin(), samples_.end(), [](const Sample& sample) {
        return sample.info.sample_state == DDS_NOT_READ_SAMPLE_STATE;
    });
}

void ReaderCache::collect(bool take, int32_t max_samples, DDS_SampleStateMask sample_states,
                          DDS_ViewStateMask view_states, DDS_InstanceStateMask instance_states,
                          std::vector<void*>& data, std::vector<DDS_SampleInfo>& infos) {
    std::vector<Key> order;
    for (const Sample& sample : samples_) {
        if (std::find(order.begin(), order.end(), sample.key) == order.end()) {
            order.push_back(sample.key);
        }
    }
    std::vector<size_t> chosen;
    for (const Key& key : order) {
        const Instance& instance = instances_.at(key);
        DDS_ViewStateKind view = instance.view_new ? DDS_NEW_VIEW_STATE : DDS_NOT_NEW_VIEW_STATE;
        if ((view & view_states) == 0) {
            continue;
        }
        for (size_t i = 0; i < samples_.size(); ++i) {
            const Sample& sample = samples_[i];
            if (max_samples != DDS_LENGTH_UNLIMITED &&
                chosen.size() >= static_cast<size_t>(max_samples)) {
                break;
            }
            if (sample.key == key && (sample.info.sample_state & sample_states) != 0 &&
                (sample.info.instance_state & instance_states) != 0) {
                chosen.push_back(i);
            }
        }
    }

    data.clear();
    infos.clear();
    for (size_t n = 0; n < chosen.size(); ++n) {
        Sample& sample = samples_[chosen[n]];
        const Instance& instance = instances_.at(sample.key);
        DDS_SampleInfo info = sample.info;
        info.view_state = instance.view_new ? DDS_NEW_VIEW_STATE : DDS_NOT_NEW_VIEW_STATE;
        int32_t generation = info.disposed_generation_count + info.no_writers_generation_count;
        int32_t latest_in_collection = generation;
        info.sample_rank = 0;
        for (size_t later = n + 1; later < chosen.size(); ++later) {
            const Sample& other = samples_[chosen[later]];
            if (other.key == sample.key) {
                ++info.sample_rank;
                latest_in_collection =
                    other.info.disposed_generation_count + other.info.no_writers_generation_count;
            }
        }
        info.generation_rank = latest_in_collection - generation;
        info.absolute_generation_rank =
            instance.disposed_generation + instance.no_writers_generation - generation;
        infos.push_back(info);
        if (take) {
            data.push_back(sample.data);
            sample.data = nullptr;
        } else {
            void* copy = plugin_.create_sample();
            if (copy != nullptr) {
                plugin_.copy_sample(copy, sample.data);
            }
            data.push_back(copy);
            sample.info.sample_state = DDS_READ_SAMPLE_STATE;
        }
    }

    std::vector<Key> touched;
    touched.reserve(chosen.size());
    for (size_t index : chosen) {
        touched.push_back(samples_[index].key);
    }
    if (take) {
        std::vector<size_t> descending(chosen);
        std::sort(descending.begin(), descending.end(), std::greater<size_t>());
        for (size_t index : descending) {
            --instances_.at(samples_[index].key).samples;
            samples_.erase(samples_.begin() + static_cast<std::ptrdiff_t>(index));
        }
    }
    for (const Key& key : touched) {
        auto found = instances_.find(key);
        if (found != instances_.end()) {
            found->second.view_new = false;
        }
        forget_if_unused(key);
    }
}

}  // namespace qordds
