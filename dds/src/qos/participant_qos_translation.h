// Binding-internal: a participant's QoS as Fast DDS takes it.
#ifndef QOR_DDS_SRC_PARTICIPANT_QOS_TRANSLATION_H
#define QOR_DDS_SRC_PARTICIPANT_QOS_TRANSLATION_H

#include <fastdds/dds/domain/qos/DomainParticipantQos.hpp>

#include "qordds/qos.h"
#include "qos/builtin_transports.h"

namespace qordds {

// Domains whose ports Fast DDS can compute (it ends the process beyond that).
const DDS_DomainId_t largest_domain_id = 232;

eprosima::fastrtps::Duration_t to_fast_duration(const DDS_Duration_t& duration);

// The largest participant index whose user-traffic port (the highest a participant opens)
// stays below 65536 in the domain.
int32_t largest_participant_id(DDS_DomainId_t domain_id);

// Everything but the transports and the GUID prefix, which are settled on the created
// participant. False, with the reason logged, when the QoS cannot be used in that domain.
bool translate_participant_qos(const DDS_DomainParticipantQos& qos, DDS_DomainId_t domain_id,
                               eprosima::fastdds::dds::DomainParticipantQos& fast);

// The built-in transports a participant starts with: the mask's kinds, their default
// properties, the receiver pool's buffer size as the UDP receive socket buffers.
BuiltinTransports initial_transports(const DDS_DomainParticipantQos& qos);

// The GUID prefix of a participant created with `fast_prefix` and application id `app_id`:
// bytes 0 to 3 (vendor and host) and 4 to 7 (process) stay as Fast DDS made them, since Fast
// DDS recognises local participants by them; bytes 8 to 11, Fast DDS's number of the
// participant within the process, carry the application id, most significant byte first.
// DDS_RTPS_AUTO_ID leaves the prefix as it is.
void put_app_id(uint32_t app_id, unsigned char prefix[12]);

}  // namespace qordds

#endif
