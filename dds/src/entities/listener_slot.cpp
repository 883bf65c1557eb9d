#include "entities/listener_slot.h"

#include <algorithm>
#include <unordered_map>

namespace qordds {

namespace {

// Every slot by its listener. Never destroyed: listeners may be destroyed during static
// destruction, after a registry with static storage would already be gone.
struct Registry {
    std::mutex mutex;
    std::unordered_multimap<const void*, std::weak_ptr<ListenerSlot>> slots;
};

Registry& registry() {
    static Registry* instance = new Registry;
    return *instance;
}

}  // namespace

std::shared_ptr<ListenerSlot> ListenerSlot::make(void* listener) {
    std::shared_ptr<ListenerSlot> slot(new ListenerSlot(listener));
    if (listener != nullptr) {
        Registry& known = registry();
        std::lock_guard<std::mutex> lock(known.mutex);
        known.slots.emplace(listener, slot);
    }
    return slot;
}

ListenerSlot::~ListenerSlot() {
    if (key_ == nullptr) {
        return;
    }
    Registry& known = registry();
    std::lock_guard<std::mutex> lock(known.mutex);
    auto range = known.slots.equal_range(key_);
    for (auto entry = range.first; entry != range.second; ++entry) {
        // This slot's own entry is the one whose owner is gone: the only expired one, since
        // a slot whose listener was detached has no entry left.
        if (entry->second.expired()) {
            known.slots.erase(entry);
            return;
        }
    }
}

ListenerSlot::Call::Call(const std::shared_ptr<ListenerSlot>& slot) : slot_(slot) {
    std::lock_guard<std::mutex> lock(slot_->mutex_);
    listener_ = slot_->listener_;
    if (listener_ != nullptr) {
        slot_->calling_.push_back(std::this_thread::get_id());
    }
}

ListenerSlot::Call::~Call() {
    if (listener_ == nullptr) {
        return;
    }
    std::lock_guard<std::mutex> lock(slot_->mutex_);
    std::vector<std::thread::id>& calling = slot_->calling_;
    calling.erase(std::find(calling.begin(), calling.end(), std::this_thread::get_id()));
    slot_->call_ended_.notify_all();
}

void ListenerSlot::detach() {
    std::unique_lock<std::mutex> lock(mutex_);
    listener_ = nullptr;
    std::thread::id self = std::this_thread::get_id();
    call_ended_.wait(lock, [&] {
        return std::all_of(calling_.begin(), calling_.end(),
                           [self](std::thread::id caller) { return caller == self; });
    });
}

void detach_listener_everywhere(const void* listener) {
    std::vector<std::shared_ptr<ListenerSlot>> held;
    {
        Registry& known = registry();
        std::lock_guard<std::mutex> lock(known.mutex);
        auto range = known.slots.equal_range(listener);
        for (auto entry = range.first; entry != range.second; ++entry) {
            if (std::shared_ptr<ListenerSlot> slot = entry->second.lock()) {
                held.push_back(slot);
            }
        }
        known.slots.erase(range.first, range.second);
    }
    // Waiting without the registry's lock: a call under way may create or delete endpoints.
    for (const std::shared_ptr<ListenerSlot>& slot : held) {
        slot->detach();
    }
}

}  // namespace qordds
