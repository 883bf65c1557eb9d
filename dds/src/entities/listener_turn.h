// Binding-internal: one listener callback of a reader at a time.
#ifndef QOR_DDS_SRC_LISTENER_TURN_H
#define QOR_DDS_SRC_LISTENER_TURN_H

#include <condition_variable>
#include <mutex>
#include <thread>

#include "entities/callback_gate.h"

namespace qordds {

// A recursive lock that a callback waiting for it gives up once the reader's gate is closed.
// A plain mutex would deadlock a reader deleted from its own listener: the deletion waits
// for the other callbacks to leave the gate while one of them waits here for the deleting
// callback's turn to end.
class ListenerTurn {
  public:
    explicit ListenerTurn(const CallbackGate& gate) : gate_(gate) {}

    // True with the turn taken (then release() follows), false when the gate closed first.
    bool take() {
        std::unique_lock<std::mutex> lock(mutex_);
        std::thread::id self = std::this_thread::get_id();
        turn_free_.wait(lock, [&] { return depth_ == 0 || owner_ == self || gate_.is_closed(); });
        if (depth_ != 0 && owner_ != self) {
            return false;
        }
        owner_ = self;
        ++depth_;
        return true;
    }

    // Releases a turn taken, at the end of its scope.
    class Held {
      public:
        explicit Held(ListenerTurn& turn) : turn_(turn) {}
        ~Held() { turn_.release(); }

      private:
        Held(const Held&) = delete;
        Held& operator=(const Held&) = delete;
        ListenerTurn& turn_;
    };

    void release() {
        std::lock_guard<std::mutex> lock(mutex_);
        if (--depth_ == 0) {
            owner_ = std::thread::id();
            turn_free_.notify_all();
        }
    }

    // Wakes the callbacks waiting for their turn, after the gate was closed.
    void gate_closed() {
        { std::lock_guard<std::mutex> lock(mutex_); }
        turn_free_.notify_all();
    }

  private:
    ListenerTurn(const ListenerTurn&) = delete;
    ListenerTurn& operator=(const ListenerTurn&) = delete;

    const CallbackGate& gate_;
    std::mutex mutex_;
    std::condition_variable turn_free_;
    std::thread::id owner_;
    int depth_ = 0;
};

}  // namespace qordds

#endif
