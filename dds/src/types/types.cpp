#include "qordds/types.h"

#include <cstring>

const DDS_InstanceHandle_t DDS_HANDLE_NIL = {{0}, false};

bool operator==(const DDS_InstanceHandle_t& a, const DDS_InstanceHandle_t& b) {
    return a.isValid == b.isValid && std::memcmp(a.value, b.value, sizeof a.value) == 0;
}
