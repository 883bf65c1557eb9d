#include <cstdio>
#include <cstring>

#include "agent/kestAgent.h"
#include "builtinQosProfile.h"
#include "qordds/transport.h"

namespace {

const int SELECTION_LENGTH = 256;
const char* const DEFAULT_LIBRARY = "DefaultPingLibrary";
const char* const DEFAULT_PROFILE = "DefaultPingProfile";
const char* const DOMAIN_TAG_PROPERTY = "dds.domain_participant.domain_tag";
const char* const MONITORING_PREFIX = "qor.monitor";

// A selected library or profile name: at most 255 characters, always terminated.
void select(char* buffer, const char* name) {
    std::strncpy(buffer, name, SELECTION_LENGTH - 1);
    buffer[SELECTION_LENGTH - 1] = '\0';
}

// Whether `library` offers `profile`; `profiles` is reused for the library's profile names.
bool libraryHasProfile(DDSDomainParticipantFactory* factory, const char* library,
                       const char* profile, DDS_StringSeq& profiles) {
    factory->get_qos_profiles(profiles, library);
    for (int j = 0; j < profiles.length(); ++j) {
        if (std::strcmp(profiles[j], profile) == 0) {
            return true;
        }
    }
    return false;
}

void replaceStrings(DDS_StringSeq& sequence, int count, char* const* strings) {
    sequence.ensure_length(count, count);
    for (int i = 0; i < count; ++i) {
        DDS_String_replace(&sequence[i], strings[i]);
    }
}

bool setTransportProperty(DDSDomainParticipant* participant, DDS_TransportBuiltinKind kind,
                          const DDS_BuiltinTransportProperty_t& property) {
    DDS_ReturnCode_t rc =
        DDSTransportSupport::set_builtin_transport_property(participant, kind, property);
    if (rc != DDS_RETCODE_OK) {
        if (theVerbosity > 0) {
            std::printf("KESTAgent: set_builtin_transport_property error %d\n", rc);
        }
        return false;
    }
    return true;
}

// Starts `property` afresh from the transport's defaults, reads the participant's values into it
// (unchecked), sets the TTL and the message size (with both socket buffers) that are given, and
// writes it back.
bool tuneUdp(DDSDomainParticipant* participant, DDS_TransportBuiltinKind kind, const char* name,
             int ttl, int messageSizeMax, DDS_BuiltinTransportProperty_t& property) {
    DDSTransportSupport::get_default_builtin_transport_property(kind, property);
    DDSTransportSupport::get_builtin_transport_property(participant, kind, property);
    if (ttl != -1) {
        std::printf("Changing %s TTL from %d to %d\n", name, property.multicast_ttl, ttl);
        property.multicast_ttl = ttl;
    }
    if (messageSizeMax > 0) {
        std::printf("Changing %s message size max from %d to %d\n", name, property.message_size_max,
                    messageSizeMax);
        property.message_size_max = messageSizeMax;
        property.recv_socket_buffer_size = messageSizeMax;
        property.send_socket_buffer_size = messageSizeMax;
    }
    return setTransportProperty(participant, kind, property);
}

struct DefaultQosStep {
    DDS_ReturnCode_t (DDSDomainParticipant::*set)(const char*, const char*);
    const char* failure;
};

const DefaultQosStep DEFAULT_QOS_STEPS[] = {
    {&DDSDomainParticipant::set_default_topic_qos_with_profile,
     "KESTAgent: set_default_topic_qos_with_profile %d\n"},
    {&DDSDomainParticipant::set_default_subscriber_qos_with_profile,
     "KESTAgent: set_default_subscriber_qos_with_profile %d\n"},
    {&DDSDomainParticipant::set_default_datareader_qos_with_profile,
     "KESTAgent: set_default_datareader_qos_with_profile %d\n"},
    {&DDSDomainParticipant::set_default_publisher_qos_with_profile,
     "KESTAgent: set_default_publisher_qos_with_profile %d\n"},
    {&DDSDomainParticipant::set_default_datawriter_qos_with_profile,
     "KESTAgent: set_default_datawriter_qos_with_profile %d\n"},
};

// Twice a size, wrapping around as 32-bit arithmetic does rather than overflowing.
int twice(int size) {
    return static_cast<int>(2u * static_cast<unsigned>(size));
}

}  // namespace

bool KestAgent::removeMonitoringProperties(DDS_PropertyQosPolicy& policy) {
    int count = DDSPropertyQosPolicyHelper::get_number_of_properties(policy);
    if (count < 1) {
        return true;
    }
    bool removed = false;
    for (int i = 0; i < count; ++i) {
        const DDS_Property_t* property = policy.value.get_reference(i);
        if (property == nullptr || property->name == nullptr) {
            continue;
        }
        if (std::strncmp(property->name, MONITORING_PREFIX, std::strlen(MONITORING_PREFIX)) == 0) {
            DDSPropertyQosPolicyHelper::remove_property(policy, property->name);
            --i;
            --count;
            removed = true;
        }
    }
    if (removed && theVerbosity >= 0) {
        std::puts("The usage of the monitoring library is not supported in this tool.");
    }
    return true;
}

// The steps of creating the participant, each with the message the tool prints when it fails,
// in the order they run: long, and to be split by step.
// NOLINTNEXTLINE(readability-function-size)
bool KestAgent::createDomainParticipant() {
    if (participant != nullptr) {
        return true;
    }
    DDSDomainParticipantFactory* factory = DDSDomainParticipantFactory::get_instance();
    DDS_DomainParticipantFactoryQos factoryQos;
    DDS_DomainParticipantQos participantQos;
    DDS_StringSeq libraries;
    DDS_StringSeq profiles;
    DDS_BuiltinTransportProperty_t transportProperty;
    char libraryName[SELECTION_LENGTH];
    char profileName[SELECTION_LENGTH];

    DDS_ReturnCode_t rc = factory->get_qos(factoryQos);
    if (rc != DDS_RETCODE_OK) {
        if (theVerbosity > 0) {
            std::printf("get_qos on DomainParticipantFactory error %d\n", rc);
        }
        return false;
    }

    int fragmentCount = 0;
    const char* const* fragments = KestAgent_getBuiltinQosProfile(&fragmentCount);
    factoryQos.profile.string_profile.from_array(const_cast<char* const*>(fragments),
                                                 fragmentCount);
    if (qosFile != nullptr) {
        DDS_StringSeq urls;
        replaceStrings(urls, 1, &qosFile);
        factoryQos.profile.url_profile = urls;
    }
    factoryQos.entity_factory.autoenable_created_entities = false;
    rc = factory->set_qos(factoryQos);
    if (rc != DDS_RETCODE_OK) {
        if (theVerbosity > 0) {
            // Always 0: the code is not what this message reports.
            std::printf("set_qos on DomainParticipantFactory error %d\n", 0);
        }
        return false;
    }

    // Precedence, lowest first: the built-in profile, the default profile of any loaded
    // source, the profile the user named.
    select(libraryName, KEST_BUILTIN_QOS_LIBRARY);
    select(profileName, KEST_BUILTIN_QOS_PROFILE);

    factory->get_qos_profile_libraries(libraries);
    for (int i = 0; i < libraries.length(); ++i) {
        if (std::strcmp(libraries[i], DEFAULT_LIBRARY) == 0 &&
            libraryHasProfile(factory, libraries[i], DEFAULT_PROFILE, profiles)) {
            select(libraryName, DEFAULT_LIBRARY);
            select(profileName, DEFAULT_PROFILE);
        }
    }

    if (qosProfile != nullptr) {
        bool found = false;
        for (int i = 0; i < libraries.length(); ++i) {
            if (std::strcmp(libraries[i], qosProfileLibrary) == 0 &&
                libraryHasProfile(factory, libraries[i], qosProfileName, profiles)) {
                select(libraryName, qosProfileLibrary);
                select(profileName, qosProfileName);
                found = true;
            }
        }
        if (!found && theVerbosity > 0) {
            std::printf("QoS profile '%s' was not found. Using default configuration.\n",
                        qosProfile);
        }
    }

    if (theVerbosity > 1) {
        std::puts("loading QoS ...");
    }
    rc = factory->get_participant_qos_from_profile(participantQos, libraryName, profileName);
    if (rc != DDS_RETCODE_OK) {
        if (theVerbosity > 0) {
            std::printf("get_participant_qos_from_profile error %d\n", rc);
        }
        return false;
    }

    // The profile's values stay wherever a setting is left at its default.
    if (participantIndex != -1) {
        participantQos.wire_protocol.participant_id = participantIndex;
    }
    if (appId != 0) {
        participantQos.wire_protocol.rtps_app_id = static_cast<uint32_t>(appId);
    }
    if (transportMask != DDS_TRANSPORTBUILTIN_MASK_DEFAULT) {
        participantQos.transport_builtin.mask = transportMask;
    }
    if (msgMaxSize > 0) {
        participantQos.receiver_pool.buffer_size = msgMaxSize;
    }
    if (tcMaxSize != 4096) {
        participantQos.resource_limits.type_code_max_serialized_length = tcMaxSize;
    }
    if (peerCount > 0) {
        replaceStrings(participantQos.discovery.initial_peers, peerCount, peers);
    }
    if (discoveryPluginSet) {
        participantQos.discovery_config.builtin_discovery_plugins = discoveryPlugin;
    }
    if (participantQos.participant_name.name == nullptr ||
        participantQos.participant_name.name[0] == '\0') {
        DDS_String_replace(&participantQos.participant_name.name, applicationName);
    }

    if (!removeMonitoringProperties(participantQos.property)) {
        if (theVerbosity > 0) {
            std::puts("removeMonitoringProperties error");
        }
        return false;
    }
    if (domainTag != nullptr) {
        rc = DDSPropertyQosPolicyHelper::assert_property(participantQos.property,
                                                         DOMAIN_TAG_PROPERTY, domainTag, false);
        if (rc != DDS_RETCODE_OK) {
            if (theVerbosity > 0) {
                std::printf("KESTAgent: set domainTag %d\n", rc);
            }
            return false;
        }
    }
    if (participantPartitionCount > 0) {
        replaceStrings(participantQos.partition.name, participantPartitionCount,
                       participantPartitions);
    }

    if (theVerbosity > 1) {
        std::puts("Creating domain participant...");
    }
    participant =
        factory->create_participant(domainId, participantQos, nullptr, DDS_STATUS_MASK_NONE);
    if (participant == nullptr) {
        if (theVerbosity > 0) {
            std::puts("create_participant error");
        }
        return false;
    }

    // Every child entity defaults to the selected profile; the first failure stops.
    for (const DefaultQosStep& step : DEFAULT_QOS_STEPS) {
        rc = (participant->*step.set)(libraryName, profileName);
        if (rc != DDS_RETCODE_OK) {
            if (theVerbosity > 0) {
                std::printf(step.failure, rc);
            }
            return false;
        }
    }

    // Transport tuning, on the participant that is not enabled yet. Each block starts from
    // the transport's defaults, then reads the participant's values; the reads are not
    // checked. The "Changing ..." lines print at every verbosity.
    if ((discoveryTTL != -1 || msgMaxSize > 0) &&
        !tuneUdp(participant, DDS_TRANSPORTBUILTIN_UDPv4, "UDPv4", discoveryTTL, msgMaxSize,
                 transportProperty)) {
        return false;
    }

    if (msgMaxSize > 0 || shmRcvSize > 0) {
        DDSTransportSupport::get_default_builtin_transport_property(DDS_TRANSPORTBUILTIN_SHMEM,
                                                                    transportProperty);
        DDSTransportSupport::get_builtin_transport_property(participant, DDS_TRANSPORTBUILTIN_SHMEM,
                                                            transportProperty);
        if (msgMaxSize > 0) {
            std::printf("Changing shmem message size max from %d to %d\n",
                        transportProperty.message_size_max, msgMaxSize);
            transportProperty.message_size_max = msgMaxSize;
            if (!(shmRcvSize > 0) && transportProperty.receive_buffer_size < twice(msgMaxSize)) {
                std::printf("Changing shmem receive buffer size from %d to %d\n",
                            transportProperty.receive_buffer_size, twice(msgMaxSize));
                transportProperty.receive_buffer_size = twice(msgMaxSize);
            }
        }
        if (shmRcvSize > 0) {
            std::printf("Changing shmem receive buffer size from %d to %d\n",
                        transportProperty.receive_buffer_size, shmRcvSize);
            transportProperty.receive_buffer_size = shmRcvSize;
            int messageCount = (shmRcvSize / transportProperty.message_size_max) * 2 + 2;
            if (transportProperty.received_message_count_max < messageCount) {
                std::printf("Changing shmem received message count max from %d to %d\n",
                            transportProperty.received_message_count_max, messageCount);
                transportProperty.received_message_count_max = messageCount;
            }
        }
        if (!setTransportProperty(participant, DDS_TRANSPORTBUILTIN_SHMEM, transportProperty)) {
            return false;
        }
    }

    // Only this block looks at the mask.
    if ((discoveryTTL != -1 || msgMaxSize > 0) && (transportMask & DDS_TRANSPORTBUILTIN_UDPv6) &&
        !tuneUdp(participant, DDS_TRANSPORTBUILTIN_UDPv6, "UDPv6", discoveryTTL, msgMaxSize,
                 transportProperty)) {
        return false;
    }

    rc = participant->enable();
    if (rc != DDS_RETCODE_OK) {
        if (theVerbosity > 0) {
            std::printf("KESTAgent: DomainParticipant::enable error %d\n", rc);
        }
        return false;
    }
    return true;
}
