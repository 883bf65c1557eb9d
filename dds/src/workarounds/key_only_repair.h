// Binding-internal: the repair of key-only dispose and unregister messages.
//
// Some DDS implementations (Cyclone DDS among them) send a dispose or an unregistration as
// a DATA submessage that carries the serialized key instead of a key hash. Fast DDS 2.9
// copies such a payload (encapsulation header included) into the instance handle when it
// is 16 bytes or shorter, so the state change lands on a phantom instance: a dispose shows
// up under a wrong key, and an unregistration is dropped, or arrives as a dispose once the
// phantom has been disposed. What the message meant cannot be recovered after Fast DDS has
// read it, so the binding mends the message before Fast DDS sees it: a transport wrapped
// around UDP rewrites each key-only DATA of a writer that one of the binding's keyed readers
// is matched with into the form Fast DDS writers use themselves, with the key hash (computed
// by the reader's type plugin from the serialized key) as inline PID_KEY_HASH and no payload.
// Messages without such a submessage pass through untouched.
#ifndef QOR_DDS_SRC_KEY_ONLY_REPAIR_H
#define QOR_DDS_SRC_KEY_ONLY_REPAIR_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include <fastdds/rtps/transport/TransportDescriptorInterface.h>

#include "qordds/type_plugin.h"
#include "qordds/types.h"

namespace qordds {

// Readers announce the keyed writers they are matched with (the handle is the writer's
// GUID), and forget them when unmatched. A writer matched by several readers stays tracked
// until the last one forgets it.
void track_keyed_writer(const DDS_InstanceHandle_t& writer, const DDSTypePlugin& plugin);
void untrack_keyed_writer(const DDS_InstanceHandle_t& writer);

// The key hash of a tracked writer's serialized key; false when the writer is not tracked
// or the key cannot be read.
typedef std::function<bool(const unsigned char writer_guid[16], const unsigned char* key,
                           uint32_t length, unsigned char hash[16])>
    KeyHasher;

// RTPS 2.x submessage ids and DATA flags that the repair reads.
const uint8_t kRtpsData = 0x15;
const uint8_t kRtpsEndiannessFlag = 0x01;
const uint8_t kRtpsInlineQosFlag = 0x02;
const uint8_t kRtpsDataFlag = 0x04;
const uint8_t kRtpsKeyFlag = 0x08;

// One submessage of an RTPS message: its id and flags, where its header starts and where it
// ends in the message (its body starts 4 bytes after its header).
struct RtpsSubmessage {
    uint8_t id;
    uint8_t flags;
    size_t start;
    size_t end;
    bool little() const { return (flags & kRtpsEndiannessFlag) != 0; }
};

// Hands each submessage after the message header to `visit`, in order, delimited as a receiver
// delimits them: a length of 0 on a submessage other than PAD and INFO_TS reaches to the end
// of the message. Returns false, after the submessages before it, at one that reaches past the
// end. `rest` is set to the end of the last submessage handed over (or of the header): fewer
// than 4 bytes follow it when the walk returns true.
bool walk_submessages(const std::vector<unsigned char>& message,
                      const std::function<void(const RtpsSubmessage&)>& visit, size_t& rest);

// Rewrites the key-only DATA submessages of the RTPS message in `message` (see above).
// Returns true when the message was changed.
bool repair_key_only_data(std::vector<unsigned char>& message, const KeyHasher& hasher);

// The hasher that looks writers up among the tracked ones.
KeyHasher tracked_writers_hasher();

typedef std::vector<std::shared_ptr<eprosima::fastdds::rtps::TransportDescriptorInterface>>
    TransportDescriptorList;

// The same transports, each UDP one with the repair in its receive path (shared memory only
// ever carries Fast DDS's own messages). For a participant's user transports, before enable.
TransportDescriptorList with_key_only_repair(const TransportDescriptorList& descriptors);

}  // namespace qordds

#endif
