// Binding-internal: the QoS libraries and profiles loaded from the factory's profile sources,
// in the dds / qos_library / qos_profile XML format.
#ifndef QOR_DDS_SRC_QOS_PROFILE_LIBRARY_H
#define QOR_DDS_SRC_QOS_PROFILE_LIBRARY_H

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "qordds/qos.h"

namespace tinyxml2 {
class XMLDocument;
class XMLElement;
}  // namespace tinyxml2

namespace qordds {

// The largest QoS file read: QoS documents take kilobytes, and 100,000 profiles fit in 3 MB.
// Anything that is not a regular file is refused as well.
const size_t qos_file_size_limit = size_t{8} * 1024 * 1024;

// One qos_profile element and its QoS elements, in document order.
struct QosProfile {
    std::string library;
    std::string name;
    std::string source;  // where it was read, for messages
    int line = 0;
    bool is_default = false;
    std::string base_name;  // as written
    const QosProfile* base = nullptr;
    const tinyxml2::XMLElement* participant = nullptr;
    const tinyxml2::XMLElement* publisher = nullptr;
    const tinyxml2::XMLElement* subscriber = nullptr;
    // These may appear several times, told apart by their topic_filter.
    std::vector<const tinyxml2::XMLElement*> topics;
    std::vector<const tinyxml2::XMLElement*> writers;
    std::vector<const tinyxml2::XMLElement*> readers;
};

class QosProfileLibrary {
  public:
    // Loads the string profile (its elements joined into one document) and then each file of
    // the URL profile (a path, "file://" accepted). Every problem is logged with its source and
    // line; if there is any, nothing is loaded and the result is null.
    static std::shared_ptr<const QosProfileLibrary> load(const DDS_ProfileQosPolicy& sources);

    QosProfileLibrary();
    ~QosProfileLibrary();
    QosProfileLibrary(const QosProfileLibrary&) = delete;
    QosProfileLibrary& operator=(const QosProfileLibrary&) = delete;

    // Library names in the order they first appear, each once.
    std::vector<std::string> library_names() const;
    // Profile names of one library, in document order.
    std::vector<std::string> profile_names(const std::string& library) const;
    const QosProfile* find(const std::string& library, const std::string& profile) const;
    // The last profile marked is_default_qos, or null.
    const QosProfile* default_profile() const;

  private:
    std::vector<std::unique_ptr<tinyxml2::XMLDocument>> documents_;
    std::vector<std::unique_ptr<QosProfile>> profiles_;
    // Every profile by library and name: loading and lookups stay O(log n) per profile.
    std::map<std::pair<std::string, std::string>, const QosProfile*> index_;

    friend class QosProfileLoader;
};

// A profile together with the library that keeps its documents alive.
struct QosProfileRef {
    std::shared_ptr<const QosProfileLibrary> library;
    const QosProfile* profile = nullptr;
};

// The QoS a profile defines: the record's values, overridden by the profile's base chain and
// then by the profile itself. For topics, writers and readers a topic name picks, at each
// level, the first element whose topic_filter (a shell pattern, "*" when absent) matches it;
// a null topic name picks the first element that has no filter or "*".
void profile_participant_qos(const QosProfile& profile, DDS_DomainParticipantQos& qos);
void profile_publisher_qos(const QosProfile& profile, DDS_PublisherQos& qos);
void profile_subscriber_qos(const QosProfile& profile, DDS_SubscriberQos& qos);
void profile_topic_qos(const QosProfile& profile, const char* topic_name, DDS_TopicQos& qos);
void profile_datawriter_qos(const QosProfile& profile, const char* topic_name,
                            DDS_DataWriterQos& qos);
void profile_datareader_qos(const QosProfile& profile, const char* topic_name,
                            DDS_DataReaderQos& qos);

}  // namespace qordds

#endif
