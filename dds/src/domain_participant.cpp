#include "dds/domain.h"
#include "dds/src/participant_impl.h"

// Placeholder until participant creation lands.

DDSDomainParticipant::~DDSDomainParticipant() {
    delete impl_;
}

DDS_ReturnCode_t DDSDomainParticipant::enable() {
    return DDS_RETCODE_UNSUPPORTED;
}

DDS_DomainId_t DDSDomainParticipant::get_domain_id() {
    return impl_->domain_id;
}

DDS_ReturnCode_t DDSDomainParticipant::set_default_topic_qos_with_profile(const char*,
                                                                          const char*) {
    return DDS_RETCODE_UNSUPPORTED;
}
DDS_ReturnCode_t DDSDomainParticipant::set_default_publisher_qos_with_profile(const char*,
                                                                              const char*) {
    return DDS_RETCODE_UNSUPPORTED;
}
DDS_ReturnCode_t DDSDomainParticipant::set_default_subscriber_qos_with_profile(const char*,
                                                                               const char*) {
    return DDS_RETCODE_UNSUPPORTED;
}
DDS_ReturnCode_t DDSDomainParticipant::set_default_datawriter_qos_with_profile(const char*,
                                                                               const char*) {
    return DDS_RETCODE_UNSUPPORTED;
}
DDS_ReturnCode_t DDSDomainParticipant::set_default_datareader_qos_with_profile(const char*,
                                                                               const char*) {
    return DDS_RETCODE_UNSUPPORTED;
}

DDS_ReturnCode_t DDSDomainParticipant::get_default_topic_qos(DDS_TopicQos& qos) {
    qos = impl_->defaults.topic;
    return DDS_RETCODE_OK;
}
DDS_ReturnCode_t DDSDomainParticipant::get_default_publisher_qos(DDS_PublisherQos& qos) {
    qos = impl_->defaults.publisher;
    return DDS_RETCODE_OK;
}
DDS_ReturnCode_t DDSDomainParticipant::get_default_subscriber_qos(DDS_SubscriberQos& qos) {
    qos = impl_->defaults.subscriber;
    return DDS_RETCODE_OK;
}
