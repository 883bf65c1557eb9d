#include "qos/participant_qos_translation.h"

#include "log/log.h"
#include "qos/peer_locators.h"

namespace qordds {

namespace fd = eprosima::fastdds::dds;
namespace fr = eprosima::fastrtps::rtps;

namespace {

const char* const context = "DDSDomainParticipantFactory::create_participant";

const DDS_TransportBuiltinKindMask known_transports =
    DDS_TRANSPORTBUILTIN_UDPv4 | DDS_TRANSPORTBUILTIN_SHMEM | DDS_TRANSPORTBUILTIN_UDPv6;

bool translate_wire_protocol(const DDS_WireProtocolQosPolicy& wire, DDS_DomainId_t domain_id,
                             fd::DomainParticipantQos& fast) {
    int32_t largest = largest_participant_id(domain_id);
    if (wire.participant_id < -1 || wire.participant_id > largest) {
        log(LogKind::Error, context,
            "participant index %d is out of range (-1 for automatic, or 0 to %d in domain %d)",
            wire.participant_id, largest, domain_id);
        return false;
    }
    fast.wire_protocol().participant_id = wire.participant_id;
    return true;
}

bool translate_discovery(const DDS_DomainParticipantQos& qos, DDS_DomainId_t domain_id,
                         fd::DomainParticipantQos& fast) {
    fr::BuiltinAttributes& builtin = fast.wire_protocol().builtin;
    const DDS_DiscoveryConfigQosPolicy& config = qos.discovery_config;
    builtin.discovery_config.leaseDuration =
        to_fast_duration(config.participant_liveliness_lease_duration);
    builtin.discovery_config.leaseDuration_announcementperiod =
        to_fast_duration(config.participant_liveliness_assert_period);

    DDS_DiscoveryConfigBuiltinPluginKindMask plugins = config.builtin_discovery_plugins;
    if (plugins == 0) {
        builtin.discovery_config.discoveryProtocol = fr::DiscoveryProtocol_t::NONE;
    } else {
        if (plugins & DDS_DISCOVERYCONFIG_BUILTIN_SPDP2) {
            log(LogKind::Warning, context,
                "participant discovery 2.0 is not available on Fast DDS; simple participant "
                "discovery is used");
        }
        if (plugins & ~(DDS_DISCOVERYCONFIG_BUILTIN_SDP | DDS_DISCOVERYCONFIG_BUILTIN_SDP2)) {
            log(LogKind::Warning, context, "unknown discovery plugin bits 0x%x are ignored",
                static_cast<unsigned>(plugins & ~(DDS_DISCOVERYCONFIG_BUILTIN_SDP |
                                                  DDS_DISCOVERYCONFIG_BUILTIN_SDP2)));
        }
        builtin.discovery_config.discoveryProtocol = fr::DiscoveryProtocol_t::SIMPLE;
    }

    const DDS_StringSeq& peers = qos.discovery.initial_peers;
    for (int32_t i = 0; i < peers.length(); ++i) {
        if (!add_peer_locators(peers[i], domain_id, qos.transport_builtin.mask,
                               builtin.initialPeersList)) {
            return false;
        }
    }
    return true;
}

bool translate_transports(const DDS_DomainParticipantQos& qos, fd::DomainParticipantQos& fast) {
    DDS_TransportBuiltinKindMask mask = qos.transport_builtin.mask;
    if (mask & ~known_transports) {
        log(LogKind::Warning, context,
            "transport mask bits 0x%x name no built-in transport and are ignored",
            static_cast<unsigned>(mask & ~known_transports));
    }
    if ((mask & known_transports) == 0) {
        log(LogKind::Error, context, "transport mask 0x%x enables no built-in transport",
            static_cast<unsigned>(mask));
        return false;
    }
    // The transports themselves are made from the participant's transport properties.
    fast.transport().use_builtin_transports = false;
    if (qos.receiver_pool.buffer_size > 0) {
        fast.transport().listen_socket_buffer_size =
            static_cast<uint32_t>(qos.receiver_pool.buffer_size);
    }
    return true;
}

void translate_properties(const DDS_PropertyQosPolicy& policy, fd::DomainParticipantQos& fast) {
    for (int32_t i = 0; i < policy.value.length(); ++i) {
        const DDS_Property_t& property = policy.value[i];
        if (property.name == nullptr) {
            continue;
        }
        fast.properties().properties().emplace_back(
            property.name, property.value != nullptr ? property.value : "", property.propagate);
    }
}

}  // namespace

int32_t largest_participant_id(DDS_DomainId_t domain_id) {
    fr::PortParameters ports;
    return (65535 - ports.portBase - ports.domainIDGain * domain_id - ports.offsetd3) /
           ports.participantIDGain;
}

eprosima::fastrtps::Duration_t to_fast_duration(const DDS_Duration_t& duration) {
    if (duration.sec == DDS_DURATION_INFINITE_SEC) {
        return eprosima::fastrtps::c_TimeInfinite;
    }
    return eprosima::fastrtps::Duration_t(duration.sec, duration.nanosec);
}

bool translate_participant_qos(const DDS_DomainParticipantQos& qos, DDS_DomainId_t domain_id,
                               fd::DomainParticipantQos& fast) {
    if (domain_id < 0 || domain_id > largest_domain_id) {
        log(LogKind::Error, context, "domain %d is out of range (0 to %d)", domain_id,
            largest_domain_id);
        return false;
    }
    fast.name(qos.participant_name.name != nullptr ? qos.participant_name.name : "");
    translate_properties(qos.property, fast);
    return translate_wire_protocol(qos.wire_protocol, domain_id, fast) &&
           translate_transports(qos, fast) && translate_discovery(qos, domain_id, fast);
}

BuiltinTransports initial_transports(const DDS_DomainParticipantQos& qos) {
    BuiltinTransports transports;
    transports.mask = qos.transport_builtin.mask & known_transports;
    if (qos.receiver_pool.buffer_size > 0) {
        transports.udpv4.recv_socket_buffer_size = qos.receiver_pool.buffer_size;
        transports.udpv6.recv_socket_buffer_size = qos.receiver_pool.buffer_size;
    }
    return transports;
}

void put_app_id(uint32_t app_id, unsigned char prefix[12]) {
    if (app_id == DDS_RTPS_AUTO_ID) {
        return;
    }
    prefix[8] = static_cast<unsigned char>(app_id >> 24);
    prefix[9] = static_cast<unsigned char>(app_id >> 16);
    prefix[10] = static_cast<unsigned char>(app_id >> 8);
    prefix[11] = static_cast<unsigned char>(app_id);
}

}  // namespace qordds
