#include "entities/deferred_deletion.h"

#include <chrono>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <thread>
#include <utility>

#include "entities/callback_gate.h"
#include "log/log.h"

namespace qordds {

namespace {

// A deletion waits for a callback to return; callbacks are the application's and may take a
// while, but one that never returns must not hang the deletion of what contains it.
const std::chrono::seconds kLongestDeletion(5);

// Never destroyed: a deletion thread may still be finishing while statics go.
struct Pending {
    std::mutex mutex;
    std::condition_variable done;
    int count = 0;
};

Pending& pending() {
    static Pending* instance = new Pending;
    return *instance;
}

}  // namespace

bool in_callback() {
    return GatePass::depth() > 0;
}

void defer_deletion(std::function<void()> deletion) {
    Pending& all = pending();
    {
        std::lock_guard<std::mutex> lock(all.mutex);
        ++all.count;
    }
    auto run = [deletion = std::move(deletion)]() {
        deletion();
        Pending& waiting = pending();
        std::lock_guard<std::mutex> lock(waiting.mutex);
        --waiting.count;
        waiting.done.notify_all();
    };
    try {
        std::thread(run).detach();
    } catch (const std::exception& e) {
        // Without a thread of its own the endpoint stays: better than a deadlock.
        log(LogKind::Error, "deferred deletion", "no thread for a deletion: %s", e.what());
        std::lock_guard<std::mutex> lock(all.mutex);
        --all.count;
    }
}

bool finish_deferred_deletions(const char* context) {
    Pending& all = pending();
    std::unique_lock<std::mutex> lock(all.mutex);
    if (all.count == 0) {
        return true;
    }
    if (in_callback() ||
        !all.done.wait_for(lock, kLongestDeletion, [&all] { return all.count == 0; })) {
        log(LogKind::Error, context, "endpoints deleted from a listener are still being deleted");
        return false;
    }
    return true;
}

}  // namespace qordds
