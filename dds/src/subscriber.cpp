#include "dds/subscription.h"

// Placeholder until endpoints land.

DDSSubscriber::~DDSSubscriber() {}

DDS_ReturnCode_t DDSSubscriber::get_default_datareader_qos_w_topic_name(DDS_DataReaderQos& qos,
                                                                        const char*) {
    qos = DDS_DataReaderQos();
    return DDS_RETCODE_OK;
}

DDSDataReader* DDSSubscriber::create_datareader(DDSTopicDescription*, const DDS_DataReaderQos&,
                                                DDSDataReaderListener*, DDS_StatusMask) {
    return nullptr;
}

DDS_ReturnCode_t DDSSubscriber::delete_datareader(DDSDataReader*) {
    return DDS_RETCODE_UNSUPPORTED;
}
