// execute(): what runs, what is printed and what reaches the logger on each path.
#include <gtest/gtest.h>

#include <string>

#include "dds/logger.h"
#include "kestping/pingDataListener.h"
#include "kestping/pingDataWriterListener.h"
#include "tests/unit/agent/frame_test_support.h"

namespace {

using frametest::captureStdout;
using frametest::FrameAgent;

class Lifecycle : public ::testing::Test {
  protected:
    void TearDown() override { theVerbosity = 1; }
};

TEST_F(Lifecycle, VerbosityLevelsMapToCumulativeLoggerMasks) {
    const int masks[] = {0x00, 0x03, 0x07, 0x0F, 0x1F, 0x3F, 0x3F};
    for (int level = 0; level <= 6; ++level) {
        EXPECT_EQ(masks[level], QORUtil_getKestVerbosityFromUtilVerbosity(level)) << level;
    }
    EXPECT_EQ(0x3F, QORUtil_getKestVerbosityFromUtilVerbosity(-1));
}

TEST_F(Lifecycle, NoOptionsRunsWithDefaultsAndNoSummary) {
    FrameAgent agent;
    bool result = false;
    std::string output = captureStdout([&] { result = agent.execute(""); });
    EXPECT_TRUE(result);
    EXPECT_EQ(1, agent.runs);
    EXPECT_EQ(frametest::header(), output);
    EXPECT_EQ(1, theVerbosity);
    EXPECT_EQ(0x03, DDSLogger::get_instance()->get_verbosity());
    EXPECT_EQ(13330, DDSLogger::get_instance()->get_print_format());
}

TEST_F(Lifecycle, ParsedSettingsReachTheLoggerAndTheSummaryBeforeTheRun) {
    FrameAgent agent;
    const char* argv[] = {"qorddsping", "-verbosity", "3", "-LogFormat", "5"};
    bool result = false;
    std::string output = captureStdout([&] { result = agent.execute(5, argv); });
    EXPECT_TRUE(result);
    EXPECT_EQ(1, agent.runs);
    EXPECT_EQ(3, theVerbosity);
    EXPECT_EQ(0x0F, DDSLogger::get_instance()->get_verbosity());
    EXPECT_EQ(5, DDSLogger::get_instance()->get_print_format());
    EXPECT_EQ(frametest::header() + "Running QOR Solvane DDS Ping with the following options:\n",
              output.substr(0, output.find('\n', frametest::header().size()) + 1));
}

TEST_F(Lifecycle, StopsBeforeTheRun) {
    struct Case {
        std::string command;
        bool headerPrinted;
    };
    std::string thirtyTwo;
    for (int i = 0; i < 32; ++i) {
        thirtyTwo += "\x02-reliable";
    }
    const Case cases[] = {
        {"\x02-help", true},           {"\x02-version", true}, {"\x02-foo", true},
        {"\x02-domainId\x02-3", true}, {thirtyTwo, false},
    };
    for (const Case& c : cases) {
        FrameAgent agent;
        bool result = true;
        std::string output = captureStdout([&] { result = agent.execute(c.command.c_str()); });
        EXPECT_FALSE(result) << c.command;
        EXPECT_EQ(0, agent.runs) << c.command;
        EXPECT_EQ(c.headerPrinted, output.find(frametest::header()) == 0) << c.command;
        EXPECT_EQ(1, theVerbosity) << c.command;
    }
}

TEST_F(Lifecycle, TooLongArgumentsFailBeforeAnythingIsPrintedButTheReason) {
    FrameAgent agent;
    std::string longArgument(511, 'x');
    const char* argv[] = {"qorddsping", "-domainTag", longArgument.c_str()};
    bool result = true;
    std::string output = captureStdout([&] { result = agent.execute(3, argv); });
    EXPECT_FALSE(result);
    EXPECT_EQ("Parameter length exceeds maximum allowed of 512\n", output);
    EXPECT_EQ(0, agent.runs);
}

TEST_F(Lifecycle, DeletingAnAgentThatCreatedNothingPrintsNothing) {
    FrameAgent* agent = new FrameAgent;
    EXPECT_EQ("", captureStdout([&] { delete agent; }));
    frametest::PingAgent* ping = new frametest::PingAgent;
    EXPECT_EQ("", captureStdout([&] { delete ping; }));
}

// A start that failed half-way leaves listeners without endpoints; the sanitized build
// reports them if the destructor forgets them.
TEST_F(Lifecycle, ListenersLeftByAFailedStartAreReleased) {
    class HalfStarted : public frametest::PingAgent {
      public:
        HalfStarted() {
            dataWriterListener = new KESTPingDataWriterListener;
            readerListener = new KestPingDataListener(false, false);
        }
    };
    HalfStarted* agent = new HalfStarted;
    EXPECT_EQ("", captureStdout([&] { delete agent; }));
}

}  // namespace
