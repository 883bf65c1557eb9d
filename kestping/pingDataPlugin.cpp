#include "kestping/pingDataPlugin.h"

#include "pingDataPluginImpl.h"

KestPingData* KestPingDataPluginSupport_create_data() {
    return kestping_plugin::create_data<KestPingData>();
}

KestPingData* KestPingDataPluginSupport_create_data_ex(bool) {
    return kestping_plugin::create_data<KestPingData>();
}

KestPingData* KestPingDataPluginSupport_create_data_w_params(
    const DDS_TypeAllocationParams_t* params) {
    return kestping_plugin::create_data_w_params<KestPingData>(
        params, "KestPingDataPluginSupport_create_data_w_params");
}

void KestPingDataPluginSupport_destroy_data(KestPingData* sample) {
    kestping_plugin::destroy_data(sample);
}

void KestPingDataPluginSupport_destroy_data_ex(KestPingData* sample, bool) {
    kestping_plugin::destroy_data(sample);
}

void KestPingDataPluginSupport_destroy_data_w_params(KestPingData* sample,
                                                     const DDS_TypeDeallocationParams_t*) {
    kestping_plugin::destroy_data(sample);
}

bool KestPingDataPluginSupport_copy_data(KestPingData* dst, const KestPingData* src) {
    return KestPingData_copy(dst, src);
}

void KestPingDataPluginSupport_print_data(const KestPingData* sample, const char* desc,
                                          unsigned int indent) {
    kestping_plugin::print_data(sample, desc, indent);
}

bool KestPingDataPlugin_copy_sample(KestPingData* dst, const KestPingData* src) {
    return KestPingData_copy(dst, src);
}

DDS_TypePluginKeyKind KestPingDataPlugin_get_key_kind() {
    return DDS_TYPEPLUGIN_NO_KEY;
}

unsigned int KestPingDataPlugin_get_serialized_sample_max_size(
    bool include_encapsulation, DDS_DataRepresentationId_t representation) {
    return kestping_plugin::max_size<KestPingData>(false, include_encapsulation, representation);
}

unsigned int KestPingDataPlugin_get_serialized_key_max_size(
    bool include_encapsulation, DDS_DataRepresentationId_t representation) {
    return kestping_plugin::max_size<KestPingData>(true, include_encapsulation, representation);
}

unsigned int KestPingDataPlugin_get_serialized_key_max_size_for_keyhash() {
    return kestping_plugin::key_max_size_for_keyhash<KestPingData>();
}

bool KestPingDataPlugin_serialize_to_cdr_buffer(char* buffer, unsigned int* length,
                                                const KestPingData* sample) {
    return kestping_plugin::serialize(buffer, length, sample, DDS_AUTO_DATA_REPRESENTATION);
}

bool KestPingDataPlugin_serialize_to_cdr_buffer_ex(char* buffer, unsigned int* length,
                                                   const KestPingData* sample,
                                                   DDS_DataRepresentationId_t representation) {
    return kestping_plugin::serialize(buffer, length, sample, representation);
}

bool KestPingDataPlugin_deserialize_from_cdr_buffer(KestPingData* sample, const char* buffer,
                                                    unsigned int length) {
    return kestping_plugin::deserialize(sample, buffer, length);
}

DDS_ReturnCode_t KestPingDataPlugin_data_to_string(const KestPingData* sample, char* text,
                                                   unsigned int* length,
                                                   const DDS_PrintFormatProperty* format) {
    return kestping_plugin::data_to_string(sample, text, length, format);
}

DDSTypePlugin* KestPingDataPlugin_new() {
    return kestping_plugin::plugin_new<KestPingData>();
}

void KestPingDataPlugin_delete(DDSTypePlugin* plugin) {
    delete plugin;
}

KestKeyedPingData* KestKeyedPingDataPluginSupport_create_data() {
    return kestping_plugin::create_data<KestKeyedPingData>();
}

KestKeyedPingData* KestKeyedPingDataPluginSupport_create_data_ex(bool) {
    return kestping_plugin::create_data<KestKeyedPingData>();
}

KestKeyedPingData* KestKeyedPingDataPluginSupport_create_data_w_params(
    const DDS_TypeAllocationParams_t* params) {
    return kestping_plugin::create_data_w_params<KestKeyedPingData>(
        params, "KestKeyedPingDataPluginSupport_create_data_w_params");
}

void KestKeyedPingDataPluginSupport_destroy_data(KestKeyedPingData* sample) {
    kestping_plugin::destroy_data(sample);
}

void KestKeyedPingDataPluginSupport_destroy_data_ex(KestKeyedPingData* sample, bool) {
    kestping_plugin::destroy_data(sample);
}

void KestKeyedPingDataPluginSupport_destroy_data_w_params(KestKeyedPingData* sample,
                                                          const DDS_TypeDeallocationParams_t*) {
    kestping_plugin::destroy_data(sample);
}

bool KestKeyedPingDataPluginSupport_copy_data(KestKeyedPingData* dst,
                                              const KestKeyedPingData* src) {
    return KestKeyedPingData_copy(dst, src);
}

void KestKeyedPingDataPluginSupport_print_data(const KestKeyedPingData* sample, const char* desc,
                                               unsigned int indent) {
    kestping_plugin::print_data(sample, desc, indent);
}

bool KestKeyedPingDataPlugin_copy_sample(KestKeyedPingData* dst, const KestKeyedPingData* src) {
    return KestKeyedPingData_copy(dst, src);
}

DDS_TypePluginKeyKind KestKeyedPingDataPlugin_get_key_kind() {
    return DDS_TYPEPLUGIN_USER_KEY;
}

unsigned int KestKeyedPingDataPlugin_get_serialized_sample_max_size(
    bool include_encapsulation, DDS_DataRepresentationId_t representation) {
    return kestping_plugin::max_size<KestKeyedPingData>(false, include_encapsulation,
                                                        representation);
}

unsigned int KestKeyedPingDataPlugin_get_serialized_key_max_size(
    bool include_encapsulation, DDS_DataRepresentationId_t representation) {
    return kestping_plugin::max_size<KestKeyedPingData>(true, include_encapsulation,
                                                        representation);
}

unsigned int KestKeyedPingDataPlugin_get_serialized_key_max_size_for_keyhash() {
    return kestping_plugin::key_max_size_for_keyhash<KestKeyedPingData>();
}

bool KestKeyedPingDataPlugin_serialize_to_cdr_buffer(char* buffer, unsigned int* length,
                                                     const KestKeyedPingData* sample) {
    return kestping_plugin::serialize(buffer, length, sample, DDS_AUTO_DATA_REPRESENTATION);
}

bool KestKeyedPingDataPlugin_serialize_to_cdr_buffer_ex(char* buffer, unsigned int* length,
                                                        const KestKeyedPingData* sample,
                                                        DDS_DataRepresentationId_t representation) {
    return kestping_plugin::serialize(buffer, length, sample, representation);
}

bool KestKeyedPingDataPlugin_deserialize_from_cdr_buffer(KestKeyedPingData* sample,
                                                         const char* buffer, unsigned int length) {
    return kestping_plugin::deserialize(sample, buffer, length);
}

DDS_ReturnCode_t KestKeyedPingDataPlugin_data_to_string(const KestKeyedPingData* sample, char* text,
                                                        unsigned int* length,
                                                        const DDS_PrintFormatProperty* format) {
    return kestping_plugin::data_to_string(sample, text, length, format);
}

DDSTypePlugin* KestKeyedPingDataPlugin_new() {
    return kestping_plugin::plugin_new<KestKeyedPingData>();
}

void KestKeyedPingDataPlugin_delete(DDSTypePlugin* plugin) {
    delete plugin;
}

KestKeyedPingDataKeyHolder* KestKeyedPingDataPlugin_create_key() {
    return kestping_plugin::create_data<KestKeyedPingData>();
}

KestKeyedPingDataKeyHolder* KestKeyedPingDataPlugin_create_key_ex(bool) {
    return kestping_plugin::create_data<KestKeyedPingData>();
}

void KestKeyedPingDataPlugin_destroy_key(KestKeyedPingDataKeyHolder* key) {
    kestping_plugin::destroy_data(key);
}

bool KestKeyedPingDataPlugin_instance_to_key(KestKeyedPingDataKeyHolder* key,
                                             const KestKeyedPingData* instance) {
    if (key == nullptr || instance == nullptr) {
        return false;
    }
    key->key = instance->key;
    return true;
}

bool KestKeyedPingDataPlugin_key_to_instance(KestKeyedPingData* instance,
                                             const KestKeyedPingDataKeyHolder* key) {
    if (instance == nullptr || key == nullptr) {
        return false;
    }
    instance->key = key->key;
    return true;
}

bool KestKeyedPingDataPlugin_instance_to_keyhash(DDS_KeyHash_t* hash,
                                                 const KestKeyedPingData* instance) {
    return DDS_TypeCode_get_keyhash(KestKeyedPingData_get_typecode(), instance, hash);
}

bool KestKeyedPingDataPlugin_serialized_sample_to_keyhash(DDS_KeyHash_t* hash, const char* buffer,
                                                          unsigned int length) {
    KestKeyedPingDataKeyHolder key;
    return KestKeyedPingData_initialize(&key) &&
           DDS_TypeCode_deserialize(KestKeyedPingData_get_typecode(), &key, buffer, length, true) &&
           KestKeyedPingDataPlugin_instance_to_keyhash(hash, &key);
}
