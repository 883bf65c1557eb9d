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

// The type description, the same object on every call.
const DDS_TypeCode* KestPingData_get_typecode();
// Set every member to 0; false only for a missing sample (or missing params).
bool KestPingData_initialize(KestPingData* sample);
bool KestPingData_initialize_ex(KestPingData* sample, bool allocate_pointers, bool allocate_memory);
bool KestPingData_initialize_w_params(KestPingData* sample,
                                      const DDS_TypeAllocationParams_t* params);
// Nothing to release; a missing sample is accepted.
void KestPingData_finalize(KestPingData* sample);
void KestPingData_finalize_ex(KestPingData* sample, bool delete_pointers);
void KestPingData_finalize_w_params(KestPingData* sample,
                                    const DDS_TypeDeallocationParams_t* params);
bool KestPingData_finalize_w_return(KestPingData* sample);
void KestPingData_finalize_optional_members(KestPingData* sample, bool delete_pointers);
// Copies the members in order; false, with dst unchanged, when either is missing.
bool KestPingData_copy(KestPingData* dst, const KestPingData* src);
const DDS_SampleAccessInfo* KestPingData_get_sample_access_info();
const DDSTypePlugin* KestPingData_get_type_plugin_info();

const DDS_TypeCode* KestKeyedPingData_get_typecode();
bool KestKeyedPingData_initialize(KestKeyedPingData* sample);
bool KestKeyedPingData_initialize_ex(KestKeyedPingData* sample, bool allocate_pointers,
                                     bool allocate_memory);
bool KestKeyedPingData_initialize_w_params(KestKeyedPingData* sample,
                                           const DDS_TypeAllocationParams_t* params);
void KestKeyedPingData_finalize(KestKeyedPingData* sample);
void KestKeyedPingData_finalize_ex(KestKeyedPingData* sample, bool delete_pointers);
void KestKeyedPingData_finalize_w_params(KestKeyedPingData* sample,
                                         const DDS_TypeDeallocationParams_t* params);
bool KestKeyedPingData_finalize_w_return(KestKeyedPingData* sample);
void KestKeyedPingData_finalize_optional_members(KestKeyedPingData* sample, bool delete_pointers);
bool KestKeyedPingData_copy(KestKeyedPingData* dst, const KestKeyedPingData* src);
const DDS_SampleAccessInfo* KestKeyedPingData_get_sample_access_info();
const DDSTypePlugin* KestKeyedPingData_get_type_plugin_info();

#endif
