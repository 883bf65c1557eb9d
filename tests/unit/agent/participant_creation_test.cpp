// KestAgent::createDomainParticipant end to end on Fast DDS: the profile document, profile
// precedence, every setting as the created participant or a remote Fast DDS participant sees
// it, transport tuning and discovery per transport. Runs on a private host.
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <vector>

#include <fastdds/rtps/transport/ChainingTransportDescriptor.h>
#include <fastdds/rtps/transport/UDPv4TransportDescriptor.h>
#include <fastdds/rtps/transport/UDPv6TransportDescriptor.h>
#include <fastdds/rtps/transport/shared_mem/SharedMemTransportDescriptor.h>
#include <tinyxml2.h>
#include <fastdds/dds/domain/DomainParticipantFactory.hpp>
#include <fastdds/dds/domain/DomainParticipantListener.hpp>

#include "agent/builtinQosProfile.h"
#include "agent/kestAgent.h"
#include "dds/src/participant_impl.h"
#include "tests/unit/agent/frame_test_support.h"

namespace {

namespace fd = eprosima::fastdds::dds;
namespace fr = eprosima::fastrtps::rtps;
namespace ft = eprosima::fastdds::rtps;

const char* const TITLE = "QOR Solvane DDS Ping";

// The frame whose run creates the participant and keeps it for the test to inspect.
class CreatingAgent : public KestAgent {
  public:
    CreatingAgent() : KestAgent(TITLE, 0) {}
    bool run() override { return createDomainParticipant(); }

    // Runs the tool on `arguments`; returns what it printed.
    std::string execute(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "qorddsping");
        std::vector<const char*> argv;
        for (const std::string& argument : arguments) {
            argv.push_back(argument.c_str());
        }
        return frametest::captureStdout(
            [&] { result = KestAgent::execute(static_cast<int>(argv.size()), argv.data()); });
    }

    DDSDomainParticipant::Impl& impl() { return *participant->impl(); }
    fd::DomainParticipantQos fastQos() { return impl().fast->get_qos(); }

    bool result = false;
    using KestAgent::participant;
};

std::string writeFile(const std::string& name, const std::string& text) {
    std::string path = testing::TempDir() + "participant_creation_" + name;
    FILE* file = std::fopen(path.c_str(), "w");
    std::fputs(text.c_str(), file);
    std::fclose(file);
    return path;
}

std::vector<std::string> strings(const DDS_StringSeq& sequence) {
    std::vector<std::string> result;
    for (int i = 0; i < sequence.length(); ++i) {
        result.push_back(sequence[i]);
    }
    return result;
}

std::string loadedDocument() {
    DDS_DomainParticipantFactoryQos qos;
    DDSDomainParticipantFactory::get_instance()->get_qos(qos);
    std::string joined;
    for (const std::string& fragment : strings(qos.profile.string_profile)) {
        joined += fragment;
    }
    return joined;
}

TEST(BuiltinQosProfile, OneLibraryOneProfileThreeQosElements) {
    int count = 0;
    const char* const* fragments = KestAgent_getBuiltinQosProfile(&count);
    ASSERT_EQ(count, 96);
    std::string joined;
    for (int i = 0; i < count; ++i) {
        joined += fragments[i];
    }
    tinyxml2::XMLDocument document;
    ASSERT_EQ(document.Parse(joined.c_str()), tinyxml2::XML_SUCCESS);
    const tinyxml2::XMLElement* root = document.RootElement();
    ASSERT_STREQ(root->Name(), "dds");
    const tinyxml2::XMLElement* library = root->FirstChildElement();
    ASSERT_STREQ(library->Attribute("name"), KEST_BUILTIN_QOS_LIBRARY);
    EXPECT_EQ(library->NextSiblingElement(), nullptr);
    const tinyxml2::XMLElement* profile = library->FirstChildElement();
    ASSERT_STREQ(profile->Attribute("name"), KEST_BUILTIN_QOS_PROFILE);
    EXPECT_EQ(profile->NextSiblingElement(), nullptr);
    std::vector<std::string> elements;
    for (const tinyxml2::XMLElement* e = profile->FirstChildElement(); e != nullptr;
         e = e->NextSiblingElement()) {
        elements.push_back(e->Name());
    }
    EXPECT_EQ(elements, (std::vector<std::string>{"domain_participant_qos", "datawriter_qos",
                                                  "datareader_qos"}));
}

TEST(ParticipantCreation, DocumentIsTheSameWhateverTheCommandLine) {
    std::string plain;
    {
        CreatingAgent agent;
        agent.execute({});
        ASSERT_TRUE(agent.result);
        plain = loadedDocument();
    }
    CreatingAgent agent;
    agent.execute({"-index", "3", "-appId", "7", "-transport", "1", "-tcMaxSize", "100",
                   "-participantPartition", "A", "-peer", "127.0.0.1", "-domainTag", "T",
                   "-msgMaxSize", "9000"});
    ASSERT_TRUE(agent.result);
    EXPECT_EQ(loadedDocument(), plain);
    int count = 0;
    const char* const* fragments = KestAgent_getBuiltinQosProfile(&count);
    std::string expected;
    for (int i = 0; i < count; ++i) {
        expected += fragments[i];
    }
    EXPECT_EQ(plain, expected);
}

// The built-in profile, with no option and no file.
TEST(ParticipantCreation, BuiltinProfileGivesNameLivelinessAndEntityDefaults) {
    CreatingAgent agent;
    agent.execute({});
    ASSERT_TRUE(agent.result);
    fd::DomainParticipantQos fast = agent.fastQos();
    EXPECT_STREQ(fast.name().c_str(), "QOR DDS Ping");
    const fr::DiscoverySettings& discovery = fast.wire_protocol().builtin.discovery_config;
    EXPECT_EQ(discovery.leaseDuration, eprosima::fastrtps::Duration_t(6, 500000000));
    EXPECT_EQ(discovery.leaseDuration_announcementperiod, eprosima::fastrtps::Duration_t(2, 0));
    EXPECT_TRUE(agent.impl().fast->is_enabled());
    EXPECT_EQ(strings(agent.impl().qos.partition.name), std::vector<std::string>{"*"});
    const DDS_Property_t* loopback = DDSPropertyQosPolicyHelper::lookup_property(
        agent.impl().qos.property, "dds.transport.UDPv4.builtin.ignore_loopback_interface");
    ASSERT_NE(loopback, nullptr);
    EXPECT_STREQ(loopback->value, "0");

    DDS_DataWriterQos writer;
    qordds::default_datawriter_qos(agent.impl().defaults, "PingTopic", writer);
    EXPECT_EQ(writer.reliability.kind, DDS_BEST_EFFORT_RELIABILITY_QOS);
    EXPECT_EQ(writer.durability.kind, DDS_TRANSIENT_LOCAL_DURABILITY_QOS);
    EXPECT_EQ(writer.history.depth, 1);
    EXPECT_EQ(writer.deadline.period, (DDS_Duration_t{1, 0}));
    DDS_DataReaderQos reader;
    qordds::default_datareader_qos(agent.impl().defaults, "PingTopic", reader);
    EXPECT_EQ(reader.durability.kind, DDS_TRANSIENT_LOCAL_DURABILITY_QOS);
    EXPECT_EQ(reader.deadline.period, DDS_DURATION_INFINITE);
}

const char* const precedenceFile = R"(<dds>
<qos_library name="DefaultPingLibrary">
  <qos_profile name="DefaultPingProfile">
    <domain_participant_qos><participant_name><name>From default</name></participant_name>
    </domain_participant_qos>
  </qos_profile>
</qos_library>
<qos_library name="Mine">
  <qos_profile name="Named">
    <domain_participant_qos><participant_name><name>From named</name></participant_name>
    </domain_participant_qos>
  </qos_profile>
  <qos_profile name="Unnamed">
    <domain_participant_qos><participant_name><name></name></participant_name>
    </domain_participant_qos>
  </qos_profile>
</qos_library>
</dds>)";

TEST(ParticipantCreation, ProfilePrecedence) {
    std::string file = writeFile("precedence.xml", precedenceFile);
    struct Case {
        std::vector<std::string> arguments;
        const char* name;
        const char* printed;
    } cases[] = {
        {{"-qosFile", file}, "From default", nullptr},
        {{"-qosFile", file, "-qosProfile", "Mine::Named"}, "From named", nullptr},
        {{"-qosFile", file, "-qosProfile", "Mine::Unnamed"}, TITLE, nullptr},
        {{"-qosFile", file, "-qosProfile", "Mine::Missing"},
         "From default",
         "QoS profile 'Mine::Missing' was not found. Using default configuration.\n"},
        {{"-qosProfile", "DefaultPingLibrary::DefaultPingProfile"},
         "QOR DDS Ping",
         "QoS profile 'DefaultPingLibrary::DefaultPingProfile' was not found. Using default "
         "configuration.\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.arguments.back());
        CreatingAgent agent;
        std::string output = agent.execute(c.arguments);
        ASSERT_TRUE(agent.result) << output;
        EXPECT_STREQ(agent.fastQos().name().c_str(), c.name);
        if (c.printed != nullptr) {
            EXPECT_NE(output.find(c.printed), std::string::npos) << output;
        } else {
            EXPECT_EQ(output.find("was not found"), std::string::npos) << output;
        }
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
    CreatingAgent agent;
    std::string output = agent.execute({"-index",
                                        "5",
                                        "-appId",
                                        "305419896",
                                        "-transport",
                                        "9",
                                        "-peer",
                                        "2@127.0.0.1",
                                        "-peer",
                                        "udpv6://[::1]",
                                        "-msgMaxSize",
                                        "65000",
                                        "-tcMaxSize",
                                        "2048",
                                        "-domainTag",
                                        "blue",
                                        "-participantPartition",
                                        "A",
                                        "-participantPartition",
                                        "B",
                                        "-discoveryPlugins",
                                        "SDP2",
                                        "-discoveryTTL",
                                        "4"});
    ASSERT_TRUE(agent.result) << output;
    fd::DomainParticipantQos fast = agent.fastQos();
    EXPECT_EQ(fast.wire_protocol().participant_id, 5);
    const fr::GuidPrefix_t& prefix = agent.impl().fast->guid().guidPrefix;
    EXPECT_EQ(std::vector<int>(prefix.value + 8, prefix.value + 12),
              (std::vector<int>{0x12, 0x34, 0x56, 0x78}));

    std::vector<std::string> peers;
    for (const fr::Locator_t& locator : fast.wire_protocol().builtin.initialPeersList) {
        peers.push_back(fr::IPLocator::to_string(locator));
    }
    EXPECT_EQ(peers, (std::vector<std::string>{"UDPv4:[127.0.0.1]:7410", "UDPv4:[127.0.0.1]:7412",
                                               "UDPv4:[127.0.0.1]:7414", "UDPv6:[::1]:0"}));

    EXPECT_EQ(fast.transport().user_transports.size(), 2u);
    for (auto udp : std::vector<std::shared_ptr<ft::UDPTransportDescriptor>>{
             transportOf<ft::UDPv4TransportDescriptor>(fast),
             transportOf<ft::UDPv6TransportDescriptor>(fast)}) {
        ASSERT_NE(udp, nullptr);
        EXPECT_EQ(udp->maxMessageSize, 65000u);
        EXPECT_EQ(udp->receiveBufferSize, 65000u);
        EXPECT_EQ(udp->sendBufferSize, 65000u);
        EXPECT_EQ(udp->TTL, 4);
    }
    EXPECT_EQ(fast.transport().listen_socket_buffer_size, 65000u);
    EXPECT_EQ(fast.wire_protocol().builtin.discovery_config.discoveryProtocol,
              fr::DiscoveryProtocol_t::SIMPLE);

    const DDS_DomainParticipantQos& kept = agent.impl().qos;
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
    struct Case {
        std::vector<std::string> arguments;
        std::string lines;
        uint32_t udpSize, udpBuffers, shmSize, shmSegment, shmQueue;
    } cases[] = {
        {{"-msgMaxSize", "65000", "-shmRcvSize", "1000000"},
         "Changing UDPv4 message size max from 65500 to 65000\n"
         "Changing shmem message size max from 65500 to 65000\n"
         "Changing shmem receive buffer size from 524288 to 1000000\n",
         65000,
         65000,
         65000,
         1000000,
         512},
        {{"-msgMaxSize", "300000"},
         "Changing UDPv4 message size max from 65500 to 300000\n"
         "Changing shmem message size max from 65500 to 300000\n"
         "Changing shmem receive buffer size from 524288 to 600000\n",
         65500,
         300000,
         300000,
         600000,
         512},
        {{"-shmRcvSize", "100000000", "-discoveryTTL", "0"},
         "Changing UDPv4 TTL from 1 to 0\n"
         "Changing shmem receive buffer size from 524288 to 100000000\n"
         "Changing shmem received message count max from 512 to 3054\n",
         65500,
         0,
         65500,
         100000000,
         3054},
        {{"-msgMaxSize", "100", "-shmRcvSize", "50"},
         "Changing UDPv4 message size max from 65500 to 100\n"
         "Changing shmem message size max from 65500 to 100\n"
         "Changing shmem receive buffer size from 524288 to 50\n",
         1024,
         1024,
         1024,
         1024,
         512},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.arguments[1]);
        std::vector<std::string> arguments = c.arguments;
        arguments.insert(arguments.end(), {"-verbosity", "0"});
        CreatingAgent agent;
        std::string output = agent.execute(arguments);
        ASSERT_TRUE(agent.result) << output;
        EXPECT_EQ(output, frametest::header() + c.lines);
        fd::DomainParticipantQos fast = agent.fastQos();
        auto udp = transportOf<ft::UDPv4TransportDescriptor>(fast);
        auto shm = transportOf<ft::SharedMemTransportDescriptor>(fast);
        ASSERT_NE(udp, nullptr);
        ASSERT_NE(shm, nullptr);
        EXPECT_EQ(udp->maxMessageSize, c.udpSize);
        EXPECT_EQ(udp->receiveBufferSize, c.udpBuffers);
        EXPECT_EQ(shm->max_message_size(), c.shmSize);
        EXPECT_EQ(shm->segment_size(), c.shmSegment);
        EXPECT_EQ(shm->port_queue_capacity(), c.shmQueue);
        EXPECT_TRUE(agent.impl().fast->is_enabled());
    }
}

TEST(ParticipantCreation, MonitoringPropertiesAreRemovedWithOneNotice) {
    DDS_PropertyQosPolicy policy;
    for (const char* name : {"qor.monitor.x", "qor.monitorfoo", "x.qor.monitor", "qor.monitor",
                             "qor.monito", "keep"}) {
        DDSPropertyQosPolicyHelper::assert_property(policy, name, "1", false);
    }
    std::string output = frametest::captureStdout(
        [&] { EXPECT_TRUE(KestAgent::removeMonitoringProperties(policy)); });
    EXPECT_EQ(output, "The usage of the monitoring library is not supported in this tool.\n");
    std::vector<std::string> kept;
    for (int i = 0; i < policy.value.length(); ++i) {
        kept.push_back(policy.value[i].name);
    }
    EXPECT_EQ(kept, (std::vector<std::string>{"x.qor.monitor", "qor.monito", "keep"}));
    output = frametest::captureStdout(
        [&] { EXPECT_TRUE(KestAgent::removeMonitoringProperties(policy)); });
    EXPECT_EQ(output, "");
}

// What a plain Fast DDS participant learns of the participants it discovers.
class RemoteParticipant : public fd::DomainParticipantListener {
  public:
    struct Seen {
        std::string name;
        fr::GuidPrefix_t prefix;
        eprosima::fastrtps::Duration_t lease;
        std::vector<uint32_t> ports;
    };

    // `transport`: 1 UDPv4, 2 shared memory, 8 UDPv6.
    explicit RemoteParticipant(int transport) {
        fd::DomainParticipantQos qos;
        qos.name("remote");
        qos.transport().use_builtin_transports = false;
        if (transport == 1) {
            qos.transport().user_transports.push_back(
                std::make_shared<ft::UDPv4TransportDescriptor>());
        } else if (transport == 2) {
            qos.transport().user_transports.push_back(
                std::make_shared<ft::SharedMemTransportDescriptor>());
        } else {
            qos.transport().user_transports.push_back(
                std::make_shared<ft::UDPv6TransportDescriptor>());
        }
        participant_ =
            fd::DomainParticipantFactory::get_instance()->create_participant(0, qos, this);
        if (participant_ != nullptr) {
            participant_->enable();
        }
    }
    ~RemoteParticipant() override {
        if (participant_ != nullptr) {
            fd::DomainParticipantFactory::get_instance()->delete_participant(participant_);
        }
    }

    void on_participant_discovery(fd::DomainParticipant*,
                                  fr::ParticipantDiscoveryInfo&& info) override {
        if (info.status != fr::ParticipantDiscoveryInfo::DISCOVERED_PARTICIPANT) {
            return;
        }
        Seen seen{info.info.m_participantName.c_str(),
                  info.info.m_guid.guidPrefix,
                  info.info.m_leaseDuration,
                  {}};
        for (const fr::Locator_t& locator : info.info.metatraffic_locators.unicast) {
            seen.ports.push_back(locator.port);
        }
        std::lock_guard<std::mutex> lock(mutex_);
        seen_.push_back(seen);
        changed_.notify_all();
    }

    // The first participant seen with that name; false when none came within `seconds`.
    bool waitFor(const std::string& name, Seen& found, int seconds = 20) {
        std::unique_lock<std::mutex> lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(seconds), [&] {
            for (const Seen& seen : seen_) {
                if (seen.name == name) {
                    found = seen;
                    return true;
                }
            }
            return false;
        });
    }

    bool created() const { return participant_ != nullptr; }

  private:
    fd::DomainParticipant* participant_ = nullptr;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<Seen> seen_;
};

TEST(ParticipantDiscovery, RemoteSeesNameLeaseIndexAndApplicationId) {
    RemoteParticipant remote(1);
    ASSERT_TRUE(remote.created());
    CreatingAgent agent;
    agent.execute({"-index", "5", "-appId", "305419896", "-transport", "1"});
    ASSERT_TRUE(agent.result);
    RemoteParticipant::Seen seen;
    ASSERT_TRUE(remote.waitFor("QOR DDS Ping", seen));
    EXPECT_EQ(seen.lease, eprosima::fastrtps::Duration_t(6, 500000000));
    EXPECT_EQ(seen.prefix, agent.impl().fast->guid().guidPrefix);
    EXPECT_EQ(std::vector<int>(seen.prefix.value + 8, seen.prefix.value + 12),
              (std::vector<int>{0x12, 0x34, 0x56, 0x78}));
    EXPECT_EQ(seen.ports, std::vector<uint32_t>{7420});  // 7410 + 2 * index
}

// Without an application id the GUID carries the index, as Fast DDS puts it there.
TEST(ParticipantDiscovery, IndexAloneIsInTheGuid) {
    RemoteParticipant remote(1);
    CreatingAgent agent;
    agent.execute({"-index", "7", "-transport", "1"});
    ASSERT_TRUE(agent.result);
    RemoteParticipant::Seen seen;
    ASSERT_TRUE(remote.waitFor("QOR DDS Ping", seen));
    EXPECT_EQ(seen.prefix.value[8], 7);
    EXPECT_EQ(seen.ports, std::vector<uint32_t>{7424});
}

struct TransportCase {
    int transport;
    std::vector<std::string> arguments;
};

void PrintTo(const TransportCase& c, std::ostream* out) {
    *out << "transport " << c.transport;
}

// One participant per process and transport, as the tool runs: Fast DDS numbers the
// participants of a process, and peers without an index only reach the first few.
class EachTransportAlone : public testing::TestWithParam<TransportCase> {};

TEST_P(EachTransportAlone, RemoteDiscoversTheParticipant) {
    RemoteParticipant remote(GetParam().transport);
    ASSERT_TRUE(remote.created());
    CreatingAgent agent;
    agent.execute(GetParam().arguments);
    ASSERT_TRUE(agent.result);
    RemoteParticipant::Seen seen;
    EXPECT_TRUE(remote.waitFor("QOR DDS Ping", seen));
}

INSTANTIATE_TEST_SUITE_P(ParticipantDiscovery, EachTransportAlone,
                         testing::Values(TransportCase{1, {"-transport", "1"}},
                                         TransportCase{2, {"-transport", "2"}},
                                         TransportCase{8, {"-transport", "8", "-peer", "::1"}}),
                         [](const testing::TestParamInfo<TransportCase>& info) {
                             return "Transport" + std::to_string(info.param.transport);
                         });

// With multicast off on the only interface, announcements reach the remote only as unicast to
// the peer.
TEST(ParticipantDiscovery, PeerWorksWithoutMulticast) {
    ASSERT_EQ(std::system("ip link set lo multicast off"), 0);
    RemoteParticipant remote(1);
    ASSERT_TRUE(remote.created());
    CreatingAgent agent;
    agent.execute({"-transport", "1", "-peer", "127.0.0.1"});
    ASSERT_TRUE(agent.result);
    RemoteParticipant::Seen seen;
    EXPECT_TRUE(remote.waitFor("QOR DDS Ping", seen));
}

}  // namespace
