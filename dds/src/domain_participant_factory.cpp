#include <mutex>

#include "dds/domain.h"
#include "dds/src/participant_impl.h"

// Placeholder until participant creation lands: every operation but the singleton fails.

class DDSDomainParticipantFactory::Impl {
  public:
    DDS_DomainParticipantFactoryQos qos;
};

namespace {
std::mutex instance_mutex;
DDSDomainParticipantFactory* instance = nullptr;
}  // namespace

DDSDomainParticipantFactory::DDSDomainParticipantFactory() : impl_(new Impl) {}
DDSDomainParticipantFactory::~DDSDomainParticipantFactory() {
    delete impl_;
}

DDSDomainParticipantFactory* DDSDomainParticipantFactory::get_instance() {
    std::lock_guard<std::mutex> lock(instance_mutex);
    if (instance == nullptr) {
        instance = new DDSDomainParticipantFactory;
    }
    return instance;
}

DDS_ReturnCode_t DDSDomainParticipantFactory::finalize_instance() {
    std::lock_guard<std::mutex> lock(instance_mutex);
    delete instance;
    instance = nullptr;
    return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDomainParticipantFactory::get_qos(DDS_DomainParticipantFactoryQos& qos) {
    qos = impl_->qos;
    return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDomainParticipantFactory::set_qos(const DDS_DomainParticipantFactoryQos&) {
    return DDS_RETCODE_UNSUPPORTED;
}

DDS_ReturnCode_t DDSDomainParticipantFactory::get_qos_profile_libraries(DDS_StringSeq&) {
    return DDS_RETCODE_UNSUPPORTED;
}

DDS_ReturnCode_t DDSDomainParticipantFactory::get_qos_profiles(DDS_StringSeq&, const char*) {
    return DDS_RETCODE_UNSUPPORTED;
}

DDS_ReturnCode_t DDSDomainParticipantFactory::get_participant_qos_from_profile(
    DDS_DomainParticipantQos&, const char*, const char*) {
    return DDS_RETCODE_UNSUPPORTED;
}

DDSDomainParticipant* DDSDomainParticipantFactory::create_participant(
    DDS_DomainId_t, const DDS_DomainParticipantQos&, DDSDomainParticipantListener*,
    DDS_StatusMask) {
    return nullptr;
}

DDS_ReturnCode_t DDSDomainParticipantFactory::delete_participant(DDSDomainParticipant*) {
    return DDS_RETCODE_UNSUPPORTED;
}
