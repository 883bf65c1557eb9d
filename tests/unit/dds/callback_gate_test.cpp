// The callback gate: close() waits for the callbacks inside, except the closing thread's own,
// and shuts out later ones. Built with ThreadSanitizer too (QOR_TSAN).
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <memory>
#include <thread>
#include <vector>

#include "entities/callback_gate.h"
#include "entities/deferred_deletion.h"

using qordds::CallbackGate;
using qordds::GatePass;

TEST(CallbackGate, CloseWaitsForTheCallbackInsideThenShutsTheGate) {
    auto gate = std::make_shared<CallbackGate>();
    std::promise<void> inside;
    std::atomic<bool> closed{false};
    std::thread callback([&] {
        GatePass pass(gate);
        EXPECT_TRUE(pass);
        inside.set_value();
        while (!gate->is_closed()) {
            std::this_thread::yield();
        }
        EXPECT_FALSE(closed.load()) << "close() returned while a callback was inside";
    });
    inside.get_future().wait();
    gate->close();
    closed = true;
    callback.join();
    GatePass late(gate);
    EXPECT_FALSE(late);
}

TEST(CallbackGate, NoCallbackIsInsideOnceCloseReturns) {
    auto gate = std::make_shared<CallbackGate>();
    std::atomic<int> inside{0};
    std::atomic<int> passes{0};
    std::vector<std::thread> callbacks;
    for (int t = 0; t < 4; ++t) {
        callbacks.emplace_back([&] {
            for (;;) {
                GatePass pass(gate);
                if (!pass) {
                    return;
                }
                ++inside;
                ++passes;
                --inside;
            }
        });
    }
    while (passes.load() < 1000) {
        std::this_thread::yield();
    }
    gate->close();
    EXPECT_EQ(inside.load(), 0);
    for (std::thread& callback : callbacks) {
        callback.join();
    }
}

// An endpoint deleted from its own listener closes its gate from inside a callback.
TEST(CallbackGate, ACallbackClosingItsOwnGateDoesNotWaitForItself) {
    auto gate = std::make_shared<CallbackGate>();
    EXPECT_FALSE(qordds::in_callback());
    {
        GatePass pass(gate);
        ASSERT_TRUE(pass);
        EXPECT_TRUE(qordds::in_callback());
        gate->close();
        EXPECT_TRUE(gate->is_closed());
    }
    EXPECT_FALSE(qordds::in_callback());
}
