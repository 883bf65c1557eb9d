#include "qos/default_qos.h"

namespace qordds {

DefaultQos initial_default_qos(const std::shared_ptr<const QosProfileLibrary>& library) {
    DefaultQos defaults;
    const QosProfile* profile = library != nullptr ? library->default_profile() : nullptr;
    if (profile == nullptr) {
        return defaults;
    }
    profile_topic_qos(*profile, nullptr, defaults.topic);
    profile_publisher_qos(*profile, defaults.publisher);
    profile_subscriber_qos(*profile, defaults.subscriber);
    profile_datawriter_qos(*profile, nullptr, defaults.datawriter);
    profile_datareader_qos(*profile, nullptr, defaults.datareader);
    defaults.topic_profile = {library, profile};
    defaults.datawriter_profile = {library, profile};
    defaults.datareader_profile = {library, profile};
    return defaults;
}

DDS_ReturnCode_t default_topic_qos(const DefaultQos& defaults, const char* topic_name,
                                   DDS_TopicQos& qos) {
    if (defaults.topic_profile.profile == nullptr || topic_name == nullptr) {
        qos = defaults.topic;
    } else {
        qos = DDS_TopicQos();
        profile_topic_qos(*defaults.topic_profile.profile, topic_name, qos);
    }
    return DDS_RETCODE_OK;
}

DDS_ReturnCode_t default_datawriter_qos(const DefaultQos& defaults, const char* topic_name,
                                        DDS_DataWriterQos& qos) {
    if (defaults.datawriter_profile.profile == nullptr || topic_name == nullptr) {
        qos = defaults.datawriter;
    } else {
        qos = DDS_DataWriterQos();
        profile_datawriter_qos(*defaults.datawriter_profile.profile, topic_name, qos);
    }
    return DDS_RETCODE_OK;
}

DDS_ReturnCode_t default_datareader_qos(const DefaultQos& defaults, const char* topic_name,
                                        DDS_DataReaderQos& qos) {
    if (defaults.datareader_profile.profile == nullptr || topic_name == nullptr) {
        qos = defaults.datareader;
    } else {
        qos = DDS_DataReaderQos();
        profile_datareader_qos(*defaults.datareader_profile.profile, topic_name, qos);
    }
    return DDS_RETCODE_OK;
}

}  // namespace qordds
