// Binding-internal: what decides whether two endpoints match, read from a local endpoint or
// from a remote one's announcement, and the reasons why a pair does not match.
//
// Fast DDS matches a writer and a reader only when their topic names (with the domain tag the
// binding appends) and type names are equal, both are keyed or both unkeyed, their partitions
// meet and every request of the reader is met by the writer's offer. Nothing is reported for
// a pair that fails on any but the last; these reasons are what the binding says instead.
#ifndef QOR_DDS_SRC_DIAGNOSTICS_ENDPOINT_FACTS_H
#define QOR_DDS_SRC_DIAGNOSTICS_ENDPOINT_FACTS_H

#include <limits>
#include <string>
#include <vector>

namespace qordds {

enum class Durability { Volatile, TransientLocal, Transient, Persistent };
enum class Liveliness { Automatic, ManualByParticipant, ManualByTopic };

const double kInfinite = std::numeric_limits<double>::infinity();

struct EndpointFacts {
    bool writer = false;
    std::string guid;   // as printed
    std::string topic;  // as on the wire, domain tag included
    std::string type;
    bool keyed = false;
    std::vector<std::string> partitions;  // as on the wire; empty is the default partition
    bool reliable = false;
    Durability durability = Durability::Volatile;
    double deadline = kInfinite;  // seconds
    Liveliness liveliness = Liveliness::Automatic;
    double liveliness_lease = kInfinite;  // seconds
    bool exclusive_ownership = false;
    // Shown for local endpoints only.
    int depth = 0;
    double time_filter = 0;              // seconds
    std::vector<std::string> multicast;  // receive locators, as printed
};

// How a remote endpoint's topic relates to a local one's.
enum class TopicRelation {
    Unrelated,   // the names differ beyond letter case
    Same,        // equal names and domain tags
    OtherTag,    // equal names, different domain tags (or only one side has one)
    LetterCase,  // names that differ only in letter case (the tags may differ too)
};

TopicRelation relate_topics(const std::string& local_wire, const std::string& remote_wire);

// The topic name without the domain tag, and the tag ("" when none).
std::string topic_without_tag(const std::string& wire);
std::string domain_tag_of(const std::string& wire);

// Why `local` and `remote` (a writer and a reader, either way round) do not match, one reason
// each, in words; empty when they match. Their topics must be related.
std::vector<std::string> mismatch_reasons(const EndpointFacts& local, const EndpointFacts& remote);

// Whether two partition lists meet, as Fast DDS decides it (wildcards both ways).
bool partitions_meet(const std::vector<std::string>& a, const std::vector<std::string>& b);

// For the log: a wire partition list as the user gave it (participant partition, then
// "/" and the publisher's or subscriber's, when it has one), e.g. ["A", "B"].
std::string partitions_text(const std::vector<std::string>& wire);
// A wire name with its control characters written as \xNN.
std::string printable(const std::string& text);
// Seconds as "0.1 s", or "infinite".
std::string seconds_text(double seconds);
const char* durability_text(Durability durability);
const char* liveliness_text(Liveliness liveliness);

}  // namespace qordds

#endif
