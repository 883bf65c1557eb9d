// Fast DDS statuses as the binding reports them.
#include <gtest/gtest.h>

#include <string>

#include <fastdds/dds/core/status/IncompatibleQosStatus.hpp>

#include "qos/status_translation.h"

namespace fdds = eprosima::fastdds::dds;

TEST(StatusTranslation, IncompatibleQosListsOnlyOffendersWithStandardIdsInCheckOrder) {
    fdds::RequestedIncompatibleQosStatus fast;
    fast.total_count = 3;
    fast.last_policy_id = fdds::DURABILITY_QOS_POLICY_ID;
    fast.policies[fdds::DURABILITY_QOS_POLICY_ID].count = 1;
    fast.policies[fdds::DEADLINE_QOS_POLICY_ID].count = 1;
    fast.policies[fdds::RELIABILITY_QOS_POLICY_ID].count = 2;
    fast.policies[fdds::DISABLEPOSITIVEACKS_QOS_POLICY_ID].count = 1;  // no standard id
    DDS_RequestedIncompatibleQosStatus status = qordds::translate_requested_incompatible_qos(fast);
    std::string policies;
    for (int32_t i = 0; i < status.policies.length(); ++i) {
        policies += std::to_string(status.policies[i].policy_id) + "x" +
                    std::to_string(status.policies[i].count) + " ";
    }
    EXPECT_EQ(policies, "11x2 2x1 4x1 ");
    EXPECT_EQ(status.total_count, 3);
    EXPECT_EQ(status.last_policy_id, DDS_DURABILITY_QOS_POLICY_ID);
}
