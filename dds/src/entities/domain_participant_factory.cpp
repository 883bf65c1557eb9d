#include <algorithm>
#include <cstring>
#include <mutex>
#include <vector>

#include <fastdds/dds/domain/DomainParticipantFactory.hpp>

#include "entities/impl_access.h"
#include "entities/participant_impl.h"
#include "log/fast_environment.h"
#include "log/log.h"
#include "profiles/loaded_profiles.h"
#include "qordds/domain.h"
#include "qordds/logger.h"
#include "qos/participant_qos_translation.h"
#include "security/security_files.h"

namespace fd = eprosima::fastdds::dds;
using ReturnCode = eprosima::fastrtps::types::ReturnCode_t;
namespace fr = eprosima::fastrtps::rtps;

class DDSDomainParticipantFactory::Impl {
  public:
    std::mutex mutex;
    DDS_DomainParticipantFactoryQos qos;
    // Loaded from qos.profile; replaced whole, so that participants may keep the old one.
    std::shared_ptr<const qordds::QosProfileLibrary> profiles =
        std::make_shared<qordds::QosProfileLibrary>();
    std::vector<DDSDomainParticipant*> participants;

    bool owns(DDSDomainParticipant* participant) const {
        return std::find(participants.begin(), participants.end(), participant) !=
               participants.end();
    }
};

namespace {

const char* const create_context = "DDSDomainParticipantFactory::create_participant";

std::mutex instance_mutex;
DDSDomainParticipantFactory* instance = nullptr;

// The prefix a participant's GUID has once it is enabled.
fr::GuidPrefix_t effective_prefix(const fd::DomainParticipant& fast) {
    const fr::GuidPrefix_t& asked = fast.get_qos().wire_protocol().prefix;
    return asked != fr::c_GuidPrefix_Unknown ? asked : fast.guid().guidPrefix;
}

bool contains_entities(DDSDomainParticipant& participant) {
    DDSDomainParticipant::Impl& impl = *qordds::impl_of(&participant);
    std::lock_guard<std::recursive_mutex> lock(impl.mutex);
    return !impl.entities.topics.empty() || !impl.entities.publishers.empty() ||
           !impl.entities.subscribers.empty();
}

// Fast DDS participants are always created disabled: the binding enables them itself once
// their transports are settled.
bool disable_fast_autoenable() {
    fd::DomainParticipantFactory* fast = fd::DomainParticipantFactory::get_instance();
    fd::DomainParticipantFactoryQos qos;
    fast->get_qos(qos);
    qos.entity_factory().autoenable_created_entities = false;
    return fast->set_qos(qos) == ReturnCode::RETCODE_OK;
}

}  // namespace

DDSDomainParticipantFactory::DDSDomainParticipantFactory() : impl_(new Impl) {}

DDSDomainParticipantFactory::~DDSDomainParticipantFactory() {
    delete impl_;
}

DDSDomainParticipantFactory* DDSDomainParticipantFactory::get_instance() {
    std::lock_guard<std::mutex> lock(instance_mutex);
    if (instance == nullptr) {
        // The logger first, so that Fast DDS's own console output is replaced before any
        // Fast DDS entity exists, then the environment, before Fast DDS reads it.
        DDSLogger::get_instance();
        qordds::neutralise_fast_dds_environment();
        instance = new DDSDomainParticipantFactory;
    }
    return instance;
}

DDS_ReturnCode_t DDSDomainParticipantFactory::finalize_instance() {
    std::lock_guard<std::mutex> lock(instance_mutex);
    if (instance == nullptr) {
        return DDS_RETCODE_OK;
    }
    {
        std::lock_guard<std::mutex> factory_lock(instance->impl_->mutex);
        if (!instance->impl_->participants.empty()) {
            qordds::log(qordds::LogKind::Error, "DDSDomainParticipantFactory::finalize_instance",
                        "%zu participants still exist", instance->impl_->participants.size());
            return DDS_RETCODE_PRECONDITION_NOT_MET;
        }
    }
    delete instance;
    instance = nullptr;
    return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDomainParticipantFactory::get_qos(DDS_DomainParticipantFactoryQos& qos) {
    std::lock_guard<std::mutex> lock(impl_->mutex);
    qos = impl_->qos;
    return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDomainParticipantFactory::set_qos(const DDS_DomainParticipantFactoryQos& qos) {
    std::shared_ptr<const qordds::QosProfileLibrary> profiles =
        qordds::QosProfileLibrary::load(qos.profile);
    if (profiles == nullptr) {
        qordds::log(qordds::LogKind::Error, "DDSDomainParticipantFactory::set_qos",
                    "the QoS profile sources have errors; the factory QoS stays as it was");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    std::lock_guard<std::mutex> lock(impl_->mutex);
    impl_->qos = qos;
    impl_->profiles = profiles;
    return DDS_RETCODE_OK;
}

namespace {

void fill_names(DDS_StringSeq& sequence, const std::vector<std::string>& names) {
    int32_t count = static_cast<int32_t>(names.size());
    sequence.ensure_length(count, count);
    for (int32_t i = 0; i < count; ++i) {
        DDS_String_replace(&sequence[i], names[static_cast<size_t>(i)].c_str());
    }
}

}  // namespace

DDS_ReturnCode_t DDSDomainParticipantFactory::get_qos_profile_libraries(
    DDS_StringSeq& library_names) {
    std::lock_guard<std::mutex> lock(impl_->mutex);
    fill_names(library_names, impl_->profiles->library_names());
    return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDomainParticipantFactory::get_qos_profiles(DDS_StringSeq& profile_names,
                                                               const char* library_name) {
    if (library_name == nullptr) {
        return DDS_RETCODE_BAD_PARAMETER;
    }
    std::lock_guard<std::mutex> lock(impl_->mutex);
    fill_names(profile_names, impl_->profiles->profile_names(library_name));
    return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDomainParticipantFactory::get_participant_qos_from_profile(
    DDS_DomainParticipantQos& qos, const char* library_name, const char* profile_name) {
    qordds::QosProfileRef found = qordds::find_loaded_profile(
        library_name, profile_name,
        "DDSDomainParticipantFactory::get_participant_qos_from_profile");
    if (found.profile == nullptr) {
        return DDS_RETCODE_BAD_PARAMETER;
    }
    DDS_DomainParticipantQos read;
    qordds::profile_participant_qos(*found.profile, read);
    qos = read;
    return DDS_RETCODE_OK;
}

namespace qordds {

QosProfileRef find_loaded_profile(const char* library, const char* profile, const char* context) {
    QosProfileRef found;
    if (library == nullptr || profile == nullptr) {
        log(LogKind::Error, context, "a library and a profile name are needed");
        return found;
    }
    DDSDomainParticipantFactory::Impl& factory =
        *qordds::impl_of(DDSDomainParticipantFactory::get_instance());
    std::lock_guard<std::mutex> lock(factory.mutex);
    found.library = factory.profiles;
    found.profile = found.library->find(library, profile);
    if (found.profile == nullptr) {
        log(LogKind::Error, context, "there is no QoS profile %s::%s", library, profile);
        found.library.reset();
    }
    return found;
}

}  // namespace qordds

DDSDomainParticipant* DDSDomainParticipantFactory::create_participant(
    DDS_DomainId_t domain_id, const DDS_DomainParticipantQos& qos, DDSDomainParticipantListener*,
    DDS_StatusMask) {
    fd::DomainParticipantQos fast_qos;
    if (!qordds::translate_participant_qos(qos, domain_id, fast_qos) ||
        !qordds::security_files_usable(fast_qos.properties(), create_context)) {
        return nullptr;
    }
    std::lock_guard<std::mutex> lock(impl_->mutex);
    fd::DomainParticipantFactory* fast_factory = fd::DomainParticipantFactory::get_instance();
    fd::DomainParticipant* fast = nullptr;
    try {
        if (!disable_fast_autoenable()) {
            qordds::log(qordds::LogKind::Error, create_context,
                        "Fast DDS refused to create participants disabled");
            return nullptr;
        }
        fast = fast_factory->create_participant(static_cast<fd::DomainId_t>(domain_id), fast_qos);
    } catch (const std::exception& error) {
        qordds::log(qordds::LogKind::Error, create_context, "Fast DDS failed: %s", error.what());
    }
    if (fast == nullptr) {
        qordds::log(qordds::LogKind::Error, create_context,
                    "Fast DDS could not create a participant in domain %d", domain_id);
        return nullptr;
    }

    if (qos.wire_protocol.rtps_app_id != DDS_RTPS_AUTO_ID) {
        fr::GuidPrefix_t prefix = fast->guid().guidPrefix;
        qordds::put_app_id(qos.wire_protocol.rtps_app_id, prefix.value);
        for (DDSDomainParticipant* other : impl_->participants) {
            if (effective_prefix(*qordds::impl_of(other)->fast) == prefix) {
                qordds::log(qordds::LogKind::Error, create_context,
                            "application id 0x%08x is used by another participant of this "
                            "process",
                            qos.wire_protocol.rtps_app_id);
                fast_factory->delete_participant(fast);
                return nullptr;
            }
        }
        fast_qos = fast->get_qos();
        fast_qos.wire_protocol().prefix = prefix;
        if (fast->set_qos(fast_qos) != ReturnCode::RETCODE_OK) {
            qordds::log(qordds::LogKind::Error, create_context,
                        "Fast DDS refused the GUID prefix of application id 0x%08x",
                        qos.wire_protocol.rtps_app_id);
            fast_factory->delete_participant(fast);
            return nullptr;
        }
    }

    auto* impl = new DDSDomainParticipant::Impl;
    impl->fast = fast;
    impl->domain_id = domain_id;
    impl->qos = qos;
    impl->transports = qordds::initial_transports(qos);
    impl->defaults = qordds::initial_default_qos(impl_->profiles);
    auto* participant = new DDSDomainParticipant(impl);
    impl_->participants.push_back(participant);

    if (impl_->qos.entity_factory.autoenable_created_entities &&
        participant->enable() != DDS_RETCODE_OK) {
        impl_->participants.pop_back();
        fast_factory->delete_participant(fast);
        delete participant;
        return nullptr;
    }
    return participant;
}

DDS_ReturnCode_t DDSDomainParticipantFactory::delete_participant(
    DDSDomainParticipant* participant) {
    std::lock_guard<std::mutex> lock(impl_->mutex);
    if (participant == nullptr || !impl_->owns(participant)) {
        qordds::log(qordds::LogKind::Error, "DDSDomainParticipantFactory::delete_participant",
                    "not a participant of this factory");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    if (contains_entities(*participant)) {
        qordds::log(qordds::LogKind::Error, "DDSDomainParticipantFactory::delete_participant",
                    "the participant still contains entities");
        return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    // Fast DDS also refuses while it holds topics, publishers or subscribers of the
    // participant.
    ReturnCode rc = ReturnCode::RETCODE_ERROR;
    qordds::impl_of(participant)->repair.stop();
    qordds::impl_of(participant)->diagnostics.stop();
    try {
        rc = fd::DomainParticipantFactory::get_instance()->delete_participant(
            qordds::impl_of(participant)->fast);
    } catch (const std::exception& error) {
        qordds::log(qordds::LogKind::Error, "DDSDomainParticipantFactory::delete_participant",
                    "Fast DDS failed: %s", error.what());
    }
    if (rc == ReturnCode::RETCODE_PRECONDITION_NOT_MET) {
        qordds::log(qordds::LogKind::Error, "DDSDomainParticipantFactory::delete_participant",
                    "the participant still contains entities");
        return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    if (rc != ReturnCode::RETCODE_OK) {
        qordds::log(qordds::LogKind::Error, "DDSDomainParticipantFactory::delete_participant",
                    "Fast DDS could not delete the participant (code %d)", static_cast<int>(rc()));
        return DDS_RETCODE_ERROR;
    }
    qordds::impl_of(participant)->fast = nullptr;
    impl_->participants.erase(
        std::find(impl_->participants.begin(), impl_->participants.end(), participant));
    delete participant;
    return DDS_RETCODE_OK;
}
