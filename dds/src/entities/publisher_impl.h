// Binding-internal: what a DDSPublisher holds.
#ifndef QOR_DDS_SRC_PUBLISHER_IMPL_H
#define QOR_DDS_SRC_PUBLISHER_IMPL_H

#include <vector>

#include <fastdds/dds/publisher/Publisher.hpp>

#include "entities/data_writer.h"
#include "qordds/publication.h"

class DDSPublisher::Impl {
  public:
    DDSDomainParticipant* participant = nullptr;
    eprosima::fastdds::dds::Publisher* fast = nullptr;
    // Guarded by the participant's mutex.
    std::vector<qordds::UntypedDataWriter*> writers;
};

namespace qordds {

// Deletes the writer, its typed wrapper and its Fast DDS writer; the caller holds the
// participant's mutex and has taken the writer out of its publisher's list. Asked for inside a
// callback, the deletion is finished on another thread (see deferred_deletion.h).
DDS_ReturnCode_t destroy_writer(UntypedDataWriter* writer);

}  // namespace qordds

#endif
