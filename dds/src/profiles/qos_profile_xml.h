// Binding-internal: reading the QoS elements of a qos_profile into the binding's QoS records.
#ifndef QOR_DDS_SRC_QOS_PROFILE_XML_H
#define QOR_DDS_SRC_QOS_PROFILE_XML_H

#include <cstdarg>
#include <functional>
#include <initializer_list>
#include <string>

#include "qordds/qos.h"

namespace tinyxml2 {
class XMLElement;
class XMLNode;
}  // namespace tinyxml2

namespace qordds {

const int reported_problem_limit = 20;

// Collects the problems of one XML source. While reporting, each of the first
// reported_problem_limit is logged as an error that names the source, the line and the
// element or value; the rest are only counted. A source already checked is read again
// without reporting.
class XmlProblems {
  public:
    explicit XmlProblems(std::string source, bool report = true);

    void at(const tinyxml2::XMLNode& node, const char* format, ...)
        __attribute__((format(printf, 3, 4)));
    void at_line(int line, const char* format, ...) __attribute__((format(printf, 3, 4)));

    int count() const { return count_; }
    // Problems counted but not logged.
    int unreported() const;
    const std::string& source() const { return source_; }

  private:
    void report(int line, const char* format, va_list args);

    std::string source_;
    bool report_;
    int count_ = 0;
};

// Each reads one QoS element of a profile over the values the record already holds, so that a
// profile can override the values of its base. Returns false when anything was reported.
bool read_participant_qos(const tinyxml2::XMLElement& element, DDS_DomainParticipantQos& qos,
                          XmlProblems& problems);
bool read_topic_qos(const tinyxml2::XMLElement& element, DDS_TopicQos& qos, XmlProblems& problems);
bool read_publisher_qos(const tinyxml2::XMLElement& element, DDS_PublisherQos& qos,
                        XmlProblems& problems);
bool read_subscriber_qos(const tinyxml2::XMLElement& element, DDS_SubscriberQos& qos,
                         XmlProblems& problems);
bool read_datawriter_qos(const tinyxml2::XMLElement& element, DDS_DataWriterQos& qos,
                         XmlProblems& problems);
bool read_datareader_qos(const tinyxml2::XMLElement& element, DDS_DataReaderQos& qos,
                         XmlProblems& problems);

// Calls `take` for each child element of `parent`; a child it does not take is reported as an
// unknown element, and text between the children as unexpected.
void each_child(const tinyxml2::XMLElement& parent, XmlProblems& problems,
                const std::function<bool(const tinyxml2::XMLElement&)>& take);

// Reports each attribute of `element` whose name is not in `allowed`.
void check_attributes(const tinyxml2::XMLElement& element,
                      std::initializer_list<const char*> allowed, XmlProblems& problems);

// A boolean attribute value: true, false, 1 or 0 (DDS_BOOLEAN_TRUE and _FALSE, with or
// without the DDS_ prefix, too).
bool parse_boolean(const std::string& text, bool& value);

// The text of an element that holds a value, without surrounding blanks; false (reported)
// when the element holds other elements instead.
bool value_text(const tinyxml2::XMLElement& element, std::string& text, XmlProblems& problems);

}  // namespace qordds

#endif
