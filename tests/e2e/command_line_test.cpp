// The command line as a user meets it: the real binary, each run on its own private host.
// Option texts and bounds belong to the unit tests; here are the usage page as the binary
// prints it, the exit statuses, and a run that a broken QoS file stops.
#include <fastrtps/config.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/e2e/support/private_host.h"
#include "tests/unit/support/test_io.h"

namespace {

const std::string HEADER = std::string("\nQOR Solvane DDS Ping built with DDS version: ") +
                           FASTRTPS_VERSION_STR + "\n" + std::string(42, '~') + "\n";

TEST(CommandLine, HelpPrintsHeaderAndUsagePageAndExitsZero) {
    qortest::RunResult run = qortest::runPing({"-help"});
    std::string page = qortest::golden("help.txt");
    page.replace(page.find("@DDS_VERSION@"), 13, FASTRTPS_VERSION_STR);
    EXPECT_EQ(page, run.output);
    EXPECT_EQ(0, run.exitStatus);
}

// Runs that end before the run proper exit with 0.
TEST(CommandLine, StoppedRunsExitZero) {
    const struct {
        std::vector<std::string> arguments;
        std::string output;
    } cases[] = {
        {{"-v"},
         HEADER + "QOR KESTAGENT built with DDS version: " + FASTRTPS_VERSION_STR + " (Fast DDS " +
             FASTRTPS_VERSION_STR + ")\n"},
        {{"-foo"}, HEADER + "QOR Solvane DDS Ping: Unrecognized parameter '-foo'\n"},
        // A blank inside an argument keeps it whole.
        {{"-domainId", "3 4"},
         HEADER + "Missing or mal-formed value following argument '-domainId'\n" +
             "QOR Solvane DDS Ping: Error in parameter '3 4'\n"},
        {std::vector<std::string>(32, "-reliable"), ""},
    };
    for (const auto& c : cases) {
        qortest::RunResult run = qortest::runPing(c.arguments);
        EXPECT_EQ(c.output, run.output) << c.arguments[0];
        EXPECT_EQ(0, run.exitStatus) << c.arguments[0];
    }
}

// A successful run exits with 1. Below level 2 there is no summary, and at level 0 nothing of
// the middleware's log either.
TEST(CommandLine, SuccessfulRunExitsOne) {
    qortest::RunResult quiet =
        qortest::runPing({"-verbosity", "1", "-numSamples", "1", "-sendPeriod", "0"});
    EXPECT_EQ(0u, quiet.output.find(HEADER + "Sending data...   value: 0000000 \n"))
        << quiet.output;
    EXPECT_EQ(std::string::npos, quiet.output.find("Running ")) << quiet.output;
    EXPECT_EQ(1, quiet.exitStatus);

    qortest::RunResult silent =
        qortest::runPing({"-verbosity", "0", "-numSamples", "1", "-sendPeriod", "0"});
    EXPECT_EQ(HEADER, silent.output);
    EXPECT_EQ(1, silent.exitStatus);
}

// The binding names the file and the fault, the tool its failing step; nothing is sent.
TEST(CommandLine, BrokenQosFileStopsTheRunWithStatusZero) {
    const struct {
        const char* name;
        std::string text;
        std::string error;
    } cases[] = {
        {"malformed.xml", "<dds>\n<qos_library name=\"L\">\n</dds>",
         ", line 2: malformed XML (XML_ERROR_MISMATCHED_ELEMENT: XMLElement name=qos_library)"},
        // The tool's own profile is already loaded.
        {"duplicate.xml",
         "<dds><qos_library name=\"InternalPingLibrary\">\n"
         "<qos_profile name=\"InternalPingProfile\"/></qos_library></dds>",
         ", line 2: profile 'InternalPingLibrary::InternalPingProfile' is defined twice"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::string path = qortest::writeTempFile(c.name, c.text);
        qortest::RunResult run = qortest::runPing({"-qosFile", path, "-numSamples", "1"});
        EXPECT_EQ(0, run.exitStatus);
        EXPECT_NE(std::string::npos, run.output.find(path + c.error)) << run.output;
        EXPECT_NE(std::string::npos,
                  run.output.find("set_qos on DomainParticipantFactory error 0\n"))
            << run.output;
        EXPECT_EQ(std::string::npos, run.output.find("Sending data")) << run.output;
    }
}

}  // namespace
