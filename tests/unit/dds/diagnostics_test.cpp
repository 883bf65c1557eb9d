// The pure logic behind the binding's diagnostics: the RTPS port formula, vendor names, how
// topics relate and why endpoints do not match, table by table.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "diagnostics/endpoint_facts.h"
#include "diagnostics/rtps_ports.h"
#include "diagnostics/vendor_names.h"

namespace {

using qordds::Durability;
using qordds::EndpointFacts;
using qordds::TopicRelation;

TEST(RtpsPorts, FollowTheFormulaWithFastDdsParameters) {
    const struct {
        uint32_t domain, index, metatrafficMulticast, metatrafficUnicast, userMulticast,
            userUnicast;
    } cases[] = {
        {0, 0, 7400, 7410, 7401, 7411},   {0, 1, 7400, 7412, 7401, 7413},
        {0, 4, 7400, 7418, 7401, 7419},   {1, 0, 7650, 7660, 7651, 7661},
        {3, 2, 8150, 8164, 8151, 8165},   {232, 0, 65400, 65410, 65401, 65411},
        {0, 119, 7400, 7648, 7401, 7649},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE("domain " + std::to_string(c.domain) + " index " + std::to_string(c.index));
        qordds::WellKnownPorts ports = qordds::well_known_ports(c.domain, c.index);
        EXPECT_EQ(c.metatrafficMulticast, ports.metatraffic_multicast);
        EXPECT_EQ(c.metatrafficUnicast, ports.metatraffic_unicast);
        EXPECT_EQ(c.userMulticast, ports.user_multicast);
        EXPECT_EQ(c.userUnicast, ports.user_unicast);
        EXPECT_EQ(static_cast<int>(c.index),
                  qordds::participant_index_of_port(c.domain, c.metatrafficUnicast));
    }
}

TEST(RtpsPorts, PortsOfNoParticipantIndexGiveNone) {
    const struct {
        uint32_t domain, port;
    } cases[] = {{0, 7400}, {0, 7401}, {0, 7409}, {0, 7411}, {0, 7650}, {1, 7660 - 250}};
    for (const auto& c : cases) {
        EXPECT_EQ(-1, qordds::participant_index_of_port(c.domain, c.port)) << c.port;
    }
}

TEST(VendorNames, AsRegistered) {
    const struct {
        uint8_t major, minor;
        const char* name;
    } cases[] = {
        {0x01, 0x0f, "eProsima Fast DDS"},
        {0x01, 0x10, "Eclipse Cyclone DDS"},
        {0x01, 0x03, "OCI OpenDDS"},
        {0x01, 0x06, "Twin Oaks Computing CoreDX DDS"},
        {0x01, 0x11, "Gurum Networks GurumDDS"},
        {0x01, 0x12, "Atostek RustDDS"},
        {0x01, 0x2a, "vendor id 01.2a (not in this table)"},
        {0x00, 0x00, "vendor id 00.00 (not in this table)"},
        {0x02, 0x0f, "vendor id 02.0f (not in this table)"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.name, qordds::vendor_name(c.major, c.minor));
    }
}

TEST(TopicRelations, NameTagAndLetterCase) {
    const struct {
        const char *local, *remote;
        TopicRelation relation;
    } cases[] = {
        {"PingTopic", "PingTopic", TopicRelation::Same},
        {"PingTopic\x1dred", "PingTopic\x1dred", TopicRelation::Same},
        {"PingTopic\x1dred",
         "PingTopic\x1d"
         "blue",
         TopicRelation::OtherTag},
        {"PingTopic", "PingTopic\x1dred", TopicRelation::OtherTag},
        {"PingTopic", "pingtopic", TopicRelation::LetterCase},
        {"PingTopic\x1dred", "PINGTOPIC", TopicRelation::LetterCase},
        {"PingTopic", "PingTopics", TopicRelation::Unrelated},
        {"A", "B", TopicRelation::Unrelated},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.relation, qordds::relate_topics(c.local, c.remote))
            << qordds::printable(c.local) << " / " << qordds::printable(c.remote);
    }
}

EndpointFacts reader() {
    EndpointFacts facts;
    facts.topic = "PingTopic";
    facts.type = "PingType";
    facts.partitions = {"\x1f", ""};
    return facts;
}

EndpointFacts writer() {
    EndpointFacts facts = reader();
    facts.writer = true;
    return facts;
}

template <class Change>
EndpointFacts with(EndpointFacts facts, Change change) {
    change(facts);
    return facts;
}

TEST(MismatchReasons, EachCauseInWords) {
    const struct {
        const char* name;
        EndpointFacts local, remote;
        std::vector<std::string> reasons;
    } cases[] = {
        {"equal", reader(), writer(), {}},
        {"type names",
         reader(),
         with(writer(), [](EndpointFacts& f) { f.type = "B"; }),
         {"type name differs: \"PingType\" here, \"B\" there"}},
        {"keyed against unkeyed",
         reader(),
         with(writer(), [](EndpointFacts& f) { f.keyed = true; }),
         {"unkeyed here, keyed there"}},
        {"domain tags",
         with(reader(), [](EndpointFacts& f) { f.topic += "\x1dred"; }),
         with(writer(),
              [](EndpointFacts& f) {
                  f.topic +=
                      "\x1d"
                      "blue";
              }),
         {"domain tag differs: \"red\" here, \"blue\" there"}},
        {"tag on one side",
         reader(),
         with(writer(), [](EndpointFacts& f) { f.topic += "\x1dx"; }),
         {"domain tag differs: none here, \"x\" there"}},
        {"letter case",
         reader(),
         with(writer(), [](EndpointFacts& f) { f.topic = "PINGTOPIC"; }),
         {"topic name differs: \"PingTopic\" here, \"PINGTOPIC\" there (only in letter case)"}},
        {"disjoint partitions",
         with(reader(),
              [](EndpointFacts& f) {
                  f.partitions = {"A\x1f", "B\x1f"};
              }),
         with(writer(), [](EndpointFacts& f) { f.partitions = {"C\x1f"}; }),
         {"partitions disjoint: [\"A\", \"B\"] here, [\"C\"] there"}},
        {"partitions meeting by wildcard",
         with(reader(), [](EndpointFacts& f) { f.partitions = {"A*\x1f"}; }),
         with(writer(), [](EndpointFacts& f) { f.partitions = {"Ab\x1f"}; }),
         {}},
        {"a plain peer's partition against the default",
         reader(),
         with(writer(), [](EndpointFacts& f) { f.partitions = {"X"}; }),
         {"partitions disjoint: [\"\"] here, [\"X\"] there"}},
        {"reliability",
         with(reader(), [](EndpointFacts& f) { f.reliable = true; }),
         writer(),
         {"reliability incompatible: offered BEST_EFFORT, requested RELIABLE"}},
        {"reliability seen from the writer",
         writer(),
         with(reader(), [](EndpointFacts& f) { f.reliable = true; }),
         {"reliability incompatible: offered BEST_EFFORT, requested RELIABLE"}},
        {"durability",
         with(reader(), [](EndpointFacts& f) { f.durability = Durability::TransientLocal; }),
         writer(),
         {"durability incompatible: offered VOLATILE, requested TRANSIENT_LOCAL"}},
        {"deadline",
         with(reader(), [](EndpointFacts& f) { f.deadline = 0.1; }),
         with(writer(), [](EndpointFacts& f) { f.deadline = 1; }),
         {"deadline incompatible: offered 1 s, requested 0.1 s"}},
        {"deadline offered, none requested",
         reader(),
         with(writer(), [](EndpointFacts& f) { f.deadline = 1; }),
         {}},
        {"ownership",
         with(reader(), [](EndpointFacts& f) { f.exclusive_ownership = true; }),
         writer(),
         {"ownership incompatible: offered SHARED, requested EXCLUSIVE"}},
        {"liveliness",
         with(reader(), [](EndpointFacts& f) { f.liveliness_lease = 2; }),
         writer(),
         {"liveliness incompatible: offered AUTOMATIC infinite, requested AUTOMATIC 2 s"}},
        {"several at once",
         with(reader(), [](EndpointFacts& f) { f.reliable = true; }),
         with(writer(),
              [](EndpointFacts& f) {
                  f.type = "B";
                  f.keyed = true;
              }),
         {"type name differs: \"PingType\" here, \"B\" there", "unkeyed here, keyed there",
          "reliability incompatible: offered BEST_EFFORT, requested RELIABLE"}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.reasons, qordds::mismatch_reasons(c.local, c.remote)) << c.name;
    }
}

TEST(PartitionsText, AsTheUserGaveThem) {
    const struct {
        std::vector<std::string> wire;
        const char* text;
    } cases[] = {
        {{}, "[\"\"]"},
        {{"\x1f", ""}, "[\"\"]"},
        {{"*\x1f", ""}, "[\"*\"]"},
        {{"A\x1f", "B\x1f"}, "[\"A\", \"B\"]"},
        {{"A\x1fq"}, "[\"A/q\"]"},
        {{"x", "y"}, "[\"x\", \"y\"]"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.text, qordds::partitions_text(c.wire));
    }
}

}  // namespace
