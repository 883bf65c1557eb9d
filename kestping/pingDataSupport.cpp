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

// Placeholder forwarding, so that the tool links until the typed layer lands.
DDS_ReturnCode_t KestPingDataDataWriter::write(const KestPingData&, const DDS_InstanceHandle_t&) {
    return DDS_RETCODE_UNSUPPORTED;
}
DDS_ReturnCode_t KestPingDataDataReader::take(KestPingDataSeq&, DDS_SampleInfoSeq&, int32_t,
                                              DDS_SampleStateMask, DDS_ViewStateMask,
                                              DDS_InstanceStateMask) {
    return DDS_RETCODE_UNSUPPORTED;
}
DDS_ReturnCode_t KestPingDataDataReader::return_loan(KestPingDataSeq&, DDS_SampleInfoSeq&) {
    return DDS_RETCODE_UNSUPPORTED;
}
DDS_ReturnCode_t KestKeyedPingDataDataWriter::write(const KestKeyedPingData&,
                                                    const DDS_InstanceHandle_t&) {
    return DDS_RETCODE_UNSUPPORTED;
}
DDS_ReturnCode_t KestKeyedPingDataDataWriter::dispose(const KestKeyedPingData&,
                                                      const DDS_InstanceHandle_t&) {
    return DDS_RETCODE_UNSUPPORTED;
}
DDS_ReturnCode_t KestKeyedPingDataDataWriter::unregister_instance(const KestKeyedPingData&,
                                                                  const DDS_InstanceHandle_t&) {
    return DDS_RETCODE_UNSUPPORTED;
}
DDS_ReturnCode_t KestKeyedPingDataDataReader::take(KestKeyedPingDataSeq&, DDS_SampleInfoSeq&,
                                                   int32_t, DDS_SampleStateMask, DDS_ViewStateMask,
                                                   DDS_InstanceStateMask) {
    return DDS_RETCODE_UNSUPPORTED;
}
DDS_ReturnCode_t KestKeyedPingDataDataReader::return_loan(KestKeyedPingDataSeq&,
                                                          DDS_SampleInfoSeq&) {
    return DDS_RETCODE_UNSUPPORTED;
}
