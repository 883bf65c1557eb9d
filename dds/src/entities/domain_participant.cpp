#include <fastdds/dds/domain/DomainParticipant.hpp>

#include "entities/participant_impl.h"
#include "log/log.h"
#include "profiles/loaded_profiles.h"
#include "qordds/domain.h"
#include "workarounds/key_only_repair.h"

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
    if ((impl_->transports.mask & DDS_TRANSPORTBUILTIN_SHMEM) != 0) {
        std::string problem =
            qordds::shmem_segment_problem(impl_->transports.shmem, qordds::dev_shm_free_bytes());
        if (!problem.empty()) {
            qordds::log(qordds::LogKind::Error, "DDSDomainParticipant::enable", "%s",
                        problem.c_str());
            return DDS_RETCODE_BAD_PARAMETER;
        }
    }
    try {
        fd::DomainParticipantQos qos = fast->get_qos();
        qos.transport().user_transports =
            qordds::with_key_only_repair(qordds::make_transport_descriptors(impl_->transports));
        ReturnCode rc = fast->set_qos(qos);
        if (rc == ReturnCode::RETCODE_OK) {
            impl_->diagnostics.enabling(impl_->domain_id, impl_->qos, impl_->transports);
            impl_->rendezvous.install(*fast, impl_->repair, impl_->diagnostics);
            rc = fast->enable();
        }
        if (rc == ReturnCode::RETCODE_OK) {
            impl_->rendezvous.enabled(fast->guid().guidPrefix);
            impl_->diagnostics.enabled(*fast);
        }
        if (rc != ReturnCode::RETCODE_OK) {
            qordds::log(qordds::LogKind::Error, "DDSDomainParticipant::enable",
                        "Fast DDS could not enable the participant (code %d)",
                        static_cast<int>(rc()));
            return static_cast<DDS_ReturnCode_t>(rc());
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

namespace {

// Makes `read`'s QoS of the profile a default of the participant, through `keep`.
template <class Qos, class Read, class Keep>
DDS_ReturnCode_t set_default_with_profile(DDSDomainParticipant::Impl& impl, const char* library,
                                          const char* profile, const char* context, Read read,
                                          Keep keep) {
    qordds::QosProfileRef found = qordds::find_loaded_profile(library, profile, context);
    if (found.profile == nullptr) {
        return DDS_RETCODE_BAD_PARAMETER;
    }
    Qos qos;
    read(*found.profile, qos);
    std::lock_guard<std::recursive_mutex> lock(impl.mutex);
    keep(qos, found);
    return DDS_RETCODE_OK;
}

}  // namespace

DDS_ReturnCode_t DDSDomainParticipant::set_default_topic_qos_with_profile(
    const char* library_name, const char* profile_name) {
    return set_default_with_profile<DDS_TopicQos>(
        *impl_, library_name, profile_name,
        "DDSDomainParticipant::set_default_topic_qos_with_profile",
        [](const qordds::QosProfile& profile, DDS_TopicQos& qos) {
            qordds::profile_topic_qos(profile, nullptr, qos);
        },
        [&](const DDS_TopicQos& qos, const qordds::QosProfileRef& found) {
            impl_->defaults.topic = qos;
            impl_->defaults.topic_profile = found;
        });
}

DDS_ReturnCode_t DDSDomainParticipant::set_default_publisher_qos_with_profile(
    const char* library_name, const char* profile_name) {
    return set_default_with_profile<DDS_PublisherQos>(
        *impl_, library_name, profile_name,
        "DDSDomainParticipant::set_default_publisher_qos_with_profile",
        qordds::profile_publisher_qos,
        [&](const DDS_PublisherQos& qos, const qordds::QosProfileRef&) {
            impl_->defaults.publisher = qos;
        });
}

DDS_ReturnCode_t DDSDomainParticipant::set_default_subscriber_qos_with_profile(
    const char* library_name, const char* profile_name) {
    return set_default_with_profile<DDS_SubscriberQos>(
        *impl_, library_name, profile_name,
        "DDSDomainParticipant::set_default_subscriber_qos_with_profile",
        qordds::profile_subscriber_qos,
        [&](const DDS_SubscriberQos& qos, const qordds::QosProfileRef&) {
            impl_->defaults.subscriber = qos;
        });
}

DDS_ReturnCode_t DDSDomainParticipant::set_default_datawriter_qos_with_profile(
    const char* library_name, const char* profile_name) {
    return set_default_with_profile<DDS_DataWriterQos>(
        *impl_, library_name, profile_name,
        "DDSDomainParticipant::set_default_datawriter_qos_with_profile",
        [](const qordds::QosProfile& profile, DDS_DataWriterQos& qos) {
            qordds::profile_datawriter_qos(profile, nullptr, qos);
        },
        [&](const DDS_DataWriterQos& qos, const qordds::QosProfileRef& found) {
            impl_->defaults.datawriter = qos;
            impl_->defaults.datawriter_profile = found;
        });
}

DDS_ReturnCode_t DDSDomainParticipant::set_default_datareader_qos_with_profile(
    const char* library_name, const char* profile_name) {
    return set_default_with_profile<DDS_DataReaderQos>(
        *impl_, library_name, profile_name,
        "DDSDomainParticipant::set_default_datareader_qos_with_profile",
        [](const qordds::QosProfile& profile, DDS_DataReaderQos& qos) {
            qordds::profile_datareader_qos(profile, nullptr, qos);
        },
        [&](const DDS_DataReaderQos& qos, const qordds::QosProfileRef& found) {
            impl_->defaults.datareader = qos;
            impl_->defaults.datareader_profile = found;
        });
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
