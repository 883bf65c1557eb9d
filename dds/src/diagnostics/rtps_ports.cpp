#include "diagnostics/rtps_ports.h"

namespace qordds {

namespace {

const uint32_t kPortBase = 7400;   // PB
const uint32_t kDomainGain = 250;  // DG
const uint32_t kIndexGain = 2;     // PG
const uint32_t kOffsetD0 = 0;      // metatraffic multicast
const uint32_t kOffsetD1 = 10;     // metatraffic unicast
const uint32_t kOffsetD2 = 1;      // user multicast
const uint32_t kOffsetD3 = 11;     // user unicast

}  // namespace

WellKnownPorts well_known_ports(uint32_t domain, uint32_t participant_index) {
    uint32_t base = kPortBase + kDomainGain * domain;
    uint32_t own = kIndexGain * participant_index;
    return {base + kOffsetD0, base + kOffsetD1 + own, base + kOffsetD2, base + kOffsetD3 + own};
}

int participant_index_of_port(uint32_t domain, uint32_t port) {
    uint32_t first = kPortBase + kDomainGain * domain + kOffsetD1;
    if (port < first || (port - first) % kIndexGain != 0) {
        return -1;
    }
    uint32_t index = (port - first) / kIndexGain;
    // Beyond the next domain's ports the number is not this domain's.
    return index * kIndexGain + kOffsetD1 >= kDomainGain ? -1 : static_cast<int>(index);
}

}  // namespace qordds
