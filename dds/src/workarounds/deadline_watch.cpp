#include "workarounds/deadline_watch.h"

#include <condition_variable>
#include <mutex>
#include <vector>

#include "workarounds/offered_deadline.h"

namespace qordds {

namespace {

const size_t misses_per_batch = 64;

}  // namespace

struct DeadlineWatch::State {
    State(std::chrono::nanoseconds period, Report report_to)
        : deadline(period), report(std::move(report_to)) {}

    std::mutex mutex;  // everything below
    std::condition_variable changed;
    OfferedDeadline deadline;
    const Report report;
    bool stopping = false;
};

DeadlineWatch::DeadlineWatch(std::chrono::nanoseconds period, Report report)
    : state_(std::make_shared<State>(period, std::move(report))) {
    thread_ = std::thread(&DeadlineWatch::run, state_);
}

DeadlineWatch::~DeadlineWatch() {
    stop();
}

void DeadlineWatch::written(const DDS_InstanceHandle_t& instance) {
    std::lock_guard<std::mutex> lock(state_->mutex);
    bool idle = state_->deadline.empty();
    state_->deadline.written(instance, OfferedDeadline::Clock::now());
    // A deadline set now is never earlier than one already owed, so the thread, waiting for
    // the earliest, needs waking only when nothing was owed before.
    if (idle) {
        state_->changed.notify_one();
    }
}

void DeadlineWatch::unregistered(const DDS_InstanceHandle_t& instance) {
    std::lock_guard<std::mutex> lock(state_->mutex);
    state_->deadline.unregistered(instance);
}

void DeadlineWatch::stop() {
    {
        std::lock_guard<std::mutex> lock(state_->mutex);
        state_->stopping = true;
        state_->changed.notify_one();
    }
    if (!thread_.joinable()) {
        return;
    }
    if (thread_.get_id() == std::this_thread::get_id()) {
        thread_.detach();
    } else {
        thread_.join();
    }
}

void DeadlineWatch::run(const std::shared_ptr<State>& state) {
    std::unique_lock<std::mutex> lock(state->mutex);
    while (!state->stopping) {
        OfferedDeadline::Clock::time_point when;
        if (state->deadline.next_miss(&when)) {
            state->changed.wait_until(lock, when);
        } else {
            state->changed.wait(lock);
        }
        if (state->stopping) {
            break;
        }
        // A bounded batch under the lock: with many silent instances the misses come faster
        // than they are reported, and a write must not wait for all of them.
        std::vector<DDS_OfferedDeadlineMissedStatus> missed =
            state->deadline.expire(OfferedDeadline::Clock::now(), misses_per_batch);
        for (const DDS_OfferedDeadlineMissedStatus& status : missed) {
            if (state->stopping) {
                break;
            }
            lock.unlock();
            state->report(status);
            lock.lock();
        }
    }
}

}  // namespace qordds
