#include "qos/peer_locators.h"

#include <arpa/inet.h>
#include <netdb.h>
#include <strings.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <fastdds/rtps/common/PortParameters.h>
#include <fastrtps/utils/IPLocator.h>

#include "log/log.h"

namespace qordds {

namespace fr = eprosima::fastrtps::rtps;

namespace {

const char* const context = "DDSDomainParticipantFactory::create_participant";

// Participant indexes whose ports stay below 65536 in every domain Fast DDS can join.
const long largest_peer_index = 62;

struct PeerText {
    long last_index = -1;                   // -1: Fast DDS's own range
    DDS_TransportBuiltinKindMask only = 0;  // a scheme's transport, or 0 for any
    std::string address;
};

bool starts_with_ignoring_case(const std::string& text, const char* prefix) {
    return strncasecmp(text.c_str(), prefix, std::strlen(prefix)) == 0;
}

// Splits a peer text; on failure `why` says what is wrong with it.
bool split_peer(const char* peer, PeerText& out, std::string& why) {
    std::string text = peer;
    size_t at = text.find('@');
    if (at != std::string::npos) {
        std::string count = text.substr(0, at);
        char* end = nullptr;
        errno = 0;
        long last = std::strtol(count.c_str(), &end, 10);
        if (count.empty() || *end != '\0' || errno != 0 || last < 0 || last > largest_peer_index) {
            why = "'" + count + "' before '@' is not a participant index from 0 to " +
                  std::to_string(largest_peer_index);
            return false;
        }
        out.last_index = last;
        text.erase(0, at + 1);
    }
    static const struct {
        const char* scheme;
        DDS_TransportBuiltinKindMask kind;
    } schemes[] = {{"udpv4://", DDS_TRANSPORTBUILTIN_UDPv4},
                   {"udpv6://", DDS_TRANSPORTBUILTIN_UDPv6},
                   {"shmem://", DDS_TRANSPORTBUILTIN_SHMEM}};
    for (const auto& scheme : schemes) {
        if (starts_with_ignoring_case(text, scheme.scheme)) {
            out.only = scheme.kind;
            text.erase(0, std::strlen(scheme.scheme));
            break;
        }
    }
    if (text.size() >= 2 && text.front() == '[' && text.back() == ']') {
        text = text.substr(1, text.size() - 2);
    }
    out.address = text;
    if (out.only == DDS_TRANSPORTBUILTIN_SHMEM ? !text.empty() : text.empty()) {
        why = text.empty() ? "no address" : "shmem:// takes no address";
        return false;
    }
    return true;
}

// A host name as DNS writes it: labels of letters, digits, '-' and '_', joined by dots.
bool host_name_form(const std::string& text) {
    if (text.empty() || text.size() > 253) {
        return false;
    }
    size_t label = 0;
    for (char c : text) {
        bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
        if (c == '.') {
            if (label == 0) {
                return false;
            }
            label = 0;
        } else if (letter || c == '-' || c == '_') {
            if (++label > 63) {
                return false;
            }
        } else {
            return false;
        }
    }
    return true;
}

struct Address {
    DDS_TransportBuiltinKindMask kind;
    unsigned char bytes[16];
};

bool literal_address(const std::string& text, DDS_TransportBuiltinKindMask only,
                     std::vector<Address>& out) {
    Address address{};
    if (only != DDS_TRANSPORTBUILTIN_UDPv6 && inet_pton(AF_INET, text.c_str(), address.bytes)) {
        address.kind = DDS_TRANSPORTBUILTIN_UDPv4;
        out.push_back(address);
        return true;
    }
    if (only != DDS_TRANSPORTBUILTIN_UDPv4 && inet_pton(AF_INET6, text.c_str(), address.bytes)) {
        address.kind = DDS_TRANSPORTBUILTIN_UDPv6;
        out.push_back(address);
        return true;
    }
    return false;
}

bool resolve_host(const char* peer, const std::string& host, DDS_TransportBuiltinKindMask only,
                  std::vector<Address>& out) {
    addrinfo hints{};
    hints.ai_family = only == DDS_TRANSPORTBUILTIN_UDPv4   ? AF_INET
                      : only == DDS_TRANSPORTBUILTIN_UDPv6 ? AF_INET6
                                                           : AF_UNSPEC;
    hints.ai_socktype = SOCK_DGRAM;
    addrinfo* found = nullptr;
    int rc = getaddrinfo(host.c_str(), nullptr, &hints, &found);
    if (rc != 0) {
        log(LogKind::Error, context, "peer '%s': cannot resolve '%s': %s", peer, host.c_str(),
            gai_strerror(rc));
        return false;
    }
    for (addrinfo* entry = found; entry != nullptr; entry = entry->ai_next) {
        Address address{};
        if (entry->ai_family == AF_INET) {
            address.kind = DDS_TRANSPORTBUILTIN_UDPv4;
            std::memcpy(address.bytes, &reinterpret_cast<sockaddr_in*>(entry->ai_addr)->sin_addr,
                        4);
        } else if (entry->ai_family == AF_INET6) {
            address.kind = DDS_TRANSPORTBUILTIN_UDPv6;
            std::memcpy(address.bytes, &reinterpret_cast<sockaddr_in6*>(entry->ai_addr)->sin6_addr,
                        16);
        } else {
            continue;
        }
        out.push_back(address);
    }
    freeaddrinfo(found);
    return true;
}

bool is_multicast(const Address& address) {
    return address.kind == DDS_TRANSPORTBUILTIN_UDPv4 ? (address.bytes[0] & 0xF0) == 0xE0
                                                      : address.bytes[0] == 0xFF;
}

fr::Locator_t base_locator(const Address& address) {
    fr::Locator_t locator;
    if (address.kind == DDS_TRANSPORTBUILTIN_UDPv4) {
        locator.kind = LOCATOR_KIND_UDPv4;
        fr::IPLocator::setIPv4(locator, address.bytes[0], address.bytes[1], address.bytes[2],
                               address.bytes[3]);
    } else if (address.kind == DDS_TRANSPORTBUILTIN_UDPv6) {
        locator.kind = LOCATOR_KIND_UDPv6;
        fr::IPLocator::setIPv6(locator, address.bytes);
    } else {
        locator.kind = LOCATOR_KIND_SHM;
    }
    return locator;
}

void add_locators(const Address& address, const PeerText& peer, DDS_DomainId_t domain_id,
                  fr::LocatorList_t& locators) {
    fr::PortParameters ports;
    fr::Locator_t locator = base_locator(address);
    if (address.kind != DDS_TRANSPORTBUILTIN_SHMEM && is_multicast(address)) {
        locator.port = ports.getMulticastPort(static_cast<uint32_t>(domain_id));
        locators.push_back(locator);
        return;
    }
    if (peer.last_index < 0) {
        locator.port = 0;  // Fast DDS fills in the ports of its own index range
        locators.push_back(locator);
        return;
    }
    for (long index = 0; index <= peer.last_index; ++index) {
        locator.port =
            ports.getUnicastPort(static_cast<uint32_t>(domain_id), static_cast<uint32_t>(index));
        locators.push_back(locator);
    }
}

}  // namespace

bool add_peer_locators(const char* peer, DDS_DomainId_t domain_id,
                       DDS_TransportBuiltinKindMask mask, fr::LocatorList_t& locators) {
    PeerText text;
    std::string why;
    if (peer == nullptr) {
        return false;
    }
    if (!split_peer(peer, text, why)) {
        log(LogKind::Error, context, "peer '%s': %s", peer, why.c_str());
        return false;
    }
    std::vector<Address> addresses;
    if (text.only == DDS_TRANSPORTBUILTIN_SHMEM) {
        addresses.push_back(Address{DDS_TRANSPORTBUILTIN_SHMEM, {}});
    } else if (!literal_address(text.address, text.only, addresses) &&
               !resolve_host(peer, text.address, text.only, addresses)) {
        return false;
    }
    bool added = false;
    for (const Address& address : addresses) {
        if ((mask & address.kind) != 0) {
            add_locators(address, text, domain_id, locators);
            added = true;
        }
    }
    if (!added) {
        log(LogKind::Warning, context,
            "peer '%s' has no address for the enabled transports (mask 0x%x)", peer,
            static_cast<unsigned>(mask));
    }
    return true;
}

std::string peer_text_problem(const char* peer) {
    PeerText text;
    std::string why;
    if (peer == nullptr) {
        return "no address";
    }
    if (!split_peer(peer, text, why)) {
        return why;
    }
    std::vector<Address> addresses;
    if (text.only != DDS_TRANSPORTBUILTIN_SHMEM &&
        !literal_address(text.address, text.only, addresses) && !host_name_form(text.address)) {
        return "'" + text.address + "' is neither an address nor a host name";
    }
    return std::string();
}

}  // namespace qordds
