// The harness itself: hosts are isolated from each other and from this machine, and connect()
// gives two of them a working network.
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
    // Both ends up with carrier (so the peer end is up too), routed to each other.
    auto endA = a.start({"ip", "-o", "addr", "show", "dev", "net0"});
    auto endB = b.start({"ip", "-o", "link", "show", "dev", "net0"});
    auto route = a.start({"ip", "route", "get", "10.77.0.2"});
    ASSERT_TRUE(endA->wait(10) && endB->wait(10) && route->wait(10));
    EXPECT_NE(std::string::npos, endA->output().find("inet 10.77.0.1/24")) << endA->output();
    EXPECT_NE(std::string::npos, endB->output().find("LOWER_UP")) << endB->output();
    EXPECT_NE(std::string::npos, endB->output().find("MULTICAST")) << endB->output();
    EXPECT_NE(std::string::npos, route->output().find("dev net0")) << route->output();
}

TEST(PrivateHost, CapturesOutputExitStatusSignalsAndTimeouts) {
    qortest::PrivateHost host;
    auto done = host.start({"sh", "-c", "echo out; echo err >&2; exit 3"});
    ASSERT_TRUE(done->wait(10));
    EXPECT_EQ("out\n", done->output());
    EXPECT_EQ("err\n", done->errors());
    EXPECT_EQ(3, done->exitStatus());

    auto stopped = host.start({"sleep", "30"});
    stopped->signal(SIGSTOP);
    stopped->signal(SIGCONT);
    stopped->signal(SIGKILL);
    ASSERT_TRUE(stopped->wait(10));
    EXPECT_EQ(SIGKILL, stopped->termSignal());
    EXPECT_EQ(-1, stopped->exitStatus());

    auto endless = host.start({"sleep", "30"});
    EXPECT_FALSE(endless->wait(0.2));
    EXPECT_TRUE(endless->timedOut());
    EXPECT_FALSE(endless->running());
}

TEST(PrivateHost, SanitizerReportsFailTheTest) {
    EXPECT_NONFATAL_FAILURE(
        {
            qortest::PrivateHost host;
            auto process = host.start({"sh", "-c",
                                       "echo '==1==ERROR: LeakSanitizer: detected memory "
                                       "leaks' >&2; exit 1"});
            process->wait(10);
        },
        "sanitizer report");
}

}  // namespace
