// What the plugin functions of both ping types have in common, written once over the sample
// type. Included only by the plugin's own sources.
#ifndef QOR_KESTPING_PING_DATA_PLUGIN_IMPL_H
#define QOR_KESTPING_PING_DATA_PLUGIN_IMPL_H

#include <cstdio>
#include <memory>
#include <new>

#include "kestping/pingData.h"
#include "kestping/pingDataPlugin.h"
#include "qordds/dynamic_data.h"
#include "qordds/type_plugin.h"
#include "qordds/typecode.h"

namespace kestping_plugin {

template <class T>
struct Traits;

template <>
struct Traits<KestPingData> {
    static const char* name() { return "KestPingData"; }
    static const DDS_TypeCode* type_code() { return KestPingData_get_typecode(); }
    static const DDSTypePlugin* plugin_info() { return KestPingData_get_type_plugin_info(); }
    static bool initialize(KestPingData* sample) { return KestPingData_initialize(sample); }
    static void finalize(KestPingData* sample) { KestPingData_finalize(sample); }
    static void print_members(const KestPingData& sample, int indent) {
        DDS_PrintUtil_print_long(sample.number, "number", indent);
    }
};

template <>
struct Traits<KestKeyedPingData> {
    static const char* name() { return "KestKeyedPingData"; }
    static const DDS_TypeCode* type_code() { return KestKeyedPingData_get_typecode(); }
    static const DDSTypePlugin* plugin_info() { return KestKeyedPingData_get_type_plugin_info(); }
    static bool initialize(KestKeyedPingData* sample) {
        return KestKeyedPingData_initialize(sample);
    }
    static void finalize(KestKeyedPingData* sample) { KestKeyedPingData_finalize(sample); }
    static void print_members(const KestKeyedPingData& sample, int indent) {
        DDS_PrintUtil_print_long(sample.key, "key", indent);
        DDS_PrintUtil_print_long(sample.number, "number", indent);
    }
};

template <class T>
T* create_data() {
    T* sample = new (std::nothrow) T;
    if (sample != nullptr && !Traits<T>::initialize(sample)) {
        Traits<T>::finalize(sample);
        delete sample;
        return nullptr;
    }
    return sample;
}

template <class T>
T* create_data_w_params(const DDS_TypeAllocationParams_t* params, const char* context) {
    if (params == nullptr || !params->allocate_memory) {
        DDS_TypePlugin_log_error(context, "allocation parameters must allocate memory");
        return nullptr;
    }
    return create_data<T>();
}

template <class T>
void destroy_data(T* sample) {
    if (sample != nullptr) {
        Traits<T>::finalize(sample);
        delete sample;
    }
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
DDSTypePlugin* plugin_new() {
    DDSTypePlugin* plugin = new (std::nothrow) DDSTypePlugin(*Traits<T>::plugin_info());
    if (plugin != nullptr) {
        plugin->type_support = nullptr;
    }
    return plugin;
}

}  // namespace kestping_plugin

#endif
