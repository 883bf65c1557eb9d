// Binding-internal: gives a DataWriter created right after its participant was enabled a
// bounded moment to find the readers that were already there, so that its first samples
// reach them.
//
// The ping publisher writes as soon as its writer exists, some milliseconds after enabling
// its participant, while discovery is still under way; measured on loopback, another
// participant's reader becomes known 1-3 ms after enable, or about 72 ms after it when the
// first endpoint announcement is only repaired by the initial acknack (one run in five).
// What is written before both sides have matched is lost to readers already running: Fast
// DDS 2.9 never sends a writer's history to a best-effort reader, a best-effort reader
// drops samples of writers it has not matched, and a reliable writer keeps from a VOLATILE
// reader whatever it wrote before matching it.
//
// So for a window of kWindow after enable has returned, create_datawriter first waits until a
// reader of its topic and type on another participant is known (or the window ends), then creates
// the writer, which matches that reader at once, and then waits until it has matched a reader and
// no match came or went for kSettle, long enough for the remote reader to match this writer
// in turn (measured: within 1 ms). Creating the writer only once the reader is known is what
// keeps the exchange short: a writer announced while the participants are still discovering
// each other is sometimes only matched by the remote side 70 ms later. Writers created after
// the window, and readers, never wait; nothing changes on the wire. A writer with no other
// participant anywhere waits until the window ends, kWindow after enable. The window opens
// when enable returns, not before: Fast DDS 2.9's enable over shared memory now and then takes
// 330 ms instead of 2 (1 pairing in 15 with another participant on the host, measured), and a
// window that started before it had run out before discovery could begin. A participant
// discovered in the window holds it open until its readers have had kGrace to show: on an
// overloaded machine their announcements came 350-450 ms after the participant's (measured:
// 7 pairings in 240 lost issue 0 with eight pairings running at once), past a fixed window. A
// participant without such a reader thus delays the first write by up to kGrace. An
// authenticating participant learns of the readers of another only once the two have
// authenticated each other (a handshake of three messages, then the key exchange): a
// participant discovered in its window holds it open until kGrace after its authorization,
// kAuthenticationLimit after its discovery at most, and not at all once it is refused; the
// writer then waits up to kSecuredSettleLimit for its match, which comes only after the
// endpoints' keys have been exchanged.
#ifndef QOR_DDS_SRC_DISCOVERY_RENDEZVOUS_H
#define QOR_DDS_SRC_DISCOVERY_RENDEZVOUS_H

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <utility>

#include <fastdds/dds/domain/DomainParticipant.hpp>
#include <fastdds/dds/domain/DomainParticipantListener.hpp>

#include "diagnostics/participant_diagnostics.h"
#include "security/authentication_report.h"
#include "workarounds/announcement_repair.h"

namespace qordds {

class DiscoveryRendezvous : public eprosima::fastdds::dds::DomainParticipantListener {
  public:
    typedef std::chrono::steady_clock Clock;
    // Long enough for a subscriber started together with the publisher to come up and be
    // discovered on a loaded machine (300 ms was not: its process alone took longer), short
    // beside the default send period.
    static constexpr std::chrono::milliseconds kWindow{1000};
    // How long, at most, the readers of a participant discovered in the window may take to
    // show: their announcements follow the participant's, at once on a quiet machine, 70 ms
    // later when Fast DDS's own repair is needed, 350-450 ms later on an overloaded one.
    static constexpr std::chrono::milliseconds kGrace{1000};
    // How long a participant being authenticated may hold the window open. Measured on
    // loopback (load average 4-5): authentication ends 30-50 ms after discovery, or about 1 s
    // after it when Fast DDS repeats the handshake (a third of the pairings), and the readers
    // follow within 20 ms; the 1 s grace from discovery was then too short.
    static constexpr std::chrono::milliseconds kAuthenticationLimit{4000};
    static constexpr std::chrono::milliseconds kSettle{30};
    // How long a new writer may wait for its matches to settle.
    static constexpr std::chrono::milliseconds kSettleLimit{300};
    // The same for an authenticating participant: its writer matches a reader only once the
    // participants have authenticated each other and exchanged the endpoints' keys (measured
    // on loopback: 1 secured pairing in 4 took longer than kSettleLimit, and lost issue 0).
    static constexpr std::chrono::milliseconds kSecuredSettleLimit{2000};

    // Right before the Fast DDS participant is enabled: listens to its discovery, passes
    // each new participant on to `repair` and every discovery event to `diagnostics`, and
    // opens the window.
    void install(eprosima::fastdds::dds::DomainParticipant& fast, AnnouncementRepair& repair,
                 ParticipantDiagnostics& diagnostics);
    // Once it is enabled, with the GUID prefix its own endpoints have: the window starts.
    void enabled(const eprosima::fastrtps::rtps::GuidPrefix_t& own);

    // Within the window, waits until a reader of `topic` (as on the wire) and `type` on
    // another participant is known, or the window ends; a participant discovered in the
    // window keeps it open until kGrace after its discovery. True when a reader is known.
    bool await_remote_reader(const std::string& topic, const std::string& type);
    // How long a writer created now may wait for its matches to settle.
    std::chrono::milliseconds settle_limit() const {
        return secured_ ? kSecuredSettleLimit : kSettleLimit;
    }

    void on_participant_discovery(
        eprosima::fastdds::dds::DomainParticipant*,
        eprosima::fastrtps::rtps::ParticipantDiscoveryInfo&& info) override;
    void on_subscriber_discovery(eprosima::fastdds::dds::DomainParticipant*,
                                 eprosima::fastrtps::rtps::ReaderDiscoveryInfo&& info) override;
    void on_publisher_discovery(eprosima::fastdds::dds::DomainParticipant*,
                                eprosima::fastrtps::rtps::WriterDiscoveryInfo&& info) override;
    // The one participant listener also carries the authentication report.
    void onParticipantAuthentication(
        eprosima::fastdds::dds::DomainParticipant*,
        eprosima::fastrtps::rtps::ParticipantAuthenticationInfo&& info) override;

  private:
    bool remote_reader_known(const std::string& topic, const std::string& type) const;
    // The end of the window with the grace of the participants discovered in it.
    Clock::time_point deadline() const;

    AnnouncementRepair* repair_ = nullptr;           // set before discovery starts
    ParticipantDiagnostics* diagnostics_ = nullptr;  // likewise
    AuthenticationReport authentication_;
    bool secured_ = false;      // likewise
    mutable std::mutex mutex_;  // everything below
    std::condition_variable discovered_;
    Clock::time_point window_end_;
    eprosima::fastrtps::rtps::GuidPrefix_t own_;
    // The participants discovered in the window, and until when each holds it open; emptied
    // after it.
    std::map<eprosima::fastrtps::rtps::GuidPrefix_t, Clock::time_point> participants_;
    // The readers discovered in the window, their topic and type; emptied after it.
    std::map<eprosima::fastrtps::rtps::GUID_t, std::pair<std::string, std::string>> readers_;
};

// The matches of one writer, for the second half of the rendezvous. Shared by the writer
// and the creation that waits on it, which thus never outlives it.
class MatchWatch {
  public:
    typedef DiscoveryRendezvous::Clock Clock;

    // The writer's matched count changed (from its publication-matched callback).
    void changed(int32_t current);
    // Waits until the writer has matched a reader and no match came or went for `settle`,
    // or until `until`.
    void await_settled(Clock::time_point until, Clock::duration settle);

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    int32_t current_ = 0;
    Clock::time_point last_change_;
};

}  // namespace qordds

#endif
