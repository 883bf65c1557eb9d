// The two ping sample types: a plain counter, and a keyed counter. Their descriptions tell the
// middleware's generic serializer how they travel: the members in order, each a 32-bit
// signed integer, in XCDR with a 4-byte encapsulation header.
#ifndef QOR_KESTPING_PING_DATA_H
#define QOR_KESTPING_PING_DATA_H

#include <cstdint>

#include "qordds/sequence.h"
#include "qordds/type_plugin.h"
#include "qordds/typecode.h"

extern const char* const KestPingDataTYPENAME;       // "KestPingData"
extern const char* const KestKeyedPingDataTYPENAME;  // "KestKeyedPingData"

struct KestPingData {
    int32_t number;
};

struct KestKeyedPingData {
    int32_t key;  // the key member
    int32_t number;
};

typedef DDSSequence<KestPingData> KestPingDataSeq;
typedef DDSSequence<KestKeyedPingData> KestKeyedPingDataSeq;

// The sample functions of a ping type T, declared below for KestPingData and
// KestKeyedPingData alike (so KestPingData_initialize, KestKeyedPingData_copy, ...):
//   T_get_typecode               the type description, the same object on every call
//   T_initialize[_ex|_w_params]  set every member to 0; false only for a missing sample (or
//                                missing params)
//   T_finalize[_ex|_w_params|_w_return|_optional_members]
//                                nothing to release; a missing sample is accepted
//   T_copy                       copies the members; false, with dst unchanged, when either
//                                is missing
//   T_get_sample_access_info, T_get_type_plugin_info
// NOLINTBEGIN(bugprone-macro-parentheses): T is a type name pasted into function names;
// it cannot be parenthesized.
#define KEST_PING_DATA_FUNCTIONS(T)                                                    \
    const DDS_TypeCode* T##_get_typecode();                                            \
    bool T##_initialize(T* sample);                                                    \
    bool T##_initialize_ex(T* sample, bool allocate_pointers, bool allocate_memory);   \
    bool T##_initialize_w_params(T* sample, const DDS_TypeAllocationParams_t* params); \
    void T##_finalize(T* sample);                                                      \
    void T##_finalize_ex(T* sample, bool delete_pointers);                             \
    void T##_finalize_w_params(T* sample, const DDS_TypeDeallocationParams_t* params); \
    bool T##_finalize_w_return(T* sample);                                             \
    void T##_finalize_optional_members(T* sample, bool delete_pointers);               \
    bool T##_copy(T* dst, const T* src);                                               \
    const DDS_SampleAccessInfo* T##_get_sample_access_info();                          \
    const DDSTypePlugin* T##_get_type_plugin_info();
// NOLINTEND(bugprone-macro-parentheses)

KEST_PING_DATA_FUNCTIONS(KestPingData)
KEST_PING_DATA_FUNCTIONS(KestKeyedPingData)

#endif
