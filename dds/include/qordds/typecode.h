// Type descriptions of sample types, and the generic CDR serializer and key hash driven by them.
//
// A description is a structure of named members, each of the standard 32-bit signed integer
// type, with member ids and key flags. Its member-access table says where each member lies in
// a plain C++ sample, so the serializer works on any such structure without generated code.
#ifndef QOR_DDS_TYPECODE_H
#define QOR_DDS_TYPECODE_H

#include <cstdint>

#include "qordds/type_plugin.h"

// Type kinds, with the standard numbering.
enum DDS_TCKind {
    DDS_TK_NULL = 0,
    DDS_TK_LONG = 2,
    DDS_TK_STRUCT = 10,
};

// One member of a structure. Its range is the whole range of its kind.
struct DDS_TypeCodeMember {
    const char* name;
    DDS_TCKind kind;  // DDS_TK_LONG
    int32_t id;
    bool is_key;  // a key member; otherwise a required member
    int32_t default_value;
};

// Where the members lie in a plain C++ sample of the type.
struct DDS_SampleAccessInfo {
    uint32_t sample_size;
    const uint32_t* member_offsets;  // one per member, in member order
};

struct DDS_TypeCode {
    DDS_TCKind kind;  // DDS_TK_STRUCT
    const char* name;
    uint32_t member_count;
    const DDS_TypeCodeMember* members;
    const DDS_SampleAccessInfo* access_info;
    const DDSTypePlugin* plugin_info;  // the type's plugin record
};

// Serialized sizes above this are not representable; a size computation that would exceed it
// reports an overflow.
const unsigned int DDS_SERIALIZED_SIZE_MAX = 0x7FFFFBFFu;

enum DDS_CdrByteOrder {
    DDS_CDR_NATIVE_BYTE_ORDER,
    DDS_CDR_BIG_ENDIAN,
    DDS_CDR_LITTLE_ENDIAN,
};

// How a sample is laid out: representation (XCDR, XCDR2, or AUTO for the type's native XCDR),
// byte order, the whole sample or its key members alone, with or without the 4-byte
// encapsulation header. Structures are appendable, so in XCDR2 a DHEADER precedes their
// members (type_serializer.cpp says why).
struct DDS_CdrEncoding {
    DDS_DataRepresentationId_t representation;
    DDS_CdrByteOrder byte_order;
    bool key_only;
    bool encapsulation_header;
};

// Whole samples as they travel: native XCDR with the encapsulation header.
extern const DDS_CdrEncoding DDS_CDR_ENCODING_DEFAULT;

// With a null buffer, stores in *length the serialized size; otherwise serializes into
// buffer (capacity *length) and stores the bytes written. False for a malformed description,
// an unknown representation or a buffer that is too small.
bool DDS_TypeCode_serialize(const DDS_TypeCode* type, const void* sample,
                            const DDS_CdrEncoding& encoding, char* buffer, unsigned int* length);

// Reads a serialized sample that starts with its encapsulation header, in either byte order
// and either XCDR version; with key_only, a key-only one, which sets the key members alone.
// False, with the sample unchanged, when the buffer is too short, has an unknown
// encapsulation or is otherwise malformed.
bool DDS_TypeCode_deserialize(const DDS_TypeCode* type, void* sample, const char* buffer,
                              unsigned int length, bool key_only);

// The largest serialized size in that encoding (the byte order does not matter). False when
// the description is malformed or the size overflows DDS_SERIALIZED_SIZE_MAX.
bool DDS_TypeCode_get_serialized_max_size(const DDS_TypeCode* type, const DDS_CdrEncoding& encoding,
                                          unsigned int* size);

// The largest size of the key members in the form the key hash is computed from.
bool DDS_TypeCode_get_keyhash_max_size(const DDS_TypeCode* type, unsigned int* size);

// The key hash of a sample: its key members in big-endian XCDR version 2, zero-padded to 16
// bytes, or their MD5 digest when the key's maximum size there is above 16 bytes. False for
// a type without key members.
bool DDS_TypeCode_get_keyhash(const DDS_TypeCode* type, const void* sample, DDS_KeyHash_t* hash);

#endif
