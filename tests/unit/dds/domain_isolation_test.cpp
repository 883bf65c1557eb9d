// The domain tag and the participant partitions as Fast DDS sees them: topic names and
// partition lists.
#include <gtest/gtest.h>

#include <fnmatch.h>

#include <string>
#include <vector>

#include "workarounds/domain_isolation.h"

typedef std::vector<std::string> Texts;

namespace {

void set_names(DDS_StringSeq& seq, const Texts& names) {
    int32_t count = static_cast<int32_t>(names.size());
    seq.ensure_length(count, count);
    for (int32_t i = 0; i < count; ++i) {
        DDS_String_replace(&seq[i], names[static_cast<size_t>(i)].c_str());
    }
}

DDS_DomainParticipantQos participant_with(const Texts& partitions, const char* tag = nullptr) {
    DDS_DomainParticipantQos qos;
    set_names(qos.partition.name, partitions);
    if (tag != nullptr) {
        DDSPropertyQosPolicyHelper::assert_property(
            qos.property, "dds.domain_participant.domain_tag", tag, false);
    }
    return qos;
}

// The partitions a publisher or subscriber of a participant announces.
Texts on_wire(const Texts& participant, const Texts& group) {
    DDS_PartitionQosPolicy policy;
    set_names(policy.name, group);
    return qordds::wire_partitions(participant_with(participant), policy);
}

// How Fast DDS 2.9 decides whether a writer's and a reader's partition lists match.
bool fast_dds_partitions_match(const Texts& a, const Texts& b) {
    auto has_empty = [](const Texts& list) {
        return std::find(list.begin(), list.end(), "") != list.end();
    };
    if (a.empty() || b.empty()) {
        return a.empty() ? b.empty() || has_empty(b) : has_empty(a);
    }
    for (const std::string& x : a) {
        for (const std::string& y : b) {
            if (fnmatch(x.c_str(), y.c_str(), FNM_NOESCAPE) == 0 ||
                fnmatch(y.c_str(), x.c_str(), FNM_NOESCAPE) == 0) {
                return true;
            }
        }
    }
    return false;
}

}  // namespace

TEST(DomainIsolation, ParticipantPartitionsMatchByTheirNamesAndWildcards) {
    struct Side {
        Texts participant, group;
        bool plain;  // a peer without participant partitions: announces the group's as they are
    };
    struct Case {
        const char* what;
        Side a, b;
        bool match;
    };
    const Side star = {{"*"}, {}, false};
    const Case cases[] = {
        {"built-in default on both", star, star, true},
        {"one name in common", {{"A", "B"}, {}, false}, {{"B", "C"}, {}, false}, true},
        {"disjoint lists", {{"A"}, {}, false}, {{"B"}, {}, false}, false},
        {"wildcard on one side", {{"A*"}, {}, false}, {{"AB"}, {}, false}, true},
        {"wildcard that misses", {{"A*"}, {}, false}, {{"BA"}, {}, false}, false},
        {"star meets any name", star, {{"X"}, {}, false}, true},
        {"no list is the default partition", {{}, {}, false}, {{""}, {}, false}, true},
        {"no list misses a named one", {{}, {}, false}, {{"A"}, {}, false}, false},
        {"same publisher partitions", {{"*"}, {"P"}, false}, {{"*"}, {"P"}, false}, true},
        {"publisher partition against none", {{"*"}, {"P"}, false}, star, false},
        {"publisher wildcard", {{"A"}, {"P*"}, false}, {{"A"}, {"PQ"}, false}, true},
        {"both halves must match", {{"A"}, {"P"}, false}, {{"B"}, {"P"}, false}, false},
        {"plain peer, default partition", star, {{}, {}, true}, true},
        {"plain peer, named partition", star, {{}, {"X"}, true}, false},
        {"plain peer, same group partition", {{"*"}, {"X"}, false}, {{}, {"X"}, true}, true},
        {"plain peer, named list", {{"A"}, {}, false}, {{}, {}, true}, false},
    };
    for (const Case& c : cases) {
        auto wire = [](const Side& side) {
            return side.plain ? side.group : on_wire(side.participant, side.group);
        };
        EXPECT_EQ(fast_dds_partitions_match(wire(c.a), wire(c.b)), c.match) << c.what;
    }
}

TEST(DomainIsolation, TheTagGoesIntoTheTopicName) {
    auto wire_name = [](const Texts& partitions, const char* tag, const char* name) {
        return qordds::wire_topic_name(participant_with(partitions, tag), name);
    };
    EXPECT_EQ(wire_name({"*"}, nullptr, "PingTopic"), "PingTopic");
    EXPECT_EQ(wire_name({"*"}, "", "PingTopic"), "PingTopic");
    std::string red = wire_name({"*"}, "red", "PingTopic");
    EXPECT_NE(red, "PingTopic");
    EXPECT_NE(red, wire_name({"*"}, "blue", "PingTopic"));
    EXPECT_EQ(red, wire_name({"A"}, "red", "PingTopic"));
    EXPECT_EQ(wire_name({}, "t", std::string(300, 'x').c_str()), "")
        << "a name Fast DDS would cut is refused";
}

// A name that holds the tag's separator would reach the readers of another tag; a name that
// Fast DDS cannot announce whole would never match. Both are refused with the reason.
TEST(DomainIsolation, NamesThatForgeTheTagOrExceedTheLimitAreRefused) {
    auto problem = [](const char* tag, const std::string& topic, const std::string& type) {
        return qordds::topic_name_problem(participant_with({}, tag), topic.c_str(), type.c_str());
    };
    const std::string longest(251, 'n');
    EXPECT_EQ(problem(nullptr, "PingTopic", "PingType"), "");
    EXPECT_EQ(problem(nullptr, longest, longest), "");
    EXPECT_EQ(problem("X", std::string(249, 'n'), "PingType"), "");
    EXPECT_NE(problem(nullptr, "PingTopic\035X", "PingType").find("0x1d"), std::string::npos);
    EXPECT_NE(problem("X", "PingTopic\035X", "PingType").find("0x1d"), std::string::npos);
    EXPECT_NE(problem(nullptr, longest + "n", "PingType").find("limit of 251 characters"),
              std::string::npos);
    EXPECT_NE(problem(nullptr, "PingTopic", longest + "n").find("type name of 252 characters"),
              std::string::npos);
    EXPECT_NE(problem("X", std::string(250, 'n'), "PingType").find("252 characters"),
              std::string::npos);
}
