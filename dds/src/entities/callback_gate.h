// Binding-internal: lets an endpoint be deleted while Fast DDS threads may be calling into it.
#ifndef QOR_DDS_SRC_CALLBACK_GATE_H
#define QOR_DDS_SRC_CALLBACK_GATE_H

#include <atomic>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

namespace qordds {

// Callbacks pass through the gate; close() shuts it and waits until the callbacks already
// inside have left, except those of the closing thread itself: an endpoint deleted from its
// own listener stops its callbacks at once and is freed later, on another thread, whose
// close() then waits for that callback too (see deferred_deletion.h).
class CallbackGate {
  public:
    // True when the caller may go on; then it must call leave().
    bool enter() {
        std::lock_guard<std::mutex> lock(mutex_);
        if (closed_) {
            return false;
        }
        ++inside_[std::this_thread::get_id()];
        ++total_;
        return true;
    }

    void leave() {
        std::lock_guard<std::mutex> lock(mutex_);
        auto found = inside_.find(std::this_thread::get_id());
        if (found != inside_.end() && --found->second == 0) {
            inside_.erase(found);
        }
        --total_;
        left_.notify_all();
    }

    // `closing` runs once the gate is shut, before the wait: it wakes callbacks that would
    // otherwise wait for the closing thread.
    void close(const std::function<void()>& closing = std::function<void()>()) {
        closed_ = true;
        if (closing) {
            closing();
        }
        std::unique_lock<std::mutex> lock(mutex_);
        left_.wait(lock, [this] {
            auto own = inside_.find(std::this_thread::get_id());
            return total_ == (own == inside_.end() ? 0 : own->second);
        });
    }

    bool is_closed() const { return closed_; }

  private:
    std::mutex mutex_;
    std::condition_variable left_;
    std::map<std::thread::id, int> inside_;
    int total_ = 0;
    std::atomic<bool> closed_{false};
};

// Holds the gate for one callback, and counts the thread's callbacks under way. The pass
// shares the gate, so that leaving never touches a gate that its endpoint's deletion, waking
// up on the way out, has already let go.
class GatePass {
  public:
    explicit GatePass(const std::shared_ptr<CallbackGate>& gate)
        : gate_(gate), open_(gate->enter()) {
        if (open_) {
            ++depth();
        }
    }
    ~GatePass() {
        if (open_) {
            --depth();
            gate_->leave();
        }
    }
    explicit operator bool() const { return open_; }

    // The calling thread's callbacks under way, of every endpoint.
    static int& depth() {
        thread_local int callbacks = 0;
        return callbacks;
    }

  private:
    GatePass(const GatePass&) = delete;
    GatePass& operator=(const GatePass&) = delete;
    std::shared_ptr<CallbackGate> gate_;
    bool open_;
};

}  // namespace qordds

#endif
