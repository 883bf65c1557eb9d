// Private hosts joined by a network of their own, for scenarios that need a real link:
// loss and cuts made with nftables on one host's interface, multicast dropped between
// hosts, captures of what crosses the wire.
//
// Every host gets an interface "eth0" with address 10.77.0.<n>/24 (n = 1, 2, ...), joined to
// the others through a bridge on a hidden "switch" host, so that nothing reaches this
// machine's own namespaces:
//
//   qortest::PrivateNetwork network(2);
//   auto publisher = network.host(0).startPing({"-publisher", "-transport", "1"});
//   network.run(1, {"nft", "add", "table", "inet", "cut"});
//
// Each host keeps its loopback (with its multicast route) and its own /dev/shm.
#ifndef QOR_TESTS_E2E_SUPPORT_PRIVATE_NETWORK_H
#define QOR_TESTS_E2E_SUPPORT_PRIVATE_NETWORK_H

#include <memory>
#include <string>
#include <vector>

#include "tests/e2e/support/private_host.h"

namespace qortest {

class PrivateNetwork {
  public:
    // Creates `hosts` private hosts and links them; throws std::runtime_error on failure.
    explicit PrivateNetwork(int hosts);

    PrivateHost& host(int index) { return *hosts_.at(static_cast<size_t>(index)); }
    // The IPv4 address of a host's eth0, without prefix length.
    static std::string address(int index);
    // Runs a setup command (ip, nft, ...) on a host and waits for it; throws
    // std::runtime_error naming the command and its error output when it fails.
    void run(int index, const std::vector<std::string>& argv);

  private:
    void runOn(PrivateHost& host, const std::vector<std::string>& argv);
    void link(int index);

    PrivateHost switch_;
    std::vector<std::unique_ptr<PrivateHost>> hosts_;
};

}  // namespace qortest

#endif
