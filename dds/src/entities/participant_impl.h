// Binding-internal: what a DDSDomainParticipant holds. Each concern keeps its state in its
// own part, defined next to the code that manages it.
#ifndef QOR_DDS_SRC_PARTICIPANT_IMPL_H
#define QOR_DDS_SRC_PARTICIPANT_IMPL_H

#include <mutex>

#include <fastdds/dds/domain/DomainParticipant.hpp>

#include "diagnostics/participant_diagnostics.h"
#include "entities/entity_registry.h"
#include "qordds/domain.h"
#include "qordds/topic.h"
#include "qos/builtin_transports.h"
#include "qos/default_qos.h"
#include "types/type_registry.h"
#include "workarounds/discovery_rendezvous.h"

class DDSDomainParticipant::Impl {
  public:
    eprosima::fastdds::dds::DomainParticipant* fast = nullptr;
    DDS_DomainId_t domain_id = 0;
    DDS_DomainParticipantQos qos;  // as given to create_participant
    qordds::DefaultQos defaults;
    qordds::BuiltinTransports transports;  // made into Fast DDS transports by enable()
    qordds::TypeRegistry types;
    qordds::EntityRegistry entities;
    qordds::AnnouncementRepair repair;           // of answers a newcomer dropped
    qordds::ParticipantDiagnostics diagnostics;  // told of discovery by the rendezvous
    qordds::DiscoveryRendezvous rendezvous;      // for writers created soon after enable()
    std::recursive_mutex mutex;

    // The participant's own topic behind `description` and the type registered under its type
    // name, for a new endpoint; false (logged under `context`) for any other topic or a type
    // without type support. Called with `mutex` held.
    bool endpoint_topic(DDSTopicDescription* description, const char* context, DDSTopic*& topic,
                        const qordds::RegisteredType*& type);
};

#endif
