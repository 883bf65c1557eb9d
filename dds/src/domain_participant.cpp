#include <fastdds/dds/domain/DomainParticipant.hpp>

#include "dds/domain.h"
#include "dds/src/log.h"
#include "dds/src/participant_impl.h"

namespace fd = eprosima::fastdds::dds;
using ReturnCode = eprosima::fastrtps::types::ReturnCode_t;

DDSDomainParticipant::~DDSDomainParticipant() {
    delete impl_;
}

DDS_ReturnCode_t DDSDomainParticipant::enable() {
    std::lock_guard<std::recursive_mutex> lock(impl_->mutex);
    fd::DomainParticipant* fast = impl_->fast;
    if (fast->is_enabled()) {
        return DDS_RETCODE_OK;
    }
    try {
        fd::DomainParticipantQos qos = fast->get_qos();
        qos.transport().user_transports = qordds::make_transport_descriptors(impl_->transports);
        ReturnCode rc = fast->set_qos(qos);
        if (rc == ReturnCode::RETCODE_OK) {
            rc = fast->enable();
        }
        if (rc != ReturnCode::RETCODE_OK) {
            qordds::log(qordds::LogKind::Error, "DDSDomainParticipant::enable",
                        "Fast DDS could not enable the participant (code %d)", rc());
            return rc();
        }
    } catch (const std::exception& error) {
        qordds::log(qordds::LogKind::Error, "DDSDomainParticipant::enable", "Fast DDS failed: %s",
                    error.what());
        return DDS_RETCODE_ERROR;
    }
    return DDS_RETCODE_OK;
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
    std::lock_guard<std::recursive_mutex> lock(impl_->mutex);
    qos = impl_->defaults.topic;
    return DDS_RETCODE_OK;
}
DDS_ReturnCode_t DDSDomainParticipant::get_default_publisher_qos(DDS_PublisherQos& qos) {
    std::lock_guard<std::recursive_mutex> lock(impl_->mutex);
    qos = impl_->defaults.publisher;
    return DDS_RETCODE_OK;
}
DDS_ReturnCode_t DDSDomainParticipant::get_default_subscriber_qos(DDS_SubscriberQos& qos) {
    std::lock_guard<std::recursive_mutex> lock(impl_->mutex);
    qos = impl_->defaults.subscriber;
    return DDS_RETCODE_OK;
}
