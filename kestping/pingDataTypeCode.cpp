// The type descriptions, member-access tables and plugin records of the ping types: what tells
// the two apart, as data. A description carries its plugin record and the record its
// description, so they are defined together here, as constants that exist before any code
// runs; the record's functions are the one implementation of pingDataImpl.h.
#include <cstddef>

#include "kestping/pingData.h"
#include "pingDataImpl.h"

namespace {

const int32_t kInt32Default = 0;

extern const DDSTypePlugin ping_plugin_info;
extern const DDSTypePlugin keyed_ping_plugin_info;

const DDS_TypeCodeMember ping_members[] = {
    {"number", DDS_TK_LONG, 0, false, kInt32Default},
};
const uint32_t ping_offsets[] = {offsetof(KestPingData, number)};
const DDS_SampleAccessInfo ping_access_info = {sizeof(KestPingData), ping_offsets};
const DDS_TypeCode ping_type_code = {
    DDS_TK_STRUCT,      // kind
    "KestPingData",     // name
    1,                  // member_count
    ping_members,       // members
    &ping_access_info,  // access_info
    &ping_plugin_info,  // plugin_info
};
const DDSTypePlugin ping_plugin_info =
    kestping::plugin_record<KestPingData>("KestPingData", DDS_TYPEPLUGIN_NO_KEY, &ping_type_code);

const DDS_TypeCodeMember keyed_ping_members[] = {
    {"key", DDS_TK_LONG, 0, true, kInt32Default},
    {"number", DDS_TK_LONG, 1, false, kInt32Default},
};
const uint32_t keyed_ping_offsets[] = {offsetof(KestKeyedPingData, key),
                                       offsetof(KestKeyedPingData, number)};
const DDS_SampleAccessInfo keyed_ping_access_info = {sizeof(KestKeyedPingData), keyed_ping_offsets};
const DDS_TypeCode keyed_ping_type_code = {
    DDS_TK_STRUCT,            // kind
    "KestKeyedPingData",      // name
    2,                        // member_count
    keyed_ping_members,       // members
    &keyed_ping_access_info,  // access_info
    &keyed_ping_plugin_info,  // plugin_info
};
const DDSTypePlugin keyed_ping_plugin_info = kestping::plugin_record<KestKeyedPingData>(
    "KestKeyedPingData", DDS_TYPEPLUGIN_USER_KEY, &keyed_ping_type_code);

}  // namespace

const DDS_TypeCode* KestPingData_get_typecode() {
    return &ping_type_code;
}
const DDS_SampleAccessInfo* KestPingData_get_sample_access_info() {
    return &ping_access_info;
}
const DDSTypePlugin* KestPingData_get_type_plugin_info() {
    return &ping_plugin_info;
}

const DDS_TypeCode* KestKeyedPingData_get_typecode() {
    return &keyed_ping_type_code;
}
const DDS_SampleAccessInfo* KestKeyedPingData_get_sample_access_info() {
    return &keyed_ping_access_info;
}
const DDSTypePlugin* KestKeyedPingData_get_type_plugin_info() {
    return &keyed_ping_plugin_info;
}
