// Binding-internal: Fast DDS statuses as this binding's status records.
#ifndef QOR_DDS_SRC_STATUS_TRANSLATION_H
#define QOR_DDS_SRC_STATUS_TRANSLATION_H

#include <fastdds/dds/core/status/BaseStatus.hpp>
#include <fastdds/dds/core/status/DeadlineMissedStatus.hpp>
#include <fastdds/dds/core/status/IncompatibleQosStatus.hpp>
#include <fastdds/dds/core/status/LivelinessChangedStatus.hpp>
#include <fastdds/dds/core/status/PublicationMatchedStatus.hpp>
#include <fastdds/dds/core/status/SampleRejectedStatus.hpp>
#include <fastdds/dds/core/status/SubscriptionMatchedStatus.hpp>

#include "qordds/status.h"

namespace qordds {

DDS_RequestedDeadlineMissedStatus translate_requested_deadline_missed(
    const eprosima::fastdds::dds::DeadlineMissedStatus& status);
DDS_LivelinessLostStatus translate_liveliness_lost(
    const eprosima::fastdds::dds::LivelinessLostStatus& status);
DDS_LivelinessChangedStatus translate_liveliness_changed(
    const eprosima::fastdds::dds::LivelinessChangedStatus& status);
DDS_SampleRejectedStatus translate_sample_rejected(
    const eprosima::fastdds::dds::SampleRejectedStatus& status);
DDS_SampleLostStatus translate_sample_lost(const eprosima::fastdds::dds::SampleLostStatus& status);

// Fast DDS hands a table with a slot for every policy id; the binding's sequence lists only
// the policies found incompatible, each with its standard id and count, in the order Fast
// DDS checks them when matching (reliability and durability first).
DDS_OfferedIncompatibleQosStatus translate_offered_incompatible_qos(
    const eprosima::fastdds::dds::OfferedIncompatibleQosStatus& status);
DDS_RequestedIncompatibleQosStatus translate_requested_incompatible_qos(
    const eprosima::fastdds::dds::RequestedIncompatibleQosStatus& status);

// Matched statuses; Fast DDS keeps no peak, so the caller passes the one it tracks.
DDS_PublicationMatchedStatus translate_publication_matched(
    const eprosima::fastdds::dds::PublicationMatchedStatus& status, int32_t peak);
DDS_SubscriptionMatchedStatus translate_subscription_matched(
    const eprosima::fastdds::dds::SubscriptionMatchedStatus& status, int32_t peak);

}  // namespace qordds

#endif
