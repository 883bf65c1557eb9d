#include "tests/e2e/support/private_network.h"

#include <stdexcept>

namespace qortest {

namespace {

// Room enough for setup commands on a loaded machine; a command that takes longer is broken.
constexpr double kSetupSeconds = 30;

std::string joined(const std::vector<std::string>& argv) {
    std::string text;
    for (const std::string& word : argv) {
        text += (text.empty() ? "" : " ") + word;
    }
    return text;
}

}  // namespace

PrivateNetwork::PrivateNetwork(int hosts) {
    // Snooping off: with no IGMP querier on this network the bridge would otherwise forward a
    // group only to ports it has seen join, and a late joiner would miss announcements.
    runOn(switch_, {"ip", "link", "add", "br0", "type", "bridge", "mcast_snooping", "0"});
    runOn(switch_, {"ip", "link", "set", "br0", "up"});
    for (int index = 0; index < hosts; ++index) {
        hosts_.push_back(std::make_unique<PrivateHost>());
        link(index);
    }
}

std::string PrivateNetwork::address(int index) {
    return "10.77.0." + std::to_string(index + 1);
}

void PrivateNetwork::run(int index, const std::vector<std::string>& argv) {
    runOn(host(index), argv);
}

void PrivateNetwork::runOn(PrivateHost& host, const std::vector<std::string>& argv) {
    std::unique_ptr<Process> process = host.start(argv);
    if (!process->wait(kSetupSeconds) || process->exitStatus() != 0) {
        throw std::runtime_error("network setup failed: " + joined(argv) + ": " +
                                 process->errors());
    }
}

// A veth pair: "eth0" on the host, "port<n>" on the switch's bridge. The pair is made on the
// switch and its far end moved into the host, so it never exists in this machine's namespace.
void PrivateNetwork::link(int index) {
    std::string port = "port" + std::to_string(index);
    runOn(switch_, {"ip", "link", "add", port, "type", "veth", "peer", "name", "eth0", "netns",
                    std::to_string(host(index).pid())});
    runOn(switch_, {"ip", "link", "set", port, "master", "br0"});
    runOn(switch_, {"ip", "link", "set", port, "up"});
    run(index, {"ip", "address", "add", address(index) + "/24", "dev", "eth0"});
    run(index, {"ip", "link", "set", "eth0", "up"});
}

}  // namespace qortest
