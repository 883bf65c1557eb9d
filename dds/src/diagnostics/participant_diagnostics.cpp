#include "diagnostics/participant_diagnostics.h"

#include <fastdds/rtps/builtin/data/ParticipantProxyData.h>

#include <algorithm>
#include <cmath>

#include "diagnostics/fast_facts.h"
#include "log/log.h"
#include "workarounds/domain_isolation.h"

namespace frtps = eprosima::fastrtps::rtps;

namespace qordds {

constexpr std::chrono::seconds ParticipantDiagnostics::kAloneLimit;
constexpr std::chrono::seconds ParticipantDiagnostics::kSilenceLimit;

namespace {

const char* const kRemote = "discovery";

std::string endpoint_kind(const EndpointFacts& facts) {
    return facts.writer ? "writer" : "reader";
}

// "remote writer <guid> (topic "PingTopic", type "PingType", unkeyed)"
std::string remote_title(const EndpointFacts& remote) {
    return "remote " + endpoint_kind(remote) + " " + remote.guid + " (topic \"" +
           printable(topic_without_tag(remote.topic)) + "\", type \"" + printable(remote.type) +
           "\", " + (remote.keyed ? "keyed" : "unkeyed") + ")";
}

std::vector<std::string> names_of(const DDS_StringSeq& names) {
    std::vector<std::string> result;
    result.reserve(static_cast<size_t>(names.length()));
    for (int32_t i = 0; i < names.length(); ++i) {
        result.push_back(names[i] == nullptr ? "" : names[i]);
    }
    return result;
}

}  // namespace

ParticipantDiagnostics::~ParticipantDiagnostics() {
    stop();
}

void ParticipantDiagnostics::enabling(DDS_DomainId_t domain, const DDS_DomainParticipantQos& qos,
                                      const BuiltinTransports& transports) {
    ProcessResources before = described() ? process_resources() : ProcessResources();
    std::lock_guard<std::mutex> lock(mutex_);
    domain_ = domain;
    tag_ = domain_tag(qos);
    DDS_PartitionQosPolicy none;
    partitions_ = partitions_text(wire_partitions(qos, none));
    transports_ = transports;
    peers_ = names_of(qos.discovery.initial_peers);
    before_ = before;
}

void ParticipantDiagnostics::enabled(const eprosima::fastdds::dds::DomainParticipant& fast) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        own_ = fast.guid().guidPrefix;
        if (described()) {
            describe_participant(own_, added_resources(before_, process_resources()));
        }
        stopping_ = false;
    }
    // Below verbosity 2 the watch would have nothing to say.
    if (log_enabled(LogKind::Warning) || log_enabled(LogKind::RemoteInfo)) {
        watcher_ = std::thread([this] { watch(); });
    }
}

void ParticipantDiagnostics::stop() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
    }
    wake_.notify_all();
    if (watcher_.joinable()) {
        watcher_.join();
    }
}

void ParticipantDiagnostics::watch() {
    std::unique_lock<std::mutex> lock(mutex_);
    Clock::time_point alone_end = Clock::now() + kAloneLimit;
    bool alone_checked = false;
    while (!stopping_) {
        Clock::time_point now = Clock::now();
        if (!alone_checked && (found_any_ || now >= alone_end)) {
            alone_checked = true;
            if (!found_any_) {
                log(LogKind::Warning, kRemote, "%s", alone_warning().c_str());
            }
        }
        Clock::time_point next = report_silent(now);
        if (!alone_checked) {
            next = std::min(next, alone_end);
        }
        if (next == Clock::time_point::max()) {
            wake_.wait(lock);
        } else {
            wake_.wait_until(lock, next);
        }
    }
}

ParticipantDiagnostics::Clock::time_point ParticipantDiagnostics::report_silent(
    Clock::time_point now) {
    Clock::time_point next = Clock::time_point::max();
    for (auto it = silent_.begin(); it != silent_.end();) {
        if (it->second.until > now) {
            next = std::min(next, it->second.until);
            ++it;
            continue;
        }
        std::string writer = guid_text(it->first.second);
        auto participant = participants_.find(it->first.second.guidPrefix);
        bool shared_memory =
            participant != participants_.end() && participant->second.over_shared_memory;
        double seconds = std::chrono::duration<double>(it->second.until - it->second.since).count();
        log(LogKind::RemoteInfo, kRemote,
            "remote writer %s matched local reader %s, but not one sample has arrived from it "
            "within %g s of the match%s",
            writer.c_str(), guid_text(it->first.first).c_str(), seconds,
            shared_memory ? "; the match went over shared memory: the two processes may not "
                            "share /dev/shm (for example, different containers)"
                          : "");
        it = silent_.erase(it);
    }
    return next;
}

void ParticipantDiagnostics::writer_matched(const frtps::GUID_t& reader,
                                            const frtps::GUID_t& writer, bool matched) {
    if (!log_enabled(LogKind::RemoteInfo)) {
        return;
    }
    std::lock_guard<std::mutex> lock(mutex_);
    auto key = std::make_pair(reader, writer);
    if (!matched) {
        silent_.erase(key);
        return;
    }
    Clock::duration limit = kSilenceLimit;
    auto remote = remotes_.find(guid_text(writer));
    if (remote != remotes_.end() && !std::isinf(remote->second.deadline)) {
        limit = std::max(limit, std::chrono::duration_cast<Clock::duration>(
                                    std::chrono::duration<double>(2 * remote->second.deadline)));
    }
    Clock::time_point now = Clock::now();
    silent_[key] = SilentMatch{now, now + limit};
    wake_.notify_all();
}

void ParticipantDiagnostics::first_sample(const frtps::GUID_t& reader,
                                          const frtps::GUID_t& writer) {
    std::lock_guard<std::mutex> lock(mutex_);
    silent_.erase(std::make_pair(reader, writer));
}

void ParticipantDiagnostics::participant_event(const frtps::ParticipantDiscoveryInfo& info) {
    std::lock_guard<std::mutex> lock(mutex_);
    const frtps::ParticipantProxyData& data = info.info;
    const frtps::GuidPrefix_t& prefix = data.m_guid.guidPrefix;
    if (prefix == own_) {
        return;
    }
    if (info.status == frtps::ParticipantDiscoveryInfo::DISCOVERED_PARTICIPANT && !found_any_) {
        found_any_ = true;
        wake_.notify_all();
    }
    if (!log_enabled(LogKind::RemoteInfo)) {
        return;
    }
    switch (info.status) {
        case frtps::ParticipantDiscoveryInfo::DISCOVERED_PARTICIPANT:
            participants_[prefix].name = data.m_participantName.to_string();
            describe_remote(data, "discovered");
            break;
        case frtps::ParticipantDiscoveryInfo::CHANGED_QOS_PARTICIPANT:
            break;  // the binding's own repair changes USER_DATA; nothing to tell
        case frtps::ParticipantDiscoveryInfo::REMOVED_PARTICIPANT:
            describe_remote(data, "lost: removed by its owner");
            participants_.erase(prefix);
            break;
        default:
            describe_remote(data, "lost: its lease expired");
            participants_.erase(prefix);
            break;
    }
}

void ParticipantDiagnostics::reader_event(const frtps::ReaderDiscoveryInfo& info) {
    endpoint_event(info, frtps::ReaderDiscoveryInfo::DISCOVERED_READER,
                   frtps::ReaderDiscoveryInfo::CHANGED_QOS_READER);
}

void ParticipantDiagnostics::writer_event(const frtps::WriterDiscoveryInfo& info) {
    endpoint_event(info, frtps::WriterDiscoveryInfo::DISCOVERED_WRITER,
                   frtps::WriterDiscoveryInfo::CHANGED_QOS_WRITER);
}

// Readers and writers come with their own info and status types but are told alike.
template <class Info, class Status>
void ParticipantDiagnostics::endpoint_event(const Info& info, Status discovered, Status changed) {
    if (!log_enabled(LogKind::RemoteInfo)) {
        return;
    }
    EndpointFacts facts = facts_of(info.info);
    std::lock_guard<std::mutex> lock(mutex_);
    if (info.info.guid().guidPrefix == own_) {
        return;
    }
    if (info.status == discovered || info.status == changed) {
        remote_endpoint(facts, info.status == changed);
    } else {
        remotes_.erase(facts.guid);
    }
}

void ParticipantDiagnostics::local_endpoint(const EndpointFacts& facts) {
    std::lock_guard<std::mutex> lock(mutex_);
    describe_local(facts);
    if (!log_enabled(LogKind::RemoteInfo)) {
        return;
    }
    locals_[facts.guid] = facts;
    for (const auto& remote : remotes_) {
        compare(facts, remote.second);
    }
}

void ParticipantDiagnostics::local_endpoint_gone(const frtps::GUID_t& guid) {
    std::lock_guard<std::mutex> lock(mutex_);
    locals_.erase(guid_text(guid));
    for (auto it = silent_.begin(); it != silent_.end();) {
        it = it->first.first == guid ? silent_.erase(it) : std::next(it);
    }
}

void ParticipantDiagnostics::remote_endpoint(const EndpointFacts& remote, bool changed) {
    remotes_[remote.guid] = remote;
    for (const auto& local : locals_) {
        if (changed) {
            compared_.erase(std::make_pair(local.first, remote.guid));
        }
        compare(local.second, remote);
    }
}

void ParticipantDiagnostics::compare(const EndpointFacts& local, const EndpointFacts& remote) {
    if (local.writer == remote.writer) {
        return;
    }
    TopicRelation relation = relate_topics(local.topic, remote.topic);
    if (relation == TopicRelation::Unrelated ||
        !compared_.insert(std::make_pair(local.guid, remote.guid)).second) {
        return;
    }
    if (relation == TopicRelation::OtherTag) {
        report_tag(remote);
    }
    std::vector<std::string> reasons = mismatch_reasons(local, remote);
    std::string line = remote_title(remote);
    if (reasons.empty()) {
        line += " matches local " + endpoint_kind(local) + " " + local.guid;
    } else {
        line += " does not match local " + endpoint_kind(local) + " " + local.guid + ": ";
        for (size_t i = 0; i < reasons.size(); ++i) {
            line += (i == 0 ? "" : "; ") + reasons[i];
        }
    }
    log(LogKind::RemoteInfo, kRemote, "%s", line.c_str());
}

// Once per participant: it is in this domain, but under another domain tag.
void ParticipantDiagnostics::report_tag(const EndpointFacts& remote) {
    for (auto& participant : participants_) {
        std::string prefix = prefix_text(participant.first);
        if (remote.guid.compare(0, prefix.size(), prefix) != 0 || participant.second.tag_reported) {
            continue;
        }
        participant.second.tag_reported = true;
        std::string theirs = domain_tag_of(remote.topic);
        std::string there = theirs.empty() ? "none" : "\"" + printable(theirs) + "\"";
        std::string here = tag_.empty() ? "none" : "\"" + printable(tag_) + "\"";
        log(LogKind::RemoteInfo, kRemote,
            "remote participant %s is in domain %d under domain tag %s, this one under %s",
            prefix.c_str(), domain_, there.c_str(), here.c_str());
    }
}

}  // namespace qordds
