// Binding-internal: repairs a participant announcement that a newcomer dropped.
//
// Fast DDS 2.9 sends a participant's first announcement before it listens: its enable()
// starts the built-in protocols, which announce, and only then registers the receivers of
// its sockets. A participant already running answers a newcomer's first announcement at
// once, unicast and multicast, well under a millisecond later; when that answer arrives
// before the newcomer's receivers are registered, the newcomer drops it. The running
// participant has discovered the newcomer and never answers again, the newcomer's own
// announcements repeated (same sequence number) change nothing, so the newcomer discovers
// the running one only from its next periodic announcement: 2 s later with the tool's
// profile, after the first samples are gone. Measured on loopback with UDPv4 only: 1 pairing
// in 20 of the tool, and 2 to 4 in 25 of a plain Fast DDS program, matched late.
//
// The repair: every participant that discovers a new one announces itself again, kRepairs
// times after it. Fast DDS 2.9 offers one way, through its public API, to make an enabled
// participant announce: a change of its USER_DATA (set_qos), which goes out at once as a new
// announcement. So the first repair sets the participant's USER_DATA to kMark and the second
// sets it back to what it was; between the two, for kRepairs[1] - kRepairs[0], peers see the
// mark. Two announcements per newly discovered participant, nothing periodic: announcement
// period and lease stay as configured. A newcomer that takes the repair discovers the running
// participant and repairs in turn, but the running one knows it already, so it ends there.
#ifndef QOR_DDS_SRC_ANNOUNCEMENT_REPAIR_H
#define QOR_DDS_SRC_ANNOUNCEMENT_REPAIR_H

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

#include <fastdds/dds/domain/DomainParticipant.hpp>

namespace qordds {

class AnnouncementRepair {
  public:
    typedef std::chrono::steady_clock Clock;
    // After a newcomer's first announcement, its receivers are registered within about a
    // millisecond, a loaded machine allowing for more: the first repair comes well after that,
    // the second covers a newcomer still busy then.
    static constexpr std::chrono::milliseconds kRepairs[] = {std::chrono::milliseconds(20),
                                                             std::chrono::milliseconds(100)};
    static const std::vector<uint8_t>& mark();

    AnnouncementRepair() = default;
    AnnouncementRepair(const AnnouncementRepair&) = delete;
    AnnouncementRepair& operator=(const AnnouncementRepair&) = delete;
    ~AnnouncementRepair();

    // Once the participant is enabled.
    void start(eprosima::fastdds::dds::DomainParticipant& fast);
    // From Fast DDS's discovery thread: a participant never seen before.
    void discovered();
    // Before the participant is deleted; repairs still due are dropped.
    void stop();

    // How many announcements the repair has made so far.
    uint32_t announcements() const;

  private:
    void run();
    bool announce();

    mutable std::mutex mutex_;  // everything below but marked_
    std::condition_variable wake_;
    eprosima::fastdds::dds::DomainParticipant* fast_ = nullptr;
    std::multiset<Clock::time_point> due_;
    std::thread worker_;  // started at the first discovery
    bool stopping_ = false;
    bool marked_ = false;       // the worker's alone
    std::vector<uint8_t> own_;  // the USER_DATA the participant was given
    uint32_t announcements_ = 0;
};

}  // namespace qordds

#endif
