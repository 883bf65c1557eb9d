// The repair of key-only dispose and unregister messages, on captured RTPS messages.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "workarounds/key_only_repair.h"

typedef std::vector<unsigned char> Bytes;

namespace {

// A key-only dispose as a Cyclone DDS writer sends it (captured on a private host, the key
// then changed from 0 to 5): RTPS header, INFO_TS, then DATA with the K flag, inline
// PID_STATUS_INFO and a payload of encapsulation CDR_LE and the key.
const Bytes kCycloneDispose = {
    'R',  'T',  'P',  'S',  0x02, 0x01, 0x01, 0x10, 0x01, 0x10, 0x4f, 0x70,
    0x6a, 0x79, 0x6e, 0x90, 0x7f, 0x5e, 0x42, 0xa9,                          // header
    0x09, 0x01, 0x08, 0x00, 0xa4, 0xfb, 0x01, 0x6b, 0x8d, 0xcd, 0xa4, 0x06,  // INFO_TS
    0x15, 0x0b, 0x28, 0x00, 0x00, 0x00, 0x10, 0x00, 0x00, 0x00, 0x00, 0x00,  // DATA
    0x00, 0x00, 0x01, 0x02, 0x00, 0x00, 0x00, 0x00, 0x03, 0x00, 0x00, 0x00,  // ids, SN
    0x71, 0x00, 0x04, 0x00, 0x00, 0x00, 0x00, 0x01, 0x01, 0x00, 0x00, 0x00,  // inline QoS
    0x00, 0x01, 0x00, 0x00, 0x05, 0x00, 0x00, 0x00,                          // payload
};

const unsigned char kCycloneWriter[16] = {0x01, 0x10, 0x4f, 0x70, 0x6a, 0x79, 0x6e, 0x90,
                                          0x7f, 0x5e, 0x42, 0xa9, 0x00, 0x00, 0x01, 0x02};

// Hashes like the ping type: the big-endian int32 key, then zeros. Knows only `writer`.
qordds::KeyHasher hasher_for(const unsigned char* writer, Bytes* seen) {
    return [writer, seen](const unsigned char guid[16], const unsigned char* key, uint32_t length,
                          unsigned char hash[16]) {
        if (std::memcmp(guid, writer, 16) != 0 || length < 8) {
            return false;
        }
        seen->assign(key, key + length);
        bool little = key[1] == 0x01;
        std::memset(hash, 0, 16);
        for (int i = 0; i < 4; ++i) {
            hash[i] = little ? key[7 - i] : key[4 + i];
        }
        return true;
    };
}

}  // namespace

TEST(KeyOnlyRepair, RewritesAKeyOnlyDisposeIntoTheKeyHashFormAndLeavesOtherMessagesAlone) {
    Bytes message = kCycloneDispose;
    Bytes seen;
    ASSERT_TRUE(qordds::repair_key_only_data(message, hasher_for(kCycloneWriter, &seen)));
    EXPECT_EQ(seen, (Bytes{0x00, 0x01, 0x00, 0x00, 0x05, 0, 0, 0}));
    Bytes expected(kCycloneDispose.begin(), kCycloneDispose.begin() + 32);
    const Bytes data = {
        0x15, 0x03, 0x34, 0x00,                                      // DATA, Q|E, 52 octets
        0x00, 0x00, 0x10, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,  // extra flags, to QoS, ids
        0x01, 0x02, 0x00, 0x00, 0x00, 0x00, 0x03, 0x00, 0x00, 0x00,  // writer id, SN
        0x71, 0x00, 0x04, 0x00, 0x00, 0x00, 0x00, 0x01,              // status info kept
        0x70, 0x00, 0x10, 0x00, 0x00, 0x00, 0x00, 0x05, 0x00, 0x00,  // key hash of key 5
        0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
        0x01, 0x00, 0x00, 0x00,  // sentinel, no payload
    };
    expected.insert(expected.end(), data.begin(), data.end());
    EXPECT_EQ(message, expected);

    Bytes with_data = kCycloneDispose;
    with_data[33] = 0x05;  // D|E: an ordinary sample
    Bytes other_writer = kCycloneDispose;
    other_writer[47] = 0x03;  // writer entity 0x00000103, not tracked
    Bytes not_rtps = kCycloneDispose;
    not_rtps[0] = 'X';
    const Bytes untouched[] = {with_data, other_writer, not_rtps,
                               Bytes(kCycloneDispose.begin(), kCycloneDispose.end() - 10)};
    for (const Bytes& original : untouched) {
        message = original;
        EXPECT_FALSE(qordds::repair_key_only_data(message, hasher_for(kCycloneWriter, &seen)));
        EXPECT_EQ(message, original);
    }
}

TEST(KeyOnlyRepair, FollowsInfoSourceAndBigEndianSubmessages) {
    const unsigned char other_writer[16] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 0, 0, 1, 2};
    Bytes message(kCycloneDispose.begin(), kCycloneDispose.begin() + 20);
    // INFO_SRC (big-endian) naming another participant.
    const Bytes info_src = {0x0c, 0x00, 0x00, 0x14, 0, 0, 0, 0, 2, 1, 1, 0x10};
    message.insert(message.end(), info_src.begin(), info_src.end());
    message.insert(message.end(), other_writer, other_writer + 12);
    // A big-endian key-only unregistration of key 7, no inline QoS besides status info.
    const Bytes data = {
        0x15, 0x0a, 0x00, 0x28, 0x00, 0x00, 0x00, 0x10, 0,    0,    0,    0,    0x00, 0x00, 0x01,
        0x02, 0,    0,    0,    0,    0,    0,    0,    9,    0x00, 0x71, 0x00, 0x04, 0,    0,
        0,    2,    0x00, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0,    0,    0,    7,
    };
    message.insert(message.end(), data.begin(), data.end());
    Bytes seen;
    ASSERT_TRUE(qordds::repair_key_only_data(message, hasher_for(other_writer, &seen)));
    size_t at = 20 + info_src.size() + 12;
    EXPECT_EQ(message[at + 1], 0x02) << "Q flag, big-endian kept";
    EXPECT_EQ(message[at + 3], 0x34);
    EXPECT_EQ(Bytes(message.begin() + static_cast<std::ptrdiff_t>(at + 32),
                    message.begin() + static_cast<std::ptrdiff_t>(at + 40)),
              (Bytes{0x00, 0x70, 0x00, 0x10, 0, 0, 0, 7}));
    EXPECT_EQ(message.size(), at + 56);
}
