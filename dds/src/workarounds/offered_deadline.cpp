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
    owed_[key_of(instance)] = Owed{instance, now + period_};
}

void OfferedDeadline::unregistered(const DDS_InstanceHandle_t& instance) {
    owed_.erase(key_of(instance));
}

bool OfferedDeadline::next_miss(Clock::time_point* when) const {
    if (owed_.empty()) {
        return false;
    }
    auto earliest = std::min_element(owed_.begin(), owed_.end(), [](const auto& a, const auto& b) {
        return a.second.deadline < b.second.deadline;
    });
    *when = earliest->second.deadline;
    return true;
}

std::vector<DDS_OfferedDeadlineMissedStatus> OfferedDeadline::expire(Clock::time_point now) {
    std::vector<Owed*> missed;
    for (auto& entry : owed_) {
        if (entry.second.deadline <= now) {
            missed.push_back(&entry.second);
        }
    }
    std::stable_sort(missed.begin(), missed.end(),
                     [](const Owed* a, const Owed* b) { return a->deadline < b->deadline; });
    std::vector<DDS_OfferedDeadlineMissedStatus> statuses;
    for (Owed* owed : missed) {
        DDS_OfferedDeadlineMissedStatus status;
        status.total_count = ++total_count_;
        status.total_count_change = 1;
        status.last_instance_handle = owed->instance;
        statuses.push_back(status);
        owed->deadline = now + period_;
    }
    return statuses;
}

}  // namespace qordds
