#include "workarounds/announcement_repair.h"

#include "log/log.h"

namespace fdds = eprosima::fastdds::dds;

namespace qordds {

constexpr std::chrono::milliseconds AnnouncementRepair::kRepairs[];

const std::vector<uint8_t>& AnnouncementRepair::mark() {
    static const std::vector<uint8_t> bytes{'q', 'o', 'r', ':', 'r', 'e', 'p', 'a', 'i', 'r'};
    return bytes;
}

AnnouncementRepair::~AnnouncementRepair() {
    stop();
}

void AnnouncementRepair::start(fdds::DomainParticipant& fast) {
    std::lock_guard<std::mutex> lock(mutex_);
    fast_ = &fast;
    own_ = fast.get_qos().user_data().data_vec();
}

void AnnouncementRepair::discovered() {
    std::lock_guard<std::mutex> lock(mutex_);
    if (fast_ == nullptr || stopping_) {
        return;
    }
    Clock::time_point now = Clock::now();
    for (std::chrono::milliseconds delay : kRepairs) {
        due_.insert(now + delay);
    }
    if (!worker_.joinable()) {
        worker_ = std::thread(&AnnouncementRepair::run, this);
    }
    wake_.notify_all();
}

void AnnouncementRepair::stop() {
    std::thread worker;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
        due_.clear();
        worker.swap(worker_);
        wake_.notify_all();
    }
    if (worker.joinable()) {
        worker.join();
    }
}

uint32_t AnnouncementRepair::announcements() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return announcements_;
}

void AnnouncementRepair::run() {
    std::unique_lock<std::mutex> lock(mutex_);
    while (!stopping_) {
        if (due_.empty()) {
            wake_.wait(lock);
            continue;
        }
        Clock::time_point next = *due_.begin();
        if (Clock::now() < next) {
            wake_.wait_until(lock, next);
            continue;
        }
        due_.erase(due_.begin());
        // Without the lock: Fast DDS may hold its discovery lock while it calls discovered().
        lock.unlock();
        bool announced = announce();
        lock.lock();
        announcements_ += announced ? 1 : 0;
    }
}

// Flips the USER_DATA between the participant's own and the mark; Fast DDS announces the
// change at once. Only the worker calls it.
bool AnnouncementRepair::announce() {
    fdds::DomainParticipantQos qos = fast_->get_qos();
    qos.user_data().data_vec(marked_ ? own_ : mark());
    eprosima::fastrtps::types::ReturnCode_t rc = fast_->set_qos(qos);
    if (rc != eprosima::fastrtps::types::ReturnCode_t::RETCODE_OK) {
        log(LogKind::Warning, "DDSDomainParticipant",
            "the participant could not announce itself again (code %d)", static_cast<int>(rc()));
        return false;
    }
    marked_ = !marked_;
    return true;
}

}  // namespace qordds
