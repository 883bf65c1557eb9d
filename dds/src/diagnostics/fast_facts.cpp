#include "diagnostics/fast_facts.h"

#include <fastdds/rtps/transport/TransportInterface.h>
#include <fastrtps/utils/IPLocator.h>
#include <fastdds/dds/publisher/Publisher.hpp>
#include <fastdds/dds/subscriber/Subscriber.hpp>
#include <fastdds/dds/topic/Topic.hpp>
#include <fastdds/dds/topic/TopicDescription.hpp>

#include <cstdio>
#include <sstream>

namespace fdds = eprosima::fastdds::dds;
namespace frtps = eprosima::fastrtps::rtps;
using eprosima::fastrtps::Duration_t;

namespace qordds {

namespace {

double seconds_of(const Duration_t& duration) {
    if (duration == eprosima::fastrtps::c_TimeInfinite) {
        return kInfinite;
    }
    return duration.seconds + duration.nanosec * 1e-9;
}

Durability durability_of(fdds::DurabilityQosPolicyKind_t kind) {
    switch (kind) {
        case fdds::TRANSIENT_LOCAL_DURABILITY_QOS:
            return Durability::TransientLocal;
        case fdds::TRANSIENT_DURABILITY_QOS:
            return Durability::Transient;
        case fdds::PERSISTENT_DURABILITY_QOS:
            return Durability::Persistent;
        default:
            return Durability::Volatile;
    }
}

Liveliness liveliness_of(fdds::LivelinessQosPolicyKind kind) {
    switch (kind) {
        case fdds::MANUAL_BY_PARTICIPANT_LIVELINESS_QOS:
            return Liveliness::ManualByParticipant;
        case fdds::MANUAL_BY_TOPIC_LIVELINESS_QOS:
            return Liveliness::ManualByTopic;
        default:
            return Liveliness::Automatic;
    }
}

std::vector<std::string> names_of(const fdds::PartitionQosPolicy& partition) {
    std::vector<std::string> names;
    for (auto it = partition.begin(); it != partition.end(); ++it) {
        names.push_back(it->name());
    }
    return names;
}

// The policies both kinds of announcement and of local QoS have, under the same names.
template <class Qos>
void read_policies(const Qos& qos, EndpointFacts& facts) {
    facts.reliable = qos.reliability().kind == fdds::RELIABLE_RELIABILITY_QOS;
    facts.durability = durability_of(qos.durability().kind);
    facts.deadline = seconds_of(qos.deadline().period);
    facts.liveliness = liveliness_of(qos.liveliness().kind);
    facts.liveliness_lease = seconds_of(qos.liveliness().lease_duration);
    facts.exclusive_ownership = qos.ownership().kind == fdds::EXCLUSIVE_OWNERSHIP_QOS;
}

template <class Qos>
void read_announced(const Qos& qos, EndpointFacts& facts) {
    facts.reliable = qos.m_reliability.kind == fdds::RELIABLE_RELIABILITY_QOS;
    facts.durability = durability_of(qos.m_durability.kind);
    facts.deadline = seconds_of(qos.m_deadline.period);
    facts.liveliness = liveliness_of(qos.m_liveliness.kind);
    facts.liveliness_lease = seconds_of(qos.m_liveliness.lease_duration);
    facts.exclusive_ownership = qos.m_ownership.kind == fdds::EXCLUSIVE_OWNERSHIP_QOS;
    facts.partitions = names_of(qos.m_partition);
}

template <class Data>
EndpointFacts announced(const Data& remote, bool writer) {
    EndpointFacts facts;
    facts.writer = writer;
    facts.guid = guid_text(remote.guid());
    facts.topic = remote.topicName().to_string();
    facts.type = remote.typeName().to_string();
    facts.keyed = remote.topicKind() == frtps::WITH_KEY;
    read_announced(remote.m_qos, facts);
    return facts;
}

void append_list(std::string& text, const char* label,
                 const eprosima::fastrtps::ResourceLimitedVector<frtps::Locator_t>& list) {
    if (list.empty()) {
        return;
    }
    text += text.empty() ? "" : "; ";
    text += label;
    bool first = true;
    for (const frtps::Locator_t& locator : list) {
        text += (first ? " " : ", ") + locator_text(locator);
        first = false;
    }
}

}  // namespace

EndpointFacts facts_of(const frtps::WriterProxyData& remote) {
    return announced(remote, true);
}

EndpointFacts facts_of(const frtps::ReaderProxyData& remote) {
    return announced(remote, false);
}

EndpointFacts facts_of(const fdds::DataWriter& local) {
    EndpointFacts facts;
    facts.writer = true;
    facts.guid = guid_text(local.guid());
    facts.topic = local.get_topic()->get_name();
    facts.type = local.get_topic()->get_type_name();
    facts.keyed = local.get_type()->m_isGetKeyDefined;
    const fdds::DataWriterQos& qos = local.get_qos();
    read_policies(qos, facts);
    facts.depth = qos.history().depth;
    facts.partitions = names_of(local.get_publisher()->get_qos().partition());
    return facts;
}

EndpointFacts facts_of(fdds::DataReader& local) {
    EndpointFacts facts;
    facts.writer = false;
    facts.guid = guid_text(local.guid());
    facts.topic = local.get_topicdescription()->get_name();
    facts.type = local.get_topicdescription()->get_type_name();
    facts.keyed = local.type()->m_isGetKeyDefined;
    const fdds::DataReaderQos& qos = local.get_qos();
    read_policies(qos, facts);
    facts.depth = qos.history().depth;
    facts.time_filter = seconds_of(qos.time_based_filter().minimum_separation);
    for (const frtps::Locator_t& locator : qos.endpoint().multicast_locator_list) {
        facts.multicast.push_back(locator_text(locator));
    }
    facts.partitions = names_of(local.get_subscriber()->get_qos().partition());
    return facts;
}

std::string guid_text(const frtps::GUID_t& guid) {
    std::ostringstream text;
    text << guid;
    return text.str();
}

std::string prefix_text(const frtps::GuidPrefix_t& prefix) {
    std::ostringstream text;
    text << prefix;
    return text.str();
}

std::string locator_text(const frtps::Locator_t& locator) {
    char text[96];
    switch (locator.kind) {
        case LOCATOR_KIND_UDPv4:
            std::snprintf(text, sizeof text, "UDPv4 %s:%u",
                          eprosima::fastrtps::rtps::IPLocator::toIPv4string(locator).c_str(),
                          locator.port);
            break;
        case LOCATOR_KIND_UDPv6:
            std::snprintf(text, sizeof text, "UDPv6 [%s]:%u",
                          eprosima::fastrtps::rtps::IPLocator::toIPv6string(locator).c_str(),
                          locator.port);
            break;
        case LOCATOR_KIND_SHM:
            std::snprintf(text, sizeof text, "SHM port %u", locator.port);
            break;
        default:
            std::snprintf(text, sizeof text, "kind %d port %u", static_cast<int>(locator.kind),
                          locator.port);
            break;
    }
    return text;
}

std::string locators_text(const frtps::RemoteLocatorList& locators) {
    std::string text;
    append_list(text, "unicast", locators.unicast);
    append_list(text, "multicast", locators.multicast);
    return text.empty() ? "none" : text;
}

}  // namespace qordds
