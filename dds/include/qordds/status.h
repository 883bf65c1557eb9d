// Communication statuses that listeners receive.
#ifndef QOR_DDS_STATUS_H
#define QOR_DDS_STATUS_H

#include <cstdint>

#include "qordds/qos.h"
#include "qordds/sequence.h"
#include "qordds/types.h"

struct DDS_QosPolicyCount {
    DDS_QosPolicyId_t policy_id = DDS_INVALID_QOS_POLICY_ID;
    int32_t count = 0;
};
typedef DDSSequence<DDS_QosPolicyCount> DDS_QosPolicyCountSeq;

struct DDS_OfferedDeadlineMissedStatus {
    int32_t total_count = 0;
    int32_t total_count_change = 0;
    DDS_InstanceHandle_t last_instance_handle = DDS_HANDLE_NIL;
};

struct DDS_RequestedDeadlineMissedStatus {
    int32_t total_count = 0;
    int32_t total_count_change = 0;
    DDS_InstanceHandle_t last_instance_handle = DDS_HANDLE_NIL;
};

struct DDS_LivelinessLostStatus {
    int32_t total_count = 0;
    int32_t total_count_change = 0;
};

struct DDS_LivelinessChangedStatus {
    int32_t alive_count = 0;
    int32_t not_alive_count = 0;
    int32_t alive_count_change = 0;
    int32_t not_alive_count_change = 0;
    DDS_InstanceHandle_t last_publication_handle = DDS_HANDLE_NIL;
};

// `policies` holds only the offending policies, each with its standard id.
struct DDS_OfferedIncompatibleQosStatus {
    int32_t total_count = 0;
    int32_t total_count_change = 0;
    DDS_QosPolicyId_t last_policy_id = DDS_INVALID_QOS_POLICY_ID;
    DDS_QosPolicyCountSeq policies;
};

struct DDS_RequestedIncompatibleQosStatus {
    int32_t total_count = 0;
    int32_t total_count_change = 0;
    DDS_QosPolicyId_t last_policy_id = DDS_INVALID_QOS_POLICY_ID;
    DDS_QosPolicyCountSeq policies;
};

struct DDS_PublicationMatchedStatus {
    int32_t total_count = 0;
    int32_t total_count_change = 0;
    int32_t current_count = 0;
    int32_t current_count_peak = 0;
    int32_t current_count_change = 0;
    DDS_InstanceHandle_t last_subscription_handle = DDS_HANDLE_NIL;
};

struct DDS_SubscriptionMatchedStatus {
    int32_t total_count = 0;
    int32_t total_count_change = 0;
    int32_t current_count = 0;
    int32_t current_count_peak = 0;
    int32_t current_count_change = 0;
    DDS_InstanceHandle_t last_publication_handle = DDS_HANDLE_NIL;
};

enum DDS_SampleRejectedStatusKind {
    DDS_NOT_REJECTED = 0,
    DDS_REJECTED_BY_INSTANCES_LIMIT = 1,
    DDS_REJECTED_BY_SAMPLES_LIMIT = 2,
    DDS_REJECTED_BY_SAMPLES_PER_INSTANCE_LIMIT = 3,
};

struct DDS_SampleRejectedStatus {
    int32_t total_count = 0;
    int32_t total_count_change = 0;
    DDS_SampleRejectedStatusKind last_reason = DDS_NOT_REJECTED;
    DDS_InstanceHandle_t last_instance_handle = DDS_HANDLE_NIL;
};

struct DDS_SampleLostStatus {
    int32_t total_count = 0;
    int32_t total_count_change = 0;
};

// Reliable-writer statuses. Fast DDS reports neither event, so these never reach a listener;
// they exist because a writer listener's interface has their slots.
struct DDS_ReliableWriterCacheChangedStatus {
    int32_t unacknowledged_sample_count = 0;
    int32_t unacknowledged_sample_count_peak = 0;
};

struct DDS_ReliableReaderActivityChangedStatus {
    int32_t active_count = 0;
    int32_t inactive_count = 0;
    int32_t active_count_change = 0;
    int32_t inactive_count_change = 0;
    DDS_InstanceHandle_t last_instance_handle = DDS_HANDLE_NIL;
};

#endif
