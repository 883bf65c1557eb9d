// Test helper: instance handles told apart by their first byte.
#ifndef QOR_TESTS_UNIT_DDS_INSTANCE_HANDLE_H
#define QOR_TESTS_UNIT_DDS_INSTANCE_HANDLE_H

#include "qordds/types.h"

namespace qortest {

inline DDS_InstanceHandle_t handle(unsigned char first) {
    DDS_InstanceHandle_t result = DDS_HANDLE_NIL;
    result.value[0] = first;
    result.isValid = true;
    return result;
}

}  // namespace qortest

#endif
