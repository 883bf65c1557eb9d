// Binding-internal: what a DDSTopic holds.
#ifndef QOR_DDS_SRC_TOPIC_IMPL_H
#define QOR_DDS_SRC_TOPIC_IMPL_H

#include <string>

#include <fastdds/dds/topic/Topic.hpp>

#include "qordds/domain.h"
#include "qordds/topic.h"

class DDSTopic::Impl {
  public:
    DDSDomainParticipant* participant = nullptr;
    std::string name;       // as the application named it
    std::string type_name;  // the registered name
    eprosima::fastdds::dds::Topic* fast = nullptr;
    // Writers and readers created on the topic; guarded by the participant's mutex.
    int endpoints = 0;
};

#endif
