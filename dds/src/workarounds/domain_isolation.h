// Binding-internal: how the domain tag and the participant's partitions keep participants
// apart on Fast DDS 2.9, which has neither.
//
// Both are carried by what Fast DDS matches endpoints on, so that endpoints that must stay
// apart are never matched at all: no data, no matched or incompatible-QoS status, nothing.
// Participants still discover each other; the binding has no use for that.
//
// Domain tag (participant property "dds.domain_participant.domain_tag"). A tagged
// participant creates its Fast DDS topics under "<topic name>\x1d<tag>". Fast DDS matches
// only endpoints whose topic names are equal, so different tags never meet, and a tagged
// participant never meets an untagged one. Without a tag (or with an empty one) the topic
// name is left alone, which keeps plain DDS peers in reach. A topic name that holds the
// separator itself is refused, tagged or not: "PingTopic\x1dX" without a tag would otherwise
// be the wire name of "PingTopic" with tag X and reach its readers. Fast DDS announces a
// topic or type name of more than 251 characters in a form its peers drop, so that such
// endpoints never match and nothing says so; longer names (with the tag) are refused.
//
// Participant partitions (DDS_DomainParticipantQos::partition). Every publisher and
// subscriber gets the Fast DDS partition list
//     { p + "\x1f" + q : p in the participant's names, q in the publisher's/subscriber's }
// (a missing list counting as the default partition ""), so that Fast DDS's partition
// matching (fnmatch both ways, wildcards included) has to match both halves: '*' can match
// "\x1f", but the single literal "\x1f" of a name must meet the single one of the other.
// Plain DDS peers have no participant partitions; the binding treats them as being in the
// default one. A participant whose list matches "" (the built-in "*" does) therefore also
// lists the endpoint's own names without prefix ("" when it has none), so its endpoints
// still meet a plain peer's endpoints in the same publisher/subscriber partition.
// Known corners, both with publisher/subscriber partitions of their own: when the wildcards
// sit on different sides in the two halves ("a*"/"ab" against "x"/"x*") the pair does not
// match although the DDS rules would; and an unprefixed wildcard name (from a participant
// list that holds "" but not "*") may reach further than its participant list allows.
#ifndef QOR_DDS_SRC_DOMAIN_ISOLATION_H
#define QOR_DDS_SRC_DOMAIN_ISOLATION_H

#include <string>
#include <vector>

#include "qordds/qos.h"

namespace qordds {

// The participant's domain tag; empty when it has none.
std::string domain_tag(const DDS_DomainParticipantQos& participant);

// The longest topic or type name, tag included, whose endpoints still match.
const size_t wire_name_limit = 251;
// The separator between a topic name and the domain tag.
const char domain_tag_separator = '\x1d';

// Why the topic (or its type) cannot be created, or "" when it can.
std::string topic_name_problem(const DDS_DomainParticipantQos& participant, const char* topic_name,
                               const char* type_name);

// The name Fast DDS knows the topic by; empty when it cannot carry the tag.
std::string wire_topic_name(const DDS_DomainParticipantQos& participant, const char* topic_name);

// The Fast DDS partition list of a publisher or subscriber.
std::vector<std::string> wire_partitions(const DDS_DomainParticipantQos& participant,
                                         const DDS_PartitionQosPolicy& group);

}  // namespace qordds

#endif
