// The logger: Fast DDS's entries and the binding's own come out as whole lines on standard
// output, filtered by the verbosity mask and laid out by the print format.
#include <gtest/gtest.h>
#include <fastdds/dds/log/Log.hpp>

#include <cctype>
#include <cstdio>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "log/log.h"
#include "qordds/logger.h"
#include "tests/unit/support/test_io.h"

namespace {

namespace fd = eprosima::fastdds::dds;

using qortest::captureStdout;

// A Fast DDS entry as its macros raise it; flushed, it is written out before returning.
void fastEntry(fd::Log::Kind kind, const std::string& message, const char* category = "RTPS_SHM",
               bool flush = true) {
    fd::Log::QueueLog(message, fd::Log::Context{"src/Transport.cpp", 42, "open", category}, kind);
    if (flush) {
        fd::Log::Flush();
    }
}

class Logger : public ::testing::Test {
  protected:
    void TearDown() override {
        DDSLogger::finalize();
        logger->set_verbosity(0x03);
        logger->set_print_format(0x3412);
    }
    DDSLogger* logger = DDSLogger::get_instance();
};

TEST_F(Logger, VerbosityMaskLetsEachKindThrough) {
    const struct {
        int mask;
        std::string output;
    } cases[] = {
        {0x00, ""},
        {0x01, ""},
        {0x03, "ERROR [RTPS_SHM] e\nERROR [ctx] E\n"},
        {0x07, "ERROR [RTPS_SHM] e\nWARNING [RTPS_SHM] w\nERROR [ctx] E\nWARNING [ctx] W\n"},
        {0x0F,
         "ERROR [RTPS_SHM] e\nWARNING [RTPS_SHM] w\nINFO [RTPS_SHM] i\nERROR [ctx] E\n"
         "WARNING [ctx] W\nINFO [ctx] I\n"},
    };
    for (const auto& c : cases) {
        logger->set_verbosity(c.mask);
        EXPECT_EQ(c.output, captureStdout([] {
                      fastEntry(fd::Log::Kind::Error, "e");
                      fastEntry(fd::Log::Kind::Warning, "w");
                      fastEntry(fd::Log::Kind::Info, "i");
                      qordds::log(qordds::LogKind::Error, "ctx", "%s", "E");
                      qordds::log(qordds::LogKind::Warning, "ctx", "%s", "W");
                      qordds::log(qordds::LogKind::Info, "ctx", "%s", "I");
                  }))
            << c.mask;
    }
}

// What the binding learns of other participants needs the remote-information bit, and
// log_enabled() tells the same as what comes out.
TEST_F(Logger, RemoteInfoNeedsItsOwnBit) {
    const struct {
        int mask;
        std::string output;
        bool info, remote;
    } cases[] = {
        {0x07, "", false, false},
        {0x0F, "INFO [ctx] I\n", true, false},
        {0x1F, "INFO [ctx] I\nINFO [discovery] R\n", true, true},
        {0x3F, "INFO [ctx] I\nINFO [discovery] R\n", true, true},
    };
    for (const auto& c : cases) {
        logger->set_verbosity(c.mask);
        EXPECT_EQ(c.output, captureStdout([] {
                      qordds::log(qordds::LogKind::Info, "ctx", "%s", "I");
                      qordds::log(qordds::LogKind::RemoteInfo, "discovery", "%s", "R");
                  }))
            << c.mask;
        EXPECT_EQ(c.info, qordds::log_enabled(qordds::LogKind::Info)) << c.mask;
        EXPECT_EQ(c.remote, qordds::log_enabled(qordds::LogKind::RemoteInfo)) << c.mask;
    }
}

TEST_F(Logger, PrintFormatSelectsTheFields) {
    const struct {
        int format;
        std::string fast;
        std::string binding;
    } cases[] = {
        {0x0000, "Port 7411\tZombie  \n\n", "bad peer 'x'\n"},
        {0x0402, "ERROR Port 7411 Zombie   \n", "ERROR bad peer 'x'\n"},
        {0x3412, "ERROR [RTPS_SHM] Port 7411 Zombie\n", "ERROR [ctx] bad peer 'x'\n"},
        {0x3406, "ERROR Fast DDS Port 7411 Zombie\n", "ERROR qordds bad peer 'x'\n"},
        {0x3438, "[RTPS_SHM] src/Transport.cpp:42 open(): Port 7411 Zombie\n",
         "[ctx] bad peer 'x'\n"},
    };
    for (const auto& c : cases) {
        logger->set_print_format(c.format);
        EXPECT_EQ(c.fast + c.binding, captureStdout([] {
                      fastEntry(fd::Log::Kind::Error, "Port 7411\tZombie  \n");
                      qordds::log(qordds::LogKind::Error, "ctx", "bad peer '%s'", "x");
                  }))
            << std::hex << c.format;
    }
    logger->set_print_format(0x3412);
    std::string message(3000, 'm');
    EXPECT_EQ("ERROR [ctx] " + message + "\n", captureStdout([&] {
                  qordds::log(qordds::LogKind::Error, "ctx", "%s", message.c_str());
              }));
    logger->set_print_format(0x3413);
    std::string stamped = captureStdout([] { qordds::log(qordds::LogKind::Error, "ctx", "m"); });
    for (char& c : stamped) {
        c = std::isdigit(static_cast<unsigned char>(c)) ? '9' : c;  // the stamp's shape only
    }
    EXPECT_EQ(stamped, "9999-99-99 99:99:99.999 ERROR [ctx] m\n");
}

// Lines of the tool, the binding and Fast DDS written from three threads at once come out whole,
// none lost; finalizing twice does no harm, and an entry raised afterwards still comes out.
TEST_F(Logger, LinesFromSeveralThreadsNeverInterleave) {
    std::multiset<std::string> expected = {"ERROR [CAT] after"}, seen;
    for (int i = 0; i < 300; ++i) {
        expected.insert("tool line " + std::to_string(i) + " with some length to it");
        expected.insert("ERROR [ctx] binding line " + std::to_string(i));
        expected.insert("ERROR [CAT] fast line " + std::to_string(i));
    }
    std::istringstream lines(captureStdout([] {
        std::thread tool([] {
            for (int i = 0; i < 300; ++i) {
                std::printf("tool line %d with some length to it\n", i);
            }
        });
        std::thread binding([] {
            for (int i = 0; i < 300; ++i) {
                qordds::log(qordds::LogKind::Error, "ctx", "binding line %d", i);
            }
        });
        for (int i = 0; i < 300; ++i) {
            fastEntry(fd::Log::Kind::Error, "fast line " + std::to_string(i), "CAT", false);
        }
        tool.join();
        binding.join();
        DDSLogger::finalize();
        DDSLogger::finalize();
        fastEntry(fd::Log::Kind::Error, "after", "CAT", false);
        DDSLogger::finalize();
    }));
    for (std::string line; std::getline(lines, line);) {
        seen.insert(line);
    }
    EXPECT_EQ(expected, seen);
}

}  // namespace
