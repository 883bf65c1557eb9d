// The two ping sample types: a plain counter, and a keyed counter.
#ifndef QOR_KESTPING_PING_DATA_H
#define QOR_KESTPING_PING_DATA_H

#include <cstdint>

#include "dds/sequence.h"

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

bool KestPingData_initialize(KestPingData* sample);
void KestPingData_finalize(KestPingData* sample);
bool KestPingData_copy(KestPingData* dst, const KestPingData* src);

bool KestKeyedPingData_initialize(KestKeyedPingData* sample);
void KestKeyedPingData_finalize(KestKeyedPingData* sample);
bool KestKeyedPingData_copy(KestKeyedPingData* dst, const KestKeyedPingData* src);

#endif
