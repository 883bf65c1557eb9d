// The harness itself: a host isolated from this machine and from other hosts, and sanitizer
// reports that fail the test. The scenarios exercise the rest.
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "tests/e2e/support/private_host.h"

namespace {

TEST(PrivateHost, IsolatedAndWatched) {
    qortest::PrivateHost a;
    qortest::PrivateHost b;
    auto links = a.start({"sh", "-c", "ip -o link && echo x > /dev/shm/qor-harness-probe"});
    ASSERT_TRUE(links->wait(10));
    EXPECT_NE(std::string::npos, links->output().find("1: lo:"));
    EXPECT_EQ(std::string::npos, links->output().find("\n2:")) << links->output();
    auto seen = [](qortest::PrivateHost& host) {
        auto test = host.start({"test", "-e", "/dev/shm/qor-harness-probe"});
        return test->wait(10) && test->exitStatus() == 0;
    };
    EXPECT_TRUE(seen(a));
    EXPECT_FALSE(seen(b));
    EXPECT_NE(0, access("/dev/shm/qor-harness-probe", F_OK));
    // A sanitizer report on a process's standard error fails the test.
    EXPECT_NONFATAL_FAILURE(
        {
            qortest::PrivateHost host;
            host.start({"sh", "-c", "echo '==1==ERROR: LeakSanitizer: detected memory leaks' >&2"})
                ->wait(10);
        },
        "sanitizer report");
}

}  // namespace
