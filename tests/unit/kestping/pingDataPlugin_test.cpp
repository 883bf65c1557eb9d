// The ping sample types: descriptions, plain-data operations, serialized form, sizes, key
// hash, printing, and the Fast DDS type made from their plugin records.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <functional>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include <fastdds/rtps/common/InstanceHandle.h>
#include <fastdds/rtps/common/SerializedPayload.h>

#include "dds/logger.h"
#include "dds/src/topic_data_type_adapter.h"
#include "kestping/pingData.h"
#include "kestping/pingDataPlugin.h"

namespace {

std::vector<char> bytes(const char* hex) {
    std::vector<char> result;
    std::istringstream in(hex);
    unsigned int byte;
    while (in >> std::hex >> byte) {
        result.push_back(static_cast<char>(byte));
    }
    return result;
}

std::string hex(const void* data, size_t length) {
    std::string text;
    char digits[4];
    for (size_t i = 0; i < length; ++i) {
        std::snprintf(digits, sizeof digits, "%s%02x", i == 0 ? "" : " ",
                      static_cast<const unsigned char*>(data)[i]);
        text += digits;
    }
    return text;
}

std::string logged_by(const std::function<void()>& operation) {
    DDSLogger::get_instance()->set_verbosity(DDS_LOG_VERBOSITY_FATAL | DDS_LOG_VERBOSITY_ERROR);
    testing::internal::CaptureStdout();
    operation();
    return testing::internal::GetCapturedStdout();
}

std::string printed_by(const std::function<void()>& operation) {
    testing::internal::CaptureStdout();
    operation();
    return testing::internal::GetCapturedStdout();
}

const KestKeyedPingData keyed_sample = {1, 7};
const KestPingData plain_sample = {7};

struct Form {
    const char* name;
    bool keyed;
    DDS_DataRepresentationId_t representation;
    DDS_CdrByteOrder byte_order;
    const char* expected;
};

const Form forms[] = {
    {"keyed XCDR1 LE", true, DDS_XCDR_DATA_REPRESENTATION, DDS_CDR_LITTLE_ENDIAN,
     "00 01 00 00 01 00 00 00 07 00 00 00"},
    {"keyed XCDR1 BE", true, DDS_XCDR_DATA_REPRESENTATION, DDS_CDR_BIG_ENDIAN,
     "00 00 00 00 00 00 00 01 00 00 00 07"},
    {"keyed XCDR2 LE", true, DDS_XCDR2_DATA_REPRESENTATION, DDS_CDR_LITTLE_ENDIAN,
     "00 09 00 00 08 00 00 00 01 00 00 00 07 00 00 00"},
    {"keyed XCDR2 BE", true, DDS_XCDR2_DATA_REPRESENTATION, DDS_CDR_BIG_ENDIAN,
     "00 08 00 00 00 00 00 08 00 00 00 01 00 00 00 07"},
    {"plain XCDR1 LE", false, DDS_XCDR_DATA_REPRESENTATION, DDS_CDR_LITTLE_ENDIAN,
     "00 01 00 00 07 00 00 00"},
    {"plain XCDR1 BE", false, DDS_XCDR_DATA_REPRESENTATION, DDS_CDR_BIG_ENDIAN,
     "00 00 00 00 00 00 00 07"},
    {"plain XCDR2 LE", false, DDS_XCDR2_DATA_REPRESENTATION, DDS_CDR_LITTLE_ENDIAN,
     "00 09 00 00 04 00 00 00 07 00 00 00"},
    {"plain XCDR2 BE", false, DDS_XCDR2_DATA_REPRESENTATION, DDS_CDR_BIG_ENDIAN,
     "00 08 00 00 00 00 00 04 00 00 00 07"},
};

TEST(PingSerializedForm, EveryRepresentationAndByteOrder) {
    for (const Form& form : forms) {
        const DDS_TypeCode* type =
            form.keyed ? KestKeyedPingData_get_typecode() : KestPingData_get_typecode();
        const void* sample = form.keyed ? static_cast<const void*>(&keyed_sample) : &plain_sample;
        DDS_CdrEncoding encoding = {form.representation, form.byte_order, false, true};
        char buffer[32];
        unsigned int length = sizeof buffer;
        ASSERT_TRUE(DDS_TypeCode_serialize(type, sample, encoding, buffer, &length)) << form.name;
        EXPECT_EQ(hex(buffer, length), form.expected) << form.name;
    }
}

TEST(PingSerializedForm, PluginsWriteNativeLittleEndianAndReadEveryForm) {
    char buffer[32];
    unsigned int length = 0;
    ASSERT_TRUE(KestKeyedPingDataPlugin_serialize_to_cdr_buffer(nullptr, &length, &keyed_sample));
    EXPECT_EQ(length, 12u);
    length = sizeof buffer;
    ASSERT_TRUE(KestKeyedPingDataPlugin_serialize_to_cdr_buffer(buffer, &length, &keyed_sample));
    EXPECT_EQ(hex(buffer, length), "00 01 00 00 01 00 00 00 07 00 00 00");
    length = sizeof buffer;
    ASSERT_TRUE(KestPingDataPlugin_serialize_to_cdr_buffer_ex(buffer, &length, &plain_sample,
                                                              DDS_XCDR2_DATA_REPRESENTATION));
    EXPECT_EQ(hex(buffer, length), "00 09 00 00 04 00 00 00 07 00 00 00");

    for (const Form& form : forms) {
        std::vector<char> serialized = bytes(form.expected);
        unsigned int size = static_cast<unsigned int>(serialized.size());
        if (form.keyed) {
            KestKeyedPingData read = {};
            ASSERT_TRUE(
                KestKeyedPingDataPlugin_deserialize_from_cdr_buffer(&read, serialized.data(), size))
                << form.name;
            EXPECT_EQ(read.key, 1) << form.name;
            EXPECT_EQ(read.number, 7) << form.name;
        } else {
            KestPingData read = {};
            ASSERT_TRUE(
                KestPingDataPlugin_deserialize_from_cdr_buffer(&read, serialized.data(), size))
                << form.name;
            EXPECT_EQ(read.number, 7) << form.name;
        }
    }
}

TEST(PingSerializedForm, RoundTripsExtremeValues) {
    const int32_t values[] = {0, 1, -1, INT32_MIN, INT32_MAX, 0x12345678};
    const DDS_DataRepresentationId_t representations[] = {
        DDS_AUTO_DATA_REPRESENTATION, DDS_XCDR_DATA_REPRESENTATION, DDS_XCDR2_DATA_REPRESENTATION};
    for (int32_t value : values) {
        for (DDS_DataRepresentationId_t representation : representations) {
            KestKeyedPingData keyed = {value, ~value};
            char buffer[32];
            unsigned int length = sizeof buffer;
            ASSERT_TRUE(KestKeyedPingDataPlugin_serialize_to_cdr_buffer_ex(buffer, &length, &keyed,
                                                                           representation));
            KestKeyedPingData keyed_read = {};
            ASSERT_TRUE(
                KestKeyedPingDataPlugin_deserialize_from_cdr_buffer(&keyed_read, buffer, length));
            EXPECT_EQ(keyed_read.key, value);
            EXPECT_EQ(keyed_read.number, ~value);

            KestPingData plain = {value};
            length = sizeof buffer;
            ASSERT_TRUE(KestPingDataPlugin_serialize_to_cdr_buffer_ex(buffer, &length, &plain,
                                                                      representation));
            KestPingData plain_read = {};
            ASSERT_TRUE(
                KestPingDataPlugin_deserialize_from_cdr_buffer(&plain_read, buffer, length));
            EXPECT_EQ(plain_read.number, value);
        }
    }
}

TEST(PingSerializedForm, RefusesEveryPrefixAndGarbage) {
    for (const Form& form : forms) {
        std::vector<char> serialized = bytes(form.expected);
        for (size_t length = 0; length < serialized.size(); ++length) {
            std::vector<char> prefix(serialized.begin(), serialized.begin() + length);
            KestKeyedPingData keyed = {5, 5};
            KestPingData plain = {5};
            bool read = form.keyed ? KestKeyedPingDataPlugin_deserialize_from_cdr_buffer(
                                         &keyed, prefix.data(), static_cast<unsigned int>(length))
                                   : KestPingDataPlugin_deserialize_from_cdr_buffer(
                                         &plain, prefix.data(), static_cast<unsigned int>(length));
            EXPECT_FALSE(read) << form.name << ", " << length << " bytes";
            EXPECT_EQ(keyed.key, 5);
            EXPECT_EQ(keyed.number, 5);
            EXPECT_EQ(plain.number, 5);
        }
    }
    std::mt19937 random(4);
    for (int round = 0; round < 4000; ++round) {
        std::vector<char> garbage(random() % 24);
        for (char& byte : garbage) {
            byte = static_cast<char>(random());
        }
        if (garbage.size() >= 2 && round % 2 == 0) {
            garbage[0] = 0;
            garbage[1] = static_cast<char>(random() % 12);
        }
        KestKeyedPingData keyed;
        KestPingData plain;
        KestKeyedPingDataPlugin_deserialize_from_cdr_buffer(
            &keyed, garbage.data(), static_cast<unsigned int>(garbage.size()));
        KestPingDataPlugin_deserialize_from_cdr_buffer(&plain, garbage.data(),
                                                       static_cast<unsigned int>(garbage.size()));
        DDS_KeyHash_t hash;
        KestKeyedPingDataPlugin_serialized_sample_to_keyhash(
            &hash, garbage.data(), static_cast<unsigned int>(garbage.size()));
    }
}

TEST(PingSizes, MaximumSizesOfEveryKind) {
    struct Case {
        const char* name;
        unsigned int size;
        unsigned int expected;
    } cases[] = {
        {"plain sample",
         KestPingDataPlugin_get_serialized_sample_max_size(false, DDS_XCDR_DATA_REPRESENTATION), 4},
        {"keyed sample",
         KestKeyedPingDataPlugin_get_serialized_sample_max_size(false,
                                                                DDS_XCDR_DATA_REPRESENTATION),
         8},
        {"plain sample with header",
         KestPingDataPlugin_get_serialized_sample_max_size(true, DDS_XCDR_DATA_REPRESENTATION), 8},
        {"keyed sample with header",
         KestKeyedPingDataPlugin_get_serialized_sample_max_size(true, DDS_XCDR_DATA_REPRESENTATION),
         12},
        {"keyed sample, AUTO",
         KestKeyedPingDataPlugin_get_serialized_sample_max_size(true, DDS_AUTO_DATA_REPRESENTATION),
         12},
        {"keyed sample, XCDR2 with header",
         KestKeyedPingDataPlugin_get_serialized_sample_max_size(true,
                                                                DDS_XCDR2_DATA_REPRESENTATION),
         16},
        {"keyed key",
         KestKeyedPingDataPlugin_get_serialized_key_max_size(false, DDS_XCDR_DATA_REPRESENTATION),
         4},
        {"keyed key with header",
         KestKeyedPingDataPlugin_get_serialized_key_max_size(true, DDS_XCDR_DATA_REPRESENTATION),
         8},
        {"plain key",
         KestPingDataPlugin_get_serialized_key_max_size(false, DDS_XCDR_DATA_REPRESENTATION), 0},
        {"keyed key for the key hash",
         KestKeyedPingDataPlugin_get_serialized_key_max_size_for_keyhash(), 4},
        {"plain key for the key hash", KestPingDataPlugin_get_serialized_key_max_size_for_keyhash(),
         0},
        {"unknown representation",
         KestKeyedPingDataPlugin_get_serialized_sample_max_size(true, DDS_XML_DATA_REPRESENTATION),
         KEST_PING_SERIALIZED_SIZE_OVERFLOW},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(c.size, c.expected) << c.name;
    }
    EXPECT_EQ(KEST_PING_SERIALIZED_SIZE_OVERFLOW, 2147482623u);
}

TEST(PingKeyHash, BigEndianKeyThenZeros) {
    struct Case {
        int32_t key;
        const char* hash;
    } cases[] = {
        {1, "00 00 00 01 00 00 00 00 00 00 00 00 00 00 00 00"},
        {-1, "ff ff ff ff 00 00 00 00 00 00 00 00 00 00 00 00"},
        {0x7f80a1b2, "7f 80 a1 b2 00 00 00 00 00 00 00 00 00 00 00 00"},
    };
    for (const Case& c : cases) {
        KestKeyedPingData sample = {c.key, 99};
        DDS_KeyHash_t hash;
        ASSERT_TRUE(KestKeyedPingDataPlugin_instance_to_keyhash(&hash, &sample));
        EXPECT_EQ(hex(hash.value, 16), c.hash) << c.key;
    }
}

TEST(PingKeyHash, FromKeyOnlyPayloads) {
    struct Case {
        const char* payload;
        bool ok;
        const char* hash;
    } cases[] = {
        {"00 01 00 00 01 00 00 00", true, "00 00 00 01 00 00 00 00 00 00 00 00 00 00 00 00"},
        {"00 00 00 00 ff ff ff ff", true, "ff ff ff ff 00 00 00 00 00 00 00 00 00 00 00 00"},
        {"00 09 00 00 04 00 00 00 02 00 00 00", true,
         "00 00 00 02 00 00 00 00 00 00 00 00 00 00 00 00"},
        {"00 01 00 00 01 00 00", false, ""},
        {"00 03 00 00 01 00 00 00", false, ""},
    };
    for (const Case& c : cases) {
        std::vector<char> payload = bytes(c.payload);
        DDS_KeyHash_t hash;
        EXPECT_EQ(KestKeyedPingDataPlugin_serialized_sample_to_keyhash(
                      &hash, payload.data(), static_cast<unsigned int>(payload.size())),
                  c.ok)
            << c.payload;
        if (c.ok) {
            EXPECT_EQ(hex(hash.value, 16), c.hash) << c.payload;
        }
    }
}

TEST(PingDescriptions, MembersIdsKeysAndTables) {
    const DDS_TypeCode* keyed = KestKeyedPingData_get_typecode();
    ASSERT_EQ(keyed, KestKeyedPingData_get_typecode()) << "the same object on every call";
    EXPECT_EQ(keyed->kind, DDS_TK_STRUCT);
    EXPECT_STREQ(keyed->name, "KestKeyedPingData");
    ASSERT_EQ(keyed->member_count, 2u);
    EXPECT_STREQ(keyed->members[0].name, "key");
    EXPECT_EQ(keyed->members[0].id, 0);
    EXPECT_TRUE(keyed->members[0].is_key);
    EXPECT_STREQ(keyed->members[1].name, "number");
    EXPECT_EQ(keyed->members[1].id, 1);
    EXPECT_FALSE(keyed->members[1].is_key);
    EXPECT_EQ(keyed->access_info, KestKeyedPingData_get_sample_access_info());
    EXPECT_EQ(keyed->access_info->sample_size, sizeof(KestKeyedPingData));
    EXPECT_EQ(keyed->access_info->member_offsets[1], offsetof(KestKeyedPingData, number));
    EXPECT_EQ(keyed->plugin_info, KestKeyedPingData_get_type_plugin_info());
    EXPECT_EQ(keyed->plugin_info->type_code, keyed);
    EXPECT_STREQ(keyed->plugin_info->type_name, KestKeyedPingDataTYPENAME);
    EXPECT_EQ(KestKeyedPingDataPlugin_get_key_kind(), DDS_TYPEPLUGIN_USER_KEY);

    const DDS_TypeCode* plain = KestPingData_get_typecode();
    EXPECT_STREQ(plain->name, "KestPingData");
    ASSERT_EQ(plain->member_count, 1u);
    EXPECT_STREQ(plain->members[0].name, "number");
    EXPECT_EQ(plain->members[0].kind, DDS_TK_LONG);
    EXPECT_FALSE(plain->members[0].is_key);
    EXPECT_EQ(plain->access_info, KestPingData_get_sample_access_info());
    EXPECT_STREQ(plain->plugin_info->type_name, KestPingDataTYPENAME);
    EXPECT_EQ(plain->plugin_info->instance_to_keyhash, nullptr);
    EXPECT_EQ(KestPingDataPlugin_get_key_kind(), DDS_TYPEPLUGIN_NO_KEY);
    EXPECT_STREQ(KestPingDataTYPENAME, "KestPingData");
    EXPECT_STREQ(KestKeyedPingDataTYPENAME, "KestKeyedPingData");
}

TEST(PingPlainData, InitializeCopyAndFinalize) {
    KestKeyedPingData keyed = {3, 4};
    EXPECT_TRUE(KestKeyedPingData_initialize(&keyed));
    EXPECT_EQ(keyed.key, 0);
    EXPECT_EQ(keyed.number, 0);
    keyed = {3, 4};
    EXPECT_TRUE(KestKeyedPingData_initialize_ex(&keyed, true, true));
    EXPECT_EQ(keyed.number, 0);
    EXPECT_FALSE(KestKeyedPingData_initialize_w_params(&keyed, nullptr));
    EXPECT_TRUE(KestKeyedPingData_initialize_w_params(&keyed, &DDS_TYPE_ALLOCATION_PARAMS_DEFAULT));
    EXPECT_FALSE(KestKeyedPingData_initialize(nullptr));
    EXPECT_FALSE(KestPingData_initialize(nullptr));
    EXPECT_FALSE(KestPingData_initialize_ex(nullptr, true, true));

    KestKeyedPingData target = {8, 9};
    EXPECT_FALSE(KestKeyedPingData_copy(&target, nullptr));
    EXPECT_FALSE(KestKeyedPingData_copy(nullptr, &keyed_sample));
    EXPECT_EQ(target.key, 8);
    EXPECT_EQ(target.number, 9);
    EXPECT_TRUE(KestKeyedPingData_copy(&target, &keyed_sample));
    EXPECT_EQ(target.key, 1);
    EXPECT_EQ(target.number, 7);

    KestPingData plain = {8};
    EXPECT_FALSE(KestPingData_copy(&plain, nullptr));
    EXPECT_EQ(plain.number, 8);
    EXPECT_TRUE(KestPingData_copy(&plain, &plain_sample));
    EXPECT_EQ(plain.number, 7);

    // Nothing to release, and a missing sample is accepted.
    KestPingData_finalize(nullptr);
    KestPingData_finalize_ex(nullptr, true);
    KestPingData_finalize_w_params(nullptr, &DDS_TYPE_DEALLOCATION_PARAMS_DEFAULT);
    KestPingData_finalize_optional_members(nullptr, true);
    EXPECT_TRUE(KestPingData_finalize_w_return(nullptr));
    KestKeyedPingData_finalize(&keyed);
    KestKeyedPingData_finalize_ex(&keyed, true);
    KestKeyedPingData_finalize_w_params(&keyed, nullptr);
    KestKeyedPingData_finalize_optional_members(&keyed, false);
    EXPECT_TRUE(KestKeyedPingData_finalize_w_return(&keyed));
}

TEST(PingPluginData, CreateDestroyKeysAndParameters) {
    KestKeyedPingData* keyed = KestKeyedPingDataPluginSupport_create_data();
    ASSERT_NE(keyed, nullptr);
    EXPECT_EQ(keyed->key, 0);
    EXPECT_TRUE(KestKeyedPingDataPluginSupport_copy_data(keyed, &keyed_sample));
    KestKeyedPingDataPluginSupport_destroy_data(keyed);
    KestKeyedPingDataPluginSupport_destroy_data_ex(
        KestKeyedPingDataPluginSupport_create_data_ex(true), true);
    KestPingDataPluginSupport_destroy_data_w_params(
        KestPingDataPluginSupport_create_data_w_params(&DDS_TYPE_ALLOCATION_PARAMS_DEFAULT),
        &DDS_TYPE_DEALLOCATION_PARAMS_DEFAULT);
    KestPingDataPluginSupport_destroy_data(nullptr);

    DDS_TypeAllocationParams_t no_memory = DDS_TYPE_ALLOCATION_PARAMS_DEFAULT;
    no_memory.allocate_memory = false;
    KestPingData* refused = &const_cast<KestPingData&>(plain_sample);
    std::string log =
        logged_by([&] { refused = KestPingDataPluginSupport_create_data_w_params(&no_memory); });
    EXPECT_EQ(refused, nullptr);
    EXPECT_NE(log.find("allocation parameters"), std::string::npos) << log;
    EXPECT_EQ(KestKeyedPingDataPluginSupport_create_data_w_params(nullptr), nullptr);

    KestKeyedPingDataKeyHolder* key = KestKeyedPingDataPlugin_create_key();
    ASSERT_NE(key, nullptr);
    EXPECT_TRUE(KestKeyedPingDataPlugin_instance_to_key(key, &keyed_sample));
    EXPECT_EQ(key->key, 1);
    KestKeyedPingData instance = {0, 42};
    EXPECT_TRUE(KestKeyedPingDataPlugin_key_to_instance(&instance, key));
    EXPECT_EQ(instance.key, 1);
    EXPECT_EQ(instance.number, 42) << "only the key is copied";
    EXPECT_FALSE(KestKeyedPingDataPlugin_instance_to_key(nullptr, &instance));
    EXPECT_FALSE(KestKeyedPingDataPlugin_key_to_instance(&instance, nullptr));
    KestKeyedPingDataPlugin_destroy_key(key);
    KestKeyedPingDataPlugin_destroy_key(KestKeyedPingDataPlugin_create_key_ex(true));

    KestPingData copy = {};
    EXPECT_TRUE(KestPingDataPlugin_copy_sample(&copy, &plain_sample));
    EXPECT_EQ(copy.number, 7);
    EXPECT_FALSE(KestKeyedPingDataPlugin_copy_sample(nullptr, &keyed_sample));

    DDSTypePlugin* plugin = KestKeyedPingDataPlugin_new();
    ASSERT_NE(plugin, nullptr);
    EXPECT_NE(plugin, KestKeyedPingData_get_type_plugin_info()) << "a record of its own";
    EXPECT_STREQ(plugin->type_name, "KestKeyedPingData");
    EXPECT_EQ(plugin->type_support, nullptr);
    EXPECT_EQ(plugin->key_kind, DDS_TYPEPLUGIN_USER_KEY);
    KestKeyedPingDataPlugin_delete(plugin);
    KestPingDataPlugin_delete(KestPingDataPlugin_new());
}

TEST(PingPrinting, PrintDataAndDataToString) {
    EXPECT_EQ(printed_by([] { KestKeyedPingDataPluginSupport_print_data(nullptr, "sample", 0); }),
              "sample:\nNULL\n");
    EXPECT_EQ(
        printed_by([] { KestKeyedPingDataPluginSupport_print_data(&keyed_sample, "sample", 1); }),
        "    sample:\n        key: 1\n        number: 7\n");
    EXPECT_EQ(printed_by([] { KestPingDataPluginSupport_print_data(&plain_sample, nullptr, 0); }),
              "\n    number: 7\n");

    char text[128];
    unsigned int length = sizeof text;
    DDS_PrintFormatProperty json = {DDS_JSON_PRINT_FORMAT, false};
    ASSERT_EQ(KestKeyedPingDataPlugin_data_to_string(&keyed_sample, text, &length, &json),
              DDS_RETCODE_OK);
    EXPECT_STREQ(text, "{\"key\":1,\"number\":7}");
    length = sizeof text;
    ASSERT_EQ(KestPingDataPlugin_data_to_string(&plain_sample, text, &length,
                                                &DDS_PRINT_FORMAT_PROPERTY_DEFAULT),
              DDS_RETCODE_OK);
    EXPECT_STREQ(text, "number: 7\n");
    EXPECT_EQ(KestPingDataPlugin_data_to_string(nullptr, text, &length, &json),
              DDS_RETCODE_BAD_PARAMETER);
    EXPECT_EQ(KestPingDataPlugin_data_to_string(&plain_sample, text, nullptr, &json),
              DDS_RETCODE_BAD_PARAMETER);
    EXPECT_EQ(KestPingDataPlugin_data_to_string(&plain_sample, text, &length, nullptr),
              DDS_RETCODE_BAD_PARAMETER);
}

// The Fast DDS type made from a plugin record goes through the plugin for everything.
TEST(PingFastDdsType, SerializesKeysAndAllocatesThroughThePlugin) {
    qordds::TopicDataTypeAdapter keyed("PingType", *KestKeyedPingData_get_type_plugin_info());
    EXPECT_STREQ(keyed.getName(), "PingType");
    EXPECT_EQ(keyed.m_typeSize, 16u) << "room for the XCDR2 form too";
    EXPECT_TRUE(keyed.m_isGetKeyDefined);
    EXPECT_FALSE(keyed.auto_fill_type_object());
    EXPECT_FALSE(keyed.auto_fill_type_information());

    KestKeyedPingData sample = {-1, 7};
    EXPECT_EQ(keyed.getSerializedSizeProvider(&sample)(), 12u);
    eprosima::fastrtps::rtps::SerializedPayload_t payload(keyed.m_typeSize);
    ASSERT_TRUE(keyed.serialize(&sample, &payload));
    EXPECT_EQ(hex(payload.data, payload.length), "00 01 00 00 ff ff ff ff 07 00 00 00");
    EXPECT_EQ(payload.encapsulation, CDR_LE);

    void* read = keyed.createData();
    ASSERT_NE(read, nullptr);
    ASSERT_TRUE(keyed.deserialize(&payload, read));
    EXPECT_EQ(static_cast<KestKeyedPingData*>(read)->key, -1);
    eprosima::fastrtps::rtps::InstanceHandle_t handle;
    ASSERT_TRUE(keyed.getKey(read, &handle));
    EXPECT_EQ(hex(static_cast<const eprosima::fastrtps::rtps::octet*>(handle.value), 16),
              "ff ff ff ff 00 00 00 00 00 00 00 00 00 00 00 00");
    keyed.deleteData(read);

    payload.length = 7;  // truncated
    KestKeyedPingData untouched = {5, 5};
    EXPECT_FALSE(keyed.deserialize(&payload, &untouched));
    EXPECT_EQ(untouched.key, 5);

    qordds::TopicDataTypeAdapter plain("PingType", *KestPingData_get_type_plugin_info());
    EXPECT_EQ(plain.m_typeSize, 12u);
    EXPECT_FALSE(plain.m_isGetKeyDefined);
    EXPECT_FALSE(plain.getKey(const_cast<KestPingData*>(&plain_sample), &handle));
    eprosima::fastrtps::rtps::SerializedPayload_t small(4);
    EXPECT_FALSE(plain.serialize(const_cast<KestPingData*>(&plain_sample), &small))
        << "a payload without room is refused";
}

}  // namespace
