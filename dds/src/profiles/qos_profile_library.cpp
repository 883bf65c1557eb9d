#include "profiles/qos_profile_library.h"

#include <fcntl.h>
#include <fnmatch.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <map>
#include <set>

#include <tinyxml2.h>

#include "log/log.h"
#include "profiles/qos_profile_xml.h"

namespace qordds {

using tinyxml2::XMLDocument;
using tinyxml2::XMLElement;
using tinyxml2::XMLNode;

namespace {

const char* const string_source_name = "the string profile";

bool is(const char* name, const char* expected) {
    return std::strcmp(name, expected) == 0;
}

// Reads a regular file of at most qos_file_size_limit bytes. It is opened without waiting,
// so that a FIFO cannot hold the run, and read no further than one byte past the limit, so
// that a file that grows (or a device that never ends) cannot fill the memory.
bool read_file(const std::string& path, std::string& text, XmlProblems& problems) {
    int descriptor = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor < 0) {
        problems.at_line(0, "cannot open the file: %s", std::strerror(errno));
        return false;
    }
    struct stat status;
    bool ok = true;
    if (fstat(descriptor, &status) != 0) {
        problems.at_line(0, "cannot read the file: %s", std::strerror(errno));
        ok = false;
    } else if (!S_ISREG(status.st_mode)) {
        problems.at_line(0, "not a regular file");
        ok = false;
    }
    char buffer[65536];
    while (ok) {
        ssize_t count = ::read(descriptor, buffer, sizeof buffer);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            problems.at_line(0, "cannot read the file: %s", std::strerror(errno));
            ok = false;
        } else if (count == 0) {
            break;
        } else if (text.size() + static_cast<size_t>(count) > qos_file_size_limit) {
            problems.at_line(0, "larger than %zu bytes, the limit of a QoS file",
                             qos_file_size_limit);
            ok = false;
        } else {
            text.append(buffer, static_cast<size_t>(count));
        }
    }
    ::close(descriptor);
    return ok;
}

// tinyxml2's error name and, where it has one, what it stopped at.
std::string parse_error(const XMLDocument& document) {
    std::string error = document.ErrorName();
    std::string text = document.ErrorStr();
    size_t line = text.find("Line number=");
    size_t detail = line == std::string::npos ? line : text.find(": ", line);
    if (detail != std::string::npos) {
        error += ": " + text.substr(detail + 2);
    }
    return error;
}

const char* topic_filter(const XMLElement& element) {
    const char* filter = element.Attribute("topic_filter");
    return filter != nullptr ? filter : "*";
}

// The first element whose topic filter takes the topic name.
const XMLElement* for_topic(const std::vector<const XMLElement*>& elements,
                            const char* topic_name) {
    for (const XMLElement* element : elements) {
        const char* filter = topic_filter(*element);
        bool match = topic_name == nullptr ? is(filter, "*") : fnmatch(filter, topic_name, 0) == 0;
        if (match) {
            return element;
        }
    }
    return nullptr;
}

// Reading a checked profile again cannot fail; problems go nowhere.
template <class Qos, class Read>
void read_quietly(const XMLElement* element, Qos& qos, Read read) {
    if (element != nullptr) {
        XmlProblems ignored("", false);
        read(*element, qos, ignored);
    }
}

}  // namespace

// Builds a library from the sources, collecting every problem before deciding.
class QosProfileLoader {
  public:
    explicit QosProfileLoader(QosProfileLibrary& library) : library_(library) {}

    void load_string(const DDS_StringSeq& fragments) {
        if (fragments.length() == 0) {
            return;
        }
        std::string text;
        for (int32_t i = 0; i < fragments.length(); ++i) {
            text += fragments[i] != nullptr ? fragments[i] : "";
        }
        XmlProblems problems(string_source_name);
        load_document(text, problems);
        finish_source(problems);
    }

    void load_file(const char* url) {
        std::string path = url != nullptr ? url : "";
        if (path.compare(0, 7, "file://") == 0) {
            path.erase(0, 7);
        }
        XmlProblems problems(path.empty() ? "a QoS file" : path);
        std::string text;
        if (path.empty()) {
            problems.at_line(0, "the file name is empty");
        } else if (read_file(path, text, problems)) {
            load_document(text, problems);
        }
        finish_source(problems);
    }

    // Base profiles exist and lead nowhere back; each problem is charged to the profile that
    // names the base.
    void resolve_bases() {
        for (auto& profile : library_.profiles_) {
            if (profile->base_name.empty()) {
                continue;
            }
            std::string library = profile->library;
            std::string name = profile->base_name;
            size_t colons = name.find("::");
            if (colons != std::string::npos) {
                library = name.substr(0, colons);
                name.erase(0, colons + 2);
            }
            profile->base = library_.find(library, name);
            if (profile->base == nullptr) {
                XmlProblems problems(profile->source);
                problems.at_line(
                    profile->line, "base profile '%s' of profile '%s::%s' does not exist",
                    profile->base_name.c_str(), profile->library.c_str(), profile->name.c_str());
                finish_source(problems);
            }
        }
        // Each chain is walked once: a profile already known to end well ends the walk.
        // A walk that meets its own path has found a loop, charged to the profile it started
        // from, whose base is cut; the profiles between that one and the loop are walked again
        // on their own turn, as they may lead into the loop themselves.
        enum Walk { Unseen, OnPath, Ends };
        std::map<const QosProfile*, Walk> walk;
        for (auto& profile : library_.profiles_) {
            walk[profile.get()] = Unseen;
        }
        std::vector<const QosProfile*> path;
        for (auto& profile : library_.profiles_) {
            if (walk[profile.get()] != Unseen) {
                continue;
            }
            path.clear();
            const QosProfile* step = profile.get();
            while (step != nullptr && walk[step] == Unseen) {
                walk[step] = OnPath;
                path.push_back(step);
                step = step->base;
            }
            if (step != nullptr && walk[step] == OnPath) {
                XmlProblems problems(profile->source);
                problems.at_line(profile->line, "base profiles of '%s::%s' lead back to themselves",
                                 profile->library.c_str(), profile->name.c_str());
                finish_source(problems);
                profile->base = nullptr;  // so that nothing walks the loop again
                for (size_t i = 1; i < path.size() && step != profile.get(); ++i) {
                    walk[path[i]] = Unseen;
                }
                if (step != profile.get()) {
                    walk[profile.get()] = Ends;
                    continue;
                }
            }
            for (const QosProfile* done : path) {
                walk[done] = Ends;
            }
        }
    }

    bool ok() const { return failed_sources_ == 0; }

  private:
    void finish_source(const XmlProblems& problems) {
        if (problems.count() > 0) {
            ++failed_sources_;
            if (problems.unreported() > 0) {
                log(LogKind::Error, "QoS profiles", "... and %d more", problems.unreported());
            }
            log(LogKind::Error, "QoS profiles", "%s is not used", problems.source().c_str());
        }
    }

    void load_document(const std::string& text, XmlProblems& problems) {
        auto document = std::make_unique<XMLDocument>();
        if (document->Parse(text.c_str(), text.size()) != tinyxml2::XML_SUCCESS) {
            problems.at_line(document->ErrorLineNum(), "malformed XML (%s)",
                             parse_error(*document).c_str());
            return;
        }
        const XMLElement* root = document->RootElement();
        if (root == nullptr || !is(root->Name(), "dds")) {
            problems.at_line(root != nullptr ? root->GetLineNum() : 0,
                             "the root element is <%s>, not <dds>",
                             root != nullptr ? root->Name() : "");
            return;
        }
        for (const XMLElement* extra = root->NextSiblingElement(); extra != nullptr;
             extra = extra->NextSiblingElement()) {
            problems.at(*extra, "a second root element <%s> after <dds>", extra->Name());
        }
        each_child(*root, problems, [&](const XMLElement& child) {
            if (!is(child.Name(), "qos_library")) {
                return false;
            }
            load_library(child, problems);
            return true;
        });
        library_.documents_.push_back(std::move(document));
    }

    // The required name attribute; nothing but the `allowed` attributes may appear.
    const char* checked_name(const XMLElement& element, std::initializer_list<const char*> allowed,
                             XmlProblems& problems) {
        check_attributes(element, allowed, problems);
        const char* name = element.Attribute("name");
        if (name == nullptr || name[0] == '\0') {
            problems.at(element, "<%s> has no name", element.Name());
            return nullptr;
        }
        return name;
    }

    void load_library(const XMLElement& element, XmlProblems& problems) {
        const char* library = checked_name(element, {"name"}, problems);
        each_child(element, problems, [&](const XMLElement& child) {
            if (!is(child.Name(), "qos_profile")) {
                return false;
            }
            if (library != nullptr) {
                load_profile(library, child, problems);
            }
            return true;
        });
    }

    void load_profile(const char* library, const XMLElement& element, XmlProblems& problems) {
        const char* name = checked_name(element, {"name", "base_name", "is_default_qos"}, problems);
        if (name == nullptr) {
            return;
        }
        auto profile = std::make_unique<QosProfile>();
        profile->library = library;
        profile->name = name;
        profile->source = problems.source();
        profile->line = element.GetLineNum();
        if (const char* base = element.Attribute("base_name")) {
            profile->base_name = base;
        }
        if (const char* is_default = element.Attribute("is_default_qos")) {
            if (!parse_boolean(is_default, profile->is_default)) {
                problems.at(element, "value '%s' of is_default_qos is not a boolean", is_default);
            }
        }
        each_child(element, problems, [&](const XMLElement& child) {
            return take_qos_element(child, *profile, problems);
        });
        if (const QosProfile* earlier = library_.find(library, name)) {
            problems.at(element, "profile '%s::%s' is defined twice (first in %s, line %d)",
                        library, name, earlier->source.c_str(), earlier->line);
            return;
        }
        library_.index_[{profile->library, profile->name}] = profile.get();
        library_.profiles_.push_back(std::move(profile));
    }

    // Checks one QoS element by reading it into a fresh record, and keeps it.
    bool take_qos_element(const XMLElement& child, QosProfile& profile, XmlProblems& problems) {
        const char* name = child.Name();
        if (is(name, "domain_participant_qos")) {
            DDS_DomainParticipantQos qos;
            read_participant_qos(child, qos, problems);
            keep_single(child, profile.participant, problems);
        } else if (is(name, "publisher_qos")) {
            DDS_PublisherQos qos;
            read_publisher_qos(child, qos, problems);
            keep_single(child, profile.publisher, problems);
        } else if (is(name, "subscriber_qos")) {
            DDS_SubscriberQos qos;
            read_subscriber_qos(child, qos, problems);
            keep_single(child, profile.subscriber, problems);
        } else if (is(name, "topic_qos")) {
            DDS_TopicQos qos;
            read_topic_qos(child, qos, problems);
            profile.topics.push_back(&child);
        } else if (is(name, "datawriter_qos")) {
            DDS_DataWriterQos qos;
            read_datawriter_qos(child, qos, problems);
            profile.writers.push_back(&child);
        } else if (is(name, "datareader_qos")) {
            DDS_DataReaderQos qos;
            read_datareader_qos(child, qos, problems);
            profile.readers.push_back(&child);
        } else {
            return false;
        }
        return true;
    }

    void keep_single(const XMLElement& element, const XMLElement*& slot, XmlProblems& problems) {
        if (slot != nullptr) {
            problems.at(element, "<%s> appears twice in one profile", element.Name());
            return;
        }
        slot = &element;
    }

    QosProfileLibrary& library_;
    int failed_sources_ = 0;
};

QosProfileLibrary::QosProfileLibrary() = default;
QosProfileLibrary::~QosProfileLibrary() = default;

std::shared_ptr<const QosProfileLibrary> QosProfileLibrary::load(
    const DDS_ProfileQosPolicy& sources) {
    auto library = std::make_shared<QosProfileLibrary>();
    QosProfileLoader loader(*library);
    loader.load_string(sources.string_profile);
    for (int32_t i = 0; i < sources.url_profile.length(); ++i) {
        loader.load_file(sources.url_profile[i]);
    }
    loader.resolve_bases();
    if (!loader.ok()) {
        return nullptr;
    }
    return library;
}

std::vector<std::string> QosProfileLibrary::library_names() const {
    std::vector<std::string> names;
    std::set<std::string> seen;
    for (const auto& profile : profiles_) {
        if (seen.insert(profile->library).second) {
            names.push_back(profile->library);
        }
    }
    return names;
}

std::vector<std::string> QosProfileLibrary::profile_names(const std::string& library) const {
    std::vector<std::string> names;
    for (const auto& profile : profiles_) {
        if (profile->library == library) {
            names.push_back(profile->name);
        }
    }
    return names;
}

const QosProfile* QosProfileLibrary::find(const std::string& library,
                                          const std::string& profile) const {
    auto found = index_.find({library, profile});
    return found != index_.end() ? found->second : nullptr;
}

const QosProfile* QosProfileLibrary::default_profile() const {
    const QosProfile* found = nullptr;
    for (const auto& profile : profiles_) {
        if (profile->is_default) {
            found = profile.get();
        }
    }
    return found;
}

void profile_participant_qos(const QosProfile& profile, DDS_DomainParticipantQos& qos) {
    if (profile.base != nullptr) {
        profile_participant_qos(*profile.base, qos);
    }
    read_quietly(profile.participant, qos, read_participant_qos);
}

void profile_publisher_qos(const QosProfile& profile, DDS_PublisherQos& qos) {
    if (profile.base != nullptr) {
        profile_publisher_qos(*profile.base, qos);
    }
    read_quietly(profile.publisher, qos, read_publisher_qos);
}

void profile_subscriber_qos(const QosProfile& profile, DDS_SubscriberQos& qos) {
    if (profile.base != nullptr) {
        profile_subscriber_qos(*profile.base, qos);
    }
    read_quietly(profile.subscriber, qos, read_subscriber_qos);
}

void profile_topic_qos(const QosProfile& profile, const char* topic_name, DDS_TopicQos& qos) {
    if (profile.base != nullptr) {
        profile_topic_qos(*profile.base, topic_name, qos);
    }
    read_quietly(for_topic(profile.topics, topic_name), qos, read_topic_qos);
}

void profile_datawriter_qos(const QosProfile& profile, const char* topic_name,
                            DDS_DataWriterQos& qos) {
    if (profile.base != nullptr) {
        profile_datawriter_qos(*profile.base, topic_name, qos);
    }
    read_quietly(for_topic(profile.writers, topic_name), qos, read_datawriter_qos);
}

void profile_datareader_qos(const QosProfile& profile, const char* topic_name,
                            DDS_DataReaderQos& qos) {
    if (profile.base != nullptr) {
        profile_datareader_qos(*profile.base, topic_name, qos);
    }
    read_quietly(for_topic(profile.readers, topic_name), qos, read_datareader_qos);
}

}  // namespace qordds
