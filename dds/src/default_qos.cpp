#include "dds/src/default_qos.h"

// Placeholder until QoS profiles land: the plain defaults, whatever the topic.

namespace qordds {

DDS_ReturnCode_t default_datawriter_qos(const DefaultQos& defaults, const char*,
                                        DDS_DataWriterQos& qos) {
    qos = defaults.datawriter;
    return DDS_RETCODE_OK;
}

DDS_ReturnCode_t default_datareader_qos(const DefaultQos& defaults, const char*,
                                        DDS_DataReaderQos& qos) {
    qos = defaults.datareader;
    return DDS_RETCODE_OK;
}

}  // namespace qordds
