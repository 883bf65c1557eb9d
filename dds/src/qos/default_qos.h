// Binding-internal: the default QoS a participant hands to the entities it creates.
#ifndef QOR_DDS_SRC_DEFAULT_QOS_H
#define QOR_DDS_SRC_DEFAULT_QOS_H

#include "profiles/qos_profile_library.h"
#include "qordds/qos.h"

namespace qordds {

struct DefaultQos {
    DDS_TopicQos topic;
    DDS_PublisherQos publisher;
    DDS_SubscriberQos subscriber;
    DDS_DataWriterQos datawriter;
    DDS_DataReaderQos datareader;
    // The profiles the topic, writer and reader defaults came from, if any: a topic name may
    // select other elements of them (their topic_filter).
    QosProfileRef topic_profile;
    QosProfileRef datawriter_profile;
    QosProfileRef datareader_profile;
};

// The defaults a participant starts with: those of the profile marked as the default one in
// `library` (which may be null), else the binding's.
DefaultQos initial_default_qos(const std::shared_ptr<const QosProfileLibrary>& library);

// The default Topic / DataWriter / DataReader QoS of a participant for a topic name.
DDS_ReturnCode_t default_topic_qos(const DefaultQos& defaults, const char* topic_name,
                                   DDS_TopicQos& qos);
DDS_ReturnCode_t default_datawriter_qos(const DefaultQos& defaults, const char* topic_name,
                                        DDS_DataWriterQos& qos);
DDS_ReturnCode_t default_datareader_qos(const DefaultQos& defaults, const char* topic_name,
                                        DDS_DataReaderQos& qos);

}  // namespace qordds

#endif
