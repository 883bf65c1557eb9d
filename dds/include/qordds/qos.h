// QoS policies and the QoS records of each kind of entity, with the binding's defaults.
// The records are plain values; the binding translates them to Fast DDS when an entity is
// created.
#ifndef QOR_DDS_QOS_H
#define QOR_DDS_QOS_H

#include <cstdint>

#include "qordds/sequence.h"
#include "qordds/types.h"

// Standard QoS policy ids, as reported in incompatible-QoS statuses.
enum DDS_QosPolicyId_t {
    DDS_INVALID_QOS_POLICY_ID = 0,
    DDS_USERDATA_QOS_POLICY_ID = 1,
    DDS_DURABILITY_QOS_POLICY_ID = 2,
    DDS_PRESENTATION_QOS_POLICY_ID = 3,
    DDS_DEADLINE_QOS_POLICY_ID = 4,
    DDS_LATENCYBUDGET_QOS_POLICY_ID = 5,
    DDS_OWNERSHIP_QOS_POLICY_ID = 6,
    DDS_OWNERSHIPSTRENGTH_QOS_POLICY_ID = 7,
    DDS_LIVELINESS_QOS_POLICY_ID = 8,
    DDS_TIMEBASEDFILTER_QOS_POLICY_ID = 9,
    DDS_PARTITION_QOS_POLICY_ID = 10,
    DDS_RELIABILITY_QOS_POLICY_ID = 11,
    DDS_DESTINATIONORDER_QOS_POLICY_ID = 12,
    DDS_HISTORY_QOS_POLICY_ID = 13,
    DDS_RESOURCELIMITS_QOS_POLICY_ID = 14,
    DDS_ENTITYFACTORY_QOS_POLICY_ID = 15,
    DDS_WRITERDATALIFECYCLE_QOS_POLICY_ID = 16,
    DDS_READERDATALIFECYCLE_QOS_POLICY_ID = 17,
    DDS_TOPICDATA_QOS_POLICY_ID = 18,
    DDS_GROUPDATA_QOS_POLICY_ID = 19,
    DDS_TRANSPORTPRIORITY_QOS_POLICY_ID = 20,
    DDS_LIFESPAN_QOS_POLICY_ID = 21,
    DDS_DURABILITYSERVICE_QOS_POLICY_ID = 22,
};

// ---- Data-distribution policies ----

enum DDS_DurabilityQosPolicyKind {
    DDS_VOLATILE_DURABILITY_QOS = 0,
    DDS_TRANSIENT_LOCAL_DURABILITY_QOS = 1,
    DDS_TRANSIENT_DURABILITY_QOS = 2,
    DDS_PERSISTENT_DURABILITY_QOS = 3,
};
struct DDS_DurabilityQosPolicy {
    DDS_DurabilityQosPolicyKind kind = DDS_VOLATILE_DURABILITY_QOS;
};

struct DDS_DeadlineQosPolicy {
    DDS_Duration_t period = DDS_DURATION_INFINITE;
};

enum DDS_LivelinessQosPolicyKind {
    DDS_AUTOMATIC_LIVELINESS_QOS = 0,
    DDS_MANUAL_BY_PARTICIPANT_LIVELINESS_QOS = 1,
    DDS_MANUAL_BY_TOPIC_LIVELINESS_QOS = 2,
};
struct DDS_LivelinessQosPolicy {
    DDS_LivelinessQosPolicyKind kind = DDS_AUTOMATIC_LIVELINESS_QOS;
    DDS_Duration_t lease_duration = DDS_DURATION_INFINITE;
};

enum DDS_ReliabilityQosPolicyKind {
    DDS_BEST_EFFORT_RELIABILITY_QOS = 0,
    DDS_RELIABLE_RELIABILITY_QOS = 1,
};
struct DDS_ReliabilityQosPolicy {
    DDS_ReliabilityQosPolicyKind kind = DDS_BEST_EFFORT_RELIABILITY_QOS;
    DDS_Duration_t max_blocking_time = {0, 100000000};
};

enum DDS_HistoryQosPolicyKind {
    DDS_KEEP_LAST_HISTORY_QOS = 0,
    DDS_KEEP_ALL_HISTORY_QOS = 1,
};
struct DDS_HistoryQosPolicy {
    DDS_HistoryQosPolicyKind kind = DDS_KEEP_LAST_HISTORY_QOS;
    int32_t depth = 1;
};

struct DDS_ResourceLimitsQosPolicy {
    int32_t max_samples = DDS_LENGTH_UNLIMITED;
    int32_t max_instances = DDS_LENGTH_UNLIMITED;
    int32_t max_samples_per_instance = DDS_LENGTH_UNLIMITED;
};

enum DDS_OwnershipQosPolicyKind {
    DDS_SHARED_OWNERSHIP_QOS = 0,
    DDS_EXCLUSIVE_OWNERSHIP_QOS = 1,
};
struct DDS_OwnershipQosPolicy {
    DDS_OwnershipQosPolicyKind kind = DDS_SHARED_OWNERSHIP_QOS;
};

struct DDS_TimeBasedFilterQosPolicy {
    DDS_Duration_t minimum_separation = DDS_DURATION_ZERO;
};

struct DDS_LifespanQosPolicy {
    DDS_Duration_t duration = DDS_DURATION_INFINITE;
};

// Unregistering an instance does not dispose it unless a profile asks for it.
struct DDS_WriterDataLifecycleQosPolicy {
    bool autodispose_unregistered_instances = false;
};

// One multicast address (and port) on which a DataReader receives; an empty transport list
// means every transport.
struct DDS_TransportMulticastSettings_t {
    DDS_StringSeq transports;
    char* receive_address = nullptr;
    int32_t receive_port = 0;

    DDS_TransportMulticastSettings_t() = default;
    DDS_TransportMulticastSettings_t(const DDS_TransportMulticastSettings_t& other);
    DDS_TransportMulticastSettings_t& operator=(const DDS_TransportMulticastSettings_t& other);
    ~DDS_TransportMulticastSettings_t();
};
typedef DDSSequence<DDS_TransportMulticastSettings_t> DDS_TransportMulticastSettingsSeq;

struct DDS_TransportMulticastQosPolicy {
    DDS_TransportMulticastSettingsSeq value;
};

struct DDS_PartitionQosPolicy {
    DDS_StringSeq name;
};

// ---- Participant policies ----

struct DDS_Property_t {
    char* name = nullptr;
    char* value = nullptr;
    bool propagate = false;

    DDS_Property_t() = default;
    DDS_Property_t(const DDS_Property_t& other);
    DDS_Property_t& operator=(const DDS_Property_t& other);
    ~DDS_Property_t();
};
typedef DDSSequence<DDS_Property_t> DDS_PropertySeq;

struct DDS_PropertyQosPolicy {
    DDS_PropertySeq value;
};

// Editing a property list by name.
class DDSPropertyQosPolicyHelper {
  public:
    static int32_t get_number_of_properties(const DDS_PropertyQosPolicy& policy);
    // The property of that name, or null.
    static const DDS_Property_t* lookup_property(const DDS_PropertyQosPolicy& policy,
                                                 const char* name);
    // Adds the property, or replaces the value of an existing one of that name.
    static DDS_ReturnCode_t assert_property(DDS_PropertyQosPolicy& policy, const char* name,
                                            const char* value, bool propagate);
    // DDS_RETCODE_PRECONDITION_NOT_MET when there is no property of that name.
    static DDS_ReturnCode_t remove_property(DDS_PropertyQosPolicy& policy, const char* name);
};

struct DDS_EntityNameQosPolicy {
    char* name = nullptr;

    DDS_EntityNameQosPolicy() = default;
    DDS_EntityNameQosPolicy(const DDS_EntityNameQosPolicy& other);
    DDS_EntityNameQosPolicy& operator=(const DDS_EntityNameQosPolicy& other);
    ~DDS_EntityNameQosPolicy();
};

// "Pick automatically" for the RTPS application id.
const uint32_t DDS_RTPS_AUTO_ID = 0;

struct DDS_WireProtocolQosPolicy {
    int32_t participant_id = -1;  // participant index; -1 picks one automatically
    uint32_t rtps_app_id = DDS_RTPS_AUTO_ID;
};

typedef int32_t DDS_TransportBuiltinKindMask;
enum : DDS_TransportBuiltinKindMask {
    DDS_TRANSPORTBUILTIN_UDPv4 = 0x01,
    DDS_TRANSPORTBUILTIN_SHMEM = 0x02,
    DDS_TRANSPORTBUILTIN_UDPv6 = 0x08,
    DDS_TRANSPORTBUILTIN_MASK_NONE = 0x00,
    DDS_TRANSPORTBUILTIN_MASK_DEFAULT = DDS_TRANSPORTBUILTIN_UDPv4 | DDS_TRANSPORTBUILTIN_SHMEM,
};

struct DDS_TransportBuiltinQosPolicy {
    DDS_TransportBuiltinKindMask mask = DDS_TRANSPORTBUILTIN_MASK_DEFAULT;
};

struct DDS_DiscoveryQosPolicy {
    DDS_StringSeq initial_peers;
};

typedef int32_t DDS_DiscoveryConfigBuiltinPluginKindMask;
enum : DDS_DiscoveryConfigBuiltinPluginKindMask {
    DDS_DISCOVERYCONFIG_BUILTIN_SPDP = 0x01,
    DDS_DISCOVERYCONFIG_BUILTIN_SEDP = 0x02,
    DDS_DISCOVERYCONFIG_BUILTIN_SPDP2 = 0x10,
    DDS_DISCOVERYCONFIG_BUILTIN_SDP =
        DDS_DISCOVERYCONFIG_BUILTIN_SPDP | DDS_DISCOVERYCONFIG_BUILTIN_SEDP,
    DDS_DISCOVERYCONFIG_BUILTIN_SDP2 =
        DDS_DISCOVERYCONFIG_BUILTIN_SPDP2 | DDS_DISCOVERYCONFIG_BUILTIN_SEDP,
};

struct DDS_DiscoveryConfigQosPolicy {
    DDS_Duration_t participant_liveliness_assert_period = {3, 0};
    DDS_Duration_t participant_liveliness_lease_duration = {20, 0};
    DDS_DiscoveryConfigBuiltinPluginKindMask builtin_discovery_plugins =
        DDS_DISCOVERYCONFIG_BUILTIN_SDP;
};

struct DDS_DomainParticipantResourceLimitsQosPolicy {
    int32_t type_code_max_serialized_length = 4096;
};

// Size of the buffers that receive incoming messages; -1 leaves the transports' own.
struct DDS_ReceiverPoolQosPolicy {
    int32_t buffer_size = -1;
};

struct DDS_EntityFactoryQosPolicy {
    bool autoenable_created_entities = true;
};

// XML QoS profile sources: documents given as text (the elements are joined in order into one
// document) and files given by path (a "file://" prefix is accepted).
struct DDS_ProfileQosPolicy {
    DDS_StringSeq string_profile;
    DDS_StringSeq url_profile;
};

// ---- Entity QoS records ----

struct DDS_DomainParticipantFactoryQos {
    DDS_EntityFactoryQosPolicy entity_factory;
    DDS_ProfileQosPolicy profile;
};

struct DDS_DomainParticipantQos {
    DDS_PropertyQosPolicy property;
    DDS_EntityNameQosPolicy participant_name;
    DDS_PartitionQosPolicy partition;
    DDS_WireProtocolQosPolicy wire_protocol;
    DDS_TransportBuiltinQosPolicy transport_builtin;
    DDS_DiscoveryQosPolicy discovery;
    DDS_DiscoveryConfigQosPolicy discovery_config;
    DDS_DomainParticipantResourceLimitsQosPolicy resource_limits;
    DDS_ReceiverPoolQosPolicy receiver_pool;
};

struct DDS_TopicQos {
    DDS_DurabilityQosPolicy durability;
    DDS_DeadlineQosPolicy deadline;
    DDS_LivelinessQosPolicy liveliness;
    DDS_ReliabilityQosPolicy reliability;
    DDS_HistoryQosPolicy history;
    DDS_ResourceLimitsQosPolicy resource_limits;
    DDS_OwnershipQosPolicy ownership;
    DDS_LifespanQosPolicy lifespan;
};

// Stands for the participant's current default topic QoS in create_topic.
extern const DDS_TopicQos DDS_TOPIC_QOS_DEFAULT;

struct DDS_PublisherQos {
    DDS_PartitionQosPolicy partition;
};

struct DDS_SubscriberQos {
    DDS_PartitionQosPolicy partition;
};

struct DDS_DataWriterQos {
    DDS_DurabilityQosPolicy durability;
    DDS_DeadlineQosPolicy deadline;
    DDS_LivelinessQosPolicy liveliness;
    DDS_ReliabilityQosPolicy reliability = {DDS_RELIABLE_RELIABILITY_QOS, {0, 100000000}};
    DDS_HistoryQosPolicy history;
    DDS_ResourceLimitsQosPolicy resource_limits;
    DDS_OwnershipQosPolicy ownership;
    DDS_LifespanQosPolicy lifespan;
    DDS_WriterDataLifecycleQosPolicy writer_data_lifecycle;
};

struct DDS_DataReaderQos {
    DDS_DurabilityQosPolicy durability;
    DDS_DeadlineQosPolicy deadline;
    DDS_LivelinessQosPolicy liveliness;
    DDS_ReliabilityQosPolicy reliability;
    DDS_HistoryQosPolicy history;
    DDS_ResourceLimitsQosPolicy resource_limits;
    DDS_OwnershipQosPolicy ownership;
    DDS_TimeBasedFilterQosPolicy time_based_filter;
    DDS_LifespanQosPolicy lifespan;
    DDS_TransportMulticastQosPolicy multicast;
};

#endif
