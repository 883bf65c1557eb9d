#include "workarounds/domain_isolation.h"

#include <fnmatch.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace qordds {

namespace {

const char kPartitionSeparator = '\x1f';

std::vector<std::string> names_of(const DDS_StringSeq& names) {
    std::vector<std::string> result;
    result.reserve(static_cast<size_t>(names.length()));
    for (int32_t i = 0; i < names.length(); ++i) {
        result.push_back(names[i] == nullptr ? "" : names[i]);
    }
    return result;
}

bool matches_default_partition(const std::string& name) {
    return fnmatch(name.c_str(), "", FNM_NOESCAPE) == 0;
}

void add_once(std::vector<std::string>& list, const std::string& name) {
    if (std::find(list.begin(), list.end(), name) == list.end()) {
        list.push_back(name);
    }
}

}  // namespace

std::string domain_tag(const DDS_DomainParticipantQos& participant) {
    const DDS_Property_t* tag = DDSPropertyQosPolicyHelper::lookup_property(
        participant.property, "dds.domain_participant.domain_tag");
    return tag == nullptr || tag->value == nullptr ? std::string() : std::string(tag->value);
}

std::string topic_name_problem(const DDS_DomainParticipantQos& participant, const char* topic_name,
                               const char* type_name) {
    std::string name(topic_name == nullptr ? "" : topic_name);
    std::string tag = domain_tag(participant);
    char text[160];
    if (name.find(domain_tag_separator) != std::string::npos) {
        return "the topic name holds the character 0x1d, which carries the domain tag";
    }
    if (tag.empty() && name.size() > wire_name_limit) {
        std::snprintf(text, sizeof text,
                      "the topic name of %zu characters exceeds the limit of %zu characters",
                      name.size(), wire_name_limit);
        return text;
    }
    if (!tag.empty() && name.size() + 1 + tag.size() > wire_name_limit) {
        std::snprintf(text, sizeof text,
                      "the topic name and domain tag of %zu characters (with a separator) "
                      "exceed the limit of %zu characters",
                      name.size() + 1 + tag.size(), wire_name_limit);
        return text;
    }
    size_t type_length = type_name == nullptr ? 0 : std::strlen(type_name);
    if (type_length > wire_name_limit) {
        std::snprintf(text, sizeof text,
                      "the type name of %zu characters exceeds the limit of %zu characters",
                      type_length, wire_name_limit);
        return text;
    }
    return std::string();
}

std::string wire_topic_name(const DDS_DomainParticipantQos& participant, const char* topic_name) {
    std::string name(topic_name == nullptr ? "" : topic_name);
    std::string tag = domain_tag(participant);
    if (tag.empty()) {
        return name;
    }
    name += domain_tag_separator;
    name += tag;
    return name.size() > wire_name_limit ? std::string() : name;
}

std::vector<std::string> wire_partitions(const DDS_DomainParticipantQos& participant,
                                         const DDS_PartitionQosPolicy& group) {
    std::vector<std::string> own = names_of(participant.partition.name);
    if (own.empty()) {
        own.push_back("");
    }
    std::vector<std::string> endpoint = names_of(group.name);
    std::vector<std::string> halves = endpoint.empty() ? std::vector<std::string>{""} : endpoint;

    std::vector<std::string> result;
    for (const std::string& p : own) {
        for (const std::string& q : halves) {
            add_once(result, std::string(p).append(1, kPartitionSeparator).append(q));
        }
    }
    if (std::any_of(own.begin(), own.end(), matches_default_partition)) {
        for (const std::string& q : halves) {
            add_once(result, q);
        }
    }
    return result;
}

}  // namespace qordds
