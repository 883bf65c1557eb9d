#include "diagnostics/vendor_names.h"

#include <cstdio>

namespace qordds {

namespace {

struct Vendor {
    uint8_t minor;  // all registered ids have major 0x01
    const char* name;
};

// The registered RTPS vendor ids of active products that this table knows.
const Vendor kVendors[] = {
    {0x02, "ADLINK OpenSplice DDS"},
    {0x03, "OCI OpenDDS"},
    {0x04, "MilSoft Mil-DDS"},
    {0x05, "Kongsberg InterCOM DDS"},
    {0x06, "Twin Oaks Computing CoreDX DDS"},
    {0x09, "ETRI Diamond DDS"},
    {0x0b, "ADLINK Vortex Cafe"},
    {0x0d, "ADLINK Vortex Lite"},
    {0x0e, "Technicolor Qeo"},
    {0x0f, "eProsima Fast DDS"},
    {0x10, "Eclipse Cyclone DDS"},
    {0x11, "Gurum Networks GurumDDS"},
    {0x12, "Atostek RustDDS"},
    {0x13, "Nanjing Zhenrong ZRDDS"},
    {0x14, "S2E Software Systems Dust DDS"},
};

}  // namespace

std::string vendor_name(uint8_t major, uint8_t minor) {
    if (major == 0x01) {
        for (const Vendor& vendor : kVendors) {
            if (vendor.minor == minor) {
                return vendor.name;
            }
        }
    }
    char text[48];
    std::snprintf(text, sizeof text, "vendor id %02x.%02x (not in this table)", major, minor);
    return text;
}

}  // namespace qordds
