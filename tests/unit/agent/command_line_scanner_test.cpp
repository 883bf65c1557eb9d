// The scanner: joining and re-splitting the command line within its bounds, matching one
// option, converting seconds and laying out usage lines.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/unit/agent/frame_test_support.h"

namespace {

using frametest::captureStdout;

std::string join(const std::vector<std::string>& arguments) {
    std::string command;
    for (const std::string& argument : arguments) {
        command += '\x02' + argument;
    }
    return command;
}

// Splits with the execute() buffers: 512 characters plus the spare terminator, 32 entries.
struct Split {
    int count;
    std::vector<std::string> entries;
    std::string output;
};
Split split(const std::string& command) {
    std::vector<char> work(KestAgent::COMMAND_BUFFER_LENGTH + 1);
    char* argv[KestAgent::MAX_ARGUMENTS];
    Split result = {0, {}, ""};
    result.output = captureStdout([&] {
        result.count = KestAgent::tokenizeStrIntoArgv(work.data(), KestAgent::COMMAND_BUFFER_LENGTH,
                                                      argv, KestAgent::MAX_ARGUMENTS,
                                                      frametest::TITLE, command.c_str());
    });
    for (int i = 0; i < result.count; ++i) {
        result.entries.push_back(argv[i]);
    }
    return result;
}

TEST(StrcatFromArgv, JoinsArgumentsAfterSeparatorsWithinTheLimit) {
    char buffer[10];
    const char* none[] = {"qorddsping"};
    EXPECT_TRUE(KestAgent::strcatFromArgv(buffer, 10, "T", 1, none));
    EXPECT_STREQ("", buffer);

    // Each argument needs its length plus separator and terminator: 3+2 and 4+2 fit in 10.
    const char* fits[] = {"qorddsping", "abc", "defg"};
    EXPECT_EQ("", captureStdout(
                      [&] { EXPECT_TRUE(KestAgent::strcatFromArgv(buffer, 10, "T", 3, fits)); }));
    EXPECT_STREQ(
        "\x02"
        "abc\x02"
        "defg",
        buffer);

    const char* tooLong[] = {"qorddsping", "abc", "defg", "x"};
    EXPECT_EQ("Parameter length exceeds maximum allowed of 10\n", captureStdout([&] {
                  EXPECT_FALSE(KestAgent::strcatFromArgv(buffer, 10, "T", 4, tooLong));
              }));

    EXPECT_EQ("KESTAGENT: Command length exceeds maximum allowed of 3\n", captureStdout([&] {
                  EXPECT_FALSE(KestAgent::strcatFromArgv(buffer, 3, "long", 1, none));
              }));
}

TEST(TokenizeStrIntoArgv, SplitsIntoTitleAndArguments) {
    struct Case {
        std::string command;
        int count;
        std::vector<std::string> entries;
    };
    const std::string title = std::string(frametest::TITLE) + " ";
    const Case cases[] = {
        {"", 1, {title}},
        {join({"-domainId", "7"}), 3, {title, "-domainId", "7"}},
        // Blanks stay inside their argument.
        {join({"-qosProfile", "My Lib::My Prof"}), 3, {title, "-qosProfile", "My Lib::My Prof"}},
        // Empty arguments vanish, also at the end.
        {join({"-domainId", "", "", "5", ""}), 3, {title, "-domainId", "5"}},
    };
    for (const Case& c : cases) {
        Split result = split(c.command);
        EXPECT_EQ(c.count, result.count) << c.command;
        EXPECT_EQ(c.entries, result.entries) << c.command;
        EXPECT_EQ("", result.output);
    }
}

TEST(TokenizeStrIntoArgv, AcceptsThirtyOneArgumentsAndRefusesThirtyTwoSilently) {
    Split accepted = split(join(std::vector<std::string>(31, "-reliable")));
    EXPECT_EQ(32, accepted.count);
    EXPECT_EQ("-reliable", accepted.entries[31]);

    // A trailing empty argument does not count as a 32nd.
    EXPECT_EQ(32, split(join(std::vector<std::string>(31, "-reliable")) + "\x02").count);

    Split refused = split(join(std::vector<std::string>(32, "-reliable")));
    EXPECT_EQ(-1, refused.count);
    EXPECT_EQ("", refused.output);
}

TEST(TokenizeStrIntoArgv, FillsTheWholeLengthAndRefusesOneMore) {
    // Title (20), blank and command make exactly 512: accepted, with the terminator in the
    // spare byte.
    Split longest = split(std::string("\x02") + std::string(490, 'x'));
    ASSERT_EQ(2, longest.count);
    EXPECT_EQ(std::string(490, 'x'), longest.entries[1]);

    Split tooLong = split(std::string("\x02") + std::string(491, 'x'));
    EXPECT_EQ(-1, tooLong.count);
    EXPECT_EQ("QOR Solvane DDS Ping: Parameter length: 513 exceeds maximum specified of 512\n",
              tooLong.output);

    char work[16];
    char* argv[4];
    EXPECT_EQ("T: Internal error in tokenizeStrIntoArgv(), NULL paramStr\n", captureStdout([&] {
                  EXPECT_EQ(-1, KestAgent::tokenizeStrIntoArgv(work, 16, argv, 4, "T", nullptr));
              }));
}

TEST(TryParseArgument, MatchesCaseInsensitivePrefixesAndTakesValues) {
    struct Case {
        std::vector<std::string> argv;  // the argument under test at index 1
        const char* option;
        enum { Flag, Text, Integer } value;
        int result;
        int index;  // afterwards
        std::string text;
        int number;
        std::string output;
    };
    const Case cases[] = {
        {{"T ", "-domainId"}, "-domainId", Case::Flag, 1, 1, "", 0, ""},
        {{"T ", "-DOMAINID", "3"}, "-domainId", Case::Integer, 1, 2, "", 3, ""},
        {{"T ", "-dom", "3"}, "-domainId", Case::Integer, 1, 2, "", 3, ""},
        {{"T ", "-domainIdx", "3"}, "-domainId", Case::Integer, 2, 1, "", 0, ""},
        {{"T ", "-", "3"}, "-domainId", Case::Integer, 1, 2, "", 3, ""},
        {{"T ", "-peer", "-x"}, "-peer", Case::Text, 1, 2, "-x", 0, ""},
        {{"T ", "-domainId", " +42"}, "-domainId", Case::Integer, 1, 2, "", 42, ""},
        {{"T ", "-domainId", "3x"},
         "-domainId",
         Case::Integer,
         0,
         2,
         "",
         3,
         "Missing or mal-formed value following argument '-domainId'\n"},
        {{"T ", "-domainId"},
         "-domainId",
         Case::Integer,
         0,
         1,
         "",
         0,
         "Missing value for argument '-domainId'\n"},
        {{"T ", "-qos"},
         "-qosFile",
         Case::Text,
         0,
         1,
         "",
         0,
         "Missing value for argument '-qosFile'\n"},
    };
    for (const Case& c : cases) {
        std::vector<std::string> storage = c.argv;
        std::vector<char*> argv;
        for (std::string& argument : storage) {
            argv.push_back(&argument[0]);
        }
        int index = 1;
        char* text = nullptr;
        int number = 0;
        int result = -1;
        std::string output = captureStdout([&] {
            result = KestAgent::tryParseArgument(&index, argv.data(), static_cast<int>(argv.size()),
                                                 c.option, c.value == Case::Text ? &text : nullptr,
                                                 c.value == Case::Integer ? &number : nullptr);
        });
        SCOPED_TRACE(c.argv[1] + " against " + c.option);
        EXPECT_EQ(c.result, result);
        EXPECT_EQ(c.index, index);
        EXPECT_EQ(c.text, text != nullptr ? text : "");
        EXPECT_EQ(c.number, number);
        EXPECT_EQ(c.output, output);
    }
}

TEST(ConvertFromFloat, TruncatesInSinglePrecision) {
    struct Case {
        float seconds;
        int32_t sec;
        uint32_t nanosec;
    };
    const Case cases[] = {
        {0.0f, 0, 0},         {1.5f, 1, 500000000}, {1.1f, 1, 100000024},
        {2.7f, 2, 700000064}, {0.1f, 0, 100000000}, {3.0f, 3, 0},
    };
    for (const Case& c : cases) {
        DDS_Duration_t duration = {-7, 7};
        KestAgent::convertFromFloat(duration, c.seconds);
        EXPECT_EQ(c.sec, duration.sec) << c.seconds;
        EXPECT_EQ(c.nanosec, duration.nanosec) << c.seconds;
    }
}

}  // namespace
