// Deferred deletions: each runs on a thread of its own, and finish_deferred_deletions waits
// for all of them, whichever threads asked. Built with ThreadSanitizer too (QOR_TSAN).
#include <gtest/gtest.h>

#include <mutex>
#include <set>
#include <thread>
#include <vector>

#include "entities/deferred_deletion.h"

TEST(DeferredDeletion, EachRunsOnAThreadOfItsOwnAndAllAreWaitedFor) {
    std::mutex mutex;
    std::multiset<std::thread::id> ran_on;  // guarded by mutex
    std::vector<std::thread> askers;
    for (int t = 0; t < 4; ++t) {
        askers.emplace_back([&] {
            for (int i = 0; i < 5; ++i) {
                qordds::defer_deletion([&] {
                    std::lock_guard<std::mutex> lock(mutex);
                    ran_on.insert(std::this_thread::get_id());
                });
            }
        });
    }
    for (std::thread& asker : askers) {
        asker.join();
    }
    EXPECT_TRUE(qordds::finish_deferred_deletions("DeferredDeletion test"));
    std::lock_guard<std::mutex> lock(mutex);
    EXPECT_EQ(ran_on.size(), 20u);
    EXPECT_EQ(ran_on.count(std::this_thread::get_id()), 0u);
    for (const std::thread& asker : askers) {
        EXPECT_EQ(ran_on.count(asker.get_id()), 0u);
    }
}
