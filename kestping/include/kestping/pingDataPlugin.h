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

// ---- KestPingData -------------------------------------------------------------------------

// Allocate and initialize a sample without throwing; none on failure. Allocation parameters
// that do not ask for memory are refused with a logged error.
KestPingData* KestPingDataPluginSupport_create_data();
KestPingData* KestPingDataPluginSupport_create_data_ex(bool allocate_pointers);
KestPingData* KestPingDataPluginSupport_create_data_w_params(
    const DDS_TypeAllocationParams_t* params);
// Finalize and release; a missing sample is accepted.
void KestPingDataPluginSupport_destroy_data(KestPingData* sample);
void KestPingDataPluginSupport_destroy_data_ex(KestPingData* sample, bool delete_pointers);
void KestPingDataPluginSupport_destroy_data_w_params(KestPingData* sample,
                                                     const DDS_TypeDeallocationParams_t* params);
bool KestPingDataPluginSupport_copy_data(KestPingData* dst, const KestPingData* src);
// Prints the description line ("desc:" or empty), then "NULL" or one line per member.
void KestPingDataPluginSupport_print_data(const KestPingData* sample, const char* desc,
                                          unsigned int indent);

bool KestPingDataPlugin_copy_sample(KestPingData* dst, const KestPingData* src);
DDS_TypePluginKeyKind KestPingDataPlugin_get_key_kind();
unsigned int KestPingDataPlugin_get_serialized_sample_max_size(
    bool include_encapsulation, DDS_DataRepresentationId_t representation);
unsigned int KestPingDataPlugin_get_serialized_key_max_size(
    bool include_encapsulation, DDS_DataRepresentationId_t representation);
unsigned int KestPingDataPlugin_get_serialized_key_max_size_for_keyhash();
// With a null buffer, stores the serialized size (header included) in *length; otherwise
// serializes into buffer (capacity *length) and stores the bytes written. The plain form
// uses the type's native representation.
bool KestPingDataPlugin_serialize_to_cdr_buffer(char* buffer, unsigned int* length,
                                                const KestPingData* sample);
bool KestPingDataPlugin_serialize_to_cdr_buffer_ex(char* buffer, unsigned int* length,
                                                   const KestPingData* sample,
                                                   DDS_DataRepresentationId_t representation);
bool KestPingDataPlugin_deserialize_from_cdr_buffer(KestPingData* sample, const char* buffer,
                                                    unsigned int length);
// The sample as text in the given format (see DDSDynamicData::to_string for text/length).
DDS_ReturnCode_t KestPingDataPlugin_data_to_string(const KestPingData* sample, char* text,
                                                   unsigned int* length,
                                                   const DDS_PrintFormatProperty* format);
// The plugin record that a participant registers under a type name; none on failure.
DDSTypePlugin* KestPingDataPlugin_new();
void KestPingDataPlugin_delete(DDSTypePlugin* plugin);

// ---- KestKeyedPingData --------------------------------------------------------------------

// A key holder is a whole sample, of which only the key member counts.
typedef KestKeyedPingData KestKeyedPingDataKeyHolder;

KestKeyedPingData* KestKeyedPingDataPluginSupport_create_data();
KestKeyedPingData* KestKeyedPingDataPluginSupport_create_data_ex(bool allocate_pointers);
KestKeyedPingData* KestKeyedPingDataPluginSupport_create_data_w_params(
    const DDS_TypeAllocationParams_t* params);
void KestKeyedPingDataPluginSupport_destroy_data(KestKeyedPingData* sample);
void KestKeyedPingDataPluginSupport_destroy_data_ex(KestKeyedPingData* sample,
                                                    bool delete_pointers);
void KestKeyedPingDataPluginSupport_destroy_data_w_params(
    KestKeyedPingData* sample, const DDS_TypeDeallocationParams_t* params);
bool KestKeyedPingDataPluginSupport_copy_data(KestKeyedPingData* dst, const KestKeyedPingData* src);
void KestKeyedPingDataPluginSupport_print_data(const KestKeyedPingData* sample, const char* desc,
                                               unsigned int indent);

bool KestKeyedPingDataPlugin_copy_sample(KestKeyedPingData* dst, const KestKeyedPingData* src);
DDS_TypePluginKeyKind KestKeyedPingDataPlugin_get_key_kind();
unsigned int KestKeyedPingDataPlugin_get_serialized_sample_max_size(
    bool include_encapsulation, DDS_DataRepresentationId_t representation);
unsigned int KestKeyedPingDataPlugin_get_serialized_key_max_size(
    bool include_encapsulation, DDS_DataRepresentationId_t representation);
unsigned int KestKeyedPingDataPlugin_get_serialized_key_max_size_for_keyhash();
bool KestKeyedPingDataPlugin_serialize_to_cdr_buffer(char* buffer, unsigned int* length,
                                                     const KestKeyedPingData* sample);
bool KestKeyedPingDataPlugin_serialize_to_cdr_buffer_ex(char* buffer, unsigned int* length,
                                                        const KestKeyedPingData* sample,
                                                        DDS_DataRepresentationId_t representation);
bool KestKeyedPingDataPlugin_deserialize_from_cdr_buffer(KestKeyedPingData* sample,
                                                         const char* buffer, unsigned int length);
DDS_ReturnCode_t KestKeyedPingDataPlugin_data_to_string(const KestKeyedPingData* sample, char* text,
                                                        unsigned int* length,
                                                        const DDS_PrintFormatProperty* format);
DDSTypePlugin* KestKeyedPingDataPlugin_new();
void KestKeyedPingDataPlugin_delete(DDSTypePlugin* plugin);

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
