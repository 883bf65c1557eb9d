// Binding-internal: what the host shows of a participant's network presence: the addresses
// of its interfaces, the UDP ports this process has bound and the shared-memory files in
// /dev/shm. Read before and after a participant is enabled, the difference is that
// participant's.
#ifndef QOR_DDS_SRC_DIAGNOSTICS_HOST_RESOURCES_H
#define QOR_DDS_SRC_DIAGNOSTICS_HOST_RESOURCES_H

#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace qordds {

struct InterfaceAddress {
    std::string interface;  // "eth0"
    std::string address;    // "10.77.0.1", "fd00::1"
    bool ipv6 = false;
    bool loopback = false;
};

// The addresses of the interfaces that are up.
std::vector<InterfaceAddress> interface_addresses();

struct ProcessResources {
    std::set<uint32_t> udp_ports;     // UDP ports (v4 and v6) of this process's sockets
    std::set<std::string> shm_files;  // names of Fast DDS's files in /dev/shm
};

ProcessResources process_resources();

// What `after` has that `before` has not.
ProcessResources added_resources(const ProcessResources& before, const ProcessResources& after);

// The size of /dev/shm/`name`, or -1.
long long shm_file_size(const std::string& name);

}  // namespace qordds

#endif
