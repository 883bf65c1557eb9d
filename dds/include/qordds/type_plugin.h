// What the middleware needs of a sample type: the plugin record registered under a type name,
// and the type support that wraps untyped endpoints into typed ones.
#ifndef QOR_DDS_TYPE_PLUGIN_H
#define QOR_DDS_TYPE_PLUGIN_H

#include <cstdint>

#include "qordds/types.h"

struct DDS_TypeCode;
class DDSDataReader;
class DDSDataWriter;
class DDSTypeSupport;

// Data representations (standard ids); AUTO means the type's native one.
typedef int16_t DDS_DataRepresentationId_t;
const DDS_DataRepresentationId_t DDS_XCDR_DATA_REPRESENTATION = 0;
const DDS_DataRepresentationId_t DDS_XML_DATA_REPRESENTATION = 1;
const DDS_DataRepresentationId_t DDS_XCDR2_DATA_REPRESENTATION = 2;
const DDS_DataRepresentationId_t DDS_AUTO_DATA_REPRESENTATION = -1;

enum DDS_TypePluginKeyKind {
    DDS_TYPEPLUGIN_NO_KEY = 0,
    DDS_TYPEPLUGIN_USER_KEY = 2,
};

struct DDS_KeyHash_t {
    unsigned char value[16];
};

struct DDS_TypeAllocationParams_t {
    bool allocate_pointers;
    bool allocate_optional_members;
    bool allocate_memory;
};
const DDS_TypeAllocationParams_t DDS_TYPE_ALLOCATION_PARAMS_DEFAULT = {true, false, true};

struct DDS_TypeDeallocationParams_t {
    bool delete_pointers;
    bool delete_optional_members;
};
const DDS_TypeDeallocationParams_t DDS_TYPE_DEALLOCATION_PARAMS_DEFAULT = {true, true};

// The plugin record of a sample type. A participant keeps its own copy per registered name.
struct DDSTypePlugin {
    const char* type_name;  // the type's own name, whatever name it is registered under
    DDS_TypePluginKeyKind key_kind;
    const DDS_TypeCode* type_code;
    DDSTypeSupport* type_support;  // attached by register_type

    void* (*create_sample)();
    void (*destroy_sample)(void* sample);
    bool (*copy_sample)(void* target, const void* source);

    // With a null buffer, stores in *length the serialized size including the 4-byte
    // encapsulation header; otherwise serializes into buffer (capacity *length) and stores
    // the bytes written.
    bool (*serialize)(char* buffer, unsigned int* length, const void* sample,
                      DDS_DataRepresentationId_t representation);
    bool (*deserialize)(void* sample, const char* buffer, unsigned int length);
    // Largest serialized sample, encapsulation header included.
    unsigned int (*get_serialized_sample_max_size)(DDS_DataRepresentationId_t representation);

    // Keyed types only (null otherwise): the key hash of a sample, and of a serialized
    // key-only payload such as a dispose or unregister message carries.
    bool (*instance_to_keyhash)(DDS_KeyHash_t* hash, const void* sample);
    bool (*serialized_key_to_keyhash)(DDS_KeyHash_t* hash, const char* buffer, unsigned int length);
};

// Base of every generated type support: wraps the untyped endpoints that the binding creates
// into the type's typed writer and reader.
class DDSTypeSupport {
  public:
    virtual DDSDataReader* create_datareaderI(DDSDataReader* untyped) = 0;
    virtual void destroy_datareaderI(DDSDataReader* typed) = 0;
    virtual DDSDataWriter* create_datawriterI(DDSDataWriter* untyped) = 0;
    virtual void destroy_datawriterI(DDSDataWriter* typed) = 0;
    virtual ~DDSTypeSupport() {}
};

// True when the plugin belongs to the type named `type_name` (the type's own name, whatever
// name it was registered under); how typed narrowing tells endpoints apart.
bool DDS_TypePlugin_is_type(const DDSTypePlugin* plugin, const char* type_name);

// Logs an error of a type plugin, type support or typed endpoint through the middleware
// logger; `context` names the operation.
void DDS_TypePlugin_log_error(const char* context, const char* format, ...)
    __attribute__((format(printf, 2, 3)));

#endif
