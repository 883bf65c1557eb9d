// The listener turn: one callback of a reader at a time, taken again by its holder, given up
// by a waiting callback once the gate closes. Built with ThreadSanitizer too (QOR_TSAN).
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>

#include "entities/callback_gate.h"
#include "entities/listener_turn.h"

using qordds::CallbackGate;
using qordds::ListenerTurn;

TEST(ListenerTurn, OneCallbackAtATimeAndItsHolderMayTakeItAgain) {
    CallbackGate gate;
    ListenerTurn turn(gate);
    int guarded = 0;  // written only with the turn held
    std::atomic<int> holders{0};
    std::atomic<bool> overlapped{false};
    auto callback = [&] {
        for (int i = 0; i < 2000; ++i) {
            ASSERT_TRUE(turn.take());
            ListenerTurn::Held held(turn);
            if (++holders > 1) {
                overlapped = true;
            }
            ASSERT_TRUE(turn.take());
            {
                ListenerTurn::Held again(turn);
                ++guarded;
            }
            --holders;
        }
    };
    std::thread first(callback);
    std::thread second(callback);
    first.join();
    second.join();
    EXPECT_FALSE(overlapped.load());
    EXPECT_EQ(guarded, 4000);
}

TEST(ListenerTurn, ACallbackWaitingForItsTurnGivesUpOnceTheGateCloses) {
    CallbackGate gate;
    ListenerTurn turn(gate);
    ASSERT_TRUE(turn.take());
    std::promise<bool> taken;
    std::future<bool> result = taken.get_future();
    std::thread waiting([&] { taken.set_value(turn.take()); });
    gate.close([&] { turn.gate_closed(); });
    EXPECT_FALSE(result.get());
    waiting.join();
    turn.release();
}
