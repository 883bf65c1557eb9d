#include "diagnostics/endpoint_facts.h"

#include <fnmatch.h>
#include <strings.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "workarounds/domain_isolation.h"

namespace qordds {

namespace {

const char kPartitionSeparator = '\x1f';

bool same_ignoring_case(const std::string& a, const std::string& b) {
    return a.size() == b.size() && strncasecmp(a.c_str(), b.c_str(), a.size()) == 0;
}

std::string quoted(const std::string& text) {
    return "\"" + printable(text) + "\"";
}

std::string tag_text(const std::string& tag) {
    return tag.empty() ? "none" : quoted(tag);
}

// "<what> differs: <local> here, <remote> there"
std::string differs(const char* what, const std::string& here, const std::string& there) {
    return std::string(what) + " differs: " + here + " here, " + there + " there";
}

std::string incompatible(const char* policy, const std::string& offered,
                         const std::string& requested) {
    return std::string(policy) + " incompatible: offered " + offered + ", requested " + requested;
}

void add_qos_reasons(const EndpointFacts& writer, const EndpointFacts& reader,
                     std::vector<std::string>& reasons) {
    if (reader.reliable && !writer.reliable) {
        reasons.push_back(incompatible("reliability", "BEST_EFFORT", "RELIABLE"));
    }
    if (writer.durability < reader.durability) {
        reasons.push_back(incompatible("durability", durability_text(writer.durability),
                                       durability_text(reader.durability)));
    }
    if (writer.deadline > reader.deadline) {
        reasons.push_back(
            incompatible("deadline", seconds_text(writer.deadline), seconds_text(reader.deadline)));
    }
    if (writer.liveliness < reader.liveliness ||
        writer.liveliness_lease > reader.liveliness_lease) {
        reasons.push_back(incompatible("liveliness",
                                       std::string(liveliness_text(writer.liveliness)) + " " +
                                           seconds_text(writer.liveliness_lease),
                                       std::string(liveliness_text(reader.liveliness)) + " " +
                                           seconds_text(reader.liveliness_lease)));
    }
    if (writer.exclusive_ownership != reader.exclusive_ownership) {
        reasons.push_back(incompatible("ownership",
                                       writer.exclusive_ownership ? "EXCLUSIVE" : "SHARED",
                                       reader.exclusive_ownership ? "EXCLUSIVE" : "SHARED"));
    }
}

bool names_meet(const std::string& a, const std::string& b) {
    return fnmatch(a.c_str(), b.c_str(), FNM_NOESCAPE) == 0 ||
           fnmatch(b.c_str(), a.c_str(), FNM_NOESCAPE) == 0;
}

}  // namespace

std::string topic_without_tag(const std::string& wire) {
    return wire.substr(0, wire.find(domain_tag_separator));
}

std::string domain_tag_of(const std::string& wire) {
    size_t separator = wire.find(domain_tag_separator);
    return separator == std::string::npos ? std::string() : wire.substr(separator + 1);
}

TopicRelation relate_topics(const std::string& local_wire, const std::string& remote_wire) {
    std::string here = topic_without_tag(local_wire);
    std::string there = topic_without_tag(remote_wire);
    if (!same_ignoring_case(here, there)) {
        return TopicRelation::Unrelated;
    }
    if (here != there) {
        return TopicRelation::LetterCase;
    }
    return domain_tag_of(local_wire) == domain_tag_of(remote_wire) ? TopicRelation::Same
                                                                   : TopicRelation::OtherTag;
}

std::vector<std::string> mismatch_reasons(const EndpointFacts& local, const EndpointFacts& remote) {
    std::vector<std::string> reasons;
    std::string here = topic_without_tag(local.topic);
    std::string there = topic_without_tag(remote.topic);
    if (here != there) {
        reasons.push_back(differs("topic name", quoted(here), quoted(there)) +
                          " (only in letter case)");
    }
    if (domain_tag_of(local.topic) != domain_tag_of(remote.topic)) {
        reasons.push_back(differs("domain tag", tag_text(domain_tag_of(local.topic)),
                                  tag_text(domain_tag_of(remote.topic))));
    }
    if (local.type != remote.type) {
        reasons.push_back(differs("type name", quoted(local.type), quoted(remote.type)));
    }
    if (local.keyed != remote.keyed) {
        reasons.push_back(std::string(local.keyed ? "keyed" : "unkeyed") + " here, " +
                          (remote.keyed ? "keyed" : "unkeyed") + " there");
    }
    if (!partitions_meet(local.partitions, remote.partitions)) {
        reasons.push_back("partitions disjoint: " + partitions_text(local.partitions) + " here, " +
                          partitions_text(remote.partitions) + " there");
    }
    const EndpointFacts& writer = local.writer ? local : remote;
    const EndpointFacts& reader = local.writer ? remote : local;
    add_qos_reasons(writer, reader, reasons);
    return reasons;
}

bool partitions_meet(const std::vector<std::string>& a, const std::vector<std::string>& b) {
    const std::vector<std::string> default_partition{""};
    const std::vector<std::string>& left = a.empty() ? default_partition : a;
    const std::vector<std::string>& right = b.empty() ? default_partition : b;
    return std::any_of(left.begin(), left.end(), [&](const std::string& x) {
        return std::any_of(right.begin(), right.end(),
                           [&](const std::string& y) { return names_meet(x, y); });
    });
}

std::string partitions_text(const std::vector<std::string>& wire) {
    bool prefixed = std::any_of(wire.begin(), wire.end(), [](const std::string& name) {
        return name.find(kPartitionSeparator) != std::string::npos;
    });
    std::vector<std::string> names;
    for (const std::string& name : wire) {
        size_t separator = name.find(kPartitionSeparator);
        if (prefixed && separator == std::string::npos) {
            continue;  // the unprefixed twin that keeps plain peers in reach
        }
        std::string shown = name.substr(0, separator);
        if (separator != std::string::npos && separator + 1 < name.size()) {
            shown += "/" + name.substr(separator + 1);
        }
        if (std::find(names.begin(), names.end(), shown) == names.end()) {
            names.push_back(shown);
        }
    }
    if (names.empty()) {
        names.push_back("");
    }
    std::string text = "[";
    for (const std::string& name : names) {
        text += (text.size() > 1 ? ", " : "") + quoted(name);
    }
    return text + "]";
}

std::string printable(const std::string& text) {
    std::string result;
    for (char c : text) {
        auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte == 0x7f) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\x%02x", byte);
            result += escaped;
        } else {
            result += c;
        }
    }
    return result;
}

std::string seconds_text(double seconds) {
    if (std::isinf(seconds)) {
        return "infinite";
    }
    char text[32];
    std::snprintf(text, sizeof text, "%g s", seconds);
    return text;
}

const char* durability_text(Durability durability) {
    switch (durability) {
        case Durability::Volatile:
            return "VOLATILE";
        case Durability::TransientLocal:
            return "TRANSIENT_LOCAL";
        case Durability::Transient:
            return "TRANSIENT";
        default:
            return "PERSISTENT";
    }
}

const char* liveliness_text(Liveliness liveliness) {
    switch (liveliness) {
        case Liveliness::Automatic:
            return "AUTOMATIC";
        case Liveliness::ManualByParticipant:
            return "MANUAL_BY_PARTICIPANT";
        default:
            return "MANUAL_BY_TOPIC";
    }
}

}  // namespace qordds
