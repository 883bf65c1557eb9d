#include "dds/publication.h"

// Placeholder until endpoints land.

DDSPublisher::~DDSPublisher() {}

DDS_ReturnCode_t DDSPublisher::get_default_datawriter_qos_w_topic_name(DDS_DataWriterQos& qos,
                                                                       const char*) {
    qos = DDS_DataWriterQos();
    return DDS_RETCODE_OK;
}

DDSDataWriter* DDSPublisher::create_datawriter(DDSTopic*, const DDS_DataWriterQos&,
                                               DDSDataWriterListener*, DDS_StatusMask) {
    return nullptr;
}

DDS_ReturnCode_t DDSPublisher::delete_datawriter(DDSDataWriter*) {
    return DDS_RETCODE_UNSUPPORTED;
}
