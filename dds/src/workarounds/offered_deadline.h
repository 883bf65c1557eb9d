// Binding-internal: the deadline a DataWriter offers, kept by the binding.
//
// Fast DDS 2.9 watches a writer's offered deadline with one timer, set for the instance whose
// deadline comes first. When an instance is unregistered and every matched reader has the
// unregistration (at once when there is no reader, or only best-effort ones), Fast DDS drops
// the instance from its history. If the timer was set for that instance, it fires once more
// for it (a miss for an instance the writer no longer owes anything), fails to re-arm ("Could
// not set the next deadline in the history") and stops: from then on no instance is reported,
// not even one written later, until that very instance is written again. So the binding
// keeps the offered deadline itself and ignores what Fast DDS reports. Fast DDS still
// announces the period, which is what matching with readers uses.
//
// Each instance the writer writes or disposes owes a new sample within the period; an
// unregistered one owes nothing until it is written again. An instance that stays silent is
// reported once per period, as long as it stays silent.
//
// The instances are kept both by handle and in deadline order, so that a write, an
// unregistration and each miss cost O(log n) in the number of instances owed, and the next
// miss is found at once: a writer of 100,000 instances keeps its rate.
#ifndef QOR_DDS_SRC_OFFERED_DEADLINE_H
#define QOR_DDS_SRC_OFFERED_DEADLINE_H

#include <array>
#include <chrono>
#include <cstdint>
#include <map>
#include <set>
#include <utility>
#include <vector>

#include "qordds/status.h"

namespace qordds {

// Not thread-safe: the writer serialises access.
class OfferedDeadline {
  public:
    typedef std::chrono::steady_clock Clock;

    // Periods below a millisecond are watched at one millisecond: a zero deadline, which no
    // writer can keep, is reported about every millisecond rather than without pause.
    explicit OfferedDeadline(std::chrono::nanoseconds period);

    // The instance was written or disposed at `now`.
    void written(const DDS_InstanceHandle_t& instance, Clock::time_point now);
    void unregistered(const DDS_InstanceHandle_t& instance);

    bool empty() const { return owed_.empty(); }

    // When the next instance misses its deadline; false when no instance owes a sample.
    bool next_miss(Clock::time_point* when) const;

    // One status per instance whose deadline has passed by `now`, in the order of their
    // deadlines, at most `limit` of them (the first ones); each such instance then owes a
    // sample one period from `now`.
    std::vector<DDS_OfferedDeadlineMissedStatus> expire(Clock::time_point now,
                                                        size_t limit = SIZE_MAX);

  private:
    typedef std::array<unsigned char, 16> Key;
    struct Owed {
        DDS_InstanceHandle_t instance;
        Clock::time_point deadline;
    };

    static Key key_of(const DDS_InstanceHandle_t& instance);

    std::chrono::nanoseconds period_;
    std::map<Key, Owed> owed_;
    // The same instances by deadline; instances due at the same time in handle order.
    std::set<std::pair<Clock::time_point, Key>> by_deadline_;
    int32_t total_count_ = 0;
};

}  // namespace qordds

#endif
