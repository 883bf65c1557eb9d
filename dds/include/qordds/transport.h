// Properties of a participant's built-in transports (UDPv4, shared memory, UDPv6). They can
// be read and changed after the participant is created disabled and before it is enabled;
// enable() builds the transports from them.
#ifndef QOR_DDS_TRANSPORT_H
#define QOR_DDS_TRANSPORT_H

#include <cstdint>

#include "qordds/qos.h"
#include "qordds/types.h"

class DDSDomainParticipant;

// One built-in transport: DDS_TRANSPORTBUILTIN_UDPv4, DDS_TRANSPORTBUILTIN_SHMEM or
// DDS_TRANSPORTBUILTIN_UDPv6.
typedef DDS_TransportBuiltinKindMask DDS_TransportBuiltinKind;

// One record serves every kind; each kind uses the fields marked for it. Sizes are in bytes.
struct DDS_BuiltinTransportProperty_t {
    // All kinds: the largest message the transport sends or receives in one piece.
    int32_t message_size_max = 0;
    // UDPv4 and UDPv6: socket buffer sizes (0 leaves the system's default) and the
    // time-to-live of multicast datagrams.
    int32_t send_socket_buffer_size = 0;
    int32_t recv_socket_buffer_size = 0;
    int32_t multicast_ttl = 0;
    // Shared memory: the size of the participant's segment, and how many messages each of
    // its ports queues.
    int32_t receive_buffer_size = 0;
    int32_t received_message_count_max = 0;
};

class DDSTransportSupport {
  public:
    // The values a participant starts with, as Fast DDS would use them.
    // DDS_RETCODE_BAD_PARAMETER for a kind that is not a built-in transport.
    static DDS_ReturnCode_t get_default_builtin_transport_property(
        DDS_TransportBuiltinKind kind, DDS_BuiltinTransportProperty_t& property);

    // The participant's current values for one transport, whether or not its mask enables it.
    static DDS_ReturnCode_t get_builtin_transport_property(
        DDSDomainParticipant* participant, DDS_TransportBuiltinKind kind,
        DDS_BuiltinTransportProperty_t& property);

    // Replaces the participant's values for one transport. Only a participant that is not yet
    // enabled accepts them (DDS_RETCODE_IMMUTABLE_POLICY otherwise); negative sizes are
    // DDS_RETCODE_BAD_PARAMETER.
    static DDS_ReturnCode_t set_builtin_transport_property(
        DDSDomainParticipant* participant, DDS_TransportBuiltinKind kind,
        const DDS_BuiltinTransportProperty_t& property);
};

#endif
