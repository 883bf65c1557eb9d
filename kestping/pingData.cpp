#include "kestping/pingData.h"

const char* const KestPingDataTYPENAME = "KestPingData";
const char* const KestKeyedPingDataTYPENAME = "KestKeyedPingData";

bool KestPingData_initialize(KestPingData* sample) {
    if (sample == nullptr) {
        return false;
    }
    sample->number = 0;
    return true;
}

bool KestPingData_initialize_ex(KestPingData* sample, bool, bool) {
    return KestPingData_initialize(sample);
}

bool KestPingData_initialize_w_params(KestPingData* sample,
                                      const DDS_TypeAllocationParams_t* params) {
    return params != nullptr && KestPingData_initialize(sample);
}

void KestPingData_finalize(KestPingData*) {}

void KestPingData_finalize_ex(KestPingData*, bool) {}

void KestPingData_finalize_w_params(KestPingData*, const DDS_TypeDeallocationParams_t*) {}

bool KestPingData_finalize_w_return(KestPingData*) {
    return true;
}

void KestPingData_finalize_optional_members(KestPingData*, bool) {}

bool KestPingData_copy(KestPingData* dst, const KestPingData* src) {
    if (dst == nullptr || src == nullptr) {
        return false;
    }
    dst->number = src->number;
    return true;
}

bool KestKeyedPingData_initialize(KestKeyedPingData* sample) {
    if (sample == nullptr) {
        return false;
    }
    sample->key = 0;
    sample->number = 0;
    return true;
}

bool KestKeyedPingData_initialize_ex(KestKeyedPingData* sample, bool, bool) {
    return KestKeyedPingData_initialize(sample);
}

bool KestKeyedPingData_initialize_w_params(KestKeyedPingData* sample,
                                           const DDS_TypeAllocationParams_t* params) {
    return params != nullptr && KestKeyedPingData_initialize(sample);
}

void KestKeyedPingData_finalize(KestKeyedPingData*) {}

void KestKeyedPingData_finalize_ex(KestKeyedPingData*, bool) {}

void KestKeyedPingData_finalize_w_params(KestKeyedPingData*, const DDS_TypeDeallocationParams_t*) {}

bool KestKeyedPingData_finalize_w_return(KestKeyedPingData*) {
    return true;
}

void KestKeyedPingData_finalize_optional_members(KestKeyedPingData*, bool) {}

bool KestKeyedPingData_copy(KestKeyedPingData* dst, const KestKeyedPingData* src) {
    if (dst == nullptr || src == nullptr) {
        return false;
    }
    dst->key = src->key;
    dst->number = src->number;
    return true;
}
