#include "dds/domain.h"
#include "dds/publication.h"
#include "dds/src/participant_impl.h"
#include "dds/subscription.h"
#include "dds/topic.h"

// Placeholder until endpoints land.

DDSTopic* DDSDomainParticipant::create_topic(const char*, const char*, const DDS_TopicQos&,
                                             DDSTopicListener*, DDS_StatusMask) {
    return nullptr;
}
DDS_ReturnCode_t DDSDomainParticipant::delete_topic(DDSTopic*) {
    return DDS_RETCODE_UNSUPPORTED;
}

DDSPublisher* DDSDomainParticipant::create_publisher(const DDS_PublisherQos&, DDSPublisherListener*,
                                                     DDS_StatusMask) {
    return nullptr;
}
DDS_ReturnCode_t DDSDomainParticipant::delete_publisher(DDSPublisher*) {
    return DDS_RETCODE_UNSUPPORTED;
}

DDSSubscriber* DDSDomainParticipant::create_subscriber(const DDS_SubscriberQos&,
                                                       DDSSubscriberListener*, DDS_StatusMask) {
    return nullptr;
}
DDS_ReturnCode_t DDSDomainParticipant::delete_subscriber(DDSSubscriber*) {
    return DDS_RETCODE_UNSUPPORTED;
}

DDS_ReturnCode_t DDSDomainParticipant::delete_contained_entities() {
    return DDS_RETCODE_OK;
}
