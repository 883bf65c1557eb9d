// execute(): from the process's arguments to the run, what is printed on each path and what
// reaches the logger; and an agent's deletion.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "kestping/pingDataListener.h"
#include "kestping/pingDataWriterListener.h"
#include "qordds/logger.h"
#include "tests/unit/agent/frame_test_support.h"

namespace {

using frametest::header;
using frametest::TestAgent;

class Lifecycle : public ::testing::Test {
  protected:
    void TearDown() override { theVerbosity = 1; }
};

// A text of tests/e2e/expected, with the middleware's version filled in.
std::string golden(const std::string& name) {
    std::ifstream in(std::string(QOR_E2E_EXPECTED_DIR) + "/" + name, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    std::string golden = text.str();
    const std::string marker = "@DDS_VERSION@";
    return golden.replace(golden.find(marker), marker.size(), frametest::dotted("%d.%d.%d"));
}

TEST_F(Lifecycle, VerbosityLevelsMapToCumulativeLoggerMasks) {
    const int masks[] = {0x00, 0x03, 0x07, 0x0F, 0x1F, 0x3F, 0x3F};
    for (int level = 0; level <= 6; ++level) {
        EXPECT_EQ(masks[level], QORUtil_getKestVerbosityFromUtilVerbosity(level)) << level;
    }
    EXPECT_EQ(0x3F, QORUtil_getKestVerbosityFromUtilVerbosity(-1));
}

struct Execution {
    std::vector<std::string> arguments;
    std::string output;
    bool runs;
    int verbosity, mask, format;
};

Execution ran(const std::vector<std::string>& arguments, const std::string& output,
              int verbosity = 1, int mask = 0x03, int format = 13330) {
    return {arguments, output, true, verbosity, mask, format};
}

Execution stopped(const std::vector<std::string>& arguments, const std::string& output) {
    return {arguments, output, false, 1, 0, 0};
}

// What execute() prints, and whether it runs: the summary before the run from level 2 on, and
// the logger given the mask of the level and the print format; or, when the command line
// stops it, no run and the verbosity untouched.
TEST_F(Lifecycle, ExecuteRunsOrStops) {
    std::string usageWithDomain7 = golden("help.txt");
    const std::string defaultDomain = "Sets the domainId (default 0)";
    usageWithDomain7.replace(usageWithDomain7.find(defaultDomain), defaultDomain.size(),
                             "Sets the domainId (default 7)");
    std::vector<std::string> thirtyOneAndAnEmptyOne(31, "-reliable");
    thirtyOneAndAnEmptyOne.push_back("");
    const std::string tooLong = "QOR Solvane DDS Ping: Parameter length: ";
    const Execution cases[] = {
        ran({}, header()),
        ran(frametest::words("-verbosity 2 -participantPartition A -participantPartition B "
                             "-numSamples 1 -sendPeriod 0 -LogFormat 5"),
            golden("summary-verbosity-2.txt"), 2, 0x07, 5),
        // Empty arguments vanish and do not count: 31 arguments are the most a line holds.
        ran({"", "-verbosity", "", "", "0", ""}, header(), 0, 0x00),
        ran(thirtyOneAndAnEmptyOne, header()),
        stopped(std::vector<std::string>(32, "-reliable"), ""),
        // Title, blank and joined command fill 512 characters at most; the joined command
        // itself, with its terminator, 512 too. Neither gets as far as the header.
        ran({"-domainTag", std::string(479, 'x')}, header()),
        stopped({"-domainTag", std::string(480, 'x')},
                tooLong + "513 exceeds maximum specified of 512\n"),
        stopped({"-domainTag", std::string(499, 'x')},
                tooLong + "532 exceeds maximum specified of 512\n"),
        stopped({"-domainTag", std::string(500, 'x')},
                "Parameter length exceeds maximum allowed of 512\n"),
        stopped({"-help"}, golden("help.txt")),
        // A lone dash abbreviates the first option tested.
        stopped({"-"}, golden("help.txt")),
        // The page shows the settings parsed so far; nothing after -help is parsed.
        stopped({"-domainId", "7", "-help", "-foo"}, usageWithDomain7),
        stopped({"-v"}, header() + frametest::dotted(
                                       "QOR KESTAGENT built with DDS version: %d.%d.%d (%s)\n")),
        stopped({"-foo"}, header() + "QOR Solvane DDS Ping: Unrecognized parameter '-foo'\n"),
    };
    for (const Execution& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.arguments).substr(0, 80));
        TestAgent agent;
        EXPECT_EQ(c.output, agent.execute(c.arguments));
        EXPECT_EQ(c.runs, agent.result);
        EXPECT_EQ(c.runs ? 1 : 0, agent.runs);
        EXPECT_EQ(c.verbosity, theVerbosity);
        if (c.runs) {
            EXPECT_EQ(c.mask, DDSLogger::get_instance()->get_verbosity());
            EXPECT_EQ(c.format, DDSLogger::get_instance()->get_print_format());
        }
    }
}

// A start that failed half-way leaves listeners without endpoints; the sanitized build
// reports them if the destructor forgets them.
TEST_F(Lifecycle, DeletingAnAgentThatCreatedNothingPrintsNothing) {
    TestAgent* plain = new TestAgent;
    EXPECT_EQ("", frametest::captureStdout([&] { delete plain; }));
    TestAgent* halfStarted = new TestAgent;
    halfStarted->dataWriterListener = new KESTPingDataWriterListener;
    halfStarted->readerListener = new KestPingDataListener(false, false);
    EXPECT_EQ("", frametest::captureStdout([&] { delete halfStarted; }));
}

}  // namespace
