// The ping sample types: serialized form, key hash, printing, sizes and their Fast DDS type.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <fastdds/rtps/common/SerializedPayload.h>

#include "kestping/pingData.h"
#include "kestping/pingDataPlugin.h"
#include "tests/unit/dds/hex_bytes.h"
#include "tests/unit/support/test_io.h"
#include "types/topic_data_type_adapter.h"

namespace {

const KestKeyedPingData keyedSample = {1, 7};
const KestPingData plainSample = {7};

TEST(PingSerializedForm, EveryRepresentationAndByteOrder) {
    const DDS_DataRepresentationId_t xcdr1 = DDS_XCDR_DATA_REPRESENTATION;
    const DDS_DataRepresentationId_t xcdr2 = DDS_XCDR2_DATA_REPRESENTATION;
    const DDS_CdrByteOrder le = DDS_CDR_LITTLE_ENDIAN, be = DDS_CDR_BIG_ENDIAN;
    const struct {
        bool keyed;
        DDS_CdrEncoding encoding;
        const char* expected;
    } forms[] = {
        {true, {xcdr1, le, false, true}, "00 01 00 00 01 00 00 00 07 00 00 00"},
        {true, {xcdr1, be, false, true}, "00 00 00 00 00 00 00 01 00 00 00 07"},
        {true, {xcdr2, le, false, true}, "00 09 00 00 08 00 00 00 01 00 00 00 07 00 00 00"},
        {true, {xcdr2, be, false, true}, "00 08 00 00 00 00 00 08 00 00 00 01 00 00 00 07"},
        {false, {xcdr1, le, false, true}, "00 01 00 00 07 00 00 00"},
        {false, {xcdr1, be, false, true}, "00 00 00 00 00 00 00 07"},
        {false, {xcdr2, le, false, true}, "00 09 00 00 04 00 00 00 07 00 00 00"},
        {false, {xcdr2, be, false, true}, "00 08 00 00 00 00 00 04 00 00 00 07"},
    };
    for (const auto& form : forms) {
        char buffer[32];
        unsigned int length = sizeof buffer;
        ASSERT_TRUE(form.keyed
                        ? DDS_TypeCode_serialize(KestKeyedPingData_get_typecode(), &keyedSample,
                                                 form.encoding, buffer, &length)
                        : DDS_TypeCode_serialize(KestPingData_get_typecode(), &plainSample,
                                                 form.encoding, buffer, &length));
        EXPECT_EQ(hexOf(buffer, length), form.expected);
    }
}

// The plugins' own choice: AUTO is little-endian XCDR1; a short payload is refused. (Round
// trips of every layout are the generic serializer's, see TypeSerializer.)
TEST(PingSerializedForm, PluginsWriteAutoAsLittleEndianXcdr1) {
    char buffer[32];
    unsigned int length = sizeof buffer;
    ASSERT_TRUE(KestKeyedPingDataPlugin_serialize_to_cdr_buffer(buffer, &length, &keyedSample));
    EXPECT_EQ(hexOf(buffer, length), "00 01 00 00 01 00 00 00 07 00 00 00");
    KestKeyedPingData read = {5, 5};
    EXPECT_FALSE(KestKeyedPingDataPlugin_deserialize_from_cdr_buffer(&read, buffer, length - 1));
    EXPECT_EQ(read.key + read.number, 10);
    ASSERT_TRUE(KestKeyedPingDataPlugin_deserialize_from_cdr_buffer(&read, buffer, length));
    EXPECT_EQ(read.key, 1);
    EXPECT_EQ(read.number, 7);
}

// From a sample, or from a serialized key as a key-only message carries it.
TEST(PingKeyHash, BigEndianKeyThenZeros) {
    const struct {
        int32_t key;
        const char* payload;
        const char* hash;
    } cases[] = {
        {1, nullptr, "00 00 00 01 00 00 00 00 00 00 00 00 00 00 00 00"},
        {-1, nullptr, "ff ff ff ff 00 00 00 00 00 00 00 00 00 00 00 00"},
        {0, "00 01 00 00 01 00 00 00", "00 00 00 01 00 00 00 00 00 00 00 00 00 00 00 00"},
        {0, "00 00 00 00 ff ff ff ff", "ff ff ff ff 00 00 00 00 00 00 00 00 00 00 00 00"},
        {0, "00 09 00 00 04 00 00 00 02 00 00 00",
         "00 00 00 02 00 00 00 00 00 00 00 00 00 00 00 00"},
        {0, "00 01 00 00 01 00 00", nullptr},
        {0, "00 03 00 00 01 00 00 00", nullptr},
    };
    for (const auto& c : cases) {
        DDS_KeyHash_t hash;
        KestKeyedPingData sample = {c.key, 99};
        std::vector<char> payload = bytesOf(c.payload != nullptr ? c.payload : "");
        bool made = c.payload == nullptr
                        ? KestKeyedPingDataPlugin_instance_to_keyhash(&hash, &sample)
                        : KestKeyedPingDataPlugin_serialized_sample_to_keyhash(
                              &hash, payload.data(), static_cast<unsigned int>(payload.size()));
        SCOPED_TRACE(c.payload != nullptr ? c.payload : std::to_string(c.key));
        ASSERT_EQ(made, c.hash != nullptr);
        EXPECT_EQ(hexOf(hash.value, made ? 16 : 0), made ? c.hash : "");
    }
}

TEST(PingPrinting, PrintDataAndDataToString) {
    EXPECT_EQ(qortest::captureStdout(
                  [] { KestKeyedPingDataPluginSupport_print_data(nullptr, "sample", 0); }),
              "sample:\nNULL\n");
    EXPECT_EQ(qortest::captureStdout(
                  [] { KestKeyedPingDataPluginSupport_print_data(&keyedSample, "sample", 1); }),
              "    sample:\n        key: 1\n        number: 7\n");
    EXPECT_EQ(qortest::captureStdout(
                  [] { KestPingDataPluginSupport_print_data(&plainSample, nullptr, 0); }),
              "\n    number: 7\n");
    char text[128];
    unsigned int length = sizeof text;
    ASSERT_EQ(KestKeyedPingDataPlugin_data_to_string(&keyedSample, text, &length,
                                                     &DDS_PRINT_FORMAT_PROPERTY_DEFAULT),
              DDS_RETCODE_OK);
    EXPECT_STREQ(text, "key: 1\nnumber: 7\n");
    EXPECT_EQ(KestPingDataPlugin_data_to_string(nullptr, text, &length,
                                                &DDS_PRINT_FORMAT_PROPERTY_DEFAULT),
              DDS_RETCODE_BAD_PARAMETER);
}

// The plugins' maximum sizes, and the Fast DDS type made from a plugin record: room for either
// XCDR version, the wire form, short payloads refused.
TEST(PingSizesAndFastDdsType, GoThroughThePlugin) {
    const DDS_DataRepresentationId_t xcdr1 = DDS_XCDR_DATA_REPRESENTATION;
    EXPECT_EQ(KestPingDataPlugin_get_serialized_sample_max_size(false, xcdr1), 4u);
    EXPECT_EQ(KestKeyedPingDataPlugin_get_serialized_sample_max_size(false, xcdr1), 8u);
    EXPECT_EQ(KestPingDataPlugin_get_serialized_sample_max_size(true, xcdr1), 8u);
    EXPECT_EQ(KestKeyedPingDataPlugin_get_serialized_key_max_size(false, xcdr1), 4u);
    EXPECT_EQ(KestPingDataPlugin_get_serialized_key_max_size(false, xcdr1), 0u);
    EXPECT_EQ(KestKeyedPingDataPlugin_get_serialized_key_max_size_for_keyhash(), 4u);
    EXPECT_EQ(
        KestKeyedPingDataPlugin_get_serialized_sample_max_size(true, DDS_XML_DATA_REPRESENTATION),
        2147482623u)
        << "the overflow answer";
    using eprosima::fastrtps::rtps::SerializedPayload_t;
    qordds::TopicDataTypeAdapter keyed("PingType", *KestKeyedPingData_get_type_plugin_info());
    qordds::TopicDataTypeAdapter plain("PingType", *KestPingData_get_type_plugin_info());
    EXPECT_EQ(keyed.m_typeSize, 16u);
    EXPECT_EQ(plain.m_typeSize, 12u);
    KestKeyedPingData sample = {-1, 7}, read = {5, 5};
    EXPECT_EQ(keyed.getSerializedSizeProvider(&sample)(), 12u);
    SerializedPayload_t payload(keyed.m_typeSize);
    ASSERT_TRUE(keyed.serialize(&sample, &payload));
    EXPECT_EQ(hexOf(payload.data, payload.length), "00 01 00 00 ff ff ff ff 07 00 00 00");
    EXPECT_EQ(payload.encapsulation, CDR_LE);
    payload.length = 11;
    EXPECT_FALSE(keyed.deserialize(&payload, &read));
    payload.length = 12;
    ASSERT_TRUE(keyed.deserialize(&payload, &read));
    EXPECT_EQ(read.key, -1);
    SerializedPayload_t small(4);
    EXPECT_FALSE(plain.serialize(const_cast<KestPingData*>(&plainSample), &small));
}

}  // namespace
