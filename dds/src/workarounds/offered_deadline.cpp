#include "workarounds/offered_deadline.h"

#include <algorithm>
#include <cstring>

namespace qordds {

OfferedDeadline::OfferedDeadline(std::chrono::nanoseconds period)
    : period_(std::max<std::chrono::nanoseconds>(period, std::chrono::milliseconds(1))) {}

OfferedDeadline::Key OfferedDeadline::key_of(const DDS_InstanceHandle_t& instance) {
    Key key{};
    if (instance.isValid) {
        std::memcpy(key.data(), instance.value, key.size());
    }
    return key;
}

void OfferedDeadline::written(const DDS_InstanceHandle_t& instance, Clock::time_point now) {
    Key key = key_of(instance);
    auto found = owed_.find(key);
    if (found != owed_.end()) {
        by_deadline_.erase({found->second.deadline, key});
        found->second = Owed{instance, now + period_};
    } else {
        owed_.emplace(key, Owed{instance, now + period_});
    }
    by_deadline_.insert({now + period_, key});
}

void OfferedDeadline::unregistered(const DDS_InstanceHandle_t& instance) {
    Key key = key_of(instance);
    auto found = owed_.find(key);
    if (found != owed_.end()) {
        by_deadline_.erase({found->second.deadline, key});
        owed_.erase(found);
    }
}

bool OfferedDeadline::next_miss(Clock::time_point* when) const {
    if (by_deadline_.empty()) {
        return false;
    }
    *when = by_deadline_.begin()->first;
    return true;
}

std::vector<DDS_OfferedDeadlineMissedStatus> OfferedDeadline::expire(Clock::time_point now,
                                                                     size_t limit) {
    std::vector<Key> missed;
    while (!by_deadline_.empty() && by_deadline_.begin()->first <= now && missed.size() < limit) {
        missed.push_back(by_deadline_.begin()->second);
        by_deadline_.erase(by_deadline_.begin());
    }
    std::vector<DDS_OfferedDeadlineMissedStatus> statuses;
    statuses.reserve(missed.size());
    for (const Key& key : missed) {
        Owed& owed = owed_.at(key);
        DDS_OfferedDeadlineMissedStatus status;
        status.total_count = ++total_count_;
        status.total_count_change = 1;
        status.last_instance_handle = owed.instance;
        statuses.push_back(status);
        owed.deadline = now + period_;
        by_deadline_.insert({owed.deadline, key});
    }
    return statuses;
}

}  // namespace qordds
