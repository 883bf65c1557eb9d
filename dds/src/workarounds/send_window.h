// Binding-internal: the send window of a reliable KEEP_LAST writer, and a write that Fast DDS
// 2.9 gives up on too early when its own KEEP_ALL history is full.
//
// A reliable KEEP_LAST writer of Fast DDS makes room for a new sample by dropping the
// instance's oldest one at once, acknowledged or not, so a burst silently overruns a reader
// that has not caught up. Fast DDS's KEEP_ALL history waits for acknowledgements instead, but
// gives up after max_blocking_time without writing the sample at all: a reader that is merely
// slow to acknowledge (a late joiner still starting up, a process starved of CPU for 100 ms)
// then costs the writer samples that every reader would have received, since they were
// already on their way. So a reliable KEEP_LAST writer stays KEEP_LAST in Fast DDS, and the
// binding keeps a window of `depth` samples per instance in front of it: once an instance has
// had `depth` samples written since its window was last acknowledged, the next write first
// waits, up to max_blocking_time, until all of them are acknowledged, and then writes in any
// case, dropping the oldest as KEEP_LAST does. A burst thus runs at the pace of its readers,
// and a write never fails because a reader lags.
//
// Writers configured KEEP_ALL keep Fast DDS's own wait. When the acknowledgements empty a
// VOLATILE writer's history while it waits, Fast DDS 2.9 wakes up, finds no sample left to
// drop and gives up with a timeout although there is room now. Such a timeout comes before
// max_blocking_time has passed, so it is tried once more, which then finds the room. A real
// timeout comes at max_blocking_time and stays.
#ifndef QOR_DDS_SRC_SEND_WINDOW_H
#define QOR_DDS_SRC_SEND_WINDOW_H

#include <array>
#include <chrono>
#include <cstring>
#include <map>
#include <mutex>

#include "qordds/types.h"

namespace qordds {

// Counts the samples written to each instance since its window was last acknowledged.
class SendWindow {
  public:
    explicit SendWindow(int32_t depth) : depth_(depth) {}

    // True when `instance` already has `depth` samples in its window: the writer is to wait
    // for their acknowledgement before it writes the next one. Otherwise counts that one in.
    bool full(const DDS_InstanceHandle_t& instance) {
        std::lock_guard<std::mutex> lock(mutex_);
        int32_t& written = written_[key_of(instance)];
        if (written < depth_) {
            ++written;
            return false;
        }
        return true;
    }

    // The full window of `instance` was acknowledged: the sample now written opens a new one.
    // A wait that timed out leaves the window full, so each write after it waits again: a
    // reader that has stopped slows the writer to one sample per max_blocking_time, as
    // KEEP_ALL would, but each of those samples is written.
    void acknowledged(const DDS_InstanceHandle_t& instance) {
        std::lock_guard<std::mutex> lock(mutex_);
        written_[key_of(instance)] = 1;
    }

    int32_t depth() const { return depth_; }

  private:
    using Key = std::array<unsigned char, sizeof(DDS_InstanceHandle_t::value)>;

    static Key key_of(const DDS_InstanceHandle_t& instance) {
        Key key;
        std::memcpy(key.data(), instance.value, key.size());
        return key;
    }

    const int32_t depth_;
    std::mutex mutex_;
    std::map<Key, int32_t> written_;
};

// True for a timeout that a KEEP_ALL writer waiting for room got before max_blocking_time
// had passed since `start`: the operation is to be tried once more.
inline bool is_early_send_window_timeout(DDS_ReturnCode_t result, bool waits_for_room,
                                         std::chrono::steady_clock::time_point start,
                                         std::chrono::nanoseconds max_blocking_time) {
    return result == DDS_RETCODE_TIMEOUT && waits_for_room &&
           std::chrono::steady_clock::now() - start < max_blocking_time;
}

}  // namespace qordds

#endif
