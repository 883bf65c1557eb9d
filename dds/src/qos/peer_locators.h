// Binding-internal: the locators an initial peer text stands for.
#ifndef QOR_DDS_SRC_PEER_LOCATORS_H
#define QOR_DDS_SRC_PEER_LOCATORS_H

#include <string>

#include <fastdds/rtps/common/Locator.h>

#include "qordds/qos.h"
#include "qordds/types.h"

namespace qordds {

// Adds to `locators` the discovery locators of one peer, written as
//   [N@][udpv4://|udpv6://|shmem://]address
// where the address is an IPv4 or IPv6 literal (IPv6 optionally in brackets) or a host name,
// empty for shmem://. N@ names the participant indexes 0 to N of the peer's domain; without
// it Fast DDS tries its own range of indexes. A multicast address gets the domain's
// discovery multicast port. Locators of a transport that `mask` leaves out are not added.
// Returns false, having logged why, when the text cannot be parsed or the name not resolved.
bool add_peer_locators(const char* peer, DDS_DomainId_t domain_id,
                       DDS_TransportBuiltinKindMask mask,
                       eprosima::fastrtps::rtps::LocatorList_t& locators);

// Why a peer text cannot name a peer, judged by its form alone (no name is resolved), or ""
// when it can. What add_peer_locators() would refuse, but for names that do not resolve.
std::string peer_text_problem(const char* peer);

}  // namespace qordds

#endif
