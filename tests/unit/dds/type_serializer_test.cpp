// The generic serializer, key hash and dynamic data on a test-only structure whose members lie
// in memory in another order than they are declared, with two key members.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <string>
#include <vector>

#include "qordds/dynamic_data.h"
#include "qordds/typecode.h"
#include "tests/unit/dds/hex_bytes.h"

namespace {

// Declared as a, k1, b, k2; laid out in memory as b, k2, a, k1.
struct Wide {
    int32_t b;
    int32_t k2;
    int32_t a;
    int32_t k1;
};

const DDS_TypeCodeMember wide_members[] = {
    {"a", DDS_TK_LONG, 0, false, 0},
    {"k1", DDS_TK_LONG, 1, true, 0},
    {"b", DDS_TK_LONG, 2, false, 5},
    {"k2", DDS_TK_LONG, 3, true, 0},
};
const uint32_t wide_offsets[] = {offsetof(Wide, a), offsetof(Wide, k1), offsetof(Wide, b),
                                 offsetof(Wide, k2)};
const DDS_SampleAccessInfo wide_access = {sizeof(Wide), wide_offsets};
const DDS_TypeCode wide_type = {DDS_TK_STRUCT, "Wide", 4, wide_members, &wide_access, nullptr};

const Wide sample = {-3, 0x01020304, 1, 2};
const Wide untouched = {7, 7, 7, 7};

bool same(const Wide& x, const Wide& y) {
    return std::memcmp(&x, &y, sizeof x) == 0;
}

bool deserialize(const std::vector<char>& buffer, Wide* read, bool key_only = false) {
    *read = untouched;
    return DDS_TypeCode_deserialize(&wide_type, read, buffer.data(),
                                    static_cast<unsigned int>(buffer.size()), key_only);
}

const DDS_DataRepresentationId_t xcdr1 = DDS_XCDR_DATA_REPRESENTATION;
const DDS_DataRepresentationId_t xcdr2 = DDS_XCDR2_DATA_REPRESENTATION;
const DDS_CdrByteOrder le = DDS_CDR_LITTLE_ENDIAN;
const DDS_CdrByteOrder be = DDS_CDR_BIG_ENDIAN;

// Representation, byte order, key only, encapsulation header; the bytes.
const struct Layout {
    DDS_CdrEncoding encoding;
    const char* expected;
} layouts[] = {
    {{xcdr1, le, false, true}, "00 01 00 00 01 00 00 00 02 00 00 00 fd ff ff ff 04 03 02 01"},
    {{xcdr1, be, false, true}, "00 00 00 00 00 00 00 01 00 00 00 02 ff ff ff fd 01 02 03 04"},
    {{xcdr2, le, false, true},
     "00 09 00 00 10 00 00 00 01 00 00 00 02 00 00 00 fd ff ff ff 04 03 02 01"},
    {{xcdr2, be, false, true},
     "00 08 00 00 00 00 00 10 00 00 00 01 00 00 00 02 ff ff ff fd 01 02 03 04"},
    {{xcdr1, be, false, false}, "00 00 00 01 00 00 00 02 ff ff ff fd 01 02 03 04"},
    {{xcdr2, be, true, true}, "00 08 00 00 00 00 00 08 00 00 00 02 01 02 03 04"},
};

// Each layout byte for byte, with its size and maximum size; one byte short of room is refused.
// Encapsulated layouts read back, every shorter prefix is refused and leaves the sample alone.
TEST(TypeSerializer, EveryLayoutByteForByteAndBack) {
    for (const Layout& layout : layouts) {
        SCOPED_TRACE(layout.expected);
        std::vector<char> expected = bytesOf(layout.expected);
        unsigned int size = 0, max_size = 0;
        ASSERT_TRUE(DDS_TypeCode_serialize(&wide_type, &sample, layout.encoding, nullptr, &size));
        ASSERT_TRUE(DDS_TypeCode_get_serialized_max_size(&wide_type, layout.encoding, &max_size));
        EXPECT_EQ(size, expected.size());
        EXPECT_EQ(max_size, expected.size());
        std::vector<char> buffer(64, 'x');
        unsigned int length = static_cast<unsigned int>(buffer.size());
        ASSERT_TRUE(
            DDS_TypeCode_serialize(&wide_type, &sample, layout.encoding, buffer.data(), &length));
        EXPECT_EQ(hexOf(buffer.data(), length), layout.expected);
        length = static_cast<unsigned int>(expected.size() - 1);
        EXPECT_FALSE(
            DDS_TypeCode_serialize(&wide_type, &sample, layout.encoding, buffer.data(), &length));
        bool key_only = layout.encoding.key_only;
        const Wide whole = key_only ? Wide{7, 0x01020304, 7, 2} : sample;
        for (size_t n = 0; layout.encoding.encapsulation_header && n <= expected.size(); ++n) {
            // Exactly n bytes, so that ASan sees any read beyond them.
            std::vector<char> prefix(expected.begin(),
                                     expected.begin() + static_cast<std::ptrdiff_t>(n));
            Wide read;
            EXPECT_EQ(deserialize(prefix, &read, key_only), n == expected.size()) << n;
            EXPECT_TRUE(same(read, n == expected.size() ? whole : untouched)) << n;
        }
    }
}

TEST(TypeSerializer, ReadsOnlyEncapsulationsItKnows) {
    const std::string little = " 01 00 00 00 02 00 00 00 fd ff ff ff 04 03 02 01";
    const std::string big = " 00 00 00 01 00 00 00 02 ff ff ff fd 01 02 03 04";
    const struct {
        const char* name;
        std::string serialized;
        bool read;
    } cases[] = {
        {"parameter list, XCDR1", "00 03 00 00" + little, false},
        {"parameter list, XCDR2", "00 0b 00 00" + little, false},
        {"XML", "00 04 00 00" + little, false},
        {"non-zero first byte", "01 01 00 00" + little, false},
        {"DHEADER beyond the buffer", "00 09 00 00 14 00 00 00" + little, false},
        {"DHEADER too short for the members", "00 09 00 00 0c 00 00 00" + little, false},
        {"DHEADER of all ones", "00 08 00 00 ff ff ff ff" + big, false},
        {"PLAIN_CDR2 without DHEADER", "00 07 00 00" + little, true},
        {"appended member skipped", "00 08 00 00 00 00 00 14" + big + " 00 00 00 09", true},
        {"XCDR1 trailing padding", "00 01 00 03" + little + " 00", true},
    };
    for (const auto& c : cases) {
        Wide read;
        EXPECT_EQ(deserialize(bytesOf(c.serialized.c_str()), &read), c.read) << c.name;
        EXPECT_TRUE(same(read, c.read ? sample : untouched)) << c.name;
    }
}

TEST(KeyHash, PadsShortKeysAndDigestsLongOnes) {
    DDS_KeyHash_t hash;
    unsigned int size = 0;
    ASSERT_TRUE(DDS_TypeCode_get_keyhash(&wide_type, &sample, &hash));
    EXPECT_EQ(hexOf(hash.value, 16), "00 00 00 02 01 02 03 04 00 00 00 00 00 00 00 00");
    ASSERT_TRUE(DDS_TypeCode_get_keyhash_max_size(&wide_type, &size));
    EXPECT_EQ(size, 8u);

    // Five key members: 20 bytes, more than a key hash holds.
    const DDS_TypeCodeMember k = {"k", DDS_TK_LONG, 0, true, 0};
    const DDS_TypeCodeMember long_members[] = {k, k, k, k, k};
    const uint32_t long_offsets[] = {0, 4, 8, 12, 16};
    const DDS_SampleAccessInfo long_access = {20, long_offsets};
    const DDS_TypeCode long_key = {DDS_TK_STRUCT, "L", 5, long_members, &long_access, nullptr};
    const int32_t keys[5] = {1, 2, 3, 4, -5};
    ASSERT_TRUE(DDS_TypeCode_get_keyhash_max_size(&long_key, &size));
    EXPECT_EQ(size, 20u);
    ASSERT_TRUE(DDS_TypeCode_get_keyhash(&long_key, keys, &hash));
    // md5sum of the bytes 00000001 00000002 00000003 00000004 fffffffb.
    EXPECT_EQ(hexOf(hash.value, 16), "87 2d b6 57 84 03 94 10 7d 3d d8 dc 12 12 22 25");

    const DDS_TypeCode unkeyed = {DDS_TK_STRUCT, "Unkeyed", 1, wide_members, &wide_access, nullptr};
    EXPECT_FALSE(DDS_TypeCode_get_keyhash(&unkeyed, &sample, &hash));
}

TEST(DynamicData, FormatsLoadedSamplesInEveryFormat) {
    DDSDynamicData data(&wide_type);
    char text[128];
    unsigned int length = sizeof text;
    ASSERT_EQ(data.to_string(text, &length, DDS_PRINT_FORMAT_PROPERTY_DEFAULT), DDS_RETCODE_OK);
    EXPECT_STREQ(text, "a: 0\nk1: 0\nb: 5\nk2: 0\n") << "members start at their defaults";
    std::vector<char> truncated = bytesOf("00 01 00 00 01 00 00 00");
    EXPECT_EQ(data.from_cdr_buffer(truncated.data(), 8), DDS_RETCODE_ERROR);
    std::vector<char> serialized = bytesOf(layouts[3].expected);  // XCDR2 big-endian
    ASSERT_EQ(data.from_cdr_buffer(serialized.data(), static_cast<unsigned int>(serialized.size())),
              DDS_RETCODE_OK);
    // Asked with too little room, it answers the room the text needs, terminator included.
    length = 1;
    EXPECT_EQ(data.to_string(text, &length, {DDS_JSON_PRINT_FORMAT, false}),
              DDS_RETCODE_OUT_OF_RESOURCES);
    EXPECT_EQ(length, 36u);
    const struct {
        DDS_PrintFormatProperty format;
        const char* text;
    } cases[] = {
        {{DDS_XML_PRINT_FORMAT, false},
         "<Wide><a>1</a><k1>2</k1><b>-3</b><k2>16909060</k2></Wide>"},
        {{DDS_XML_PRINT_FORMAT, true},
         "<Wide>\n    <a>1</a>\n    <k1>2</k1>\n    <b>-3</b>\n    <k2>16909060</k2>\n</Wide>\n"},
        {{DDS_JSON_PRINT_FORMAT, false}, "{\"a\":1,\"k1\":2,\"b\":-3,\"k2\":16909060}"},
        {{DDS_JSON_PRINT_FORMAT, true},
         "{\n    \"a\": 1,\n    \"k1\": 2,\n    \"b\": -3,\n    \"k2\": 16909060\n}\n"},
    };
    for (const auto& c : cases) {
        length = sizeof text;
        ASSERT_EQ(data.to_string(text, &length, c.format), DDS_RETCODE_OK);
        EXPECT_STREQ(text, c.text);
    }
}

}  // namespace
