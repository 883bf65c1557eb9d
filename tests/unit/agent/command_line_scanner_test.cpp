// The scanner: joining and re-splitting the command line within its bounds, and converting
// seconds. Matching one option is seen through the option loop.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "tests/unit/agent/frame_test_support.h"

namespace {

using frametest::captureStdout;

// A command string written with '|' where the separator goes.
std::string joined(std::string text) {
    std::replace(text.begin(), text.end(), '|', '\x02');
    return text;
}

TEST(StrcatFromArgv, JoinsArgumentsAfterSeparatorsWithinTheLimit) {
    char buffer[10];
    const char* none[] = {"qorddsping"};
    EXPECT_TRUE(KestAgent::strcatFromArgv(buffer, 10, "T", 1, none));
    EXPECT_STREQ("", buffer);
    // Each argument needs its length plus separator and terminator: 3+2 and 4+2 fit in 10.
    const char* arguments[] = {"qorddsping", "abc", "defg", "x"};
    EXPECT_EQ("", captureStdout([&] {
                  EXPECT_TRUE(KestAgent::strcatFromArgv(buffer, 10, "T", 3, arguments));
              }));
    EXPECT_EQ(joined("|abc|defg"), buffer);
    EXPECT_EQ("Parameter length exceeds maximum allowed of 10\n", captureStdout([&] {
                  EXPECT_FALSE(KestAgent::strcatFromArgv(buffer, 10, "T", 4, arguments));
              }));
    EXPECT_EQ("KESTAGENT: Command length exceeds maximum allowed of 3\n", captureStdout([&] {
                  EXPECT_FALSE(KestAgent::strcatFromArgv(buffer, 3, "long", 1, none));
              }));
}

// Splits with the execute() buffers: 512 characters plus the spare terminator, 32 entries
// (execute() itself shows where the count ends).
TEST(TokenizeStrIntoArgv, SplitsIntoTitleAndArgumentsWithinTheBounds) {
    const std::string title = std::string(frametest::TITLE) + " ";
    const std::string x490(490, 'x');
    struct Case {
        std::string command;
        int count;
        std::vector<std::string> entries;  // the first ones
        std::string output;
    };
    const Case cases[] = {
        {"", 1, {title}, ""},
        // Blanks stay inside their argument; empty arguments vanish, also at the end.
        {joined("|-qosProfile|My Lib::My Prof"), 3, {title, "-qosProfile", "My Lib::My Prof"}, ""},
        {joined("|-domainId|||5|"), 3, {title, "-domainId", "5"}, ""},
        // Title (20), blank and command fill exactly 512, the terminator the spare byte.
        {joined("|" + x490), 2, {title, x490}, ""},
        {joined("|x" + x490),
         -1,
         {},
         "QOR Solvane DDS Ping: Parameter length: 513 exceeds maximum specified of 512\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.command.substr(0, 40));
        std::vector<char> work(KestAgent::COMMAND_BUFFER_LENGTH + 1);
        char* argv[KestAgent::MAX_ARGUMENTS];
        int count = 0;
        EXPECT_EQ(c.output, captureStdout([&] {
                      count = KestAgent::tokenizeStrIntoArgv(
                          work.data(), KestAgent::COMMAND_BUFFER_LENGTH, argv,
                          KestAgent::MAX_ARGUMENTS, frametest::TITLE, c.command.c_str());
                  }));
        ASSERT_EQ(c.count, count);
        EXPECT_EQ(c.entries, std::vector<std::string>(argv, argv + c.entries.size()));
    }
    char work[16];
    char* argv[4];
    EXPECT_EQ("T: Internal error in tokenizeStrIntoArgv(), NULL paramStr\n", captureStdout([&] {
                  EXPECT_EQ(-1, KestAgent::tokenizeStrIntoArgv(work, 16, argv, 4, "T", nullptr));
              }));
}

TEST(ConvertFromFloat, TruncatesInSinglePrecision) {
    const struct {
        float seconds;
        int32_t sec;
        uint32_t nanosec;
    } cases[] = {
        {0.0f, 0, 0},         {1.5f, 1, 500000000}, {1.1f, 1, 100000024},
        {2.7f, 2, 700000064}, {0.1f, 0, 100000000}, {3.0f, 3, 0},
    };
    for (const auto& c : cases) {
        DDS_Duration_t duration = {-7, 7};
        KestAgent::convertFromFloat(duration, c.seconds);
        EXPECT_EQ(c.sec, duration.sec) << c.seconds;
        EXPECT_EQ(c.nanosec, duration.nanosec) << c.seconds;
    }
}

}  // namespace
