#include "dds/type_plugin.h"

const DDS_TypeAllocationParams_t DDS_TYPE_ALLOCATION_PARAMS_DEFAULT = {true, false, true};
const DDS_TypeDeallocationParams_t DDS_TYPE_DEALLOCATION_PARAMS_DEFAULT = {true, true};
