// Binding-internal: a thread that reports the instances of one DataWriter that miss the
// deadline it offers (see offered_deadline.h).
#ifndef QOR_DDS_SRC_DEADLINE_WATCH_H
#define QOR_DDS_SRC_DEADLINE_WATCH_H

#include <chrono>
#include <functional>
#include <memory>
#include <thread>

#include "qordds/status.h"

namespace qordds {

class DeadlineWatch {
  public:
    typedef std::function<void(const DDS_OfferedDeadlineMissedStatus&)> Report;

    // Starts the thread. `report` is called on it, without any lock of the watch held, once
    // per missed deadline.
    DeadlineWatch(std::chrono::nanoseconds period, Report report);
    ~DeadlineWatch();

    void written(const DDS_InstanceHandle_t& instance);
    void unregistered(const DDS_InstanceHandle_t& instance);

    // No report starts once this returns; a report under way on another thread is waited
    // for. May be called from within a report (the writer deleted from its own listener).
    void stop();

  private:
    struct State;

    DeadlineWatch(const DeadlineWatch&) = delete;
    DeadlineWatch& operator=(const DeadlineWatch&) = delete;

    static void run(const std::shared_ptr<State>& state);

    // Shared with the thread, which may outlive the watch when stopped from a report.
    std::shared_ptr<State> state_;
    std::thread thread_;
};

}  // namespace qordds

#endif
