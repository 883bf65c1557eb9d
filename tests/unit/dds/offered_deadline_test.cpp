// The deadline a writer offers, kept by the binding: which instances miss it, and when.
#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "tests/unit/dds/instance_handle.h"
#include "workarounds/offered_deadline.h"

using qortest::handle;

TEST(OfferedDeadline, EachOwedInstanceMissesOncePerPeriodInDeadlineOrderUntilUnregistered) {
    using std::chrono::milliseconds;
    qordds::OfferedDeadline deadline{milliseconds(100)};
    // The keys of the instances that missed, each with its status's total count.
    auto expire_at = [&](int ms) {
        std::string text;
        for (const DDS_OfferedDeadlineMissedStatus& status :
             deadline.expire(qordds::OfferedDeadline::Clock::time_point() + milliseconds(ms))) {
            text += "k" + std::to_string(status.last_instance_handle.value[0]) + "#" +
                    std::to_string(status.total_count) + " ";
        }
        return text;
    };
    auto written_at = [&](unsigned char k, int ms) {
        deadline.written(handle(k),
                         qordds::OfferedDeadline::Clock::time_point() + milliseconds(ms));
    };
    qordds::OfferedDeadline::Clock::time_point when;
    EXPECT_FALSE(deadline.next_miss(&when)) << "nothing owed yet";
    written_at(3, 20);
    written_at(1, 30);
    written_at(2, 10);
    ASSERT_TRUE(deadline.next_miss(&when));
    EXPECT_EQ(when.time_since_epoch(), milliseconds(110));
    EXPECT_EQ(expire_at(109), "");
    EXPECT_EQ(expire_at(500), "k2#1 k3#2 k1#3 ") << "each owes again a period from now";
    written_at(2, 550);  // written again (or disposed): its period starts over
    written_at(1, 560);
    EXPECT_EQ(expire_at(600), "k3#4 ");
    EXPECT_EQ(expire_at(650), "k2#5 ");
    deadline.unregistered(handle(1));
    ASSERT_TRUE(deadline.next_miss(&when));
    EXPECT_EQ(when.time_since_epoch(), milliseconds(700))
        << "an unregistered instance owes nothing";
    EXPECT_EQ(expire_at(1000), "k3#6 k2#7 ");
    deadline.unregistered(handle(3));
    deadline.unregistered(handle(2));
    EXPECT_FALSE(deadline.next_miss(&when));
    written_at(1, 5000);
    EXPECT_EQ(expire_at(5100), "k1#8 ") << "written after its unregistration, owed again";

    qordds::OfferedDeadline zero{milliseconds(0)};
    zero.written(DDS_HANDLE_NIL, qordds::OfferedDeadline::Clock::time_point());
    ASSERT_TRUE(zero.next_miss(&when));
    EXPECT_EQ(when.time_since_epoch(), milliseconds(1)) << "a zero period is paced";
}
