#include "workarounds/discovery_rendezvous.h"

#include <algorithm>

namespace fdds = eprosima::fastdds::dds;
namespace frtps = eprosima::fastrtps::rtps;

namespace qordds {

constexpr std::chrono::milliseconds DiscoveryRendezvous::kWindow;
constexpr std::chrono::milliseconds DiscoveryRendezvous::kGrace;
constexpr std::chrono::milliseconds DiscoveryRendezvous::kAuthenticationLimit;
constexpr std::chrono::milliseconds DiscoveryRendezvous::kSettle;
constexpr std::chrono::milliseconds DiscoveryRendezvous::kSettleLimit;
constexpr std::chrono::milliseconds DiscoveryRendezvous::kSecuredSettleLimit;

void DiscoveryRendezvous::install(fdds::DomainParticipant& fast, AnnouncementRepair& repair,
                                  ParticipantDiagnostics& diagnostics) {
    repair_ = &repair;
    diagnostics_ = &diagnostics;
    repair.start(fast);
    secured_ = authentication_.watch(fast.get_qos());
    {
        // Open while Fast DDS enables: readers may be discovered meanwhile.
        std::lock_guard<std::mutex> lock(mutex_);
        window_end_ = Clock::time_point::max();
    }
    // No status goes to this listener: the endpoints have listeners of their own, and
    // discovery callbacks come whatever the mask.
    fast.set_listener(this, fdds::StatusMask::none());
}

void DiscoveryRendezvous::enabled(const frtps::GuidPrefix_t& own) {
    std::lock_guard<std::mutex> lock(mutex_);
    own_ = own;
    window_end_ = Clock::now() + kWindow;
}

DiscoveryRendezvous::Clock::time_point DiscoveryRendezvous::deadline() const {
    Clock::time_point end = window_end_;
    for (const auto& participant : participants_) {
        end = std::max(end, participant.second);
    }
    return end;
}

bool DiscoveryRendezvous::await_remote_reader(const std::string& topic, const std::string& type) {
    std::unique_lock<std::mutex> lock(mutex_);
    // Not enabled (yet, or ever): nothing to wait for.
    if (window_end_ == Clock::time_point::max()) {
        return false;
    }
    for (;;) {
        if (remote_reader_known(topic, type)) {
            return true;
        }
        Clock::time_point end = deadline();
        if (Clock::now() >= end) {
            return false;
        }
        discovered_.wait_until(lock, end);
    }
}

bool DiscoveryRendezvous::remote_reader_known(const std::string& topic,
                                              const std::string& type) const {
    return std::any_of(readers_.begin(), readers_.end(),
                       [&](const decltype(readers_)::value_type& reader) {
                           return reader.first.guidPrefix != own_ && reader.second.first == topic &&
                                  reader.second.second == type;
                       });
}

void DiscoveryRendezvous::on_participant_discovery(fdds::DomainParticipant*,
                                                   frtps::ParticipantDiscoveryInfo&& info) {
    diagnostics_->participant_event(info);
    authentication_.discovered(info);
    if (info.status == frtps::ParticipantDiscoveryInfo::DISCOVERED_PARTICIPANT) {
        repair_->discovered();
    }
    std::lock_guard<std::mutex> lock(mutex_);
    if (Clock::now() >= deadline()) {
        participants_.clear();
        return;
    }
    const frtps::GuidPrefix_t& prefix = info.info.m_guid.guidPrefix;
    switch (info.status) {
        case frtps::ParticipantDiscoveryInfo::DISCOVERED_PARTICIPANT:
            participants_.emplace(prefix,
                                  Clock::now() + (secured_ ? kAuthenticationLimit : kGrace));
            break;
        case frtps::ParticipantDiscoveryInfo::CHANGED_QOS_PARTICIPANT:
            break;
        default:
            participants_.erase(prefix);
            break;
    }
    discovered_.notify_all();
}

void DiscoveryRendezvous::on_subscriber_discovery(fdds::DomainParticipant*,
                                                  frtps::ReaderDiscoveryInfo&& info) {
    diagnostics_->reader_event(info);
    std::lock_guard<std::mutex> lock(mutex_);
    if (Clock::now() >= deadline()) {
        readers_.clear();
        return;
    }
    const frtps::GUID_t& guid = info.info.guid();
    switch (info.status) {
        case frtps::ReaderDiscoveryInfo::DISCOVERED_READER:
        case frtps::ReaderDiscoveryInfo::CHANGED_QOS_READER:
            readers_[guid] =
                std::make_pair(info.info.topicName().to_string(), info.info.typeName().to_string());
            discovered_.notify_all();
            break;
        default:
            readers_.erase(guid);
            break;
    }
}

void DiscoveryRendezvous::on_publisher_discovery(fdds::DomainParticipant*,
                                                 frtps::WriterDiscoveryInfo&& info) {
    diagnostics_->writer_event(info);
}

void DiscoveryRendezvous::onParticipantAuthentication(fdds::DomainParticipant*,
                                                      frtps::ParticipantAuthenticationInfo&& info) {
    authentication_.authenticated(info);
    std::lock_guard<std::mutex> lock(mutex_);
    auto participant = participants_.find(info.guid.guidPrefix);
    if (participant == participants_.end()) {
        return;
    }
    if (info.status == frtps::ParticipantAuthenticationInfo::AUTHORIZED_PARTICIPANT) {
        participant->second = Clock::now() + kGrace;
    } else {
        participants_.erase(participant);
    }
    discovered_.notify_all();
}

void MatchWatch::changed(int32_t current) {
    std::lock_guard<std::mutex> lock(mutex_);
    current_ = current;
    last_change_ = Clock::now();
    changed_.notify_all();
}

void MatchWatch::await_settled(Clock::time_point until, Clock::duration settle) {
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
        Clock::time_point now = Clock::now();
        if (now >= until) {
            return;
        }
        if (current_ > 0 && now >= last_change_ + settle) {
            return;
        }
        changed_.wait_until(lock, current_ > 0 ? std::min(until, last_change_ + settle) : until);
    }
}

}  // namespace qordds
