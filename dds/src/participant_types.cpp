#include "dds/domain.h"
#include "dds/src/participant_impl.h"

// Placeholder until type registration lands.

bool DDSDomainParticipant::is_type_registered(const char*) {
    return false;
}

DDS_ReturnCode_t DDSDomainParticipant::register_type(const char*, const DDSTypePlugin&, bool) {
    return DDS_RETCODE_UNSUPPORTED;
}

DDS_ReturnCode_t DDSDomainParticipant::unregister_type(const char*) {
    return DDS_RETCODE_UNSUPPORTED;
}

DDS_ReturnCode_t DDSDomainParticipant::lock() {
    impl_->mutex.lock();
    return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSDomainParticipant::unlock() {
    impl_->mutex.unlock();
    return DDS_RETCODE_OK;
}
