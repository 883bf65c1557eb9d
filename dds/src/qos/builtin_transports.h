// Binding-internal: a participant's built-in transports and the Fast DDS descriptors made
// from them.
#ifndef QOR_DDS_SRC_BUILTIN_TRANSPORTS_H
#define QOR_DDS_SRC_BUILTIN_TRANSPORTS_H

#include <memory>
#include <string>
#include <vector>

#include <fastdds/rtps/transport/TransportDescriptorInterface.h>

#include "qordds/transport.h"

namespace qordds {

// Fast DDS sends nothing larger through UDP.
const int32_t udp_message_size_limit = 65500;
// Smaller messages cannot carry a participant announcement, and Fast DDS does not split
// those: a participant limited below this would never be discovered.
const int32_t smallest_working_message_size = 1024;
// What a segment size of 0 means to Fast DDS.
const int32_t shmem_default_segment_size = 512 * 1024;

struct BuiltinTransports {
    DDS_TransportBuiltinKindMask mask = DDS_TRANSPORTBUILTIN_MASK_DEFAULT;
    DDS_BuiltinTransportProperty_t udpv4;
    DDS_BuiltinTransportProperty_t shmem;
    DDS_BuiltinTransportProperty_t udpv6;

    BuiltinTransports();
    // The property of one kind, or null when `kind` is not a built-in transport.
    DDS_BuiltinTransportProperty_t* property(DDS_TransportBuiltinKind kind);
};

bool is_builtin_transport_kind(DDS_TransportBuiltinKind kind);
DDS_BuiltinTransportProperty_t default_transport_property(DDS_TransportBuiltinKind kind);

// Why a property cannot be set, or null when it can.
const char* invalid_transport_property(const DDS_BuiltinTransportProperty_t& property);

// Values that Fast DDS accepts and that still make a working participant: a message size
// within the UDP limit and no larger than the buffers that must hold it, not below the
// smallest workable size, a segment at least one message large. Each value that had to move
// is logged as a warning.
DDS_BuiltinTransportProperty_t workable_transport_property(
    DDS_TransportBuiltinKind kind, const DDS_BuiltinTransportProperty_t& property);

// Why the shared-memory transport of this property cannot be created here, or "" when it can.
// Fast DDS maps its whole segment (the receive buffer size, plus its own bookkeeping) from a
// file in /dev/shm and fills it as it goes: a segment beyond the free space there ends the
// process with SIGBUS at some later write, and one beyond 32 bits is cut short. `free_bytes`
// is the free space of /dev/shm.
std::string shmem_segment_problem(const DDS_BuiltinTransportProperty_t& property,
                                  unsigned long long free_bytes);
// The free space of /dev/shm, in bytes; ULLONG_MAX (no limit) when it cannot be told.
unsigned long long dev_shm_free_bytes();

typedef std::vector<std::shared_ptr<eprosima::fastdds::rtps::TransportDescriptorInterface>>
    TransportDescriptors;

// One descriptor per transport of the mask, in the order UDPv4, shared memory, UDPv6.
TransportDescriptors make_transport_descriptors(const BuiltinTransports& transports);

}  // namespace qordds

#endif
