#include "diagnostics/host_resources.h"

#include <arpa/inet.h>
#include <dirent.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>

namespace qordds {

namespace {

// The inodes of this process's sockets, from the links in /proc/self/fd.
std::set<unsigned long> socket_inodes() {
    std::set<unsigned long> inodes;
    DIR* directory = opendir("/proc/self/fd");
    if (directory == nullptr) {
        return inodes;
    }
    while (dirent* entry = readdir(directory)) {
        char path[300];
        char target[64];
        std::snprintf(path, sizeof path, "/proc/self/fd/%s", entry->d_name);
        ssize_t length = readlink(path, target, sizeof target - 1);
        if (length <= 0) {
            continue;
        }
        target[length] = '\0';
        unsigned long inode = 0;
        if (std::sscanf(target, "socket:[%lu]", &inode) == 1) {
            inodes.insert(inode);
        }
    }
    closedir(directory);
    return inodes;
}

// Adds the local ports of the sockets of /proc/net/udp or udp6 that are among `inodes`.
void add_udp_ports(const char* table, const std::set<unsigned long>& inodes,
                   std::set<uint32_t>& ports) {
    std::ifstream in(table);
    std::string line;
    std::getline(in, line);  // the heading
    while (std::getline(in, line)) {
        std::istringstream fields(line);
        std::string slot, local, remote, state, queues, timer, retransmits, uid, timeout;
        unsigned long inode = 0;
        fields >> slot >> local >> remote >> state >> queues >> timer >> retransmits >> uid >>
            timeout >> inode;
        size_t colon = local.rfind(':');
        if (fields && colon != std::string::npos && inodes.count(inode) != 0) {
            ports.insert(static_cast<uint32_t>(std::stoul(local.substr(colon + 1), nullptr, 16)));
        }
    }
}

}  // namespace

std::vector<InterfaceAddress> interface_addresses() {
    std::vector<InterfaceAddress> result;
    ifaddrs* list = nullptr;
    if (getifaddrs(&list) != 0) {
        return result;
    }
    for (ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
        if (entry->ifa_addr == nullptr || (entry->ifa_flags & IFF_UP) == 0) {
            continue;
        }
        int family = entry->ifa_addr->sa_family;
        if (family != AF_INET && family != AF_INET6) {
            continue;
        }
        char text[INET6_ADDRSTRLEN] = "";
        const void* address =
            family == AF_INET ? static_cast<const void*>(
                                    &reinterpret_cast<sockaddr_in*>(entry->ifa_addr)->sin_addr)
                              : static_cast<const void*>(
                                    &reinterpret_cast<sockaddr_in6*>(entry->ifa_addr)->sin6_addr);
        inet_ntop(family, address, text, sizeof text);
        result.push_back(
            {entry->ifa_name, text, family == AF_INET6, (entry->ifa_flags & IFF_LOOPBACK) != 0});
    }
    freeifaddrs(list);
    return result;
}

ProcessResources process_resources() {
    ProcessResources resources;
    std::set<unsigned long> inodes = socket_inodes();
    add_udp_ports("/proc/self/net/udp", inodes, resources.udp_ports);
    add_udp_ports("/proc/self/net/udp6", inodes, resources.udp_ports);
    DIR* directory = opendir("/dev/shm");
    if (directory != nullptr) {
        while (dirent* entry = readdir(directory)) {
            if (std::strncmp(entry->d_name, "fastrtps_", 9) == 0) {
                resources.shm_files.insert(entry->d_name);
            }
        }
        closedir(directory);
    }
    return resources;
}

ProcessResources added_resources(const ProcessResources& before, const ProcessResources& after) {
    ProcessResources added;
    std::set_difference(after.udp_ports.begin(), after.udp_ports.end(), before.udp_ports.begin(),
                        before.udp_ports.end(),
                        std::inserter(added.udp_ports, added.udp_ports.end()));
    std::set_difference(after.shm_files.begin(), after.shm_files.end(), before.shm_files.begin(),
                        before.shm_files.end(),
                        std::inserter(added.shm_files, added.shm_files.end()));
    return added;
}

long long shm_file_size(const std::string& name) {
    struct stat status;
    std::string path = "/dev/shm/" + name;
    return stat(path.c_str(), &status) == 0 ? static_cast<long long>(status.st_size) : -1;
}

}  // namespace qordds
