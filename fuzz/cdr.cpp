// Fuzz target: bytes as they arrive from the transport, through what the binding reads of them.
// The input is taken two ways, each on its own:
// - as a received RTPS message: the key-only repair that the UDP receive path runs on every
//   message (with a hasher that treats every writer as one that a keyed ping reader is
//   matched with, so that the ping type's key hash of each serialized key is computed), then
//   each DATA submessage of the message that comes out, whose serialized payload goes to the
//   readers below as a sample (D flag) or a key-only one (K flag);
// - as one serialized payload (encapsulation header first).
// A payload is read by both ping types as Fast DDS reads them (the type adapter's deserialize,
// its key, and the sample serialized back), by the keyed ping type's serialized-key hash, and by
// the generic deserializer, key hash and dynamic data on two more types: two key members among
// four, and five key members (the key hash is their MD5 digest). Only crashes and sanitizer
// reports count.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

#include <fastdds/rtps/common/InstanceHandle.h>
#include <fastdds/rtps/common/SerializedPayload.h>

#include "kestping/pingData.h"
#include "qordds/dynamic_data.h"
#include "qordds/logger.h"
#include "qordds/typecode.h"
#include "types/topic_data_type_adapter.h"
#include "workarounds/key_only_repair.h"

namespace {

namespace fr = eprosima::fastrtps::rtps;

// Four members, two of them keys, laid out in memory in another order than declared.
struct Wide {
    int32_t b;
    int32_t k2;
    int32_t a;
    int32_t k1;
};
const DDS_TypeCodeMember kWideMembers[] = {
    {"a", DDS_TK_LONG, 0, false, 0},
    {"k1", DDS_TK_LONG, 1, true, 0},
    {"b", DDS_TK_LONG, 2, false, 5},
    {"k2", DDS_TK_LONG, 3, true, 0},
};
const uint32_t kWideOffsets[] = {offsetof(Wide, a), offsetof(Wide, k1), offsetof(Wide, b),
                                 offsetof(Wide, k2)};
const DDS_SampleAccessInfo kWideAccess = {sizeof(Wide), kWideOffsets};
const DDS_TypeCode kWideType = {DDS_TK_STRUCT, "Wide", 4, kWideMembers, &kWideAccess, nullptr};

// Five key members: 20 bytes of key, more than a key hash holds.
const DDS_TypeCodeMember kKeyMember = {"k", DDS_TK_LONG, 0, true, 0};
const DDS_TypeCodeMember kLongKeyMembers[] = {kKeyMember, kKeyMember, kKeyMember, kKeyMember,
                                              kKeyMember};
const uint32_t kLongKeyOffsets[] = {0, 4, 8, 12, 16};
const DDS_SampleAccessInfo kLongKeyAccess = {5 * sizeof(int32_t), kLongKeyOffsets};
const DDS_TypeCode kLongKeyType = {DDS_TK_STRUCT,   "LongKey",       5,
                                   kLongKeyMembers, &kLongKeyAccess, nullptr};

uint16_t read16(const unsigned char* at, bool little) {
    return little ? static_cast<uint16_t>(at[0] | at[1] << 8)
                  : static_cast<uint16_t>(at[0] << 8 | at[1]);
}

void readThroughAdapter(qordds::TopicDataTypeAdapter& adapter, const char* bytes, uint32_t length) {
    fr::SerializedPayload_t payload(length);
    if (length > 0) {
        std::memcpy(payload.data, bytes, length);
    }
    payload.length = length;
    void* sample = adapter.createData();
    if (adapter.deserialize(&payload, sample)) {
        fr::InstanceHandle_t handle;
        adapter.getKey(sample, &handle);
        uint32_t size = adapter.getSerializedSizeProvider(sample)();
        fr::SerializedPayload_t written(size > 0 ? size : 1);
        adapter.serialize(sample, &written);
    }
    adapter.deleteData(sample);
}

template <class Sample>
void readGenerically(const DDS_TypeCode& type, const char* bytes, uint32_t length, bool keyOnly) {
    Sample sample{};
    if (DDS_TypeCode_deserialize(&type, &sample, bytes, length, keyOnly)) {
        DDS_KeyHash_t hash;
        DDS_TypeCode_get_keyhash(&type, &sample, &hash);
    }
    DDSDynamicData data(&type);
    if (!keyOnly && data.from_cdr_buffer(bytes, length) == DDS_RETCODE_OK) {
        char text[512];
        unsigned int textLength = sizeof text;
        data.to_string(text, &textLength, DDS_PRINT_FORMAT_PROPERTY_DEFAULT);
    }
}

void readPayload(const char* bytes, uint32_t length, bool keyOnly) {
    static qordds::TopicDataTypeAdapter plain("PingType", *KestPingData_get_type_plugin_info());
    static qordds::TopicDataTypeAdapter keyed("PingType",
                                              *KestKeyedPingData_get_type_plugin_info());
    if (!keyOnly) {
        readThroughAdapter(plain, bytes, length);
        readThroughAdapter(keyed, bytes, length);
    }
    DDS_KeyHash_t hash;
    KestKeyedPingData_get_type_plugin_info()->serialized_key_to_keyhash(&hash, bytes, length);
    readGenerically<Wide>(kWideType, bytes, length, keyOnly);
    readGenerically<int32_t[5]>(kLongKeyType, bytes, length, keyOnly);
}

// The serialized payloads of the message's DATA submessages, walked as a receiver walks them.
void readDataSubmessages(const std::vector<unsigned char>& m) {
    size_t rest = 0;
    qordds::walk_submessages(
        m,
        [&](const qordds::RtpsSubmessage& submessage) {
            const uint8_t flags = submessage.flags;
            const size_t body = submessage.start + 4;
            const size_t end = submessage.end;
            if (submessage.id != qordds::kRtpsData ||
                (flags & (qordds::kRtpsDataFlag | qordds::kRtpsKeyFlag)) == 0 || end - body < 20) {
                return;
            }
            bool little = submessage.little();
            size_t payload = body + 4 + read16(&m[body + 2], little);
            if ((flags & qordds::kRtpsInlineQosFlag) != 0) {
                while (payload + 4 <= end && read16(&m[payload], little) != 0x0001) {
                    payload += 4 + read16(&m[payload + 2], little);
                }
                payload += 4;
            }
            if (payload > end) {
                return;
            }
            readPayload(reinterpret_cast<const char*>(&m[payload]),
                        static_cast<uint32_t>(end - payload), (flags & qordds::kRtpsDataFlag) == 0);
        },
        rest);
}

bool anyWriterKeyHash(const unsigned char* /*writer*/, const unsigned char* key, uint32_t length,
                      unsigned char hash[16]) {
    DDS_KeyHash_t computed;
    if (!KestKeyedPingData_get_type_plugin_info()->serialized_key_to_keyhash(
            &computed, reinterpret_cast<const char*>(key), length)) {
        return false;
    }
    std::memcpy(hash, computed.value, sizeof computed.value);
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool everyMessage = [] {
        DDSLogger::get_instance()->set_verbosity(0x3F);
        return true;
    }();
    (void)everyMessage;
    static const qordds::KeyHasher hasher = anyWriterKeyHash;

    std::vector<unsigned char> message(data, data + size);
    qordds::repair_key_only_data(message, hasher);
    readDataSubmessages(message);
    readPayload(reinterpret_cast<const char*>(data), static_cast<uint32_t>(size), false);
    readPayload(reinterpret_cast<const char*>(data), static_cast<uint32_t>(size), true);
    return 0;
}
