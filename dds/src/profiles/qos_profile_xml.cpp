#include "profiles/qos_profile_xml.h"

#include <strings.h>

#include <cctype>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include <tinyxml2.h>

#include "log/log.h"
#include "qos/participant_qos_translation.h"
#include "qos/peer_locators.h"

namespace qordds {

using tinyxml2::XMLElement;
using tinyxml2::XMLNode;

XmlProblems::XmlProblems(std::string source, bool report)
    : source_(std::move(source)), report_(report) {}

void XmlProblems::at(const XMLNode& node, const char* format, ...) {
    va_list args;
    va_start(args, format);
    report(node.GetLineNum(), format, args);
    va_end(args);
}

void XmlProblems::at_line(int line, const char* format, ...) {
    va_list args;
    va_start(args, format);
    report(line, format, args);
    va_end(args);
}

int XmlProblems::unreported() const {
    return report_ && count_ > reported_problem_limit ? count_ - reported_problem_limit : 0;
}

void XmlProblems::report(int line, const char* format, va_list args) {
    ++count_;
    if (!report_ || count_ > reported_problem_limit) {
        return;
    }
    char message[512];
    std::vsnprintf(message, sizeof message, format, args);
    if (line > 0) {
        log(LogKind::Error, "QoS profiles", "%s, line %d: %s", source_.c_str(), line, message);
    } else {
        log(LogKind::Error, "QoS profiles", "%s: %s", source_.c_str(), message);
    }
}

namespace {

bool is(const char* name, const char* expected) {
    return std::strcmp(name, expected) == 0;
}

bool blank(const char* text) {
    return text[std::strspn(text, " \t\r\n")] == '\0';
}

std::string trim(const std::string& text) {
    size_t first = text.find_first_not_of(" \t\r\n");
    if (first == std::string::npos) {
        return "";
    }
    size_t last = text.find_last_not_of(" \t\r\n");
    return text.substr(first, last - first + 1);
}

// A symbolic value; written with or without the DDS_ prefix.
struct Named {
    const char* name;
    long long value;
};

bool matches_name(const std::string& text, const char* name) {
    return text == name ||
           (text.compare(0, 4, "DDS_") == 0 && text.compare(4, std::string::npos, name) == 0);
}

template <size_t N>
bool lookup(const std::string& text, const Named (&names)[N], long long& value) {
    for (const Named& named : names) {
        if (named.name[0] != '\0' && matches_name(text, named.name)) {
            value = named.value;
            return true;
        }
    }
    return false;
}

// Decimal; with `hex_too`, also hexadecimal after 0x.
bool parse_integer(const std::string& text, long long& value, bool hex_too = false) {
    if (text.empty() || std::isspace(static_cast<unsigned char>(text[0]))) {
        return false;
    }
    bool hex = hex_too && (text.compare(0, 2, "0x") == 0 || text.compare(0, 2, "0X") == 0);
    if (hex && (text.size() == 2 || !std::isxdigit(static_cast<unsigned char>(text[2])))) {
        return false;
    }
    char* end = nullptr;
    errno = 0;
    value = std::strtoll(text.c_str(), &end, hex ? 16 : 10);
    if (*end != '\0') {
        return false;
    }
    if (errno == ERANGE) {
        value = text[0] == '-' ? INT64_MIN : INT64_MAX;  // out of every range below
    }
    return true;
}

const Named no_names[] = {{"", 0}};
const int32_t builtin_transports =
    DDS_TRANSPORTBUILTIN_UDPv4 | DDS_TRANSPORTBUILTIN_SHMEM | DDS_TRANSPORTBUILTIN_UDPv6;
const Named length_names[] = {{"LENGTH_UNLIMITED", DDS_LENGTH_UNLIMITED}};
const Named seconds_names[] = {{"DURATION_INFINITE_SEC", DDS_DURATION_INFINITE_SEC},
                               {"DURATION_ZERO_SEC", DDS_DURATION_ZERO_SEC}};
const Named nanoseconds_names[] = {{"DURATION_INFINITE_NSEC", DDS_DURATION_INFINITE_NSEC},
                                   {"DURATION_ZERO_NSEC", DDS_DURATION_ZERO_NSEC}};
const Named app_id_names[] = {{"RTPS_AUTO_ID", DDS_RTPS_AUTO_ID}};
const Named durability_kinds[] = {
    {"VOLATILE_DURABILITY_QOS", DDS_VOLATILE_DURABILITY_QOS},
    {"TRANSIENT_LOCAL_DURABILITY_QOS", DDS_TRANSIENT_LOCAL_DURABILITY_QOS},
    {"TRANSIENT_DURABILITY_QOS", DDS_TRANSIENT_DURABILITY_QOS},
    {"PERSISTENT_DURABILITY_QOS", DDS_PERSISTENT_DURABILITY_QOS}};
const Named reliability_kinds[] = {{"BEST_EFFORT_RELIABILITY_QOS", DDS_BEST_EFFORT_RELIABILITY_QOS},
                                   {"RELIABLE_RELIABILITY_QOS", DDS_RELIABLE_RELIABILITY_QOS}};
const Named history_kinds[] = {{"KEEP_LAST_HISTORY_QOS", DDS_KEEP_LAST_HISTORY_QOS},
                               {"KEEP_ALL_HISTORY_QOS", DDS_KEEP_ALL_HISTORY_QOS}};
const Named liveliness_kinds[] = {
    {"AUTOMATIC_LIVELINESS_QOS", DDS_AUTOMATIC_LIVELINESS_QOS},
    {"MANUAL_BY_PARTICIPANT_LIVELINESS_QOS", DDS_MANUAL_BY_PARTICIPANT_LIVELINESS_QOS},
    {"MANUAL_BY_TOPIC_LIVELINESS_QOS", DDS_MANUAL_BY_TOPIC_LIVELINESS_QOS}};
const Named ownership_kinds[] = {{"SHARED_OWNERSHIP_QOS", DDS_SHARED_OWNERSHIP_QOS},
                                 {"EXCLUSIVE_OWNERSHIP_QOS", DDS_EXCLUSIVE_OWNERSHIP_QOS}};
const Named boolean_names[] = {{"BOOLEAN_TRUE", 1}, {"BOOLEAN_FALSE", 0}};

// Mask bit names, matched ignoring case after any of the prefixes.
struct MaskNames {
    const char* what;
    std::vector<const char*> prefixes;
    std::vector<Named> names;
};

const MaskNames transport_mask_names = {
    "a transport mask (UDPv4, SHMEM, UDPv6, MASK_DEFAULT, MASK_NONE or MASK_ALL, joined by |)",
    {"DDS_TRANSPORTBUILTIN_", "TRANSPORTBUILTIN_", ""},
    {{"UDPv4", DDS_TRANSPORTBUILTIN_UDPv4},
     {"SHMEM", DDS_TRANSPORTBUILTIN_SHMEM},
     {"UDPv6", DDS_TRANSPORTBUILTIN_UDPv6},
     {"MASK_DEFAULT", DDS_TRANSPORTBUILTIN_MASK_DEFAULT},
     {"MASK_NONE", DDS_TRANSPORTBUILTIN_MASK_NONE},
     {"MASK_ALL",
      DDS_TRANSPORTBUILTIN_UDPv4 | DDS_TRANSPORTBUILTIN_SHMEM | DDS_TRANSPORTBUILTIN_UDPv6}}};

const MaskNames discovery_plugin_names = {
    "a discovery plugin mask (SDP, SDP2, SPDP, SPDP2, SEDP or MASK_NONE, joined by |)",
    {"DDS_DISCOVERYCONFIG_BUILTIN_", "DISCOVERYCONFIG_BUILTIN_", ""},
    {{"SDP", DDS_DISCOVERYCONFIG_BUILTIN_SDP},
     {"SDP2", DDS_DISCOVERYCONFIG_BUILTIN_SDP2},
     {"SPDP", DDS_DISCOVERYCONFIG_BUILTIN_SPDP},
     {"SPDP2", DDS_DISCOVERYCONFIG_BUILTIN_SPDP2},
     {"SEDP", DDS_DISCOVERYCONFIG_BUILTIN_SEDP},
     {"MASK_NONE", 0}}};

class Reader {
  public:
    explicit Reader(XmlProblems& problems) : problems_(problems) {}

    bool ok() const { return problems_.count() == start_; }

    template <class Handler>
    void children(const XMLElement& parent, Handler handle) {
        each_child(parent, problems_, handle);
    }

    bool text(const XMLElement& element, std::string& text) {
        return value_text(element, text, problems_);
    }

    void string(const XMLElement& element, char*& target) {
        std::string text;
        if (this->text(element, text)) {
            DDS_String_replace(&target, text.c_str());
        }
    }

    // A list of <element> values, replacing the whole sequence.
    void strings(const XMLElement& element, DDS_StringSeq& target) {
        std::vector<std::string> values;
        children(element, [&](const XMLElement& child) {
            if (!is(child.Name(), "element")) {
                return false;
            }
            std::string text;
            if (this->text(child, text)) {
                values.push_back(text);
            }
            return true;
        });
        int32_t count = static_cast<int32_t>(values.size());
        target.ensure_length(count, count);
        for (int32_t i = 0; i < count; ++i) {
            DDS_String_replace(&target[i], values[static_cast<size_t>(i)].c_str());
        }
    }

    template <size_t N>
    bool integer(const XMLElement& element, long long min, long long max, const Named (&names)[N],
                 long long& value, bool hex_too = false) {
        std::string text;
        if (!this->text(element, text)) {
            return false;
        }
        if (!lookup(text, names, value)) {
            if (!parse_integer(text, value, hex_too)) {
                problems_.at(element, "value '%s' of <%s> is not an integer", text.c_str(),
                             element.Name());
                return false;
            }
            if (value < min || value > max) {
                problems_.at(element, "value '%s' of <%s> is out of range (%lld to %lld)",
                             text.c_str(), element.Name(), min, max);
                return false;
            }
        }
        return true;
    }

    void int32(const XMLElement& element, long long min, int32_t& target) {
        long long value = 0;
        if (integer(element, min, INT32_MAX, no_names, value)) {
            target = static_cast<int32_t>(value);
        }
    }

    // A count that may be LENGTH_UNLIMITED.
    void length(const XMLElement& element, int32_t& target) {
        long long value = 0;
        if (integer(element, 1, INT32_MAX, length_names, value)) {
            target = static_cast<int32_t>(value);
        }
    }

    template <class Enum, size_t N>
    void enumerator(const XMLElement& element, const Named (&names)[N], const char* what,
                    Enum& target) {
        std::string text;
        long long value = 0;
        if (!this->text(element, text)) {
            return;
        }
        if (!lookup(text, names, value)) {
            std::string choices;
            for (const Named& named : names) {
                choices += choices.empty() ? "" : ", ";
                choices += named.name;
            }
            problems_.at(element, "value '%s' of <%s> is not %s (%s)", text.c_str(), element.Name(),
                         what, choices.c_str());
            return;
        }
        target = static_cast<Enum>(value);
    }

    void boolean(const XMLElement& element, bool& target) {
        std::string text;
        if (this->text(element, text) && !parse_boolean(text, target)) {
            problems_.at(element, "value '%s' of <%s> is not a boolean (true or false)",
                         text.c_str(), element.Name());
        }
    }

    void mask(const XMLElement& element, const MaskNames& names, int32_t& target) {
        std::string text;
        if (!this->text(element, text)) {
            return;
        }
        long long mask = 0;
        size_t start = 0;
        while (true) {
            size_t bar = text.find('|', start);
            std::string part = trim(text.substr(start, bar - start));
            long long bits = 0;
            if (!mask_part(part, names, bits)) {
                problems_.at(element, "value '%s' of <%s> is not %s", text.c_str(), element.Name(),
                             names.what);
                return;
            }
            mask |= bits;
            if (bar == std::string::npos) {
                break;
            }
            start = bar + 1;
        }
        target = static_cast<int32_t>(mask);
    }

    void duration(const XMLElement& element, DDS_Duration_t& target) {
        DDS_Duration_t value = target;
        children(element, [&](const XMLElement& child) {
            long long number = 0;
            if (is(child.Name(), "sec")) {
                if (integer(child, 0, INT32_MAX, seconds_names, number)) {
                    value.sec = static_cast<int32_t>(number);
                }
            } else if (is(child.Name(), "nanosec")) {
                if (integer(child, 0, 999999999, nanoseconds_names, number)) {
                    value.nanosec = static_cast<uint32_t>(number);
                }
            } else {
                return false;
            }
            return true;
        });
        if (value.sec == DDS_DURATION_INFINITE_SEC) {
            value.nanosec = DDS_DURATION_INFINITE_NSEC;
        }
        target = value;
    }

    void attributes(const XMLElement& element, std::initializer_list<const char*> allowed) {
        check_attributes(element, allowed, problems_);
    }

    XmlProblems& problems() { return problems_; }

  private:
    static bool mask_part(const std::string& part, const MaskNames& names, long long& bits) {
        if (parse_integer(part, bits) && bits >= 0 && bits <= INT32_MAX) {
            return true;
        }
        for (const char* prefix : names.prefixes) {
            size_t length = std::strlen(prefix);
            if (part.compare(0, length, prefix) != 0) {
                continue;
            }
            for (const Named& named : names.names) {
                if (strcasecmp(part.c_str() + length, named.name) == 0) {
                    bits = named.value;
                    return true;
                }
            }
        }
        return false;
    }

    XmlProblems& problems_;
    int start_ = problems_.count();
};

// ---- Policies shared by several entities ----

void read_durability(Reader& reader, const XMLElement& element, DDS_DurabilityQosPolicy& policy) {
    reader.children(element, [&](const XMLElement& child) {
        if (!is(child.Name(), "kind")) {
            return false;
        }
        reader.enumerator(child, durability_kinds, "a durability kind", policy.kind);
        return true;
    });
}

void read_deadline(Reader& reader, const XMLElement& element, DDS_DeadlineQosPolicy& policy) {
    reader.children(element, [&](const XMLElement& child) {
        if (!is(child.Name(), "period")) {
            return false;
        }
        reader.duration(child, policy.period);
        return true;
    });
}

void read_liveliness(Reader& reader, const XMLElement& element, DDS_LivelinessQosPolicy& policy) {
    reader.children(element, [&](const XMLElement& child) {
        if (is(child.Name(), "kind")) {
            reader.enumerator(child, liveliness_kinds, "a liveliness kind", policy.kind);
        } else if (is(child.Name(), "lease_duration")) {
            reader.duration(child, policy.lease_duration);
        } else {
            return false;
        }
        return true;
    });
}

void read_reliability(Reader& reader, const XMLElement& element, DDS_ReliabilityQosPolicy& policy) {
    reader.children(element, [&](const XMLElement& child) {
        if (is(child.Name(), "kind")) {
            reader.enumerator(child, reliability_kinds, "a reliability kind", policy.kind);
        } else if (is(child.Name(), "max_blocking_time")) {
            reader.duration(child, policy.max_blocking_time);
        } else {
            return false;
        }
        return true;
    });
}

void read_history(Reader& reader, const XMLElement& element, DDS_HistoryQosPolicy& policy) {
    reader.children(element, [&](const XMLElement& child) {
        if (is(child.Name(), "kind")) {
            reader.enumerator(child, history_kinds, "a history kind", policy.kind);
        } else if (is(child.Name(), "depth")) {
            reader.int32(child, 1, policy.depth);
        } else {
            return false;
        }
        return true;
    });
}

void read_resource_limits(Reader& reader, const XMLElement& element,
                          DDS_ResourceLimitsQosPolicy& policy) {
    reader.children(element, [&](const XMLElement& child) {
        if (is(child.Name(), "max_samples")) {
            reader.length(child, policy.max_samples);
        } else if (is(child.Name(), "max_instances")) {
            reader.length(child, policy.max_instances);
        } else if (is(child.Name(), "max_samples_per_instance")) {
            reader.length(child, policy.max_samples_per_instance);
        } else {
            return false;
        }
        return true;
    });
}

void read_ownership(Reader& reader, const XMLElement& element, DDS_OwnershipQosPolicy& policy) {
    reader.children(element, [&](const XMLElement& child) {
        if (!is(child.Name(), "kind")) {
            return false;
        }
        reader.enumerator(child, ownership_kinds, "an ownership kind", policy.kind);
        return true;
    });
}

void read_lifespan(Reader& reader, const XMLElement& element, DDS_LifespanQosPolicy& policy) {
    reader.children(element, [&](const XMLElement& child) {
        if (!is(child.Name(), "duration")) {
            return false;
        }
        reader.duration(child, policy.duration);
        return true;
    });
}

void read_partition(Reader& reader, const XMLElement& element, DDS_PartitionQosPolicy& policy) {
    reader.children(element, [&](const XMLElement& child) {
        if (!is(child.Name(), "name")) {
            return false;
        }
        reader.strings(child, policy.name);
        return true;
    });
}

// The policies every topic-like record has; false when `child` is none of them.
template <class Qos>
bool read_data_policy(Reader& reader, const XMLElement& child, Qos& qos) {
    const char* name = child.Name();
    if (is(name, "durability")) {
        read_durability(reader, child, qos.durability);
    } else if (is(name, "deadline")) {
        read_deadline(reader, child, qos.deadline);
    } else if (is(name, "liveliness")) {
        read_liveliness(reader, child, qos.liveliness);
    } else if (is(name, "reliability")) {
        read_reliability(reader, child, qos.reliability);
    } else if (is(name, "history")) {
        read_history(reader, child, qos.history);
    } else if (is(name, "resource_limits")) {
        read_resource_limits(reader, child, qos.resource_limits);
    } else if (is(name, "ownership")) {
        read_ownership(reader, child, qos.ownership);
    } else if (is(name, "lifespan")) {
        read_lifespan(reader, child, qos.lifespan);
    } else {
        return false;
    }
    return true;
}

// ---- DataWriter and DataReader only ----

void read_writer_data_lifecycle(Reader& reader, const XMLElement& element,
                                DDS_WriterDataLifecycleQosPolicy& policy) {
    reader.children(element, [&](const XMLElement& child) {
        if (!is(child.Name(), "autodispose_unregistered_instances")) {
            return false;
        }
        reader.boolean(child, policy.autodispose_unregistered_instances);
        return true;
    });
}

void read_time_based_filter(Reader& reader, const XMLElement& element,
                            DDS_TimeBasedFilterQosPolicy& policy) {
    reader.children(element, [&](const XMLElement& child) {
        if (!is(child.Name(), "minimum_separation")) {
            return false;
        }
        reader.duration(child, policy.minimum_separation);
        return true;
    });
}

void read_multicast_settings(Reader& reader, const XMLElement& element,
                             DDS_TransportMulticastSettings_t& settings) {
    reader.children(element, [&](const XMLElement& child) {
        long long port = 0;
        if (is(child.Name(), "receive_address")) {
            reader.string(child, settings.receive_address);
        } else if (is(child.Name(), "receive_port")) {
            if (reader.integer(child, 0, 65535, no_names, port)) {
                settings.receive_port = static_cast<int32_t>(port);
            }
        } else if (is(child.Name(), "transports")) {
            reader.strings(child, settings.transports);
        } else {
            return false;
        }
        return true;
    });
}

void read_multicast(Reader& reader, const XMLElement& element,
                    DDS_TransportMulticastQosPolicy& policy) {
    reader.children(element, [&](const XMLElement& value) {
        if (!is(value.Name(), "value")) {
            return false;
        }
        std::vector<DDS_TransportMulticastSettings_t> settings;
        reader.children(value, [&](const XMLElement& child) {
            if (!is(child.Name(), "element")) {
                return false;
            }
            settings.emplace_back();
            read_multicast_settings(reader, child, settings.back());
            return true;
        });
        int32_t count = static_cast<int32_t>(settings.size());
        policy.value.ensure_length(count, count);
        for (int32_t i = 0; i < count; ++i) {
            policy.value[i] = settings[static_cast<size_t>(i)];
        }
        return true;
    });
}

// ---- DomainParticipant only ----

void read_property_element(Reader& reader, const XMLElement& element,
                           DDS_PropertyQosPolicy& policy) {
    std::string name;
    std::string value;
    bool propagate = false;
    bool named = false;
    reader.children(element, [&](const XMLElement& child) {
        if (is(child.Name(), "name")) {
            named = reader.text(child, name);
        } else if (is(child.Name(), "value")) {
            reader.text(child, value);
        } else if (is(child.Name(), "propagate")) {
            reader.boolean(child, propagate);
        } else {
            return false;
        }
        return true;
    });
    if (!named || name.empty()) {
        reader.problems().at(element, "a property <element> has no <name>");
        return;
    }
    DDSPropertyQosPolicyHelper::assert_property(policy, name.c_str(), value.c_str(), propagate);
}

void read_property(Reader& reader, const XMLElement& element, DDS_PropertyQosPolicy& policy) {
    reader.children(element, [&](const XMLElement& value) {
        if (!is(value.Name(), "value")) {
            return false;
        }
        reader.children(value, [&](const XMLElement& child) {
            if (!is(child.Name(), "element")) {
                return false;
            }
            read_property_element(reader, child, policy);
            return true;
        });
        return true;
    });
}

void read_wire_protocol(Reader& reader, const XMLElement& element,
                        DDS_WireProtocolQosPolicy& policy) {
    reader.children(element, [&](const XMLElement& child) {
        long long value = 0;
        if (is(child.Name(), "participant_id")) {
            // The widest range, domain 0's; a higher domain narrows it at creation.
            if (reader.integer(child, -1, largest_participant_id(0), no_names, value)) {
                policy.participant_id = static_cast<int32_t>(value);
            }
        } else if (is(child.Name(), "rtps_app_id")) {
            if (reader.integer(child, 0, UINT32_MAX, app_id_names, value, true)) {
                policy.rtps_app_id = static_cast<uint32_t>(value);
            }
        } else {
            return false;
        }
        return true;
    });
}

void read_discovery_config(Reader& reader, const XMLElement& element,
                           DDS_DiscoveryConfigQosPolicy& policy) {
    reader.children(element, [&](const XMLElement& child) {
        if (is(child.Name(), "participant_liveliness_assert_period")) {
            reader.duration(child, policy.participant_liveliness_assert_period);
        } else if (is(child.Name(), "participant_liveliness_lease_duration")) {
            reader.duration(child, policy.participant_liveliness_lease_duration);
        } else if (is(child.Name(), "builtin_discovery_plugins")) {
            reader.mask(child, discovery_plugin_names, policy.builtin_discovery_plugins);
        } else {
            return false;
        }
        return true;
    });
}

// An element that holds exactly one kind of child, read by `read`.
template <class Read>
void read_single(Reader& reader, const XMLElement& element, const char* child_name, Read read) {
    reader.children(element, [&](const XMLElement& child) {
        if (!is(child.Name(), child_name)) {
            return false;
        }
        read(child);
        return true;
    });
}

bool read_participant_policy(Reader& reader, const XMLElement& child,
                             DDS_DomainParticipantQos& qos) {
    const char* name = child.Name();
    if (is(name, "property")) {
        read_property(reader, child, qos.property);
    } else if (is(name, "participant_name")) {
        read_single(reader, child, "name",
                    [&](const XMLElement& e) { reader.string(e, qos.participant_name.name); });
    } else if (is(name, "partition")) {
        read_partition(reader, child, qos.partition);
    } else if (is(name, "wire_protocol")) {
        read_wire_protocol(reader, child, qos.wire_protocol);
    } else if (is(name, "transport_builtin")) {
        read_single(reader, child, "mask", [&](const XMLElement& e) {
            int32_t mask = qos.transport_builtin.mask;
            reader.mask(e, transport_mask_names, mask);
            if ((mask & builtin_transports) == 0) {
                reader.problems().at(
                    e, "<mask> enables no built-in transport (UDPv4, SHMEM or UDPv6)");
            } else {
                qos.transport_builtin.mask = mask;
            }
        });
    } else if (is(name, "discovery")) {
        read_single(reader, child, "initial_peers", [&](const XMLElement& e) {
            reader.strings(e, qos.discovery.initial_peers);
            // Each peer's form, at its own line; names are resolved at creation.
            for (const XMLElement* peer = e.FirstChildElement("element"); peer != nullptr;
                 peer = peer->NextSiblingElement("element")) {
                XmlProblems already_reported("", false);
                std::string text;
                if (!value_text(*peer, text, already_reported)) {
                    continue;
                }
                std::string why = peer_text_problem(text.c_str());
                if (!why.empty()) {
                    reader.problems().at(*peer, "peer '%s': %s", text.c_str(), why.c_str());
                }
            }
        });
    } else if (is(name, "discovery_config")) {
        read_discovery_config(reader, child, qos.discovery_config);
    } else if (is(name, "resource_limits")) {
        read_single(reader, child, "type_code_max_serialized_length", [&](const XMLElement& e) {
            reader.int32(e, 0, qos.resource_limits.type_code_max_serialized_length);
        });
    } else if (is(name, "receiver_pool")) {
        read_single(reader, child, "buffer_size", [&](const XMLElement& e) {
            reader.int32(e, -1, qos.receiver_pool.buffer_size);
        });
    } else {
        return false;
    }
    return true;
}

}  // namespace

void each_child(const XMLElement& parent, XmlProblems& problems,
                const std::function<bool(const XMLElement&)>& take) {
    for (const XMLNode* node = parent.FirstChild(); node != nullptr; node = node->NextSibling()) {
        if (const XMLElement* child = node->ToElement()) {
            if (!take(*child)) {
                problems.at(*child, "unknown element <%s> in <%s>", child->Name(), parent.Name());
            }
        } else if (node->ToText() != nullptr && !blank(node->Value())) {
            problems.at(*node, "unexpected text '%s' in <%s>", trim(node->Value()).c_str(),
                        parent.Name());
        }
    }
}

void check_attributes(const XMLElement& element, std::initializer_list<const char*> allowed,
                      XmlProblems& problems) {
    for (const tinyxml2::XMLAttribute* attribute = element.FirstAttribute(); attribute != nullptr;
         attribute = attribute->Next()) {
        bool known = false;
        for (const char* name : allowed) {
            known = known || is(attribute->Name(), name);
        }
        if (!known) {
            problems.at(element, "unknown attribute '%s' of <%s>", attribute->Name(),
                        element.Name());
        }
    }
}

bool parse_boolean(const std::string& text, bool& value) {
    long long named = 0;
    if (text == "true" || text == "1") {
        value = true;
    } else if (text == "false" || text == "0") {
        value = false;
    } else if (lookup(text, boolean_names, named)) {
        value = named != 0;
    } else {
        return false;
    }
    return true;
}

bool value_text(const XMLElement& element, std::string& text, XmlProblems& problems) {
    text.clear();
    for (const XMLNode* node = element.FirstChild(); node != nullptr; node = node->NextSibling()) {
        if (const XMLElement* child = node->ToElement()) {
            problems.at(*child, "unexpected element <%s> in <%s>, which holds a value",
                        child->Name(), element.Name());
            return false;
        }
        if (node->ToText() != nullptr) {
            text += node->Value();
        }
    }
    text = trim(text);
    return true;
}

bool read_participant_qos(const XMLElement& element, DDS_DomainParticipantQos& qos,
                          XmlProblems& problems) {
    Reader reader(problems);
    reader.attributes(element, {});
    reader.children(element, [&](const XMLElement& child) {
        return read_participant_policy(reader, child, qos);
    });
    return reader.ok();
}

bool read_topic_qos(const XMLElement& element, DDS_TopicQos& qos, XmlProblems& problems) {
    Reader reader(problems);
    reader.attributes(element, {"topic_filter"});
    reader.children(element,
                    [&](const XMLElement& child) { return read_data_policy(reader, child, qos); });
    return reader.ok();
}

bool read_publisher_qos(const XMLElement& element, DDS_PublisherQos& qos, XmlProblems& problems) {
    Reader reader(problems);
    reader.attributes(element, {});
    read_single(reader, element, "partition",
                [&](const XMLElement& e) { read_partition(reader, e, qos.partition); });
    return reader.ok();
}

bool read_subscriber_qos(const XMLElement& element, DDS_SubscriberQos& qos, XmlProblems& problems) {
    Reader reader(problems);
    reader.attributes(element, {});
    read_single(reader, element, "partition",
                [&](const XMLElement& e) { read_partition(reader, e, qos.partition); });
    return reader.ok();
}

bool read_datawriter_qos(const XMLElement& element, DDS_DataWriterQos& qos, XmlProblems& problems) {
    Reader reader(problems);
    reader.attributes(element, {"topic_filter"});
    reader.children(element, [&](const XMLElement& child) {
        if (is(child.Name(), "writer_data_lifecycle")) {
            read_writer_data_lifecycle(reader, child, qos.writer_data_lifecycle);
            return true;
        }
        return read_data_policy(reader, child, qos);
    });
    return reader.ok();
}

bool read_datareader_qos(const XMLElement& element, DDS_DataReaderQos& qos, XmlProblems& problems) {
    Reader reader(problems);
    reader.attributes(element, {"topic_filter"});
    reader.children(element, [&](const XMLElement& child) {
        if (is(child.Name(), "time_based_filter")) {
            read_time_based_filter(reader, child, qos.time_based_filter);
            return true;
        }
        if (is(child.Name(), "multicast")) {
            read_multicast(reader, child, qos.multicast);
            return true;
        }
        return read_data_policy(reader, child, qos);
    });
    return reader.ok();
}

}  // namespace qordds
