// Binding-internal: what a DDSSubscriber holds.
#ifndef QOR_DDS_SRC_SUBSCRIBER_IMPL_H
#define QOR_DDS_SRC_SUBSCRIBER_IMPL_H

#include <vector>

#include <fastdds/dds/subscriber/Subscriber.hpp>

#include "entities/data_reader.h"
#include "qordds/subscription.h"

class DDSSubscriber::Impl {
  public:
    DDSDomainParticipant* participant = nullptr;
    eprosima::fastdds::dds::Subscriber* fast = nullptr;
    // Guarded by the participant's mutex.
    std::vector<qordds::UntypedDataReader*> readers;
};

namespace qordds {

// Deletes the reader, its typed wrapper and its Fast DDS reader; the caller holds the
// participant's mutex and has taken the reader out of its subscriber's list. Asked for inside a
// callback, the deletion is finished on another thread (see deferred_deletion.h).
DDS_ReturnCode_t destroy_reader(UntypedDataReader* reader);

}  // namespace qordds

#endif
