// Binding-internal: who made a remote participant, read from the RTPS vendor id it announces.
#ifndef QOR_DDS_SRC_DIAGNOSTICS_VENDOR_NAMES_H
#define QOR_DDS_SRC_DIAGNOSTICS_VENDOR_NAMES_H

#include <cstdint>
#include <string>

namespace qordds {

// The product registered under vendor id `major`.`minor`, e.g. "Eclipse Cyclone DDS" for
// 01.10; for an id not in the table, "vendor id 01.2a (not in this table)".
std::string vendor_name(uint8_t major, uint8_t minor);

}  // namespace qordds

#endif
