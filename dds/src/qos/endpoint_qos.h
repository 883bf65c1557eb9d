// Binding-internal: topic, DataWriter and DataReader QoS as Fast DDS takes them.
#ifndef QOR_DDS_SRC_ENDPOINT_QOS_H
#define QOR_DDS_SRC_ENDPOINT_QOS_H

#include <fastdds/dds/publisher/qos/DataWriterQos.hpp>
#include <fastdds/dds/subscriber/qos/DataReaderQos.hpp>
#include <fastdds/dds/topic/qos/TopicQos.hpp>

#include "qordds/qos.h"

namespace qordds {

// Each fills the Fast DDS record from the binding's one. A QoS that DDS itself calls
// inconsistent, or that Fast DDS would refuse or mishandle (it crashes on a KEEP_LAST depth
// of 0), is DDS_RETCODE_INCONSISTENT_POLICY, logged under `context`. A writer's history
// also depends on whether its type is keyed.
DDS_ReturnCode_t translate_topic_qos(const DDS_TopicQos& qos,
                                     eprosima::fastdds::dds::TopicQos& fast, const char* context);
DDS_ReturnCode_t translate_writer_qos(const DDS_DataWriterQos& qos, bool keyed,
                                      eprosima::fastdds::dds::DataWriterQos& fast,
                                      const char* context);
DDS_ReturnCode_t translate_reader_qos(const DDS_DataReaderQos& qos,
                                      eprosima::fastdds::dds::DataReaderQos& fast,
                                      const char* context);

}  // namespace qordds

#endif
