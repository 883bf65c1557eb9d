// QoS files as a user hands them to the real binary: broken ones stop the run with the
// binding's error and the tool's own failure message, and exit status 0.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "tests/e2e/support/private_host.h"

namespace {

std::string writeFile(const std::string& name, const std::string& text) {
    std::string path = testing::TempDir() + "e2e_qos_file_" + name;
    FILE* file = std::fopen(path.c_str(), "w");
    std::fputs(text.c_str(), file);
    std::fclose(file);
    return path;
}

std::string profile(const std::string& body) {
    return "<dds>\n<qos_library name=\"L\">\n<qos_profile name=\"P\">\n" + body +
           "\n</qos_profile>\n</qos_library>\n</dds>\n";
}

TEST(QosFile, BrokenFilesFailTheRunWithTheirErrors) {
    struct Case {
        const char* name;
        std::string text;
        std::string error;
    } cases[] = {
        {"malformed.xml", "<dds>\n<qos_library name=\"L\">\n</dds>",
         ", line 2: malformed XML (XML_ERROR_MISMATCHED_ELEMENT: XMLElement name=qos_library)"},
        {"unknown.xml", profile("<datawriter_qos><reliabilty/></datawriter_qos>"),
         ", line 4: unknown element <reliabilty> in <datawriter_qos>"},
        {"enum.xml",
         profile("<datareader_qos><durability><kind>DURABLE</kind></durability>"
                 "</datareader_qos>"),
         ", line 4: value 'DURABLE' of <kind> is not a durability kind"},
        {"number.xml",
         profile("<domain_participant_qos><wire_protocol><participant_id>x"
                 "</participant_id></wire_protocol></domain_participant_qos>"),
         ", line 4: value 'x' of <participant_id> is not an integer"},
        {"base.xml",
         "<dds><qos_library name=\"L\">\n<qos_profile name=\"P\" base_name=\"Q\"/>"
         "</qos_library></dds>",
         ", line 2: base profile 'Q' of profile 'L::P' does not exist"},
        {"loop.xml",
         "<dds><qos_library name=\"L\">\n<qos_profile name=\"P\" base_name=\"P\"/>"
         "</qos_library></dds>",
         ", line 2: base profiles of 'L::P' lead back to themselves"},
        {"empty.xml", "", ": malformed XML (XML_ERROR_EMPTY_DOCUMENT)"},
        {"root.xml", "<profiles/>", ", line 1: the root element is <profiles>, not <dds>"},
        {"duplicate.xml",
         "<dds><qos_library name=\"InternalPingLibrary\">\n"
         "<qos_profile name=\"InternalPingProfile\"/></qos_library></dds>",
         ", line 2: profile 'InternalPingLibrary::InternalPingProfile' is defined twice"},
        {"attribute.xml", "<dds><qos_library name=\"L\" version=\"2\"/></dds>",
         ", line 1: unknown attribute 'version' of <qos_library>"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        std::string path = writeFile(c.name, c.text);
        qortest::RunResult run = qortest::runPing({"-qosFile", path, "-numSamples", "1"});
        ASSERT_FALSE(run.timedOut);
        EXPECT_EQ(0, run.exitStatus);
        EXPECT_NE(std::string::npos, run.output.find(path + c.error)) << run.output;
        EXPECT_NE(std::string::npos,
                  run.output.find("set_qos on DomainParticipantFactory error 0\n"))
            << run.output;
        EXPECT_EQ(std::string::npos, run.output.find("Sending data")) << run.output;
    }
    qortest::RunResult missing =
        qortest::runPing({"-qosFile", "/nonexistent/qos.xml", "-numSamples", "1"});
    EXPECT_EQ(0, missing.exitStatus);
    EXPECT_NE(std::string::npos,
              missing.output.find("/nonexistent/qos.xml: cannot open the file: No such file or "
                                  "directory"))
        << missing.output;
}

}  // namespace
