// KestAgent::createDomainParticipant on Fast DDS: the built-in profile document, profile
// precedence, every setting as the created participant holds it, transport tuning, and a peer
// that reaches a remote participant without multicast. Runs on a private host.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include <fastdds/rtps/transport/ChainingTransportDescriptor.h>
#include <fastdds/rtps/transport/UDPv4TransportDescriptor.h>
#include <fastdds/rtps/transport/UDPv6TransportDescriptor.h>
#include <fastdds/rtps/transport/shared_mem/SharedMemTransportDescriptor.h>
#include <tinyxml2.h>
#include <fastdds/dds/domain/DomainParticipantFactory.hpp>
#include <fastdds/dds/domain/DomainParticipantListener.hpp>

#include "agent/builtinQosProfile.h"
#include "dds/src/participant_impl.h"
#include "tests/unit/agent/frame_test_support.h"

namespace {

namespace fd = eprosima::fastdds::dds;
namespace fr = eprosima::fastrtps::rtps;
namespace ft = eprosima::fastdds::rtps;

// The tool run on `arguments` with a run that creates the participant, kept for inspection.
struct Created {
    explicit Created(const std::vector<std::string>& arguments) {
        agent.createsParticipant = true;
        output = agent.execute(arguments);
    }
    DDSDomainParticipant::Impl& impl() { return *agent.participant->impl(); }
    fd::DomainParticipantQos fast() { return impl().fast->get_qos(); }
    frametest::TestAgent agent;
    std::string output;
};

std::vector<std::string> strings(const DDS_StringSeq& sequence) {
    std::vector<std::string> texts;
    for (int i = 0; i < sequence.length(); ++i) {
        texts.push_back(sequence[i]);
    }
    return texts;
}

// UDP message size, receive and send buffers, TTL.
std::vector<uint32_t> tuningOf(const std::shared_ptr<ft::UDPTransportDescriptor>& udp) {
    return {udp->maxMessageSize, udp->receiveBufferSize, udp->sendBufferSize, udp->TTL};
}

std::string builtinDocument() {
    int count = 0;
    const char* const* fragments = KestAgent_getBuiltinQosProfile(&count);
    std::string joined;
    for (int i = 0; i < count; ++i) {
        joined += fragments[i];
    }
    return joined;
}

// The element names down to `depth` levels, with their name attributes: a(b[n](c d)).
std::string outline(const tinyxml2::XMLElement* element, int depth) {
    std::string text = element->Name();
    if (const char* name = element->Attribute("name")) {
        text += "[" + std::string(name) + "]";
    }
    const tinyxml2::XMLElement* child = element->FirstChildElement();
    if (depth > 1 && child != nullptr) {
        text += "(" + outline(child, depth - 1);
        while ((child = child->NextSiblingElement()) != nullptr) {
            text += " " + outline(child, depth - 1);
        }
        text += ")";
    }
    return text;
}

TEST(BuiltinQosProfile, OneLibraryOneProfileThreeQosElements) {
    int count = 0;
    KestAgent_getBuiltinQosProfile(&count);
    EXPECT_EQ(96, count);
    tinyxml2::XMLDocument document;
    ASSERT_EQ(tinyxml2::XML_SUCCESS, document.Parse(builtinDocument().c_str()));
    EXPECT_EQ(outline(document.RootElement(), 4),
              "dds(qos_library[InternalPingLibrary](qos_profile[InternalPingProfile]("
              "domain_participant_qos datawriter_qos datareader_qos)))");
}

TEST(ParticipantCreation, BuiltinProfileGivesNameLivelinessAndEntityDefaults) {
    Created created({});
    ASSERT_TRUE(created.agent.result);
    fd::DomainParticipantQos fast = created.fast();
    EXPECT_EQ(fast.name().to_string(), "QOR DDS Ping");
    const fr::DiscoverySettings& discovery = fast.wire_protocol().builtin.discovery_config;
    EXPECT_EQ(discovery.leaseDuration, eprosima::fastrtps::Duration_t(6, 500000000));
    EXPECT_EQ(discovery.leaseDuration_announcementperiod, eprosima::fastrtps::Duration_t(2, 0));
    EXPECT_TRUE(created.impl().fast->is_enabled());
    EXPECT_EQ(strings(created.impl().qos.partition.name), std::vector<std::string>{"*"});
    const DDS_Property_t* loopback = DDSPropertyQosPolicyHelper::lookup_property(
        created.impl().qos.property, "dds.transport.UDPv4.builtin.ignore_loopback_interface");
    ASSERT_NE(loopback, nullptr);
    EXPECT_STREQ(loopback->value, "0");

    // The profile is the default of the entities to come.
    DDS_DataWriterQos writer;
    qordds::default_datawriter_qos(created.impl().defaults, "PingTopic", writer);
    EXPECT_EQ(writer.reliability.kind, DDS_BEST_EFFORT_RELIABILITY_QOS);
    EXPECT_EQ(writer.durability.kind, DDS_TRANSIENT_LOCAL_DURABILITY_QOS);
    EXPECT_EQ(writer.history.depth, 1);
    EXPECT_EQ(writer.deadline.period, (DDS_Duration_t{1, 0}));
    DDS_DataReaderQos reader;
    qordds::default_datareader_qos(created.impl().defaults, "PingTopic", reader);
    EXPECT_EQ(reader.durability.kind, DDS_TRANSIENT_LOCAL_DURABILITY_QOS);
    EXPECT_EQ(reader.deadline.period, DDS_DURATION_INFINITE);
}

TEST(ParticipantCreation, ProfilePrecedence) {
    std::string file = qortest::writeTempFile("precedence.xml", R"(<dds>
<qos_library name="DefaultPingLibrary"><qos_profile name="DefaultPingProfile">
  <domain_participant_qos><participant_name><name>From default</name></participant_name>
  </domain_participant_qos></qos_profile></qos_library>
<qos_library name="Mine"><qos_profile name="Named">
  <domain_participant_qos><participant_name><name>From named</name></participant_name>
  </domain_participant_qos></qos_profile>
  <qos_profile name="Unnamed">
  <domain_participant_qos><participant_name><name></name></participant_name>
  </domain_participant_qos></qos_profile></qos_library>
</dds>)");
    const std::string notFound = "' was not found. Using default configuration.\n";
    const struct {
        std::vector<std::string> arguments;
        const char* name;
        std::string printed;
    } cases[] = {
        {{"-qosFile", file}, "From default", ""},
        {{"-qosFile", file, "-qosProfile", "Mine::Named"}, "From named", ""},
        {{"-qosFile", file, "-qosProfile", "Mine::Unnamed"}, frametest::TITLE, ""},
        {{"-qosFile", file, "-qosProfile", "Mine::Missing"},
         "From default",
         "QoS profile 'Mine::Missing" + notFound},
        {{"-qosProfile", "DefaultPingLibrary::DefaultPingProfile"},
         "QOR DDS Ping",
         "QoS profile 'DefaultPingLibrary::DefaultPingProfile" + notFound},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.arguments.back());
        Created created(c.arguments);
        ASSERT_TRUE(created.agent.result) << created.output;
        EXPECT_EQ(created.fast().name().to_string(), c.name);
        EXPECT_EQ(created.output, frametest::header() + c.printed);
    }
}

// A transport of the participant, under any chaining transport the binding wraps it in.
template <class Descriptor>
std::shared_ptr<Descriptor> transportOf(const fd::DomainParticipantQos& qos) {
    for (auto transport : qos.transport().user_transports) {
        while (auto chained =
                   std::dynamic_pointer_cast<ft::ChainingTransportDescriptor>(transport)) {
            transport = chained->low_level_descriptor;
        }
        if (auto found = std::dynamic_pointer_cast<Descriptor>(transport)) {
            return found;
        }
    }
    return nullptr;
}

TEST(ParticipantCreation, SettingsLandInTheFastDdsParticipant) {
    Created created(frametest::words(
        "-index 5 -appId 305419896 -transport 9 -peer 2@127.0.0.1 -peer udpv6://[::1] "
        "-msgMaxSize 65000 -tcMaxSize 2048 -domainTag blue -participantPartition A "
        "-participantPartition B -discoveryPlugins SDP2 -discoveryTTL 4"));
    ASSERT_TRUE(created.agent.result) << created.output;
    // The settings go over the profile, never into the document.
    EXPECT_EQ(builtinDocument(), [] {
        DDS_DomainParticipantFactoryQos qos;
        DDSDomainParticipantFactory::get_instance()->get_qos(qos);
        std::string joined;
        for (const std::string& fragment : strings(qos.profile.string_profile)) {
            joined += fragment;
        }
        return joined;
    }());

    fd::DomainParticipantQos fast = created.fast();
    EXPECT_EQ(fast.wire_protocol().participant_id, 5);
    const fr::GuidPrefix_t& prefix = created.impl().fast->guid().guidPrefix;
    EXPECT_EQ(std::vector<int>(prefix.value + 8, prefix.value + 12),
              (std::vector<int>{0x12, 0x34, 0x56, 0x78}));
    std::vector<std::string> peers;
    for (const fr::Locator_t& locator : fast.wire_protocol().builtin.initialPeersList) {
        peers.push_back(fr::IPLocator::to_string(locator));
    }
    EXPECT_EQ(peers, (std::vector<std::string>{"UDPv4:[127.0.0.1]:7410", "UDPv4:[127.0.0.1]:7412",
                                               "UDPv4:[127.0.0.1]:7414", "UDPv6:[::1]:0"}));
    // Mask 9: UDPv4 and UDPv6, both tuned, and no shared memory.
    EXPECT_EQ(fast.transport().user_transports.size(), 2u);
    auto v4 = transportOf<ft::UDPv4TransportDescriptor>(fast);
    auto v6 = transportOf<ft::UDPv6TransportDescriptor>(fast);
    ASSERT_TRUE(v4 != nullptr && v6 != nullptr);
    EXPECT_EQ(tuningOf(v4), (std::vector<uint32_t>{65000, 65000, 65000, 4}));
    EXPECT_EQ(tuningOf(v6), tuningOf(v4));
    EXPECT_EQ(fast.transport().listen_socket_buffer_size, 65000u);

    const DDS_DomainParticipantQos& kept = created.impl().qos;
    EXPECT_EQ(kept.resource_limits.type_code_max_serialized_length, 2048);
    EXPECT_EQ(kept.discovery_config.builtin_discovery_plugins, DDS_DISCOVERYCONFIG_BUILTIN_SDP2);
    EXPECT_EQ(strings(kept.partition.name), (std::vector<std::string>{"A", "B"}));
    const DDS_Property_t* tag = DDSPropertyQosPolicyHelper::lookup_property(
        kept.property, "dds.domain_participant.domain_tag");
    ASSERT_NE(tag, nullptr);
    EXPECT_STREQ(tag->value, "blue");
    EXPECT_FALSE(tag->propagate);
}

// The "Changing ..." lines print at every verbosity, with the values Fast DDS starts from, and
// the new values are the ones the transports get; settings Fast DDS would refuse still give a
// working participant.
TEST(ParticipantCreation, TransportTuning) {
    const struct {
        std::vector<std::string> arguments;
        std::string lines;
        // UDPv4 message size and receive buffer; shared memory message size, segment, queue.
        std::vector<uint32_t> values;
    } cases[] = {
        {{"-msgMaxSize", "65000", "-shmRcvSize", "1000000"},
         "Changing UDPv4 message size max from 65500 to 65000\n"
         "Changing shmem message size max from 65500 to 65000\n"
         "Changing shmem receive buffer size from 524288 to 1000000\n",
         {65000, 65000, 65000, 1000000, 512}},
        {{"-msgMaxSize", "300000"},
         "Changing UDPv4 message size max from 65500 to 300000\n"
         "Changing shmem message size max from 65500 to 300000\n"
         "Changing shmem receive buffer size from 524288 to 600000\n",
         {65500, 300000, 300000, 600000, 512}},
        {{"-shmRcvSize", "100000000", "-discoveryTTL", "0"},
         "Changing UDPv4 TTL from 1 to 0\n"
         "Changing shmem receive buffer size from 524288 to 100000000\n"
         "Changing shmem received message count max from 512 to 3054\n",
         {65500, 0, 65500, 100000000, 3054}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.arguments[1]);
        std::vector<std::string> arguments = c.arguments;
        arguments.insert(arguments.end(), {"-verbosity", "0"});
        Created created(arguments);
        ASSERT_TRUE(created.agent.result) << created.output;
        EXPECT_EQ(created.output, frametest::header() + c.lines);
        auto udp = transportOf<ft::UDPv4TransportDescriptor>(created.fast());
        auto shm = transportOf<ft::SharedMemTransportDescriptor>(created.fast());
        ASSERT_TRUE(udp != nullptr && shm != nullptr);
        EXPECT_EQ(c.values, (std::vector<uint32_t>{udp->maxMessageSize, udp->receiveBufferSize,
                                                   shm->max_message_size(), shm->segment_size(),
                                                   shm->port_queue_capacity()}));
        EXPECT_TRUE(created.impl().fast->is_enabled());
    }
}

TEST(ParticipantCreation, MonitoringPropertiesAreRemovedWithOneNotice) {
    DDS_PropertyQosPolicy policy;
    for (const char* name : {"qor.monitor.x", "qor.monitorfoo", "x.qor.monitor", "qor.monitor",
                             "qor.monito", "keep"}) {
        DDSPropertyQosPolicyHelper::assert_property(policy, name, "1", false);
    }
    EXPECT_EQ("The usage of the monitoring library is not supported in this tool.\n",
              frametest::captureStdout(
                  [&] { EXPECT_TRUE(KestAgent::removeMonitoringProperties(policy)); }));
    std::vector<std::string> kept;
    for (int i = 0; i < policy.value.length(); ++i) {
        kept.push_back(policy.value[i].name);
    }
    EXPECT_EQ(kept, (std::vector<std::string>{"x.qor.monitor", "qor.monito", "keep"}));
    EXPECT_EQ("", frametest::captureStdout(
                      [&] { EXPECT_TRUE(KestAgent::removeMonitoringProperties(policy)); }));
}

// Whether a plain Fast DDS participant has discovered one of that name.
struct Discovers : fd::DomainParticipantListener {
    explicit Discovers(const std::string& name) : name(name) {}
    void on_participant_discovery(fd::DomainParticipant*,
                                  fr::ParticipantDiscoveryInfo&& info) override {
        found = found || info.info.m_participantName.to_string() == name;
    }
    const std::string name;
    std::atomic<bool> found{false};
};

// A remote participant that listens for discovery only on unicast 127.0.0.1:7410 hears the
// participant through its peer alone, which names no port: Fast DDS tries the first indexes.
TEST(ParticipantDiscovery, PeerReachesAParticipantDeafToMulticast) {
    Discovers discovers("QOR DDS Ping");
    fd::DomainParticipantQos qos;
    qos.transport().use_builtin_transports = false;
    qos.transport().user_transports.push_back(std::make_shared<ft::UDPv4TransportDescriptor>());
    fr::Locator_t unicast(LOCATOR_KIND_UDPv4, 7410);
    fr::IPLocator::setIPv4(unicast, 127, 0, 0, 1);
    qos.wire_protocol().builtin.metatrafficUnicastLocatorList.push_back(unicast);
    fd::DomainParticipantFactory* factory = fd::DomainParticipantFactory::get_instance();
    fd::DomainParticipant* remote = factory->create_participant(0, qos, &discovers);
    ASSERT_NE(remote, nullptr);
    {
        Created created({"-transport", "1", "-peer", "127.0.0.1", "-index", "7"});
        ASSERT_TRUE(created.agent.result);
        for (int i = 0; i < 100 && !discovers.found; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
        EXPECT_TRUE(discovers.found);
        // Without an application id the GUID carries the index, as Fast DDS puts it there.
        EXPECT_EQ(created.impl().fast->guid().guidPrefix.value[8], 7);
    }
    factory->delete_participant(remote);
}

}  // namespace
