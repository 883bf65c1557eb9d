// Binding-internal: the default QoS a participant hands to the entities it creates.
#ifndef QOR_DDS_SRC_DEFAULT_QOS_H
#define QOR_DDS_SRC_DEFAULT_QOS_H

#include "dds/qos.h"

namespace qordds {

struct DefaultQos {
    DDS_TopicQos topic;
    DDS_PublisherQos publisher;
    DDS_SubscriberQos subscriber;
    DDS_DataWriterQos datawriter;
    DDS_DataReaderQos datareader;
};

// The default DataWriter / DataReader QoS of a participant for a topic name.
DDS_ReturnCode_t default_datawriter_qos(const DefaultQos& defaults, const char* topic_name,
                                        DDS_DataWriterQos& qos);
DDS_ReturnCode_t default_datareader_qos(const DefaultQos& defaults, const char* topic_name,
                                        DDS_DataReaderQos& qos);

}  // namespace qordds

#endif
