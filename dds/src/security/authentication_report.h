// Binding-internal: what a participant hears of DDS Security's authentication of the
// participants it discovers, told at remote-info verbosity (4 and above).
//
// A secured participant and one that cannot authenticate never match, and nothing else says
// so: to the user it looks like a network that drops everything. Fast DDS 2.9 reports each
// refusal to the participant's listener (onParticipantAuthentication, UNAUTHORIZED_PARTICIPANT,
// with the peer's GUID; several times for one peer while it retries the handshake) and each
// success (AUTHORIZED_PARTICIPANT). The report names the peer by its GUID prefix, its
// participant name and its unicast discovery locator (an address rather than a shared-memory port),
// from its discovery data, and says why where the discovery data shows it: a peer without an
// identity token does not use DDS Security at all. Each outcome is told once per peer. An unsecured
// participant gets no authentication callback; it is told, once per peer, that a secured peer was
// discovered.
#ifndef QOR_DDS_SRC_SECURITY_AUTHENTICATION_REPORT_H
#define QOR_DDS_SRC_SECURITY_AUTHENTICATION_REPORT_H

#include <map>
#include <mutex>
#include <string>

#include <fastdds/rtps/participant/ParticipantDiscoveryInfo.h>
#include <fastdds/dds/domain/qos/DomainParticipantQos.hpp>

namespace qordds {

// The text the report uses for a peer: its GUID prefix, "name" and a unicast locator.
std::string describe_peer(const eprosima::fastrtps::rtps::ParticipantProxyData& peer);

class AuthenticationReport {
  public:
    // Before the participant is enabled: whether its QoS selects an authentication plugin,
    // which it returns.
    bool watch(const eprosima::fastdds::dds::DomainParticipantQos& qos);

    // From the participant listener's discovery and authentication callbacks.
    void discovered(const eprosima::fastrtps::rtps::ParticipantDiscoveryInfo& info);
    void authenticated(const eprosima::fastrtps::rtps::ParticipantAuthenticationInfo& info);

  private:
    enum class Outcome { None, Authorized, Refused };
    struct Peer {
        std::string description;  // empty until discovered
        bool secured = false;     // it sent an identity token
        Outcome outcome = Outcome::None;
        bool told = false;
    };
    void tell(const Peer& peer) const;

    std::mutex mutex_;  // everything below
    bool secured_ = false;
    std::map<eprosima::fastrtps::rtps::GuidPrefix_t, Peer> peers_;
};

}  // namespace qordds

#endif
