#include "qos/endpoint_qos.h"

#include <fastdds/rtps/common/Locator.h>
#include <fastrtps/utils/IPLocator.h>

#include <cctype>
#include <cstdint>
#include <string>

#include "log/log.h"
#include "qordds/transport_address.h"
#include "qos/fast_conversions.h"

namespace fdds = eprosima::fastdds::dds;
using eprosima::fastrtps::rtps::Locator_t;

namespace qordds {

namespace {

uint64_t nanoseconds(const DDS_Duration_t& duration) {
    if (duration == DDS_DURATION_INFINITE) {
        return UINT64_MAX;
    }
    return static_cast<uint64_t>(duration.sec < 0 ? 0 : duration.sec) * 1000000000u +
           duration.nanosec;
}

bool is_unlimited_or_positive(int32_t value) {
    return value == DDS_LENGTH_UNLIMITED || value > 0;
}

bool limited(int32_t value) {
    return value != DDS_LENGTH_UNLIMITED;
}

// The DDS consistency rules of HISTORY and RESOURCE_LIMITS, plus the one Fast DDS adds for
// the memory it reserves up front.
DDS_ReturnCode_t check_history_and_limits(const DDS_HistoryQosPolicy& history,
                                          const DDS_ResourceLimitsQosPolicy& limits,
                                          const char* context) {
    const char* problem = nullptr;
    if (history.kind == DDS_KEEP_LAST_HISTORY_QOS && history.depth < 1) {
        problem = "a KEEP_LAST history needs a depth of 1 or more";
    } else if (!is_unlimited_or_positive(limits.max_samples) ||
               !is_unlimited_or_positive(limits.max_instances) ||
               !is_unlimited_or_positive(limits.max_samples_per_instance)) {
        problem = "resource limits must be positive or unlimited";
    } else if (limited(limits.max_samples) && limited(limits.max_samples_per_instance) &&
               limits.max_samples < limits.max_samples_per_instance) {
        problem = "max_samples is below max_samples_per_instance";
    } else if (history.kind == DDS_KEEP_LAST_HISTORY_QOS &&
               limited(limits.max_samples_per_instance) &&
               history.depth > limits.max_samples_per_instance) {
        problem = "the history depth exceeds max_samples_per_instance";
    } else if (limited(limits.max_samples) && limited(limits.max_instances) &&
               limited(limits.max_samples_per_instance) &&
               static_cast<int64_t>(limits.max_instances) * limits.max_samples_per_instance >
                   limits.max_samples) {
        problem = "Fast DDS needs max_samples >= max_instances * max_samples_per_instance";
    }
    if (problem != nullptr) {
        log(LogKind::Error, context, "inconsistent QoS: %s (history depth %d, limits %d/%d/%d)",
            problem, history.depth, limits.max_samples, limits.max_instances,
            limits.max_samples_per_instance);
        return DDS_RETCODE_INCONSISTENT_POLICY;
    }
    return DDS_RETCODE_OK;
}

fdds::DurabilityQosPolicyKind to_fast(DDS_DurabilityQosPolicyKind kind) {
    switch (kind) {
        case DDS_TRANSIENT_LOCAL_DURABILITY_QOS:
            return fdds::TRANSIENT_LOCAL_DURABILITY_QOS;
        case DDS_TRANSIENT_DURABILITY_QOS:
            return fdds::TRANSIENT_DURABILITY_QOS;
        case DDS_PERSISTENT_DURABILITY_QOS:
            return fdds::PERSISTENT_DURABILITY_QOS;
        case DDS_VOLATILE_DURABILITY_QOS:
        default:
            return fdds::VOLATILE_DURABILITY_QOS;
    }
}

fdds::LivelinessQosPolicyKind to_fast(DDS_LivelinessQosPolicyKind kind) {
    switch (kind) {
        case DDS_MANUAL_BY_PARTICIPANT_LIVELINESS_QOS:
            return fdds::MANUAL_BY_PARTICIPANT_LIVELINESS_QOS;
        case DDS_MANUAL_BY_TOPIC_LIVELINESS_QOS:
            return fdds::MANUAL_BY_TOPIC_LIVELINESS_QOS;
        case DDS_AUTOMATIC_LIVELINESS_QOS:
        default:
            return fdds::AUTOMATIC_LIVELINESS_QOS;
    }
}

// Fast DDS refuses an announcement period that is not below the lease; half the lease keeps
// a writer comfortably alive.
void set_liveliness(const DDS_LivelinessQosPolicy& liveliness, fdds::LivelinessQosPolicy& fast) {
    fast.kind = to_fast(liveliness.kind);
    fast.lease_duration = qordds::to_fast(liveliness.lease_duration);
    if (liveliness.lease_duration == DDS_DURATION_INFINITE) {
        fast.announcement_period = eprosima::fastrtps::c_TimeInfinite;
    } else {
        uint64_t half_ns = (static_cast<uint64_t>(fast.lease_duration.seconds) * 1000000000u +
                            fast.lease_duration.nanosec) /
                           2;
        fast.announcement_period =
            eprosima::fastrtps::Duration_t(static_cast<int32_t>(half_ns / 1000000000u),
                                           static_cast<uint32_t>(half_ns % 1000000000u));
    }
}

void set_reliability(const DDS_ReliabilityQosPolicy& reliability,
                     fdds::ReliabilityQosPolicy& fast) {
    fast.kind = reliability.kind == DDS_RELIABLE_RELIABILITY_QOS
                    ? fdds::RELIABLE_RELIABILITY_QOS
                    : fdds::BEST_EFFORT_RELIABILITY_QOS;
    fast.max_blocking_time = qordds::to_fast(reliability.max_blocking_time);
}

void set_history(const DDS_HistoryQosPolicy& history, fdds::HistoryQosPolicy& fast) {
    fast.kind = history.kind == DDS_KEEP_ALL_HISTORY_QOS ? fdds::KEEP_ALL_HISTORY_QOS
                                                         : fdds::KEEP_LAST_HISTORY_QOS;
    fast.depth = history.kind == DDS_KEEP_ALL_HISTORY_QOS ? 1 : history.depth;
}

// Fast DDS spells "unlimited" 0 (a negative limit refuses every sample), and preallocates
// min(allocated_samples, max_samples).
void set_resource_limits(const DDS_ResourceLimitsQosPolicy& limits,
                         fdds::ResourceLimitsQosPolicy& fast) {
    auto fast_limit = [](int32_t value) { return value == DDS_LENGTH_UNLIMITED ? 0 : value; };
    fast.max_samples = fast_limit(limits.max_samples);
    fast.max_instances = fast_limit(limits.max_instances);
    fast.max_samples_per_instance = fast_limit(limits.max_samples_per_instance);
    if (fast.max_samples > 0 && fast.allocated_samples > fast.max_samples) {
        fast.allocated_samples = fast.max_samples;
    }
}

// A reliable KEEP_LAST writer keeps a send window of `depth` samples per instance in the
// binding (see send_window.h); Fast DDS's history stays KEEP_LAST, and its resource limits
// make room for `depth` samples per instance (for an unkeyed type, in all).
void keep_last_as_send_window(int32_t depth, bool keyed, fdds::DataWriterQos& fast) {
    fdds::ResourceLimitsQosPolicy& limits = fast.resource_limits();
    limits.max_samples_per_instance = depth;
    if (!keyed) {
        limits.max_samples = depth;
    }
    if (limits.max_samples > 0 && limits.allocated_samples > limits.max_samples) {
        limits.allocated_samples = limits.max_samples;
    }
    // A writer waiting for acknowledgements sends nothing that carries a heartbeat, so if the
    // last one was lost, only the periodic heartbeat (3 s in Fast DDS) gets the reader to
    // acknowledge again. Fast DDS sends it only while samples are unacknowledged, so a short
    // period costs nothing on a quiet writer and keeps such a stall well within the default
    // max_blocking_time of 100 ms.
    fast.reliable_writer_qos().times.heartbeatPeriod = eprosima::fastrtps::Duration_t(0, 50000000);
}

void set_ownership(const DDS_OwnershipQosPolicy& ownership, fdds::OwnershipQosPolicy& fast) {
    fast.kind = ownership.kind == DDS_EXCLUSIVE_OWNERSHIP_QOS ? fdds::EXCLUSIVE_OWNERSHIP_QOS
                                                              : fdds::SHARED_OWNERSHIP_QOS;
}

std::string lower(const char* text) {
    std::string result(text == nullptr ? "" : text);
    for (char& c : result) {
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
    return result;
}

// An empty transport list means every transport; otherwise the address's own transport
// must be listed, by its plain or "builtin." name.
bool transport_selected(const DDS_StringSeq& transports, bool v4) {
    if (transports.length() == 0) {
        return true;
    }
    const char* wanted = v4 ? "udpv4" : "udpv6";
    for (int32_t i = 0; i < transports.length(); ++i) {
        std::string name = lower(transports[i]);
        if (name == wanted || name == std::string("builtin.") + wanted) {
            return true;
        }
    }
    return false;
}

// Each usable setting becomes a multicast locator of the reader: Fast DDS then announces it
// instead of the participant's unicast locators, so writers send this reader's data (and
// heartbeats) to that group and port. Settings that cannot be used are logged and left out,
// and the reader is still created; without a usable one it keeps the participant's locators.
// An address that is no multicast group is one of them: writers would send there only, and
// nothing would arrive.
void set_multicast_locators(const DDS_TransportMulticastQosPolicy& multicast,
                            fdds::RTPSEndpointQos& endpoint, const char* context) {
    for (int32_t i = 0; i < multicast.value.length(); ++i) {
        const DDS_TransportMulticastSettings_t& settings = multicast.value[i];
        DDS_TransportAddress_t address;
        if (DDS_TransportAddress_from_string(&address, settings.receive_address) != 1) {
            log(LogKind::Warning, context, "multicast receive address \"%s\" is not an address",
                settings.receive_address == nullptr ? "" : settings.receive_address);
            continue;
        }
        if (settings.receive_port <= 0 || settings.receive_port > 65535) {
            log(LogKind::Warning, context, "multicast receive port %d is out of range",
                settings.receive_port);
            continue;
        }
        const unsigned char* bytes = address.network_ordered_value;
        bool v4 = true;
        for (int b = 0; b < 12; ++b) {
            v4 = v4 && bytes[b] == 0;
        }
        bool group = v4 ? (bytes[12] & 0xF0) == 0xE0 : bytes[0] == 0xFF;
        if (!group) {
            log(LogKind::Warning, context,
                "multicast receive address \"%s\" is not a multicast group; left out",
                settings.receive_address);
            continue;
        }
        if (!transport_selected(settings.transports, v4)) {
            continue;
        }
        Locator_t locator;
        locator.kind = v4 ? LOCATOR_KIND_UDPv4 : LOCATOR_KIND_UDPv6;
        locator.port = static_cast<uint32_t>(settings.receive_port);
        if (v4) {
            eprosima::fastrtps::rtps::IPLocator::setIPv4(locator, bytes[12], bytes[13], bytes[14],
                                                         bytes[15]);
        } else {
            eprosima::fastrtps::rtps::IPLocator::setIPv6(locator, bytes);
        }
        endpoint.multicast_locator_list.push_back(locator);
    }
}

}  // namespace

DDS_ReturnCode_t translate_topic_qos(const DDS_TopicQos& qos, fdds::TopicQos& fast,
                                     const char* context) {
    DDS_ReturnCode_t result = check_history_and_limits(qos.history, qos.resource_limits, context);
    if (result != DDS_RETCODE_OK) {
        return result;
    }
    fast.durability().kind = to_fast(qos.durability.kind);
    fast.deadline().period = to_fast(qos.deadline.period);
    set_liveliness(qos.liveliness, fast.liveliness());
    set_reliability(qos.reliability, fast.reliability());
    set_history(qos.history, fast.history());
    set_resource_limits(qos.resource_limits, fast.resource_limits());
    set_ownership(qos.ownership, fast.ownership());
    fast.lifespan().duration = to_fast(qos.lifespan.duration);
    return DDS_RETCODE_OK;
}

DDS_ReturnCode_t translate_writer_qos(const DDS_DataWriterQos& qos, bool keyed,
                                      fdds::DataWriterQos& fast, const char* context) {
    DDS_ReturnCode_t result = check_history_and_limits(qos.history, qos.resource_limits, context);
    if (result != DDS_RETCODE_OK) {
        return result;
    }
    fast.durability().kind = to_fast(qos.durability.kind);
    fast.deadline().period = to_fast(qos.deadline.period);
    set_liveliness(qos.liveliness, fast.liveliness());
    set_reliability(qos.reliability, fast.reliability());
    set_history(qos.history, fast.history());
    set_resource_limits(qos.resource_limits, fast.resource_limits());
    if (qos.reliability.kind == DDS_RELIABLE_RELIABILITY_QOS &&
        qos.history.kind == DDS_KEEP_LAST_HISTORY_QOS) {
        keep_last_as_send_window(qos.history.depth, keyed, fast);
    }
    set_ownership(qos.ownership, fast.ownership());
    fast.lifespan().duration = to_fast(qos.lifespan.duration);
    fast.writer_data_lifecycle().autodispose_unregistered_instances =
        qos.writer_data_lifecycle.autodispose_unregistered_instances;
    return DDS_RETCODE_OK;
}

DDS_ReturnCode_t translate_reader_qos(const DDS_DataReaderQos& qos, fdds::DataReaderQos& fast,
                                      const char* context) {
    DDS_ReturnCode_t result = check_history_and_limits(qos.history, qos.resource_limits, context);
    if (result != DDS_RETCODE_OK) {
        return result;
    }
    if (nanoseconds(qos.deadline.period) < nanoseconds(qos.time_based_filter.minimum_separation)) {
        log(LogKind::Error, context,
            "inconsistent QoS: the deadline period is shorter than the time-based filter's "
            "minimum separation");
        return DDS_RETCODE_INCONSISTENT_POLICY;
    }
    fast.durability().kind = to_fast(qos.durability.kind);
    fast.deadline().period = to_fast(qos.deadline.period);
    set_liveliness(qos.liveliness, fast.liveliness());
    set_reliability(qos.reliability, fast.reliability());
    set_history(qos.history, fast.history());
    set_resource_limits(qos.resource_limits, fast.resource_limits());
    set_ownership(qos.ownership, fast.ownership());
    // Carried for discovery only: Fast DDS 2.9 does not filter, the binding's reader does.
    fast.time_based_filter().minimum_separation = to_fast(qos.time_based_filter.minimum_separation);
    fast.lifespan().duration = to_fast(qos.lifespan.duration);
    set_multicast_locators(qos.multicast, fast.endpoint(), context);
    return DDS_RETCODE_OK;
}

}  // namespace qordds
