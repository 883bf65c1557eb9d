// The type plugins of the ping sample types: what the middleware calls to allocate, copy,
// print, size, serialize and hash their samples. Serialization and sizes come from the
// middleware's generic serializer, driven by the type descriptions.
#ifndef QOR_KESTPING_PING_DATA_PLUGIN_H
#define QOR_KESTPING_PING_DATA_PLUGIN_H

#include "kestping/pingData.h"
#include "qordds/dynamic_data.h"
#include "qordds/type_plugin.h"
#include "qordds/types.h"

// What a maximum-size operation answers when the computation overflows.
const unsigned int KEST_PING_SERIALIZED_SIZE_OVERFLOW = 2147482623u;  // 0x7FFFFBFF

// The plugin functions of a ping type T, declared below for KestPingData and
// KestKeyedPingData alike (so KestPingDataPlugin_new, KestKeyedPingDataPluginSupport_..., ...):
//   TPluginSupport_create_data[_ex|_w_params]
//       allocate and initialize a sample without throwing; none on failure. Allocation
//       parameters that do not ask for memory are refused with a logged error.
//   TPluginSupport_destroy_data[_ex|_w_params]
//       finalize and release; a missing sample is accepted
//   TPluginSupport_copy_data, TPlugin_copy_sample
//   TPluginSupport_print_data
//       prints the description line ("desc:" or empty), then "NULL" or one line per member
//   TPlugin_get_key_kind, TPlugin_get_serialized_sample_max_size,
//   TPlugin_get_serialized_key_max_size[_for_keyhash]
//   TPlugin_serialize_to_cdr_buffer[_ex]
//       with a null buffer, stores the serialized size (header included) in *length;
//       otherwise serializes into buffer (capacity *length) and stores the bytes written. The
//       plain form uses the type's native representation.
//   TPlugin_deserialize_from_cdr_buffer
//   TPlugin_data_to_string
//       the sample as text in the given format (see DDSDynamicData::to_string)
//   TPlugin_new, TPlugin_delete
//       the plugin record that a participant registers under a type name; none on failure
// NOLINTBEGIN(bugprone-macro-parentheses): T is a type name pasted into function names;
// it cannot be parenthesized.
#define KEST_PING_DATA_PLUGIN_FUNCTIONS(T)                                                         \
    T* T##PluginSupport_create_data();                                                             \
    T* T##PluginSupport_create_data_ex(bool allocate_pointers);                                    \
    T* T##PluginSupport_create_data_w_params(const DDS_TypeAllocationParams_t* params);            \
    void T##PluginSupport_destroy_data(T* sample);                                                 \
    void T##PluginSupport_destroy_data_ex(T* sample, bool delete_pointers);                        \
    void T##PluginSupport_destroy_data_w_params(T* sample,                                         \
                                                const DDS_TypeDeallocationParams_t* params);       \
    bool T##PluginSupport_copy_data(T* dst, const T* src);                                         \
    void T##PluginSupport_print_data(const T* sample, const char* desc, unsigned int indent);      \
    bool T##Plugin_copy_sample(T* dst, const T* src);                                              \
    DDS_TypePluginKeyKind T##Plugin_get_key_kind();                                                \
    unsigned int T##Plugin_get_serialized_sample_max_size(                                         \
        bool include_encapsulation, DDS_DataRepresentationId_t representation);                    \
    unsigned int T##Plugin_get_serialized_key_max_size(bool include_encapsulation,                 \
                                                       DDS_DataRepresentationId_t representation); \
    unsigned int T##Plugin_get_serialized_key_max_size_for_keyhash();                              \
    bool T##Plugin_serialize_to_cdr_buffer(char* buffer, unsigned int* length, const T* sample);   \
    bool T##Plugin_serialize_to_cdr_buffer_ex(char* buffer, unsigned int* length, const T* sample, \
                                              DDS_DataRepresentationId_t representation);          \
    bool T##Plugin_deserialize_from_cdr_buffer(T* sample, const char* buffer,                      \
                                               unsigned int length);                               \
    DDS_ReturnCode_t T##Plugin_data_to_string(const T* sample, char* text, unsigned int* length,   \
                                              const DDS_PrintFormatProperty* format);              \
    DDSTypePlugin* T##Plugin_new();                                                                \
    void T##Plugin_delete(DDSTypePlugin* plugin);
// NOLINTEND(bugprone-macro-parentheses)

KEST_PING_DATA_PLUGIN_FUNCTIONS(KestPingData)
KEST_PING_DATA_PLUGIN_FUNCTIONS(KestKeyedPingData)

// ---- KestKeyedPingData only: its key ------------------------------------------------------

// A key holder is a whole sample, of which only the key member counts.
typedef KestKeyedPingData KestKeyedPingDataKeyHolder;

KestKeyedPingDataKeyHolder* KestKeyedPingDataPlugin_create_key();
KestKeyedPingDataKeyHolder* KestKeyedPingDataPlugin_create_key_ex(bool allocate_pointers);
void KestKeyedPingDataPlugin_destroy_key(KestKeyedPingDataKeyHolder* key);
// Copy the key member; false when either is missing.
bool KestKeyedPingDataPlugin_instance_to_key(KestKeyedPingDataKeyHolder* key,
                                             const KestKeyedPingData* instance);
bool KestKeyedPingDataPlugin_key_to_instance(KestKeyedPingData* instance,
                                             const KestKeyedPingDataKeyHolder* key);
// The key hash: the big-endian key in bytes 0 to 3, then 12 zero bytes.
bool KestKeyedPingDataPlugin_instance_to_keyhash(DDS_KeyHash_t* hash,
                                                 const KestKeyedPingData* instance);
// The key hash of a serialized key-only sample (encapsulation header, then the key), as
// dispose and unregister messages carry it: the key is read into a key holder, then hashed.
bool KestKeyedPingDataPlugin_serialized_sample_to_keyhash(DDS_KeyHash_t* hash, const char* buffer,
                                                          unsigned int length);

#endif
