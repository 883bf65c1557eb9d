// The named entry points of both ping types. Each one picks the sample type and calls the one
// implementation in pingDataImpl.h, which goes straight to the generic serializer or the
// untyped endpoint.
#include "kestping/pingData.h"

#include "kestping/pingDataPlugin.h"
#include "pingDataImpl.h"

const char* const KestPingDataTYPENAME = "KestPingData";
const char* const KestKeyedPingDataTYPENAME = "KestKeyedPingData";

// The functions of pingData.h and pingDataPlugin.h for sample type T.
// NOLINTBEGIN(bugprone-macro-parentheses): T is a type name pasted into function names;
// it cannot be parenthesized.
#define KEST_PING_DATA_DEFINE_FUNCTIONS(T, KEY_KIND)                                               \
    bool T##_initialize(T* sample) {                                                               \
        return kestping::initialize(sample);                                                       \
    }                                                                                              \
    bool T##_initialize_ex(T* sample, bool, bool) {                                                \
        return kestping::initialize(sample);                                                       \
    }                                                                                              \
    bool T##_initialize_w_params(T* sample, const DDS_TypeAllocationParams_t* params) {            \
        return params != nullptr && kestping::initialize(sample);                                  \
    }                                                                                              \
    void T##_finalize(T*) {}                                                                       \
    void T##_finalize_ex(T*, bool) {}                                                              \
    void T##_finalize_w_params(T*, const DDS_TypeDeallocationParams_t*) {}                         \
    bool T##_finalize_w_return(T*) {                                                               \
        return true;                                                                               \
    }                                                                                              \
    void T##_finalize_optional_members(T*, bool) {}                                                \
    bool T##_copy(T* dst, const T* src) {                                                          \
        return kestping::copy(dst, src);                                                           \
    }                                                                                              \
                                                                                                   \
    T* T##PluginSupport_create_data() {                                                            \
        return kestping::create_data<T>();                                                         \
    }                                                                                              \
    T* T##PluginSupport_create_data_ex(bool) {                                                     \
        return kestping::create_data<T>();                                                         \
    }                                                                                              \
    T* T##PluginSupport_create_data_w_params(const DDS_TypeAllocationParams_t* params) {           \
        return kestping::create_data_w_params<T>(params);                                          \
    }                                                                                              \
    void T##PluginSupport_destroy_data(T* sample) {                                                \
        kestping::destroy_data(sample);                                                            \
    }                                                                                              \
    void T##PluginSupport_destroy_data_ex(T* sample, bool) {                                       \
        kestping::destroy_data(sample);                                                            \
    }                                                                                              \
    void T##PluginSupport_destroy_data_w_params(T* sample, const DDS_TypeDeallocationParams_t*) {  \
        kestping::destroy_data(sample);                                                            \
    }                                                                                              \
    bool T##PluginSupport_copy_data(T* dst, const T* src) {                                        \
        return kestping::copy(dst, src);                                                           \
    }                                                                                              \
    void T##PluginSupport_print_data(const T* sample, const char* desc, unsigned int indent) {     \
        kestping::print_data(sample, desc, indent);                                                \
    }                                                                                              \
    bool T##Plugin_copy_sample(T* dst, const T* src) {                                             \
        return kestping::copy(dst, src);                                                           \
    }                                                                                              \
    DDS_TypePluginKeyKind T##Plugin_get_key_kind() {                                               \
        return KEY_KIND;                                                                           \
    }                                                                                              \
    unsigned int T##Plugin_get_serialized_sample_max_size(                                         \
        bool include_encapsulation, DDS_DataRepresentationId_t representation) {                   \
        return kestping::max_size<T>(false, include_encapsulation, representation);                \
    }                                                                                              \
    unsigned int T##Plugin_get_serialized_key_max_size(                                            \
        bool include_encapsulation, DDS_DataRepresentationId_t representation) {                   \
        return kestping::max_size<T>(true, include_encapsulation, representation);                 \
    }                                                                                              \
    unsigned int T##Plugin_get_serialized_key_max_size_for_keyhash() {                             \
        return kestping::key_max_size_for_keyhash<T>();                                            \
    }                                                                                              \
    bool T##Plugin_serialize_to_cdr_buffer(char* buffer, unsigned int* length, const T* sample) {  \
        return kestping::serialize(buffer, length, sample, DDS_AUTO_DATA_REPRESENTATION);          \
    }                                                                                              \
    bool T##Plugin_serialize_to_cdr_buffer_ex(char* buffer, unsigned int* length, const T* sample, \
                                              DDS_DataRepresentationId_t representation) {         \
        return kestping::serialize(buffer, length, sample, representation);                        \
    }                                                                                              \
    bool T##Plugin_deserialize_from_cdr_buffer(T* sample, const char* buffer,                      \
                                               unsigned int length) {                              \
        return kestping::deserialize(sample, buffer, length);                                      \
    }                                                                                              \
    DDS_ReturnCode_t T##Plugin_data_to_string(const T* sample, char* text, unsigned int* length,   \
                                              const DDS_PrintFormatProperty* format) {             \
        return kestping::data_to_string(sample, text, length, format);                             \
    }                                                                                              \
    DDSTypePlugin* T##Plugin_new() {                                                               \
        return kestping::plugin_new<T>();                                                          \
    }                                                                                              \
    void T##Plugin_delete(DDSTypePlugin* plugin) {                                                 \
        delete plugin;                                                                             \
    }
// NOLINTEND(bugprone-macro-parentheses)

KEST_PING_DATA_DEFINE_FUNCTIONS(KestPingData, DDS_TYPEPLUGIN_NO_KEY)
KEST_PING_DATA_DEFINE_FUNCTIONS(KestKeyedPingData, DDS_TYPEPLUGIN_USER_KEY)

// ---- KestKeyedPingData's key ----

KestKeyedPingDataKeyHolder* KestKeyedPingDataPlugin_create_key() {
    return kestping::create_data<KestKeyedPingData>();
}

KestKeyedPingDataKeyHolder* KestKeyedPingDataPlugin_create_key_ex(bool) {
    return kestping::create_data<KestKeyedPingData>();
}

void KestKeyedPingDataPlugin_destroy_key(KestKeyedPingDataKeyHolder* key) {
    kestping::destroy_data(key);
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
    return kestping::instance_to_keyhash(hash, instance);
}

bool KestKeyedPingDataPlugin_serialized_sample_to_keyhash(DDS_KeyHash_t* hash, const char* buffer,
                                                          unsigned int length) {
    return kestping::serialized_key_to_keyhash<KestKeyedPingData>(hash, buffer, length);
}
