// The type descriptions, member-access tables and plugin records of the ping types. A
// description carries its plugin record and the record its description, so they are defined
// together here, as constants that exist before any code runs.
#include <cstddef>

#include "kestping/pingData.h"
#include "kestping/pingDataPlugin.h"

namespace {

// The record's functions see samples as untyped pointers; each forwards to the type's plugin.
namespace plain {

void* create_sample() {
    return KestPingDataPluginSupport_create_data();
}
void destroy_sample(void* sample) {
    KestPingDataPluginSupport_destroy_data(static_cast<KestPingData*>(sample));
}
bool copy_sample(void* target, const void* source) {
    return KestPingDataPlugin_copy_sample(static_cast<KestPingData*>(target),
                                          static_cast<const KestPingData*>(source));
}
bool serialize(char* buffer, unsigned int* length, const void* sample,
               DDS_DataRepresentationId_t representation) {
    return KestPingDataPlugin_serialize_to_cdr_buffer_ex(
        buffer, length, static_cast<const KestPingData*>(sample), representation);
}
bool deserialize(void* sample, const char* buffer, unsigned int length) {
    return KestPingDataPlugin_deserialize_from_cdr_buffer(static_cast<KestPingData*>(sample),
                                                          buffer, length);
}
unsigned int sample_max_size(DDS_DataRepresentationId_t representation) {
    return KestPingDataPlugin_get_serialized_sample_max_size(true, representation);
}

}  // namespace plain

namespace keyed {

void* create_sample() {
    return KestKeyedPingDataPluginSupport_create_data();
}
void destroy_sample(void* sample) {
    KestKeyedPingDataPluginSupport_destroy_data(static_cast<KestKeyedPingData*>(sample));
}
bool copy_sample(void* target, const void* source) {
    return KestKeyedPingDataPlugin_copy_sample(static_cast<KestKeyedPingData*>(target),
                                               static_cast<const KestKeyedPingData*>(source));
}
bool serialize(char* buffer, unsigned int* length, const void* sample,
               DDS_DataRepresentationId_t representation) {
    return KestKeyedPingDataPlugin_serialize_to_cdr_buffer_ex(
        buffer, length, static_cast<const KestKeyedPingData*>(sample), representation);
}
bool deserialize(void* sample, const char* buffer, unsigned int length) {
    return KestKeyedPingDataPlugin_deserialize_from_cdr_buffer(
        static_cast<KestKeyedPingData*>(sample), buffer, length);
}
unsigned int sample_max_size(DDS_DataRepresentationId_t representation) {
    return KestKeyedPingDataPlugin_get_serialized_sample_max_size(true, representation);
}
bool instance_to_keyhash(DDS_KeyHash_t* hash, const void* sample) {
    return KestKeyedPingDataPlugin_instance_to_keyhash(
        hash, static_cast<const KestKeyedPingData*>(sample));
}

}  // namespace keyed

const int32_t kInt32Default = 0;

extern const DDSTypePlugin ping_plugin_info;
extern const DDSTypePlugin keyed_ping_plugin_info;

const DDS_TypeCodeMember ping_members[] = {
    {"number", DDS_TK_LONG, 0, false, kInt32Default},
};
const uint32_t ping_offsets[] = {offsetof(KestPingData, number)};
const DDS_SampleAccessInfo ping_access_info = {sizeof(KestPingData), ping_offsets};
const DDS_TypeCode ping_type_code = {
    DDS_TK_STRUCT,      // kind
    "KestPingData",     // name
    1,                  // member_count
    ping_members,       // members
    &ping_access_info,  // access_info
    &ping_plugin_info,  // plugin_info
};
const DDSTypePlugin ping_plugin_info = {
    "KestPingData",          // type_name
    DDS_TYPEPLUGIN_NO_KEY,   // key_kind
    &ping_type_code,         // type_code
    nullptr,                 // type_support
    plain::create_sample,    // create_sample
    plain::destroy_sample,   // destroy_sample
    plain::copy_sample,      // copy_sample
    plain::serialize,        // serialize
    plain::deserialize,      // deserialize
    plain::sample_max_size,  // get_serialized_sample_max_size
    nullptr,                 // instance_to_keyhash
    nullptr,                 // serialized_key_to_keyhash
};

const DDS_TypeCodeMember keyed_ping_members[] = {
    {"key", DDS_TK_LONG, 0, true, kInt32Default},
    {"number", DDS_TK_LONG, 1, false, kInt32Default},
};
const uint32_t keyed_ping_offsets[] = {offsetof(KestKeyedPingData, key),
                                       offsetof(KestKeyedPingData, number)};
const DDS_SampleAccessInfo keyed_ping_access_info = {sizeof(KestKeyedPingData), keyed_ping_offsets};
const DDS_TypeCode keyed_ping_type_code = {
    DDS_TK_STRUCT,            // kind
    "KestKeyedPingData",      // name
    2,                        // member_count
    keyed_ping_members,       // members
    &keyed_ping_access_info,  // access_info
    &keyed_ping_plugin_info,  // plugin_info
};
const DDSTypePlugin keyed_ping_plugin_info = {
    "KestKeyedPingData",                                   // type_name
    DDS_TYPEPLUGIN_USER_KEY,                               // key_kind
    &keyed_ping_type_code,                                 // type_code
    nullptr,                                               // type_support
    keyed::create_sample,                                  // create_sample
    keyed::destroy_sample,                                 // destroy_sample
    keyed::copy_sample,                                    // copy_sample
    keyed::serialize,                                      // serialize
    keyed::deserialize,                                    // deserialize
    keyed::sample_max_size,                                // get_serialized_sample_max_size
    keyed::instance_to_keyhash,                            // instance_to_keyhash
    KestKeyedPingDataPlugin_serialized_sample_to_keyhash,  // serialized_key_to_keyhash
};

}  // namespace

const DDS_TypeCode* KestPingData_get_typecode() {
    return &ping_type_code;
}
const DDS_SampleAccessInfo* KestPingData_get_sample_access_info() {
    return &ping_access_info;
}
const DDSTypePlugin* KestPingData_get_type_plugin_info() {
    return &ping_plugin_info;
}

const DDS_TypeCode* KestKeyedPingData_get_typecode() {
    return &keyed_ping_type_code;
}
const DDS_SampleAccessInfo* KestKeyedPingData_get_sample_access_info() {
    return &keyed_ping_access_info;
}
const DDSTypePlugin* KestKeyedPingData_get_type_plugin_info() {
    return &keyed_ping_plugin_info;
}
