#include "qos/builtin_transports.h"

#include <sys/statvfs.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdio>

#include <fastdds/rtps/transport/UDPv4TransportDescriptor.h>
#include <fastdds/rtps/transport/UDPv6TransportDescriptor.h>
#include <fastdds/rtps/transport/shared_mem/SharedMemTransportDescriptor.h>

#include "log/log.h"

namespace qordds {

namespace fr = eprosima::fastdds::rtps;

namespace {

const char* kind_name(DDS_TransportBuiltinKind kind) {
    switch (kind) {
        case DDS_TRANSPORTBUILTIN_UDPv4:
            return "UDPv4";
        case DDS_TRANSPORTBUILTIN_SHMEM:
            return "shared memory";
        default:
            return "UDPv6";
    }
}

void note_change(DDS_TransportBuiltinKind kind, const char* field, int32_t asked, int32_t used,
                 const char* reason) {
    if (asked != used) {
        log(LogKind::Warning, "DDSDomainParticipant::enable", "%s %s %d is used as %d: %s",
            kind_name(kind), field, asked, used, reason);
    }
}

DDS_BuiltinTransportProperty_t workable_udp(DDS_TransportBuiltinKind kind,
                                            const DDS_BuiltinTransportProperty_t& asked) {
    DDS_BuiltinTransportProperty_t used = asked;
    int32_t size = std::min(asked.message_size_max, udp_message_size_limit);
    note_change(kind, "message size max", asked.message_size_max, size,
                "the largest a UDP datagram of Fast DDS carries");
    int32_t buffers_limit = size;
    if (asked.recv_socket_buffer_size > 0) {
        buffers_limit = std::min(buffers_limit, asked.recv_socket_buffer_size);
    }
    if (asked.send_socket_buffer_size > 0) {
        buffers_limit = std::min(buffers_limit, asked.send_socket_buffer_size);
    }
    note_change(kind, "message size max", size, buffers_limit, "no larger than the socket buffers");
    used.message_size_max = std::max(buffers_limit, smallest_working_message_size);
    note_change(kind, "message size max", buffers_limit, used.message_size_max,
                "smaller messages cannot carry discovery");
    if (asked.recv_socket_buffer_size > 0) {
        used.recv_socket_buffer_size =
            std::max(asked.recv_socket_buffer_size, used.message_size_max);
        note_change(kind, "receive socket buffer size", asked.recv_socket_buffer_size,
                    used.recv_socket_buffer_size, "it must hold one message");
    }
    if (asked.send_socket_buffer_size > 0) {
        used.send_socket_buffer_size =
            std::max(asked.send_socket_buffer_size, used.message_size_max);
        note_change(kind, "send socket buffer size", asked.send_socket_buffer_size,
                    used.send_socket_buffer_size, "it must hold one message");
    }
    return used;
}

DDS_BuiltinTransportProperty_t workable_shmem(const DDS_BuiltinTransportProperty_t& asked) {
    const DDS_TransportBuiltinKind kind = DDS_TRANSPORTBUILTIN_SHMEM;
    DDS_BuiltinTransportProperty_t used = asked;
    int32_t segment =
        asked.receive_buffer_size > 0 ? asked.receive_buffer_size : shmem_default_segment_size;
    int32_t size = std::min(asked.message_size_max, segment);
    note_change(kind, "message size max", asked.message_size_max, size,
                "no larger than the receive buffer");
    used.message_size_max = std::max(size, smallest_working_message_size);
    note_change(kind, "message size max", size, used.message_size_max,
                "smaller messages cannot carry discovery");
    used.receive_buffer_size = std::max(segment, used.message_size_max);
    note_change(kind, "receive buffer size", segment, used.receive_buffer_size,
                "it must hold one message");
    used.received_message_count_max = std::max(asked.received_message_count_max, 1);
    note_change(kind, "received message count max", asked.received_message_count_max,
                used.received_message_count_max, "a port must queue one message");
    return used;
}

template <class Descriptor>
std::shared_ptr<Descriptor> udp_descriptor(const DDS_BuiltinTransportProperty_t& property) {
    auto descriptor = std::make_shared<Descriptor>();
    descriptor->maxMessageSize = static_cast<uint32_t>(property.message_size_max);
    descriptor->sendBufferSize = static_cast<uint32_t>(property.send_socket_buffer_size);
    descriptor->receiveBufferSize = static_cast<uint32_t>(property.recv_socket_buffer_size);
    descriptor->TTL = static_cast<uint8_t>(property.multicast_ttl);
    return descriptor;
}

std::shared_ptr<fr::SharedMemTransportDescriptor> shmem_descriptor(
    const DDS_BuiltinTransportProperty_t& property) {
    auto descriptor = std::make_shared<fr::SharedMemTransportDescriptor>();
    descriptor->segment_size(static_cast<uint32_t>(property.receive_buffer_size));
    descriptor->max_message_size(static_cast<uint32_t>(property.message_size_max));
    descriptor->port_queue_capacity(static_cast<uint32_t>(property.received_message_count_max));
    return descriptor;
}

}  // namespace

bool is_builtin_transport_kind(DDS_TransportBuiltinKind kind) {
    return kind == DDS_TRANSPORTBUILTIN_UDPv4 || kind == DDS_TRANSPORTBUILTIN_SHMEM ||
           kind == DDS_TRANSPORTBUILTIN_UDPv6;
}

DDS_BuiltinTransportProperty_t default_transport_property(DDS_TransportBuiltinKind kind) {
    DDS_BuiltinTransportProperty_t property;
    if (kind == DDS_TRANSPORTBUILTIN_SHMEM) {
        fr::SharedMemTransportDescriptor shmem;
        property.message_size_max = static_cast<int32_t>(shmem.max_message_size());
        property.receive_buffer_size = shmem.segment_size() > 0
                                           ? static_cast<int32_t>(shmem.segment_size())
                                           : shmem_default_segment_size;
        property.received_message_count_max = static_cast<int32_t>(shmem.port_queue_capacity());
    } else {
        fr::UDPv4TransportDescriptor udp;
        property.message_size_max = static_cast<int32_t>(udp.maxMessageSize);
        property.send_socket_buffer_size = static_cast<int32_t>(udp.sendBufferSize);
        property.recv_socket_buffer_size = static_cast<int32_t>(udp.receiveBufferSize);
        property.multicast_ttl = udp.TTL;
    }
    return property;
}

BuiltinTransports::BuiltinTransports()
    : udpv4(default_transport_property(DDS_TRANSPORTBUILTIN_UDPv4)),
      shmem(default_transport_property(DDS_TRANSPORTBUILTIN_SHMEM)),
      udpv6(default_transport_property(DDS_TRANSPORTBUILTIN_UDPv6)) {}

DDS_BuiltinTransportProperty_t* BuiltinTransports::property(DDS_TransportBuiltinKind kind) {
    switch (kind) {
        case DDS_TRANSPORTBUILTIN_UDPv4:
            return &udpv4;
        case DDS_TRANSPORTBUILTIN_SHMEM:
            return &shmem;
        case DDS_TRANSPORTBUILTIN_UDPv6:
            return &udpv6;
        default:
            return nullptr;
    }
}

const char* invalid_transport_property(const DDS_BuiltinTransportProperty_t& property) {
    if (property.message_size_max <= 0) {
        return "the message size max must be positive";
    }
    if (property.send_socket_buffer_size < 0 || property.recv_socket_buffer_size < 0 ||
        property.receive_buffer_size < 0 || property.received_message_count_max < 0) {
        return "sizes and counts must not be negative";
    }
    if (property.multicast_ttl < 0 || property.multicast_ttl > 255) {
        return "the multicast TTL must be between 0 and 255";
    }
    return nullptr;
}

DDS_BuiltinTransportProperty_t workable_transport_property(
    DDS_TransportBuiltinKind kind, const DDS_BuiltinTransportProperty_t& property) {
    return kind == DDS_TRANSPORTBUILTIN_SHMEM ? workable_shmem(property)
                                              : workable_udp(kind, property);
}

std::string shmem_segment_problem(const DDS_BuiltinTransportProperty_t& property,
                                  unsigned long long free_bytes) {
    // The segment as workable_shmem() makes it, without its warnings.
    int32_t asked = property.receive_buffer_size > 0 ? property.receive_buffer_size
                                                     : shmem_default_segment_size;
    unsigned long long segment =
        static_cast<unsigned long long>(std::max(asked, smallest_working_message_size));
    // Fast DDS's bookkeeping in the segment and the port queues beside it: a quarter more
    // and a megabyte cover them with room to spare.
    unsigned long long needed = segment + segment / 4 + 1024ull * 1024ull;
    char text[160];
    if (needed > UINT32_MAX) {
        std::snprintf(text, sizeof text,
                      "shared memory receive buffer size %llu exceeds the 32-bit size of a "
                      "/dev/shm segment",
                      segment);
        return text;
    }
    if (needed > free_bytes) {
        std::snprintf(text, sizeof text,
                      "shared memory receive buffer size %llu does not fit in /dev/shm (%llu "
                      "bytes free)",
                      segment, free_bytes);
        return text;
    }
    return std::string();
}

unsigned long long dev_shm_free_bytes() {
    struct statvfs status;
    if (statvfs("/dev/shm", &status) != 0) {
        return ULLONG_MAX;
    }
    return static_cast<unsigned long long>(status.f_bavail) *
           static_cast<unsigned long long>(status.f_frsize);
}

TransportDescriptors make_transport_descriptors(const BuiltinTransports& transports) {
    TransportDescriptors descriptors;
    if (transports.mask & DDS_TRANSPORTBUILTIN_UDPv4) {
        descriptors.push_back(udp_descriptor<fr::UDPv4TransportDescriptor>(
            workable_transport_property(DDS_TRANSPORTBUILTIN_UDPv4, transports.udpv4)));
    }
    if (transports.mask & DDS_TRANSPORTBUILTIN_SHMEM) {
        descriptors.push_back(shmem_descriptor(
            workable_transport_property(DDS_TRANSPORTBUILTIN_SHMEM, transports.shmem)));
    }
    if (transports.mask & DDS_TRANSPORTBUILTIN_UDPv6) {
        descriptors.push_back(udp_descriptor<fr::UDPv6TransportDescriptor>(
            workable_transport_property(DDS_TRANSPORTBUILTIN_UDPv6, transports.udpv6)));
    }
    return descriptors;
}

}  // namespace qordds
