// The scanner: its refusals that execute() never provokes, and seconds as durations. Joining
// and splitting the command line within its bounds is seen through execute().
#include <gtest/gtest.h>

#include <cmath>

#include "tests/unit/agent/frame_test_support.h"

namespace {

using frametest::captureStdout;

TEST(CommandLineScanner, RefusesATitleLongerThanTheLimitAndANullCommand) {
    char buffer[4];
    const char* none[] = {"qorddsping"};
    char* argv[4];
    EXPECT_EQ("KESTAGENT: Command length exceeds maximum allowed of 3\n", captureStdout([&] {
                  EXPECT_FALSE(KestAgent::strcatFromArgv(buffer, 3, "long", 1, none));
              }));
    EXPECT_EQ("T: Internal error in tokenizeStrIntoArgv(), NULL paramStr\n", captureStdout([&] {
                  EXPECT_EQ(-1, KestAgent::tokenizeStrIntoArgv(buffer, 4, argv, 4, "T", nullptr));
              }));
}

TEST(CommandLineScanner, ConvertFromFloatTruncatesInSinglePrecision) {
    const struct {
        float seconds;
        int32_t sec;
        uint32_t nanosec;
    } cases[] = {
        {0.0f, 0, 0},
        {1.5f, 1, 500000000},
        {1.1f, 1, 100000024},
        {2.7f, 2, 700000064},
        {0.1f, 0, 100000000},
        {3.0f, 3, 0},
        // Values without an int32_t counterpart saturate instead of being undefined.
        {std::nanf(""), 0, 0},
        {1e10f, INT32_MAX, 999999999u},
        {INFINITY, INT32_MAX, 999999999u},
        {-INFINITY, INT32_MIN, 0},
    };
    for (const auto& c : cases) {
        DDS_Duration_t duration = {-7, 7};
        KestAgent::convertFromFloat(duration, c.seconds);
        EXPECT_EQ(c.sec, duration.sec) << c.seconds;
        EXPECT_EQ(c.nanosec, duration.nanosec) << c.seconds;
    }
}

}  // namespace
