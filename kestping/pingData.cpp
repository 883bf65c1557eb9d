#include "kestping/pingData.h"

// Placeholder until the sample types land.

const char* const KestPingDataTYPENAME = "KestPingData";
const char* const KestKeyedPingDataTYPENAME = "KestKeyedPingData";

bool KestPingData_initialize(KestPingData*) {
    return false;
}
void KestPingData_finalize(KestPingData*) {}
bool KestPingData_copy(KestPingData*, const KestPingData*) {
    return false;
}

bool KestKeyedPingData_initialize(KestKeyedPingData*) {
    return false;
}
void KestKeyedPingData_finalize(KestKeyedPingData*) {}
bool KestKeyedPingData_copy(KestKeyedPingData*, const KestKeyedPingData*) {
    return false;
}
