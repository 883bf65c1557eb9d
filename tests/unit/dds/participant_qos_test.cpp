// Translating a participant's QoS for Fast DDS: peers, transport values Fast DDS accepts,
// discovery plugins and transport masks. Runs on a private host (peer names are resolved).
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <fastrtps/utils/IPLocator.h>

#include "qordds/logger.h"
#include "qos/builtin_transports.h"
#include "qos/participant_qos_translation.h"
#include "qos/peer_locators.h"
#include "tests/unit/support/test_io.h"

namespace {

namespace fr = eprosima::fastrtps::rtps;

const DDS_TransportBuiltinKindMask ALL =
    DDS_TRANSPORTBUILTIN_UDPv4 | DDS_TRANSPORTBUILTIN_SHMEM | DDS_TRANSPORTBUILTIN_UDPv6;

std::string locatorsOf(const char* peer, DDS_DomainId_t domain, DDS_TransportBuiltinKindMask mask,
                       bool& ok) {
    fr::LocatorList_t locators;
    ok = qordds::add_peer_locators(peer, domain, mask, locators);
    std::string texts;
    for (const fr::Locator_t& locator : locators) {
        texts += (texts.empty() ? "" : " ") + fr::IPLocator::to_string(locator);
    }
    return texts;
}

// Every form a user writes, and what cannot be parsed or resolved: an error, logged.
TEST(PeerLocators, EveryFormAndEveryError) {
    const struct {
        const char* peer;
        DDS_DomainId_t domain;
        DDS_TransportBuiltinKindMask mask;
        const char* locators;
        const char* error = nullptr;
    } cases[] = {
        {"127.0.0.1", 0, ALL, "UDPv4:[127.0.0.1]:0"},
        {"2@127.0.0.1", 0, ALL,
         "UDPv4:[127.0.0.1]:7410 UDPv4:[127.0.0.1]:7412 UDPv4:[127.0.0.1]:7414"},
        {"0@udpv4://10.1.2.3", 1, ALL, "UDPv4:[10.1.2.3]:7660"},
        {"UDPv4://localhost", 0, ALL, "UDPv4:[127.0.0.1]:0"},
        {"udpv6://[::1]", 0, ALL, "UDPv6:[::1]:0"},
        {"udpv6://::1", 0, ALL, "UDPv6:[::1]:0"},
        {"fe80::1", 0, ALL, "UDPv6:[fe80::1]:0"},
        {"[::1]", 0, ALL, "UDPv6:[::1]:0"},
        {"shmem://", 0, ALL, "SHM:[_]:0"},
        {"1@shmem://", 0, ALL, "SHM:[_]:7410 SHM:[_]:7412"},
        {"239.255.0.1", 2, ALL, "UDPv4:[239.255.0.1]:7900"},
        {"5@ff02::1", 0, ALL, "UDPv6:[ff02::1]:7400"},
        // Addresses of transports the mask leaves out are dropped, with a warning.
        {"::1", 0, DDS_TRANSPORTBUILTIN_MASK_DEFAULT, ""},
        {"shmem://", 0, DDS_TRANSPORTBUILTIN_UDPv4, ""},
        {"", 0, ALL, "", "peer '': no address"},
        {"3@", 0, ALL, "", "peer '3@': no address"},
        {"x@127.0.0.1", 0, ALL, "",
         "peer 'x@127.0.0.1': 'x' before '@' is not a participant index"},
        {"-1@127.0.0.1", 0, ALL, "", "'-1' before '@' is not a participant index from 0 to 62"},
        {"63@127.0.0.1", 0, ALL, "", "'63' before '@' is not a participant index from 0 to 62"},
        {"shmem://host", 0, ALL, "", "peer 'shmem://host': shmem:// takes no address"},
        {"udpv4://::1", 0, ALL, "", "peer 'udpv4://::1': cannot resolve '::1'"},
        {"udpv6://127.0.0.1", 0, ALL, "", "peer 'udpv6://127.0.0.1': cannot resolve '127.0.0.1'"},
        {"1.2.3.4.5", 0, ALL, "", "peer '1.2.3.4.5': cannot resolve '1.2.3.4.5'"},
        {"no-such-host.invalid", 0, ALL, "", "peer 'no-such-host.invalid': cannot resolve"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.peer);
        bool ok = false;
        std::string locators;
        std::string logged =
            qortest::captureStdout([&] { locators = locatorsOf(c.peer, c.domain, c.mask, ok); });
        EXPECT_EQ(locators, c.locators);
        EXPECT_EQ(ok, c.error == nullptr);
        EXPECT_NE(logged.find(c.error != nullptr ? c.error : ""), std::string::npos) << logged;
    }
}

// Fast DDS refuses a UDP message over 65500 or above the socket buffers, a shared memory
// message larger than the segment, and discovery needs room: the values move so it works.
TEST(BuiltinTransports, ValuesAreMadeWorkable) {
    // Message size, send and receive socket buffers, TTL, receive buffer, message count.
    using Values = std::vector<int>;
    const struct {
        DDS_TransportBuiltinKind kind;
        Values asked, used;
    } cases[] = {
        {DDS_TRANSPORTBUILTIN_UDPv6,
         {100000, 100000, 100000, 1, 0, 0},
         {65500, 100000, 100000, 1, 0, 0}},
        {DDS_TRANSPORTBUILTIN_UDPv4, {65500, 0, 4096, 1, 0, 0}, {4096, 0, 4096, 1, 0, 0}},
        {DDS_TRANSPORTBUILTIN_UDPv4, {65500, 8000, 0, 1, 0, 0}, {8000, 8000, 0, 1, 0, 0}},
        {DDS_TRANSPORTBUILTIN_UDPv4, {100, 100, 100, 1, 0, 0}, {1024, 1024, 1024, 1, 0, 0}},
        {DDS_TRANSPORTBUILTIN_SHMEM, {65000, 0, 0, 0, 1000, 512}, {1024, 0, 0, 0, 1024, 512}},
        {DDS_TRANSPORTBUILTIN_SHMEM, {1000000, 0, 0, 0, 0, 0}, {524288, 0, 0, 0, 524288, 1}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.asked));
        const Values& a = c.asked;
        DDS_BuiltinTransportProperty_t used = qordds::workable_transport_property(
            c.kind, DDS_BuiltinTransportProperty_t{a[0], a[1], a[2], a[3], a[4], a[5]});
        EXPECT_EQ(c.used, (Values{used.message_size_max, used.send_socket_buffer_size,
                                  used.recv_socket_buffer_size, used.multicast_ttl,
                                  used.receive_buffer_size, used.received_message_count_max}));
    }
}

TEST(ParticipantQosTranslation, DiscoveryPluginsAndTransportMasks) {
    DDSLogger::get_instance()->set_verbosity(DDS_LOG_VERBOSITY_FATAL | DDS_LOG_VERBOSITY_ERROR |
                                             DDS_LOG_VERBOSITY_WARNING);
    DDS_DomainParticipantQos qos;
    qos.discovery_config.builtin_discovery_plugins = DDS_DISCOVERYCONFIG_BUILTIN_SDP2;
    eprosima::fastdds::dds::DomainParticipantQos fast;
    std::string logged = qortest::captureStdout(
        [&] { ASSERT_TRUE(qordds::translate_participant_qos(qos, 0, fast)); });
    EXPECT_NE(logged.find("participant discovery 2.0 is not available on Fast DDS; simple "
                          "participant discovery is used"),
              std::string::npos);
    EXPECT_EQ(fast.wire_protocol().builtin.discovery_config.discoveryProtocol,
              fr::DiscoveryProtocol_t::SIMPLE);

    qos.transport_builtin.mask = 0x04;
    logged = qortest::captureStdout(
        [&] { EXPECT_FALSE(qordds::translate_participant_qos(qos, 0, fast)); });
    EXPECT_NE(logged.find("transport mask 0x4 enables no built-in transport"), std::string::npos)
        << logged;

    qos.transport_builtin.mask = 0x0C;
    EXPECT_EQ(qordds::initial_transports(qos).mask, DDS_TRANSPORTBUILTIN_UDPv6);
    qos.discovery.initial_peers.ensure_length(1, 1);
    DDS_String_replace(&qos.discovery.initial_peers[0], "nowhere.invalid");
    EXPECT_FALSE(qordds::translate_participant_qos(qos, 0, fast));
}

}  // namespace
