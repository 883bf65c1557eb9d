// Binding-internal: the well-known RTPS ports of a participant, from its domain and
// participant index, with the port parameters Fast DDS uses by default.
#ifndef QOR_DDS_SRC_DIAGNOSTICS_RTPS_PORTS_H
#define QOR_DDS_SRC_DIAGNOSTICS_RTPS_PORTS_H

#include <cstdint>

namespace qordds {

struct WellKnownPorts {
    uint32_t metatraffic_multicast;  // discovery announcements, shared by the whole domain
    uint32_t metatraffic_unicast;    // discovery, to this participant alone
    uint32_t user_multicast;         // data to a domain-wide group
    uint32_t user_unicast;           // data to this participant alone
};

// PB + DG * domain + offset, plus PG * index for the unicast ports (PB 7400, DG 250, PG 2;
// offsets d0 0, d1 10, d2 1, d3 11).
WellKnownPorts well_known_ports(uint32_t domain, uint32_t participant_index);

// The participant index whose metatraffic unicast port in `domain` is `port`; -1 when no
// index gives that port.
int participant_index_of_port(uint32_t domain, uint32_t port);

}  // namespace qordds

#endif
