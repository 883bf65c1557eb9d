// KestAgent::createDomainParticipant on Fast DDS: the built-in profile, profile precedence,
// every setting as the created participant holds it, transport tuning. Runs on a private host.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <fastdds/rtps/transport/ChainingTransportDescriptor.h>
#include <fastdds/rtps/transport/UDPv4TransportDescriptor.h>
#include <fastdds/rtps/transport/UDPv6TransportDescriptor.h>
#include <fastdds/rtps/transport/shared_mem/SharedMemTransportDescriptor.h>

#include "agent/builtinQosProfile.h"
#include "entities/impl_access.h"
#include "entities/participant_impl.h"
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
    DDSDomainParticipant::Impl& impl() { return *qordds::impl_of(agent.participant); }
    fd::DomainParticipantQos fast() { return impl().fast->get_qos(); }
    frametest::TestAgent agent;
    std::string output;
};

std::string joined(const DDS_StringSeq& sequence, const char* separator = "") {
    std::string text;
    for (int i = 0; i < sequence.length(); ++i) {
        text += (i > 0 ? separator : "") + std::string(sequence[i]);
    }
    return text;
}

TEST(ParticipantCreation, BuiltinProfileGivesNameLivelinessAndEntityDefaults) {
    Created created({});
    ASSERT_TRUE(created.agent.result);
    int fragments = 0;
    KestAgent_getBuiltinQosProfile(&fragments);
    EXPECT_EQ(96, fragments);  // one per element
    DDS_StringSeq names;
    DDSDomainParticipantFactory::get_instance()->get_qos_profile_libraries(names);
    EXPECT_EQ(joined(names), "InternalPingLibrary");
    DDSDomainParticipantFactory::get_instance()->get_qos_profiles(names, "InternalPingLibrary");
    EXPECT_EQ(joined(names), "InternalPingProfile");
    fd::DomainParticipantQos fast = created.fast();
    EXPECT_EQ(fast.name().to_string(), "QOR DDS Ping");
    const fr::DiscoverySettings& discovery = fast.wire_protocol().builtin.discovery_config;
    EXPECT_EQ(discovery.leaseDuration, eprosima::fastrtps::Duration_t(6, 500000000));
    EXPECT_EQ(discovery.leaseDuration_announcementperiod, eprosima::fastrtps::Duration_t(2, 0));
    EXPECT_TRUE(created.impl().fast->is_enabled());
    EXPECT_EQ(joined(created.impl().qos.partition.name), "*");
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
  </domain_participant_qos>
</qos_profile></qos_library><qos_library name="Mine"><qos_profile name="Named">
  <domain_participant_qos><participant_name><name>From named</name></participant_name>
  </domain_participant_qos></qos_profile><qos_profile name="Unnamed"><domain_participant_qos>
  <participant_name><name></name></participant_name></domain_participant_qos></qos_profile>
</qos_library></dds>)");
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

    fd::DomainParticipantQos fast = created.fast();
    EXPECT_EQ(fast.wire_protocol().participant_id, 5);
    const fr::GuidPrefix_t& prefix = created.impl().fast->guid().guidPrefix;
    EXPECT_EQ(std::vector<int>(prefix.value + 8, prefix.value + 12),
              (std::vector<int>{0x12, 0x34, 0x56, 0x78}));
    EXPECT_EQ(fast.wire_protocol().builtin.initialPeersList.size(), 4u);  // 2@ gives three
    // Mask 9: UDPv4 and UDPv6, both tuned, and no shared memory.
    EXPECT_EQ(fast.transport().user_transports.size(), 2u);
    auto v4 = transportOf<ft::UDPv4TransportDescriptor>(fast);
    auto v6 = transportOf<ft::UDPv6TransportDescriptor>(fast);
    ASSERT_TRUE(v4 != nullptr && v6 != nullptr);
    auto tuning = [](const ft::UDPTransportDescriptor& udp) {
        return std::vector<uint32_t>{udp.maxMessageSize, udp.receiveBufferSize, udp.sendBufferSize,
                                     udp.TTL};
    };
    EXPECT_EQ(tuning(*v4), (std::vector<uint32_t>{65000, 65000, 65000, 4}));
    EXPECT_EQ(tuning(*v6), tuning(*v4));
    EXPECT_EQ(fast.transport().listen_socket_buffer_size, 65000u);

    const DDS_DomainParticipantQos& kept = created.impl().qos;
    EXPECT_EQ(kept.resource_limits.type_code_max_serialized_length, 2048);
    EXPECT_EQ(kept.discovery_config.builtin_discovery_plugins, DDS_DISCOVERYCONFIG_BUILTIN_SDP2);
    EXPECT_EQ(joined(kept.partition.name, ","), "A,B");
    const DDS_Property_t* tag = DDSPropertyQosPolicyHelper::lookup_property(
        kept.property, "dds.domain_participant.domain_tag");
    ASSERT_NE(tag, nullptr);
    EXPECT_STREQ(tag->value, "blue");
    EXPECT_FALSE(tag->propagate);
}

// The "Changing ..." lines print at every verbosity with the values Fast DDS starts from; the
// transports get the new values, moved where Fast DDS would refuse them.
TEST(ParticipantCreation, TransportTuning) {
    const struct {
        std::vector<std::string> arguments;
        std::string lines;
        // UDPv4 message size and receive buffer; shared memory message size, segment, queue.
        std::vector<uint32_t> values;
    } cases[] = {
        {{"-msgMaxSize", "300000", "-verbosity", "0"},
         "Changing UDPv4 message size max from 65500 to 300000\n"
         "Changing shmem message size max from 65500 to 300000\n"
         "Changing shmem receive buffer size from 524288 to 600000\n",
         {65500, 300000, 300000, 600000, 512}},
        {{"-shmRcvSize", "100000000", "-discoveryTTL", "0", "-verbosity", "0"},
         "Changing UDPv4 TTL from 1 to 0\n"
         "Changing shmem receive buffer size from 524288 to 100000000\n"
         "Changing shmem received message count max from 512 to 3054\n",
         {65500, 0, 65500, 100000000, 3054}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.arguments[1]);
        Created created(c.arguments);
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
    ASSERT_EQ(policy.value.length(), 3);
    EXPECT_STREQ(policy.value[0].name, "x.qor.monitor");
    EXPECT_STREQ(policy.value[1].name, "qor.monito");
    EXPECT_STREQ(policy.value[2].name, "keep");
    EXPECT_EQ("", frametest::captureStdout(
                      [&] { EXPECT_TRUE(KestAgent::removeMonitoringProperties(policy)); }));
}

}  // namespace
