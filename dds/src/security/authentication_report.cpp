#include "security/authentication_report.h"

#include <sstream>

#include "log/log.h"

namespace fd = eprosima::fastdds::dds;
namespace fr = eprosima::fastrtps::rtps;

namespace qordds {

namespace {

const char* const context = "DDS Security";

}  // namespace

std::string describe_peer(const fr::ParticipantProxyData& peer) {
    std::ostringstream text;
    text << "participant " << peer.m_guid.guidPrefix << " \"" << peer.m_participantName.c_str()
         << "\"";
    // An address says more than a shared-memory port.
    const fr::Locator_t* shown = nullptr;
    for (const fr::Locator_t& locator : peer.metatraffic_locators.unicast) {
        if (shown == nullptr ||
            (shown->kind == LOCATOR_KIND_SHM && locator.kind != LOCATOR_KIND_SHM)) {
            shown = &locator;
        }
    }
    if (shown != nullptr) {
        text << " at " << *shown;
    }
    return text.str();
}

bool AuthenticationReport::watch(const fd::DomainParticipantQos& qos) {
    std::lock_guard<std::mutex> lock(mutex_);
    secured_ =
        fr::PropertyPolicyHelper::find_property(qos.properties(), "dds.sec.auth.plugin") != nullptr;
    return secured_;
}

void AuthenticationReport::discovered(const fr::ParticipantDiscoveryInfo& info) {
    const fr::GuidPrefix_t& prefix = info.info.m_guid.guidPrefix;
    std::lock_guard<std::mutex> lock(mutex_);
    if (info.status == fr::ParticipantDiscoveryInfo::REMOVED_PARTICIPANT ||
        info.status == fr::ParticipantDiscoveryInfo::DROPPED_PARTICIPANT) {
        peers_.erase(prefix);
        return;
    }
    Peer& peer = peers_[prefix];
    if (!peer.description.empty()) {
        return;
    }
    peer.description = describe_peer(info.info);
    peer.secured = !info.info.identity_token_.class_id().empty();
    if (!secured_ && peer.secured && !peer.told) {
        log(LogKind::RemoteInfo, context,
            "%s uses DDS Security and this participant does not: they cannot communicate",
            peer.description.c_str());
        peer.told = true;
    } else if (peer.outcome != Outcome::None && !peer.told) {
        tell(peer);
        peer.told = true;
    }
}

void AuthenticationReport::authenticated(const fr::ParticipantAuthenticationInfo& info) {
    std::lock_guard<std::mutex> lock(mutex_);
    Peer& peer = peers_[info.guid.guidPrefix];
    Outcome outcome = info.status == fr::ParticipantAuthenticationInfo::AUTHORIZED_PARTICIPANT
                          ? Outcome::Authorized
                          : Outcome::Refused;
    if (peer.outcome == outcome) {
        return;
    }
    peer.outcome = outcome;
    peer.told = false;
    if (!peer.description.empty()) {
        tell(peer);
        peer.told = true;
    }
}

void AuthenticationReport::tell(const Peer& peer) const {
    if (peer.outcome == Outcome::Authorized) {
        log(LogKind::RemoteInfo, context, "%s authenticated", peer.description.c_str());
    } else if (!peer.secured) {
        log(LogKind::RemoteInfo, context,
            "authentication failed: %s does not use DDS Security (no identity token)",
            peer.description.c_str());
    } else {
        log(LogKind::RemoteInfo, context,
            "authentication failed: %s: the handshake failed (its identity or permissions are "
            "not accepted here, or ours there; the SECURITY warnings, shown from -verbosity "
            "2, say which)",
            peer.description.c_str());
    }
}

}  // namespace qordds
