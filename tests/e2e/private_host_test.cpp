// The harness itself: hosts are isolated from each other and from this machine, connect()
// gives two of them a working network, and a started process is watched as tests need.
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <string>

#include "tests/e2e/support/private_host.h"

namespace {

TEST(PrivateHost, HasOnlyItsLoopbackAndItsOwnSharedMemory) {
    qortest::PrivateHost a;
    qortest::PrivateHost b;
    auto links = a.start({"ip", "-o", "link"});
    ASSERT_TRUE(links->wait(10));
    EXPECT_NE(std::string::npos, links->output().find(": lo:"));
    EXPECT_EQ(std::string::npos, links->output().find("\n2:")) << links->output();

    ASSERT_EQ(0, a.run({"sh", "-c", "echo x > /dev/shm/qor-harness-probe"}));
    EXPECT_EQ(0, a.run({"test", "-e", "/dev/shm/qor-harness-probe"}));
    EXPECT_NE(0, b.run({"test", "-e", "/dev/shm/qor-harness-probe"}));
    EXPECT_NE(0, access("/dev/shm/qor-harness-probe", F_OK));
}

TEST(PrivateHost, ConnectedHostsReachEachOther) {
    qortest::PrivateHost a;
    qortest::PrivateHost b;
    qortest::PrivateHost::connect(a, "10.77.0.1/24", b, "10.77.0.2/24");
    // The peer end up with carrier and multicast, and a route to it.
    auto end = b.start({"ip", "-o", "link", "show", "dev", "net0"});
    auto route = a.start({"ip", "route", "get", "10.77.0.2"});
    ASSERT_TRUE(end->wait(10) && route->wait(10));
    EXPECT_NE(std::string::npos, end->output().find("MULTICAST,UP,LOWER_UP")) << end->output();
    EXPECT_NE(std::string::npos, route->output().find("dev net0 src 10.77.0.1")) << route->output();
}

TEST(PrivateHost, CapturesOutputExitStatusSignalsAndTimeouts) {
    qortest::PrivateHost host;
    auto done = host.start({"sh", "-c", "echo out; echo err >&2; exit 3"});
    ASSERT_TRUE(done->wait(10));
    EXPECT_EQ("out\n", done->output());
    EXPECT_EQ("err\n", done->errors());
    EXPECT_EQ(3, done->exitStatus());

    auto killed = host.start({"sleep", "30"});
    killed->signal(SIGKILL);
    ASSERT_TRUE(killed->wait(10));
    EXPECT_EQ(SIGKILL, killed->termSignal());
    EXPECT_EQ(-1, killed->exitStatus());

    auto endless = host.start({"sleep", "30"});
    EXPECT_FALSE(endless->wait(0.2));
    EXPECT_TRUE(endless->timedOut());
    EXPECT_FALSE(endless->running());
}

TEST(PrivateHost, SanitizerReportsFailTheTest) {
    EXPECT_NONFATAL_FAILURE(
        {
            qortest::PrivateHost host;
            host.start({"sh", "-c", "echo '==1==ERROR: LeakSanitizer: detected memory leaks' >&2"})
                ->wait(10);
        },
        "sanitizer report");
}

}  // namespace
