// The command line as a user meets it: the real binary, each run on its own private host.
#include <fastrtps/config.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/e2e/support/private_host.h"

namespace {

const std::string HEADER = std::string("\nQOR Solvane DDS Ping built with DDS version: ") +
                           FASTRTPS_VERSION_STR + "\n" +
                           "~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~~\n";

// Expected texts name the middleware version as @DDS_VERSION@.
std::string expected(const std::string& name) {
    std::string text = qortest::golden(name);
    const std::string marker = "@DDS_VERSION@";
    for (size_t at = text.find(marker); at != std::string::npos; at = text.find(marker, at)) {
        text.replace(at, marker.size(), FASTRTPS_VERSION_STR);
    }
    return text;
}

bool startsWith(const std::string& text, const std::string& prefix) {
    return text.compare(0, prefix.size(), prefix) == 0;
}

TEST(CommandLine, HelpPrintsHeaderAndUsagePageAndExitsZero) {
    qortest::RunResult run = qortest::runPing({"-help"});
    ASSERT_FALSE(run.timedOut);
    EXPECT_EQ(expected("help.txt"), run.output);
    EXPECT_EQ(0, run.exitStatus);
}

TEST(CommandLine, UsagePageShowsTheDomainAlreadyParsed) {
    qortest::RunResult run = qortest::runPing({"-domainId", "7", "-help"});
    std::string page = expected("help.txt");
    const std::string line = "-domainId  <domainId>       - Sets the domainId (default 0)";
    page.replace(page.find(line), line.size(),
                 "-domainId  <domainId>       - Sets the domainId (default 7)");
    EXPECT_EQ(page, run.output);
    EXPECT_EQ(0, run.exitStatus);
}

TEST(CommandLine, VersionPrintsHeaderAndVersionLine) {
    qortest::RunResult run = qortest::runPing({"-v"});
    EXPECT_EQ(HEADER + "QOR KESTAGENT built with DDS version: " + FASTRTPS_VERSION_STR +
                  " (Fast DDS " + FASTRTPS_VERSION_STR + ")\n",
              run.output);
    EXPECT_EQ(0, run.exitStatus);
}

// Each run stops at its first bad option, after that option's own message.
TEST(CommandLine, BadOptionsStopWithTheirMessagesAndExitZero) {
    struct Case {
        std::vector<std::string> arguments;
        std::string messages;
    };
    const Case cases[] = {
        {{"-foo"}, "QOR Solvane DDS Ping: Unrecognized parameter '-foo'\n"},
        {{"-domainId", "-3", "-help"},
         "Invalid domain number: -3 (must be greater than 0)\n"
         "QOR Solvane DDS Ping: Error in parameter '-3'\n"},
        // A blank inside an argument keeps it whole.
        {{"-domainId", "3 4"},
         "Missing or mal-formed value following argument '-domainId'\n"
         "QOR Solvane DDS Ping: Error in parameter '3 4'\n"},
    };
    for (const Case& c : cases) {
        qortest::RunResult run = qortest::runPing(c.arguments);
        EXPECT_EQ(HEADER + c.messages, run.output) << c.arguments[0];
        EXPECT_EQ(0, run.exitStatus) << c.arguments[0];
    }
}

TEST(CommandLine, EmptyArgumentsVanish) {
    qortest::RunResult run = qortest::runPing({"-domainId", "", "5", "", "-help"});
    EXPECT_NE(std::string::npos, run.output.find("Sets the domainId (default 5)\n"));
    EXPECT_EQ(0, run.exitStatus);
}

TEST(CommandLine, ThirtyTwoArgumentsFailSilently) {
    std::vector<std::string> arguments(31, "-reliable");
    arguments.push_back("-help");
    qortest::RunResult run = qortest::runPing(arguments);
    EXPECT_EQ("", run.output);
    EXPECT_EQ(0, run.exitStatus);
}

TEST(CommandLine, ThirtyOneArgumentsAreAccepted) {
    std::vector<std::string> arguments(30, "-reliable");
    arguments.push_back("-help");
    qortest::RunResult run = qortest::runPing(arguments);
    EXPECT_EQ(expected("help.txt"), run.output);
    EXPECT_EQ(0, run.exitStatus);
}

// The title, a blank and the joined command fill at most 512 characters: here a 491-character
// command passes and a 492-character one fails.
TEST(CommandLine, CommandTooLongForTheBuffersFailsBeforeTheHeader) {
    qortest::RunResult longest = qortest::runPing({"-domainTag", std::string(473, 't'), "-help"});
    EXPECT_EQ(expected("help.txt"), longest.output);
    qortest::RunResult tooLong = qortest::runPing({"-domainTag", std::string(474, 't'), "-help"});
    EXPECT_EQ("QOR Solvane DDS Ping: Parameter length: 513 exceeds maximum specified of 512\n",
              tooLong.output);
    EXPECT_EQ(0, tooLong.exitStatus);
}

TEST(CommandLine, VerbosityTwoPrintsBothSummariesBeforeTheRun) {
    qortest::RunResult run =
        qortest::runPing({"-verbosity", "2", "-participantPartition", "A", "-participantPartition",
                          "B", "-numSamples", "1", "-sendPeriod", "0"});
    ASSERT_FALSE(run.timedOut);
    EXPECT_TRUE(startsWith(run.output, expected("summary-verbosity-2.txt"))) << run.output;
}

TEST(CommandLine, VerbosityOnePrintsNoSummaryAndASuccessfulRunExitsOne) {
    qortest::RunResult run =
        qortest::runPing({"-verbosity", "1", "-numSamples", "1", "-sendPeriod", "0"});
    ASSERT_FALSE(run.timedOut);
    EXPECT_TRUE(startsWith(run.output, HEADER + "Sending data...   value: 0000000 \n"))
        << run.output;
    EXPECT_EQ(std::string::npos, run.output.find("Running ")) << run.output;
    EXPECT_EQ(1, run.exitStatus);
}

// Fast DDS's own log lines come through the logger: none at all at level 0, and never in
// colour.
TEST(CommandLine, MiddlewareLogFollowsTheVerbosity) {
    qortest::RunResult silent =
        qortest::runPing({"-verbosity", "0", "-numSamples", "1", "-sendPeriod", "0"});
    EXPECT_EQ(HEADER, silent.output);
    EXPECT_EQ(1, silent.exitStatus);

    qortest::RunResult verbose =
        qortest::runPing({"-verbosity", "2", "-numSamples", "1", "-sendPeriod", "0"});
    EXPECT_EQ(std::string::npos, verbose.output.find('\033')) << verbose.output;
    EXPECT_EQ(1, verbose.exitStatus);
}

}  // namespace
