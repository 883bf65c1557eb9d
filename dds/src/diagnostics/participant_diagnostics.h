// Binding-internal: what a participant says about itself and about the participants and
// endpoints it discovers, so that a run where nothing matches is not silent.
//
// At verbosity 3 (local information): the participant once enabled (GUID prefix, domain,
// participant index, domain tag, partitions, well-known ports, announced locators per
// transport) and each endpoint it creates (topic as on the wire, type, key-ness, QoS).
// At verbosity 4 (remote information): each remote participant found or lost, and each
// remote endpoint whose topic is the one of a local endpoint of the other kind, or differs
// only in letter case or domain tag: whether they match, and if not, every reason why.
// Also at verbosity 4: a remote writer matched by a local reader from which not one sample
// has arrived two of its send periods (its offered deadline) or 2 s after the match, whichever
// is longer; heartbeats are not seen by the binding.
// At verbosity 2 (warnings): one warning when no remote participant has been found 5 s after
// enable, naming how discovery announces this participant.
//
// Two processes on one host whose /dev/shm differ (two containers, two mount namespaces):
// with shared memory as their only transport they never find each other, since Fast DDS's
// discovery goes through /dev/shm too; the warning says so. With UDP as well they find each
// other, but Fast DDS keeps only the shared-memory locators of a participant with its own host
// id, so their endpoints never match; the remote participant's line says so, told by its
// shared-memory port, which is missing from this /dev/shm or is this participant's own.
//
// The discovery callbacks come from Fast DDS's threads, endpoint creation from the
// application's; a mutex orders them, and each line is written under it.
#ifndef QOR_DDS_SRC_DIAGNOSTICS_PARTICIPANT_DIAGNOSTICS_H
#define QOR_DDS_SRC_DIAGNOSTICS_PARTICIPANT_DIAGNOSTICS_H

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <utility>

#include <fastdds/rtps/participant/ParticipantDiscoveryInfo.h>
#include <fastdds/rtps/reader/ReaderDiscoveryInfo.h>
#include <fastdds/rtps/writer/WriterDiscoveryInfo.h>
#include <fastdds/dds/domain/DomainParticipant.hpp>

#include "diagnostics/endpoint_facts.h"
#include "diagnostics/host_resources.h"
#include "log/log.h"
#include "qordds/qos.h"
#include "qos/builtin_transports.h"

namespace qordds {

class ParticipantDiagnostics {
  public:
    typedef std::chrono::steady_clock Clock;
    // How long a participant may be alone before the warning.
    static constexpr std::chrono::seconds kAloneLimit{5};
    // How long a matched writer may stay silent, at least.
    static constexpr std::chrono::seconds kSilenceLimit{2};

    ParticipantDiagnostics() = default;
    ~ParticipantDiagnostics();
    ParticipantDiagnostics(const ParticipantDiagnostics&) = delete;
    ParticipantDiagnostics& operator=(const ParticipantDiagnostics&) = delete;

    // Right before Fast DDS enables the participant: what the process holds without it.
    void enabling(DDS_DomainId_t domain, const DDS_DomainParticipantQos& qos,
                  const BuiltinTransports& transports);
    // Once it is enabled: describes it and starts the watch for other participants.
    void enabled(const eprosima::fastdds::dds::DomainParticipant& fast);
    // Ends the watch; before the participant goes.
    void stop();

    void participant_event(const eprosima::fastrtps::rtps::ParticipantDiscoveryInfo& info);
    void reader_event(const eprosima::fastrtps::rtps::ReaderDiscoveryInfo& info);
    void writer_event(const eprosima::fastrtps::rtps::WriterDiscoveryInfo& info);
    // Whether participants and endpoints are described (verbosity 3 and up); endpoints need
    // not be passed on otherwise.
    static bool described() {
        return log_enabled(LogKind::Info) || log_enabled(LogKind::RemoteInfo);
    }
    // A local endpoint was created: describes it and compares it with the remote ones known.
    void local_endpoint(const EndpointFacts& facts);
    // A local endpoint is being deleted.
    void local_endpoint_gone(const eprosima::fastrtps::rtps::GUID_t& guid);
    // A local reader matched (or unmatched) a writer, and the first sample from a writer it
    // matched arrived.
    void writer_matched(const eprosima::fastrtps::rtps::GUID_t& reader,
                        const eprosima::fastrtps::rtps::GUID_t& writer, bool matched);
    void first_sample(const eprosima::fastrtps::rtps::GUID_t& reader,
                      const eprosima::fastrtps::rtps::GUID_t& writer);

  private:
    struct RemoteParticipant {
        std::string name;
        bool tag_reported = false;
        bool over_shared_memory = false;  // on this host, both with shared memory
    };
    struct SilentMatch {
        Clock::time_point since;
        Clock::time_point until;  // when its silence is reported
    };

    template <class Info, class Status>
    void endpoint_event(const Info& info, Status discovered, Status changed);
    void remote_endpoint(const EndpointFacts& remote, bool changed);
    void compare(const EndpointFacts& local, const EndpointFacts& remote);
    void report_tag(const EndpointFacts& remote);
    void describe_participant(const eprosima::fastrtps::rtps::GuidPrefix_t& own,
                              const ProcessResources& added);
    void describe_local(const EndpointFacts& facts);
    void describe_remote(const eprosima::fastrtps::rtps::ParticipantProxyData& data,
                         const char* event);
    void describe_shared_memory(const std::string& prefix, uint32_t port);
    void watch();
    // Reports the matches silent past their limit; the earliest limit still ahead.
    Clock::time_point report_silent(Clock::time_point now);
    std::string alone_warning() const;

    std::mutex mutex_;  // everything below
    DDS_DomainId_t domain_ = 0;
    std::string tag_;
    std::string partitions_;
    BuiltinTransports transports_;
    std::vector<std::string> peers_;
    ProcessResources before_;
    std::set<uint32_t> own_shm_ports_;  // the port files this participant made
    eprosima::fastrtps::rtps::GuidPrefix_t own_;
    std::map<std::string, EndpointFacts> locals_;             // by GUID text
    std::map<std::string, EndpointFacts> remotes_;            // by GUID text
    std::set<std::pair<std::string, std::string>> compared_;  // (local, remote) reported
    std::map<eprosima::fastrtps::rtps::GuidPrefix_t, RemoteParticipant> participants_;
    // Matched writers with no sample yet, by (reader, writer).
    std::map<std::pair<eprosima::fastrtps::rtps::GUID_t, eprosima::fastrtps::rtps::GUID_t>,
             SilentMatch>
        silent_;
    bool found_any_ = false;
    bool stopping_ = false;
    std::condition_variable wake_;
    std::thread watcher_;
};

}  // namespace qordds

#endif
