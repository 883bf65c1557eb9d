// The harness itself: a host isolated from this machine and from other hosts, and sanitizer
// reports that fail the test. The scenarios exercise the rest.
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "tests/e2e/support/private_host.h"
#include "tests/e2e/support/private_network.h"

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

// Two hosts on one network: each has lo and eth0 only, and UDPv4 discovery (multicast) and
// data cross the bridge.
TEST(PrivateNetwork, HostsReachEachOtherOverTheirLink) {
    qortest::PrivateNetwork network(2);
    auto links = network.host(1).start({"ip", "-o", "-4", "address"});
    ASSERT_TRUE(links->wait(10));
    EXPECT_NE(std::string::npos, links->output().find("eth0    inet 10.77.0.2/24"))
        << links->output();
    auto subscriber =
        network.host(1).startPing({"-subscriber", "-transport", "1", "-timeout", "3"});
    auto publisher = network.host(0).startPing(
        {"-publisher", "-transport", "1", "-sendPeriod", "0.05", "-numSamples", "20"});
    ASSERT_TRUE(subscriber->wait(30));
    EXPECT_NE(std::string::npos, subscriber->output().find("qorddsping, issue received: "))
        << subscriber->output();
}

}  // namespace
