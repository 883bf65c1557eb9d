// Binding-internal: lets an endpoint be deleted while Fast DDS threads may be calling into it.
#ifndef QOR_DDS_SRC_CALLBACK_GATE_H
#define QOR_DDS_SRC_CALLBACK_GATE_H

#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>

namespace qordds {

// Callbacks pass through the gate; close() shuts it and waits until the callbacks already
// inside have left (except those of the closing thread itself, so that an endpoint may be
// deleted from its own listener).
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

    void close() {
        std::unique_lock<std::mutex> lock(mutex_);
        closed_ = true;
        left_.wait(lock, [this] {
            auto own = inside_.find(std::this_thread::get_id());
            return total_ == (own == inside_.end() ? 0 : own->second);
        });
    }

  private:
    std::mutex mutex_;
    std::condition_variable left_;
    std::map<std::thread::id, int> inside_;
    int total_ = 0;
    bool closed_ = false;
};

// Holds the gate for one callback.
class GatePass {
  public:
    explicit GatePass(CallbackGate& gate) : gate_(gate), open_(gate.enter()) {}
    ~GatePass() {
        if (open_) {
            gate_.leave();
        }
    }
    explicit operator bool() const { return open_; }

  private:
    GatePass(const GatePass&) = delete;
    GatePass& operator=(const GatePass&) = delete;
    CallbackGate& gate_;
    bool open_;
};

}  // namespace qordds

#endif
