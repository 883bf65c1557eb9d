#include "qos/status_translation.h"

#include <cstddef>

#include "qos/fast_conversions.h"

namespace fdds = eprosima::fastdds::dds;

namespace qordds {

namespace {

int32_t to_count(uint32_t count) {
    return count > static_cast<uint32_t>(INT32_MAX) ? INT32_MAX : static_cast<int32_t>(count);
}

// Fast DDS's ids 0 to 22 are the standard ones, and every policy that it can find
// incompatible has one of them.
DDS_QosPolicyId_t to_policy_id(fdds::QosPolicyId_t id) {
    return id > fdds::DURABILITYSERVICE_QOS_POLICY_ID ? DDS_INVALID_QOS_POLICY_ID
                                                      : static_cast<DDS_QosPolicyId_t>(id);
}

// The order of Fast DDS's matching checks, then every other policy by id.
const fdds::QosPolicyId_t kCheckOrder[] = {
    fdds::RELIABILITY_QOS_POLICY_ID, fdds::DURABILITY_QOS_POLICY_ID, fdds::OWNERSHIP_QOS_POLICY_ID,
    fdds::DEADLINE_QOS_POLICY_ID,    fdds::LIVELINESS_QOS_POLICY_ID,
};

bool checked_first(size_t id) {
    for (fdds::QosPolicyId_t first : kCheckOrder) {
        if (static_cast<size_t>(first) == id) {
            return true;
        }
    }
    return false;
}

void append_offender(DDS_QosPolicyCountSeq& policies, const fdds::QosPolicyCount& policy) {
    DDS_QosPolicyId_t id = to_policy_id(policy.policy_id);
    if (policy.count == 0 || id == DDS_INVALID_QOS_POLICY_ID) {
        return;
    }
    int32_t index = policies.length();
    if (policies.ensure_length(index + 1, index + 1)) {
        policies[index].policy_id = id;
        policies[index].count = to_count(policy.count);
    }
}

template <class Status>
Status translate_incompatible(const fdds::IncompatibleQosStatus& status) {
    Status result;
    result.total_count = to_count(status.total_count);
    result.total_count_change = to_count(status.total_count_change);
    result.last_policy_id = to_policy_id(status.last_policy_id);
    const fdds::QosPolicyCountSeq& table = status.policies;
    for (fdds::QosPolicyId_t first : kCheckOrder) {
        if (static_cast<size_t>(first) < table.size()) {
            append_offender(result.policies, table[first]);
        }
    }
    for (size_t id = 0; id < table.size(); ++id) {
        if (!checked_first(id)) {
            append_offender(result.policies, table[id]);
        }
    }
    return result;
}

template <class Status>
Status translate_matched(const fdds::MatchedStatus& status, int32_t peak) {
    Status result;
    result.total_count = status.total_count;
    result.total_count_change = status.total_count_change;
    result.current_count = status.current_count;
    result.current_count_peak = peak;
    result.current_count_change = status.current_count_change;
    return result;
}

}  // namespace

DDS_RequestedDeadlineMissedStatus translate_requested_deadline_missed(
    const fdds::DeadlineMissedStatus& status) {
    DDS_RequestedDeadlineMissedStatus result;
    result.total_count = to_count(status.total_count);
    result.total_count_change = to_count(status.total_count_change);
    result.last_instance_handle = from_fast(status.last_instance_handle);
    return result;
}

DDS_LivelinessLostStatus translate_liveliness_lost(const fdds::LivelinessLostStatus& status) {
    DDS_LivelinessLostStatus result;
    result.total_count = status.total_count;
    result.total_count_change = status.total_count_change;
    return result;
}

DDS_LivelinessChangedStatus translate_liveliness_changed(
    const fdds::LivelinessChangedStatus& status) {
    DDS_LivelinessChangedStatus result;
    result.alive_count = status.alive_count;
    result.not_alive_count = status.not_alive_count;
    result.alive_count_change = status.alive_count_change;
    result.not_alive_count_change = status.not_alive_count_change;
    result.last_publication_handle = from_fast(status.last_publication_handle);
    return result;
}

DDS_SampleRejectedStatus translate_sample_rejected(const fdds::SampleRejectedStatus& status) {
    DDS_SampleRejectedStatus result;
    result.total_count = to_count(status.total_count);
    result.total_count_change = to_count(status.total_count_change);
    switch (status.last_reason) {
        case fdds::REJECTED_BY_INSTANCES_LIMIT:
            result.last_reason = DDS_REJECTED_BY_INSTANCES_LIMIT;
            break;
        case fdds::REJECTED_BY_SAMPLES_LIMIT:
            result.last_reason = DDS_REJECTED_BY_SAMPLES_LIMIT;
            break;
        case fdds::REJECTED_BY_SAMPLES_PER_INSTANCE_LIMIT:
            result.last_reason = DDS_REJECTED_BY_SAMPLES_PER_INSTANCE_LIMIT;
            break;
        case fdds::NOT_REJECTED:
        default:
            result.last_reason = DDS_NOT_REJECTED;
            break;
    }
    result.last_instance_handle = from_fast(status.last_instance_handle);
    return result;
}

DDS_SampleLostStatus translate_sample_lost(const fdds::SampleLostStatus& status) {
    DDS_SampleLostStatus result;
    result.total_count = status.total_count;
    result.total_count_change = status.total_count_change;
    return result;
}

DDS_OfferedIncompatibleQosStatus translate_offered_incompatible_qos(
    const fdds::OfferedIncompatibleQosStatus& status) {
    return translate_incompatible<DDS_OfferedIncompatibleQosStatus>(status);
}

DDS_RequestedIncompatibleQosStatus translate_requested_incompatible_qos(
    const fdds::RequestedIncompatibleQosStatus& status) {
    return translate_incompatible<DDS_RequestedIncompatibleQosStatus>(status);
}

DDS_PublicationMatchedStatus translate_publication_matched(
    const fdds::PublicationMatchedStatus& status, int32_t peak) {
    DDS_PublicationMatchedStatus result =
        translate_matched<DDS_PublicationMatchedStatus>(status, peak);
    result.last_subscription_handle = from_fast(status.last_subscription_handle);
    return result;
}

DDS_SubscriptionMatchedStatus translate_subscription_matched(
    const fdds::SubscriptionMatchedStatus& status, int32_t peak) {
    DDS_SubscriptionMatchedStatus result =
        translate_matched<DDS_SubscriptionMatchedStatus>(status, peak);
    result.last_publication_handle = from_fast(status.last_publication_handle);
    return result;
}

}  // namespace qordds
