// The generic serializer, key hash and dynamic data on test-only types: a structure whose
// members lie in memory in another order than they are declared, with two key members, and
// one whose key is too long to be its own hash.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "dds/dynamic_data.h"
#include "dds/src/type_md5.h"
#include "dds/src/type_serializer.h"
#include "dds/typecode.h"

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

// Five key members: 20 bytes, more than a key hash holds.
struct LongKey {
    int32_t k[5];
};
const DDS_TypeCodeMember long_key_members[] = {
    {"k0", DDS_TK_LONG, 0, true, 0}, {"k1", DDS_TK_LONG, 1, true, 0},
    {"k2", DDS_TK_LONG, 2, true, 0}, {"k3", DDS_TK_LONG, 3, true, 0},
    {"k4", DDS_TK_LONG, 4, true, 0},
};
const uint32_t long_key_offsets[] = {0, 4, 8, 12, 16};
const DDS_SampleAccessInfo long_key_access = {sizeof(LongKey), long_key_offsets};
const DDS_TypeCode long_key_type = {DDS_TK_STRUCT,    "LongKey",        5,
                                    long_key_members, &long_key_access, nullptr};

const Wide sample = {-3, 0x01020304, 1, 2};

std::vector<char> bytes(const char* hex) {
    std::vector<char> result;
    std::istringstream in(hex);
    unsigned int byte;
    while (in >> std::hex >> byte) {
        result.push_back(static_cast<char>(byte));
    }
    return result;
}

std::string hex(const char* data, size_t length) {
    std::string text;
    char digits[4];
    for (size_t i = 0; i < length; ++i) {
        std::snprintf(digits, sizeof digits, "%s%02x", i == 0 ? "" : " ",
                      static_cast<unsigned char>(data[i]));
        text += digits;
    }
    return text;
}

struct Layout {
    const char* name;
    DDS_CdrEncoding encoding;
    const char* expected;
};

const Layout layouts[] = {
    {"XCDR1 little-endian",
     {DDS_XCDR_DATA_REPRESENTATION, DDS_CDR_LITTLE_ENDIAN, false, true},
     "00 01 00 00 01 00 00 00 02 00 00 00 fd ff ff ff 04 03 02 01"},
    {"XCDR1 big-endian",
     {DDS_XCDR_DATA_REPRESENTATION, DDS_CDR_BIG_ENDIAN, false, true},
     "00 00 00 00 00 00 00 01 00 00 00 02 ff ff ff fd 01 02 03 04"},
    {"AUTO is native XCDR1",
     {DDS_AUTO_DATA_REPRESENTATION, DDS_CDR_NATIVE_BYTE_ORDER, false, true},
     "00 01 00 00 01 00 00 00 02 00 00 00 fd ff ff ff 04 03 02 01"},
    {"XCDR2 little-endian, DHEADER first",
     {DDS_XCDR2_DATA_REPRESENTATION, DDS_CDR_LITTLE_ENDIAN, false, true},
     "00 09 00 00 10 00 00 00 01 00 00 00 02 00 00 00 fd ff ff ff 04 03 02 01"},
    {"XCDR2 big-endian, DHEADER first",
     {DDS_XCDR2_DATA_REPRESENTATION, DDS_CDR_BIG_ENDIAN, false, true},
     "00 08 00 00 00 00 00 10 00 00 00 01 00 00 00 02 ff ff ff fd 01 02 03 04"},
    {"XCDR1 without header",
     {DDS_XCDR_DATA_REPRESENTATION, DDS_CDR_BIG_ENDIAN, false, false},
     "00 00 00 01 00 00 00 02 ff ff ff fd 01 02 03 04"},
    {"key only, XCDR1 little-endian",
     {DDS_XCDR_DATA_REPRESENTATION, DDS_CDR_LITTLE_ENDIAN, true, true},
     "00 01 00 00 02 00 00 00 04 03 02 01"},
    {"key only, XCDR2 big-endian",
     {DDS_XCDR2_DATA_REPRESENTATION, DDS_CDR_BIG_ENDIAN, true, true},
     "00 08 00 00 00 00 00 08 00 00 00 02 01 02 03 04"},
};

TEST(TypeSerializer, LaysOutEveryEncodingByteForByte) {
    for (const Layout& layout : layouts) {
        unsigned int size = 0;
        ASSERT_TRUE(DDS_TypeCode_serialize(&wide_type, &sample, layout.encoding, nullptr, &size))
            << layout.name;
        std::vector<char> expected = bytes(layout.expected);
        EXPECT_EQ(size, expected.size()) << layout.name;

        std::vector<char> buffer(64, 'x');
        unsigned int length = static_cast<unsigned int>(buffer.size());
        ASSERT_TRUE(
            DDS_TypeCode_serialize(&wide_type, &sample, layout.encoding, buffer.data(), &length))
            << layout.name;
        EXPECT_EQ(hex(buffer.data(), length), layout.expected) << layout.name;

        unsigned int max_size = 0;
        ASSERT_TRUE(DDS_TypeCode_get_serialized_max_size(&wide_type, layout.encoding, &max_size));
        EXPECT_EQ(max_size, expected.size()) << layout.name;

        // One byte short of room is refused.
        length = static_cast<unsigned int>(expected.size() - 1);
        EXPECT_FALSE(
            DDS_TypeCode_serialize(&wide_type, &sample, layout.encoding, buffer.data(), &length))
            << layout.name;
    }
}

TEST(TypeSerializer, ReadsBackEveryEncodingAndRefusesEveryPrefix) {
    for (const Layout& layout : layouts) {
        if (!layout.encoding.encapsulation_header) {
            continue;  // only encapsulated samples are read
        }
        std::vector<char> serialized = bytes(layout.expected);
        bool key_only = layout.encoding.key_only;
        Wide read = {7, 7, 7, 7};
        ASSERT_TRUE(DDS_TypeCode_deserialize(&wide_type, &read, serialized.data(),
                                             static_cast<unsigned int>(serialized.size()),
                                             key_only))
            << layout.name;
        EXPECT_EQ(read.k1, 2) << layout.name;
        EXPECT_EQ(read.k2, 0x01020304) << layout.name;
        EXPECT_EQ(read.a, key_only ? 7 : 1) << layout.name;
        EXPECT_EQ(read.b, key_only ? 7 : -3) << layout.name;

        for (size_t length = 0; length < serialized.size(); ++length) {
            // A copy of exactly that length, so that ASan sees any read beyond it.
            std::vector<char> prefix(serialized.begin(), serialized.begin() + length);
            Wide untouched = {7, 7, 7, 7};
            EXPECT_FALSE(DDS_TypeCode_deserialize(&wide_type, &untouched, prefix.data(),
                                                  static_cast<unsigned int>(length), key_only))
                << layout.name << ", " << length << " bytes";
            EXPECT_EQ(untouched.a, 7);
            EXPECT_EQ(untouched.k2, 7);
        }
    }
}

TEST(TypeSerializer, RefusesMalformedHeadersAndBodies) {
    struct Case {
        const char* name;
        const char* serialized;
    } cases[] = {
        {"parameter list, XCDR1", "00 03 00 00 01 00 00 00 02 00 00 00 fd ff ff ff 04 03 02 01"},
        {"parameter list, XCDR2", "00 0b 00 00 01 00 00 00 02 00 00 00 fd ff ff ff 04 03 02 01"},
        {"XML", "00 04 00 00 01 00 00 00 02 00 00 00 fd ff ff ff 04 03 02 01"},
        {"non-zero first byte", "01 01 00 00 01 00 00 00 02 00 00 00 fd ff ff ff 04 03 02 01"},
        {"unknown identifier", "ff ff 00 00 01 00 00 00 02 00 00 00 fd ff ff ff 04 03 02 01"},
        {"DHEADER beyond the buffer",
         "00 09 00 00 14 00 00 00 01 00 00 00 02 00 00 00 fd ff ff ff 04 03 02 01"},
        {"DHEADER too short for the members",
         "00 09 00 00 0c 00 00 00 01 00 00 00 02 00 00 00 fd ff ff ff 04 03 02 01"},
        {"DHEADER of all ones",
         "00 08 00 00 ff ff ff ff 00 00 00 01 00 00 00 02 ff ff ff fd 01 02 03 04"},
    };
    for (const Case& c : cases) {
        std::vector<char> serialized = bytes(c.serialized);
        Wide read = {7, 7, 7, 7};
        EXPECT_FALSE(DDS_TypeCode_deserialize(&wide_type, &read, serialized.data(),
                                              static_cast<unsigned int>(serialized.size()), false))
            << c.name;
        EXPECT_EQ(read.a, 7) << c.name;
    }
}

TEST(TypeSerializer, AcceptsFinalXcdr2AndLongerBodies) {
    struct Case {
        const char* name;
        const char* serialized;
    } cases[] = {
        {"PLAIN_CDR2 without DHEADER",
         "00 07 00 00 01 00 00 00 02 00 00 00 fd ff ff ff 04 03 02 01"},
        {"appended member skipped",
         "00 08 00 00 00 00 00 14 00 00 00 01 00 00 00 02 ff ff ff fd 01 02 03 04 00 00 00 09"},
        {"XCDR1 trailing padding",
         "00 01 00 03 01 00 00 00 02 00 00 00 fd ff ff ff 04 03 02 01 00"},
    };
    for (const Case& c : cases) {
        std::vector<char> serialized = bytes(c.serialized);
        Wide read = {};
        ASSERT_TRUE(DDS_TypeCode_deserialize(&wide_type, &read, serialized.data(),
                                             static_cast<unsigned int>(serialized.size()), false))
            << c.name;
        EXPECT_EQ(read.a, 1) << c.name;
        EXPECT_EQ(read.k1, 2) << c.name;
        EXPECT_EQ(read.b, -3) << c.name;
        EXPECT_EQ(read.k2, 0x01020304) << c.name;
    }
}

TEST(TypeSerializer, SurvivesRandomBuffers) {
    std::mt19937 random(20261121);
    const uint16_t identifiers[] = {0x0000, 0x0001, 0x0006, 0x0007, 0x0008, 0x0009};
    int accepted = 0;
    for (int round = 0; round < 5000; ++round) {
        std::vector<char> buffer(random() % 40);
        for (char& byte : buffer) {
            byte = static_cast<char>(random());
        }
        // Half of them start with an identifier that is read, to get past the header.
        if (buffer.size() >= 2 && round % 2 == 0) {
            uint16_t id = identifiers[random() % 6];
            buffer[0] = static_cast<char>(id >> 8);
            buffer[1] = static_cast<char>(id);
        }
        Wide read = {};
        bool key_only = round % 3 == 0;
        accepted += DDS_TypeCode_deserialize(&wide_type, &read, buffer.data(),
                                             static_cast<unsigned int>(buffer.size()), key_only);
    }
    EXPECT_GT(accepted, 0) << "some random bodies are well-formed";
}

TEST(TypeSerializer, RefusesMalformedDescriptionsAndArguments) {
    const uint32_t beyond_offsets[] = {0, 4, 8, 13};
    const DDS_SampleAccessInfo beyond_access = {sizeof(Wide), beyond_offsets};
    const DDS_TypeCode beyond = {DDS_TK_STRUCT, "Beyond", 4, wide_members, &beyond_access, nullptr};
    const DDS_TypeCode not_struct = {DDS_TK_LONG,  "NotStruct",  4,
                                     wide_members, &wide_access, nullptr};
    const DDS_TypeCode no_access = {DDS_TK_STRUCT, "NoAccess", 4, wide_members, nullptr, nullptr};
    const DDS_TypeCode* types[] = {nullptr, &beyond, &not_struct, &no_access};
    for (const DDS_TypeCode* type : types) {
        unsigned int size = 0;
        EXPECT_FALSE(
            DDS_TypeCode_serialize(type, &sample, DDS_CDR_ENCODING_DEFAULT, nullptr, &size));
        EXPECT_FALSE(DDS_TypeCode_get_serialized_max_size(type, DDS_CDR_ENCODING_DEFAULT, &size));
        DDS_KeyHash_t hash;
        EXPECT_FALSE(DDS_TypeCode_get_keyhash(type, &sample, &hash));
    }
    unsigned int size = 0;
    DDS_CdrEncoding xml = {DDS_XML_DATA_REPRESENTATION, DDS_CDR_NATIVE_BYTE_ORDER, false, true};
    EXPECT_FALSE(DDS_TypeCode_serialize(&wide_type, &sample, xml, nullptr, &size));
    EXPECT_FALSE(
        DDS_TypeCode_serialize(&wide_type, nullptr, DDS_CDR_ENCODING_DEFAULT, nullptr, &size));
    Wide read;
    EXPECT_FALSE(DDS_TypeCode_deserialize(&wide_type, &read, nullptr, 20, false));
}

TEST(TypeSerializer, SizeCounterReportsOverflowPastTheLimit) {
    qordds::SerializedSizeCounter fits;
    fits.add(4, 4, DDS_SERIALIZED_SIZE_MAX / 4);
    EXPECT_FALSE(fits.overflowed());
    EXPECT_EQ(fits.size(), DDS_SERIALIZED_SIZE_MAX / 4 * 4);

    qordds::SerializedSizeCounter one_more = fits;
    one_more.add(4, 4);
    EXPECT_TRUE(one_more.overflowed());

    qordds::SerializedSizeCounter aligned;
    aligned.add(1, 1);
    aligned.add(4, 4);
    EXPECT_EQ(aligned.size(), 8u) << "a 4-byte field after 1 byte starts at offset 4";
    aligned.add(4, 4, UINT64_MAX / 2);
    EXPECT_TRUE(aligned.overflowed()) << "a huge count does not wrap around";
}

TEST(KeyHash, PadsShortKeysAndDigestsLongOnes) {
    DDS_KeyHash_t hash;
    ASSERT_TRUE(DDS_TypeCode_get_keyhash(&wide_type, &sample, &hash));
    EXPECT_EQ(hex(reinterpret_cast<const char*>(hash.value), 16),
              "00 00 00 02 01 02 03 04 00 00 00 00 00 00 00 00");
    unsigned int size = 0;
    ASSERT_TRUE(DDS_TypeCode_get_keyhash_max_size(&wide_type, &size));
    EXPECT_EQ(size, 8u);

    const LongKey long_key = {{1, 2, 3, 4, -5}};
    ASSERT_TRUE(DDS_TypeCode_get_keyhash_max_size(&long_key_type, &size));
    EXPECT_EQ(size, 20u);
    ASSERT_TRUE(DDS_TypeCode_get_keyhash(&long_key_type, &long_key, &hash));
    // MD5 of 00000001 00000002 00000003 00000004 fffffffb.
    EXPECT_EQ(hex(reinterpret_cast<const char*>(hash.value), 16),
              "87 2d b6 57 84 03 94 10 7d 3d d8 dc 12 12 22 25");

    const DDS_TypeCodeMember unkeyed_members[] = {{"n", DDS_TK_LONG, 0, false, 0}};
    const uint32_t unkeyed_offsets[] = {0};
    const DDS_SampleAccessInfo unkeyed_access = {4, unkeyed_offsets};
    const DDS_TypeCode unkeyed = {DDS_TK_STRUCT,   "Unkeyed",       1,
                                  unkeyed_members, &unkeyed_access, nullptr};
    int32_t n = 1;
    EXPECT_FALSE(DDS_TypeCode_get_keyhash(&unkeyed, &n, &hash));
}

TEST(KeyHash, Md5MatchesTheReferenceVectors) {
    struct Case {
        const char* text;
        const char* digest;
    } cases[] = {
        {"", "d4 1d 8c d9 8f 00 b2 04 e9 80 09 98 ec f8 42 7e"},
        {"abc", "90 01 50 98 3c d2 4f b0 d6 96 3f 7d 28 e1 7f 72"},
    };
    for (const Case& c : cases) {
        unsigned char digest[16];
        qordds::md5_digest(reinterpret_cast<const unsigned char*>(c.text),
                           static_cast<unsigned int>(std::strlen(c.text)), digest);
        EXPECT_EQ(hex(reinterpret_cast<const char*>(digest), 16), c.digest) << c.text;
    }
}

TEST(DynamicData, FormatsLoadedSamplesInEveryFormat) {
    std::vector<char> serialized = bytes(layouts[4].expected);  // XCDR2 big-endian
    DDSDynamicData data(&wide_type);
    ASSERT_EQ(data.from_cdr_buffer(serialized.data(), static_cast<unsigned int>(serialized.size())),
              DDS_RETCODE_OK);
    struct Case {
        DDS_PrintFormatProperty format;
        const char* text;
    } cases[] = {
        {{DDS_DEFAULT_PRINT_FORMAT, false}, "a: 1\nk1: 2\nb: -3\nk2: 16909060\n"},
        {{DDS_XML_PRINT_FORMAT, false},
         "<Wide><a>1</a><k1>2</k1><b>-3</b><k2>16909060</k2></Wide>"},
        {{DDS_XML_PRINT_FORMAT, true},
         "<Wide>\n    <a>1</a>\n    <k1>2</k1>\n    <b>-3</b>\n    <k2>16909060</k2>\n</Wide>\n"},
        {{DDS_JSON_PRINT_FORMAT, false}, "{\"a\":1,\"k1\":2,\"b\":-3,\"k2\":16909060}"},
        {{DDS_JSON_PRINT_FORMAT, true},
         "{\n    \"a\": 1,\n    \"k1\": 2,\n    \"b\": -3,\n    \"k2\": 16909060\n}\n"},
    };
    for (const Case& c : cases) {
        unsigned int needed = 0;
        ASSERT_EQ(data.to_string(nullptr, &needed, c.format), DDS_RETCODE_OK);
        EXPECT_EQ(needed, std::strlen(c.text) + 1);
        std::vector<char> text(needed);
        unsigned int short_length = needed - 1;
        EXPECT_EQ(data.to_string(text.data(), &short_length, c.format),
                  DDS_RETCODE_OUT_OF_RESOURCES);
        EXPECT_EQ(short_length, needed);
        unsigned int length = needed;
        ASSERT_EQ(data.to_string(text.data(), &length, c.format), DDS_RETCODE_OK);
        EXPECT_STREQ(text.data(), c.text);
    }
}

TEST(DynamicData, StartsAtDefaultsAndRefusesBadBuffers) {
    DDSDynamicData data(&wide_type);
    char text[64];
    unsigned int length = sizeof text;
    ASSERT_EQ(data.to_string(text, &length, DDS_PRINT_FORMAT_PROPERTY_DEFAULT), DDS_RETCODE_OK);
    EXPECT_STREQ(text, "a: 0\nk1: 0\nb: 5\nk2: 0\n");

    std::vector<char> truncated = bytes("00 01 00 00 01 00 00 00");
    EXPECT_EQ(data.from_cdr_buffer(truncated.data(), static_cast<unsigned int>(truncated.size())),
              DDS_RETCODE_ERROR);
    EXPECT_EQ(data.from_cdr_buffer(nullptr, 0), DDS_RETCODE_BAD_PARAMETER);
    DDSDynamicData nothing(nullptr);
    EXPECT_EQ(nothing.to_string(text, &length, DDS_PRINT_FORMAT_PROPERTY_DEFAULT),
              DDS_RETCODE_BAD_PARAMETER);
}

TEST(DynamicData, IntegerFieldPrinterIndents) {
    testing::internal::CaptureStdout();
    DDS_PrintUtil_print_long(-7, "number", 2);
    DDS_PrintUtil_print_indent(1);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "        number: -7\n    ");
}

}  // namespace
