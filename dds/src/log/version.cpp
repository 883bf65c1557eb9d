#include "qordds/version.h"

#include <fastrtps/config.h>

DDS_ProductVersion_t DDS_get_product_version() {
    return {FASTRTPS_VERSION_MAJOR, FASTRTPS_VERSION_MINOR, FASTRTPS_VERSION_MICRO, 0};
}

const char* DDS_get_product_version_text() {
    return "Fast DDS " FASTRTPS_VERSION_STR;
}
