#include "kestping/pingDataSupport.h"

// Placeholder until the typed layer lands: registration fails, nothing narrows.

DDS_ReturnCode_t KestPingDataTypeSupport::register_type(DDSDomainParticipant*, const char*) {
    return DDS_RETCODE_UNSUPPORTED;
}
const char* KestPingDataTypeSupport::get_type_name() {
    return KestPingDataTYPENAME;
}
KestPingData* KestPingDataTypeSupport::create_data(const DDS_TypeAllocationParams_t&) {
    return nullptr;
}
DDS_ReturnCode_t KestPingDataTypeSupport::delete_data(KestPingData*,
                                                      const DDS_TypeDeallocationParams_t&) {
    return DDS_RETCODE_UNSUPPORTED;
}
KestPingDataDataWriter* KestPingDataDataWriter::narrow(DDSDataWriter*) {
    return nullptr;
}
KestPingDataDataReader* KestPingDataDataReader::narrow(DDSDataReader*) {
    return nullptr;
}

DDS_ReturnCode_t KestKeyedPingDataTypeSupport::register_type(DDSDomainParticipant*, const char*) {
    return DDS_RETCODE_UNSUPPORTED;
}
const char* KestKeyedPingDataTypeSupport::get_type_name() {
    return KestKeyedPingDataTYPENAME;
}
KestKeyedPingData* KestKeyedPingDataTypeSupport::create_data(const DDS_TypeAllocationParams_t&) {
    return nullptr;
}
DDS_ReturnCode_t KestKeyedPingDataTypeSupport::delete_data(KestKeyedPingData*,
                                                           const DDS_TypeDeallocationParams_t&) {
    return DDS_RETCODE_UNSUPPORTED;
}
KestKeyedPingDataDataWriter* KestKeyedPingDataDataWriter::narrow(DDSDataWriter*) {
    return nullptr;
}
KestKeyedPingDataDataReader* KestKeyedPingDataDataReader::narrow(DDSDataReader*) {
    return nullptr;
}
