// The deadline watch's thread: reports while writers write and unregister from other threads,
// none once stopped, and a report may stop its own watch. Built with ThreadSanitizer too
// (QOR_TSAN).
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

#include "tests/unit/dds/instance_handle.h"
#include "workarounds/deadline_watch.h"

using qordds::DeadlineWatch;
using qortest::handle;

namespace {

// What the reports leave behind; shared with the watch's thread, which may outlive a test.
struct Reports {
    std::mutex mutex;
    std::condition_variable arrived;
    int count = 0;
    std::thread::id thread;

    // Waits, a minute at most (a hang guard, not a timing), until `wanted` reports came.
    bool await(int wanted) {
        std::unique_lock<std::mutex> lock(mutex);
        return arrived.wait_for(lock, std::chrono::seconds(60), [&] { return count >= wanted; });
    }
    int seen() {
        std::lock_guard<std::mutex> lock(mutex);
        return count;
    }
};

}  // namespace

TEST(DeadlineWatch, ReportsOnItsOwnThreadWhileWritersWriteAndNoneOnceStopped) {
    auto reports = std::make_shared<Reports>();
    DeadlineWatch watch(std::chrono::milliseconds(1),
                        [reports](const DDS_OfferedDeadlineMissedStatus&) {
                            std::lock_guard<std::mutex> lock(reports->mutex);
                            ++reports->count;
                            reports->thread = std::this_thread::get_id();
                            reports->arrived.notify_all();
                        });
    std::thread writer([&] {
        for (int i = 0; i < 200; ++i) {
            watch.written(handle(1));
        }
    });
    std::thread unregistering([&] {
        for (int i = 0; i < 200; ++i) {
            watch.written(handle(2));
            watch.unregistered(handle(2));
        }
    });
    writer.join();
    unregistering.join();
    ASSERT_TRUE(reports->await(3));
    {
        std::lock_guard<std::mutex> lock(reports->mutex);
        EXPECT_NE(reports->thread, std::this_thread::get_id());
    }
    watch.stop();
    int stopped_at = reports->seen();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));  // room for a stray report
    EXPECT_EQ(reports->seen(), stopped_at) << "a report after stop() returned";
}

// A writer deleted from its own deadline listener stops the watch from within a report.
TEST(DeadlineWatch, AReportMayStopItsOwnWatch) {
    auto reports = std::make_shared<Reports>();
    std::unique_ptr<DeadlineWatch> watch;
    // Set before the first report: written() comes after it.
    auto self = std::make_shared<DeadlineWatch*>(nullptr);
    watch.reset(new DeadlineWatch(std::chrono::milliseconds(1),
                                  [reports, self](const DDS_OfferedDeadlineMissedStatus&) {
                                      (*self)->stop();
                                      std::lock_guard<std::mutex> lock(reports->mutex);
                                      ++reports->count;
                                      reports->arrived.notify_all();
                                  }));
    *self = watch.get();
    watch->written(handle(1));
    ASSERT_TRUE(reports->await(1));
    watch.reset();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));  // room for a stray report
    EXPECT_EQ(reports->seen(), 1);
}
