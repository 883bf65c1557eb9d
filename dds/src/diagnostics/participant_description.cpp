// The lines that describe a participant: itself and its endpoints at verbosity 3, a remote
// one at verbosity 4, and the warning of a participant left alone.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include <fastdds/rtps/builtin/data/ParticipantProxyData.h>
#include <fastrtps/utils/IPLocator.h>

#include "diagnostics/fast_facts.h"
#include "diagnostics/participant_diagnostics.h"
#include "diagnostics/rtps_ports.h"
#include "diagnostics/vendor_names.h"
#include "log/log.h"

namespace frtps = eprosima::fastrtps::rtps;

namespace qordds {

namespace {

const char* const kLocal = "local";
const char* const kRemote = "discovery";
const char* const kUdpv4Group = "239.255.0.1";
const char* const kUdpv6Group = "ff1e::ffff:efff:1";

// The participant index its ports show: a metatraffic unicast port of the formula with the
// user unicast port next to it, among the UDP ports or the shared-memory port files it added.
int index_of(uint32_t domain, const ProcessResources& added) {
    std::set<uint32_t> ports = added.udp_ports;
    for (const std::string& file : added.shm_files) {
        unsigned port = 0;
        char rest = 0;
        if (std::sscanf(file.c_str(), "fastrtps_port%u%c", &port, &rest) == 1) {
            ports.insert(port);
        }
    }
    for (uint32_t port : ports) {
        int index = participant_index_of_port(domain, port);
        if (index >= 0 && ports.count(port + 1) != 0) {
            return index;
        }
    }
    return -1;
}

// The addresses Fast DDS announces for one IP transport: those of the interfaces that are up
// but loopback, or loopback alone when there are no others.
std::vector<InterfaceAddress> announced_addresses(bool ipv6) {
    std::vector<InterfaceAddress> all = interface_addresses();
    std::vector<InterfaceAddress> chosen, loopback;
    for (const InterfaceAddress& address : all) {
        if (address.ipv6 != ipv6) {
            continue;
        }
        (address.loopback ? loopback : chosen).push_back(address);
    }
    return chosen.empty() ? loopback : chosen;
}

bool is_fast_dds(const frtps::VendorId_t& vendor) {
    return vendor == frtps::c_VendorId_eProsima;
}

// Whether a UDP datagram to `locator` has a route from here (connect() sends nothing).
bool routable(const frtps::Locator_t& locator) {
    if (locator.kind != LOCATOR_KIND_UDPv4) {
        return true;
    }
    int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        return true;
    }
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(locator.port));
    std::memcpy(&address.sin_addr, &locator.address[12], 4);
    bool ok = connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    close(fd);
    return ok;
}

// The first shared-memory port among the unicast locators; 0 when there is none.
uint32_t shm_port(const frtps::RemoteLocatorList& locators) {
    for (const frtps::Locator_t& locator : locators.unicast) {
        if (locator.kind == LOCATOR_KIND_SHM) {
            return locator.port;
        }
    }
    return 0;
}

// Whether one of the participant's UDP unicast addresses is one of this host's.
bool announces_local_address(const frtps::RemoteLocatorList& locators) {
    std::vector<InterfaceAddress> own = interface_addresses();
    for (const frtps::Locator_t& locator : locators.unicast) {
        if (locator.kind != LOCATOR_KIND_UDPv4 && locator.kind != LOCATOR_KIND_UDPv6) {
            continue;
        }
        std::string address = locator.kind == LOCATOR_KIND_UDPv4
                                  ? frtps::IPLocator::toIPv4string(locator)
                                  : frtps::IPLocator::toIPv6string(locator);
        for (const InterfaceAddress& mine : own) {
            if (mine.address == address) {
                return true;
            }
        }
    }
    return false;
}

bool has_kind(const frtps::RemoteLocatorList& locators, int32_t kind) {
    for (const frtps::Locator_t& locator : locators.unicast) {
        if (locator.kind == kind) {
            return true;
        }
    }
    return false;
}

}  // namespace

void ParticipantDiagnostics::describe_participant(const frtps::GuidPrefix_t& own,
                                                  const ProcessResources& added) {
    std::string prefix = prefix_text(own);
    int index = index_of(static_cast<uint32_t>(domain_), added);
    for (const std::string& file : added.shm_files) {
        unsigned port = 0;
        char rest = 0;
        if (std::sscanf(file.c_str(), "fastrtps_port%u%c", &port, &rest) == 1) {
            own_shm_ports_.insert(port);
        }
    }
    std::string tag = tag_.empty() ? "none" : "\"" + printable(tag_) + "\"";
    log(LogKind::Info, kLocal,
        "participant %s: domain %d, participant index %s, domain tag %s, "
        "partitions %s",
        prefix.c_str(), domain_, index < 0 ? "unknown" : std::to_string(index).c_str(), tag.c_str(),
        partitions_.c_str());
    if (index < 0) {
        return;
    }
    WellKnownPorts ports =
        well_known_ports(static_cast<uint32_t>(domain_), static_cast<uint32_t>(index));
    log(LogKind::Info, kLocal,
        "participant %s: ports %u metatraffic multicast, %u metatraffic unicast, %u user "
        "unicast",
        prefix.c_str(), ports.metatraffic_multicast, ports.metatraffic_unicast, ports.user_unicast);
    const struct {
        DDS_TransportBuiltinKindMask bit;
        bool ipv6;
        const char* name;
        const char* group;
        int32_t ttl;
    } ip[] = {
        {DDS_TRANSPORTBUILTIN_UDPv4, false, "UDPv4", kUdpv4Group, transports_.udpv4.multicast_ttl},
        {DDS_TRANSPORTBUILTIN_UDPv6, true, "UDPv6", kUdpv6Group, transports_.udpv6.multicast_ttl}};
    for (const auto& transport : ip) {
        if ((transports_.mask & transport.bit) == 0) {
            continue;
        }
        for (const InterfaceAddress& address : announced_addresses(transport.ipv6)) {
            log(LogKind::Info, kLocal, "participant %s: %s %s on %s, ports %u and %u",
                prefix.c_str(), transport.name, address.address.c_str(), address.interface.c_str(),
                ports.metatraffic_unicast, ports.user_unicast);
        }
        log(LogKind::Info, kLocal,
            "participant %s: %s multicast group %s, port %u, time-to-live %d", prefix.c_str(),
            transport.name, transport.group, ports.metatraffic_multicast, transport.ttl);
    }
    if ((transports_.mask & DDS_TRANSPORTBUILTIN_SHMEM) != 0) {
        for (const std::string& file : added.shm_files) {
            if (file.find("port") == std::string::npos && file.find("_el") == std::string::npos) {
                log(LogKind::Info, kLocal,
                    "participant %s: shared memory segment /dev/shm/%s of %lld bytes, ports %u "
                    "and %u",
                    prefix.c_str(), file.c_str(), shm_file_size(file), ports.metatraffic_unicast,
                    ports.user_unicast);
            }
        }
    }
    for (const std::string& peer : peers_) {
        log(LogKind::Info, kLocal, "participant %s: initial peer %s", prefix.c_str(), peer.c_str());
    }
}

void ParticipantDiagnostics::describe_local(const EndpointFacts& facts) {
    std::string multicast;
    for (const std::string& locator : facts.multicast) {
        multicast += (multicast.empty() ? "" : ", ") + locator;
    }
    log(LogKind::Info, kLocal,
        "local %s %s: topic \"%s\", type \"%s\", %s; %s, %s, history depth %d, deadline %s, "
        "time-based filter %s, partitions %s, multicast receive locator %s",
        facts.writer ? "writer" : "reader", facts.guid.c_str(), printable(facts.topic).c_str(),
        printable(facts.type).c_str(), facts.keyed ? "keyed" : "unkeyed",
        facts.reliable ? "RELIABLE" : "BEST_EFFORT", durability_text(facts.durability), facts.depth,
        seconds_text(facts.deadline).c_str(), seconds_text(facts.time_filter).c_str(),
        partitions_text(facts.partitions).c_str(), multicast.empty() ? "none" : multicast.c_str());
}

void ParticipantDiagnostics::describe_remote(const frtps::ParticipantProxyData& data,
                                             const char* event) {
    std::string prefix = prefix_text(data.m_guid.guidPrefix);
    std::string name = printable(data.m_participantName.to_string());
    bool fast = is_fast_dds(data.m_VendorId);
    // Fast DDS writes its host's id into bytes 2 and 3 of the prefix; of others, an address
    // of this host among their locators tells.
    bool same_host = fast ? data.m_guid.guidPrefix.value[2] == own_.value[2] &&
                                data.m_guid.guidPrefix.value[3] == own_.value[3]
                          : announces_local_address(data.metatraffic_locators);
    if (std::strncmp(event, "lost", 4) == 0) {
        log(LogKind::RemoteInfo, kRemote, "remote participant %s \"%s\" %s", prefix.c_str(),
            name.c_str(), event);
        return;
    }
    std::string lease =
        seconds_text(data.m_leaseDuration == eprosima::fastrtps::c_TimeInfinite
                         ? kInfinite
                         : static_cast<double>(data.m_leaseDuration.to_ns()) * 1e-9);
    log(LogKind::RemoteInfo, kRemote,
        "remote participant %s \"%s\" %s: vendor %s, %s, lease duration %s", prefix.c_str(),
        name.c_str(), event, vendor_name(data.m_VendorId[0], data.m_VendorId[1]).c_str(),
        same_host ? "on this host" : "on another host", lease.c_str());
    log(LogKind::RemoteInfo, kRemote, "remote participant %s metatraffic locators: %s",
        prefix.c_str(), locators_text(data.metatraffic_locators).c_str());
    log(LogKind::RemoteInfo, kRemote, "remote participant %s user-data locators: %s",
        prefix.c_str(), locators_text(data.default_locators).c_str());
    if (fast && same_host && (transports_.mask & DDS_TRANSPORTBUILTIN_SHMEM) != 0 &&
        shm_port(data.metatraffic_locators) != 0) {
        participants_[data.m_guid.guidPrefix].over_shared_memory = true;
        describe_shared_memory(prefix, shm_port(data.metatraffic_locators));
    }
    std::string unreachable;
    bool any_udp = false;
    bool any_routable = false;
    for (const frtps::Locator_t& locator : data.metatraffic_locators.unicast) {
        if (locator.kind == LOCATOR_KIND_UDPv4) {
            any_udp = true;
            any_routable = any_routable || routable(locator);
            unreachable += (unreachable.empty() ? "" : ", ") + locator_text(locator);
        }
    }
    if (any_udp && !any_routable && !has_kind(data.metatraffic_locators, LOCATOR_KIND_SHM)) {
        log(LogKind::RemoteInfo, kRemote,
            "remote participant %s was heard, but none of its unicast locators (%s) has a route "
            "from here: Fast DDS answers a participant and sends it data only at the unicast "
            "locators it announces, never at the address its packets came from",
            prefix.c_str(), unreachable.c_str());
    }
}

// Its port is a file in /dev/shm, and no two participants that share /dev/shm have the same
// port: a port this participant has itself, or one missing here, is another /dev/shm's.
void ParticipantDiagnostics::describe_shared_memory(const std::string& prefix, uint32_t port) {
    std::string file = "fastrtps_port" + std::to_string(port);
    if (own_shm_ports_.count(port) == 0 && shm_file_size(file) >= 0) {
        log(LogKind::RemoteInfo, kRemote,
            "remote participant %s is on this host and both announce shared memory: Fast DDS "
            "sends it everything but announcements over shared memory (its port /dev/shm/%s "
            "is here)",
            prefix.c_str(), file.c_str());
        return;
    }
    log(LogKind::RemoteInfo, kRemote,
        "remote participant %s is on this host by its GUID and both announce shared memory, but "
        "its port /dev/shm/%s %s: the two processes do not share /dev/shm (different "
        "containers or mount namespaces), and Fast DDS sends it everything but announcements "
        "over shared memory only, so endpoints will neither match nor exchange data; leave "
        "shared memory out of the transports of either side",
        prefix.c_str(), file.c_str(),
        own_shm_ports_.count(port) != 0 ? "is this participant's own" : "is not in this /dev/shm");
}

std::string ParticipantDiagnostics::alone_warning() const {
    char text[512];
    int seconds = static_cast<int>(kAloneLimit.count());
    bool udpv4 = (transports_.mask & DDS_TRANSPORTBUILTIN_UDPv4) != 0;
    bool udpv6 = (transports_.mask & DDS_TRANSPORTBUILTIN_UDPv6) != 0;
    WellKnownPorts ports = well_known_ports(static_cast<uint32_t>(domain_), 0);
    if (!udpv4 && !udpv6) {
        std::snprintf(text, sizeof text,
                      "no other participant found in domain %d after %d s: shared memory is "
                      "the only transport, and it reaches only processes that see this "
                      "process's /dev/shm (not those of another container or host); add UDPv4 "
                      "to the transports to reach them",
                      domain_, seconds);
        return text;
    }
    std::snprintf(text, sizeof text,
                  "no other participant found in domain %d after %d s: this one announces "
                  "itself to multicast group %s, port %u, time-to-live %d; where multicast "
                  "does not pass, name the other host with -peer",
                  domain_, seconds, udpv4 ? kUdpv4Group : kUdpv6Group, ports.metatraffic_multicast,
                  udpv4 ? transports_.udpv4.multicast_ttl : transports_.udpv6.multicast_ttl);
    if (peers_.empty()) {
        return text;
    }
    std::string peers;
    for (const std::string& peer : peers_) {
        peers += (peers.empty() ? "" : ", ") + peer;
    }
    return std::string(text) + " (the initial peers " + peers + " did not answer either)";
}

}  // namespace qordds
