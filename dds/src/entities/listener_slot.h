// Binding-internal: an endpoint's hold on the application's listener.
//
// The application may destroy a listener while an endpoint still has it (the ping subscriber
// destroys its reader listener before the reader is deleted). The writer and reader
// listeners' destructors therefore detach the listener from every slot that holds it and wait
// for the calls already under way on other threads; no call starts afterwards, and the
// endpoint's get_listener() answers null. A call costs one uncontended lock on the way in and
// one on the way out.
#ifndef QOR_DDS_SRC_LISTENER_SLOT_H
#define QOR_DDS_SRC_LISTENER_SLOT_H

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace qordds {

class ListenerSlot {
  public:
    // `listener` is the endpoint's listener, a DDSDataWriterListener or DDSDataReaderListener,
    // by whose address its destructor finds the slot; null for none.
    static std::shared_ptr<ListenerSlot> make(void* listener);
    ~ListenerSlot();

    // The listener while it is attached, for get_listener(); null once it is destroyed.
    template <class Listener>
    Listener* get() const {
        std::lock_guard<std::mutex> lock(mutex_);
        return static_cast<Listener*>(listener_);
    }

    // One call of the listener; the listener is not destroyed before the call ends (unless
    // by the calling thread itself).
    class Call {
      public:
        explicit Call(const std::shared_ptr<ListenerSlot>& slot);
        ~Call();
        template <class Listener>
        Listener* get() const {
            return static_cast<Listener*>(listener_);
        }

      private:
        Call(const Call&) = delete;
        Call& operator=(const Call&) = delete;
        std::shared_ptr<ListenerSlot> slot_;
        void* listener_;
    };

    // By the listener's destructor: no call starts after this; calls under way on other
    // threads are waited for.
    void detach();

  private:
    explicit ListenerSlot(void* listener) : listener_(listener), key_(listener) {}
    ListenerSlot(const ListenerSlot&) = delete;
    ListenerSlot& operator=(const ListenerSlot&) = delete;

    mutable std::mutex mutex_;  // the two below
    std::condition_variable call_ended_;
    void* listener_;
    std::vector<std::thread::id> calling_;  // one entry per call under way
    const void* const key_;
};

// Detaches `listener` from every slot that holds it; see ListenerSlot::detach().
void detach_listener_everywhere(const void* listener);

}  // namespace qordds

#endif
