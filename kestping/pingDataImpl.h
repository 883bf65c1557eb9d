// The one implementation of both ping types' samples and plugin, written over the sample type
// T: the serialized form goes straight to the middleware's generic serializer (DDS_TypeCode_*),
// the named entry points (pingData.cpp) only pick T, and the typed layer (pingDataSupport.cpp)
// builds on it. Included only by the type layer's own sources.
#ifndef QOR_KESTPING_PING_DATA_IMPL_H
#define QOR_KESTPING_PING_DATA_IMPL_H

#include <cstdio>
#include <memory>
#include <new>
#include <string>

#include "kestping/pingData.h"
#include "kestping/pingDataPlugin.h"
#include "kestping/pingDataSupport.h"
#include "qordds/dynamic_data.h"
#include "qordds/type_plugin.h"
#include "qordds/typecode.h"

namespace kestping {

// What tells the two types apart: their name, description, plugin record and members.
template <class T>
struct Traits;

template <>
struct Traits<KestPingData> {
    static const char* name() { return KestPingDataTYPENAME; }
    static const DDS_TypeCode* type_code() { return KestPingData_get_typecode(); }
    static const DDSTypePlugin* plugin_info() { return KestPingData_get_type_plugin_info(); }
    static void print_members(const KestPingData& sample, int indent) {
        DDS_PrintUtil_print_long(sample.number, "number", indent);
    }
};

template <>
struct Traits<KestKeyedPingData> {
    static const char* name() { return KestKeyedPingDataTYPENAME; }
    static const DDS_TypeCode* type_code() { return KestKeyedPingData_get_typecode(); }
    static const DDSTypePlugin* plugin_info() { return KestKeyedPingData_get_type_plugin_info(); }
    static void print_members(const KestKeyedPingData& sample, int indent) {
        DDS_PrintUtil_print_long(sample.key, "key", indent);
        DDS_PrintUtil_print_long(sample.number, "number", indent);
    }
};

// "<type name><role>::<operation>", the context of a logged error.
inline std::string context_of(const char* type_name, const char* role, const char* operation) {
    return std::string(type_name) + role + "::" + operation;
}

// ---- samples ----

// Every member 0; false for a missing sample.
template <class T>
bool initialize(T* sample) {
    if (sample == nullptr) {
        return false;
    }
    *sample = T();
    return true;
}

// The members in order; false, with dst unchanged, when either is missing.
template <class T>
bool copy(T* dst, const T* src) {
    if (dst == nullptr || src == nullptr) {
        return false;
    }
    *dst = *src;
    return true;
}

template <class T>
T* create_data() {
    T* sample = new (std::nothrow) T;
    if (sample != nullptr) {
        initialize(sample);
    }
    return sample;
}

template <class T>
T* create_data_w_params(const DDS_TypeAllocationParams_t* params) {
    if (params == nullptr || !params->allocate_memory) {
        const std::string context =
            std::string(Traits<T>::name()) + "PluginSupport_create_data_w_params";
        DDS_TypePlugin_log_error(context.c_str(), "allocation parameters must allocate memory");
        return nullptr;
    }
    return create_data<T>();
}

template <class T>
void destroy_data(T* sample) {
    delete sample;
}

template <class T>
void print_data(const T* sample, const char* desc, unsigned int indent) {
    DDS_PrintUtil_print_indent(static_cast<int>(indent));
    if (desc != nullptr) {
        std::printf("%s:\n", desc);
    } else {
        std::printf("\n");
    }
    if (sample == nullptr) {
        std::printf("NULL\n");
        return;
    }
    Traits<T>::print_members(*sample, static_cast<int>(indent) + 1);
}

// ---- the serialized form, through the generic serializer ----

template <class T>
unsigned int max_size(bool key_only, bool include_encapsulation,
                      DDS_DataRepresentationId_t representation) {
    DDS_CdrEncoding encoding = {representation, DDS_CDR_NATIVE_BYTE_ORDER, key_only,
                                include_encapsulation};
    unsigned int size = 0;
    if (!DDS_TypeCode_get_serialized_max_size(Traits<T>::type_code(), encoding, &size)) {
        return KEST_PING_SERIALIZED_SIZE_OVERFLOW;
    }
    return size;
}

template <class T>
unsigned int key_max_size_for_keyhash() {
    unsigned int size = 0;
    if (!DDS_TypeCode_get_keyhash_max_size(Traits<T>::type_code(), &size)) {
        return KEST_PING_SERIALIZED_SIZE_OVERFLOW;
    }
    return size;
}

template <class T>
bool serialize(char* buffer, unsigned int* length, const T* sample,
               DDS_DataRepresentationId_t representation) {
    DDS_CdrEncoding encoding = {representation, DDS_CDR_NATIVE_BYTE_ORDER, false, true};
    return DDS_TypeCode_serialize(Traits<T>::type_code(), sample, encoding, buffer, length);
}

template <class T>
bool deserialize(T* sample, const char* buffer, unsigned int length) {
    return DDS_TypeCode_deserialize(Traits<T>::type_code(), sample, buffer, length, false);
}

template <class T>
DDS_ReturnCode_t data_to_string(const T* sample, char* text, unsigned int* length,
                                const DDS_PrintFormatProperty* format) {
    if (sample == nullptr || length == nullptr || format == nullptr) {
        return DDS_RETCODE_BAD_PARAMETER;
    }
    unsigned int size = 0;
    if (!serialize(nullptr, &size, sample, DDS_AUTO_DATA_REPRESENTATION)) {
        return DDS_RETCODE_ERROR;
    }
    std::unique_ptr<char[]> buffer(new (std::nothrow) char[size]);
    if (buffer == nullptr ||
        !serialize(buffer.get(), &size, sample, DDS_AUTO_DATA_REPRESENTATION)) {
        return DDS_RETCODE_ERROR;
    }
    DDSDynamicData data(Traits<T>::type_code());
    DDS_ReturnCode_t result = data.from_cdr_buffer(buffer.get(), size);
    if (result != DDS_RETCODE_OK) {
        return result;
    }
    return data.to_string(text, length, *format);
}

template <class T>
bool instance_to_keyhash(DDS_KeyHash_t* hash, const T* instance) {
    return DDS_TypeCode_get_keyhash(Traits<T>::type_code(), instance, hash);
}

// The key is read into a key holder (a whole sample), then hashed.
template <class T>
bool serialized_key_to_keyhash(DDS_KeyHash_t* hash, const char* buffer, unsigned int length) {
    T key = T();
    return DDS_TypeCode_deserialize(Traits<T>::type_code(), &key, buffer, length, true) &&
           instance_to_keyhash(hash, &key);
}

// ---- the plugin record ----

template <class T>
DDSTypePlugin* plugin_new() {
    DDSTypePlugin* plugin = new (std::nothrow) DDSTypePlugin(*Traits<T>::plugin_info());
    if (plugin != nullptr) {
        plugin->type_support = nullptr;
    }
    return plugin;
}

// The record's functions, which see samples as untyped pointers.
template <class T>
struct Record {
    static void* create_sample() { return create_data<T>(); }
    static void destroy_sample(void* sample) { destroy_data(static_cast<T*>(sample)); }
    static bool copy_sample(void* target, const void* source) {
        return copy(static_cast<T*>(target), static_cast<const T*>(source));
    }
    static bool serialize_sample(char* buffer, unsigned int* length, const void* sample,
                                 DDS_DataRepresentationId_t representation) {
        return serialize(buffer, length, static_cast<const T*>(sample), representation);
    }
    static bool deserialize_sample(void* sample, const char* buffer, unsigned int length) {
        return deserialize(static_cast<T*>(sample), buffer, length);
    }
    static unsigned int sample_max_size(DDS_DataRepresentationId_t representation) {
        return max_size<T>(false, true, representation);
    }
    static bool sample_keyhash(DDS_KeyHash_t* hash, const void* sample) {
        return instance_to_keyhash(hash, static_cast<const T*>(sample));
    }
};

// The plugin record of T, for the type description `type_code`; a keyed type also hashes keys.
template <class T>
constexpr DDSTypePlugin plugin_record(const char* name, DDS_TypePluginKeyKind key_kind,
                                      const DDS_TypeCode* type_code) {
    return DDSTypePlugin{
        name,
        key_kind,
        type_code,
        nullptr,  // type_support
        Record<T>::create_sample,
        Record<T>::destroy_sample,
        Record<T>::copy_sample,
        Record<T>::serialize_sample,
        Record<T>::deserialize_sample,
        Record<T>::sample_max_size,
        key_kind == DDS_TYPEPLUGIN_NO_KEY ? nullptr : Record<T>::sample_keyhash,
        key_kind == DDS_TYPEPLUGIN_NO_KEY ? nullptr : serialized_key_to_keyhash<T>,
    };
}

}  // namespace kestping

#endif
