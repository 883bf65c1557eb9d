// Binding-internal: the files that DDS Security's built-in plugins read, checked before Fast
// DDS gets the participant's properties.
//
// Fast DDS 2.9 reads them only when the participant is enabled, and most of what can be wrong
// with them (a missing file, a file that is no certificate, a document signed by another CA)
// then ends in "Cannot create participant due to initialization error", often with no word on
// which property or file is at fault. The checks here read the same files with the same
// OpenSSL calls and name the property, the file and the fault; they also look for the
// permissions grant of the identity's subject, compared as Fast DDS 2.9 compares it.
#ifndef QOR_DDS_SRC_SECURITY_FILES_H
#define QOR_DDS_SRC_SECURITY_FILES_H

#include <string>
#include <vector>

#include <fastdds/rtps/attributes/PropertyPolicy.h>

namespace qordds {

// The faults of the files that the properties name, one line each ("property NAME: file PATH
// ..."), in the order the plugins read them; empty when every file is usable or no built-in
// plugin is configured. Only the built-in PKI-DH authentication and Access-Permissions access
// control read files; their properties are looked at only when their plugin is selected.
std::vector<std::string> security_file_problems(
    const eprosima::fastrtps::rtps::PropertyPolicy& properties);

// What works but is known to break in Fast DDS 2.9.1 (whole-message protection), one line
// each in the same form.
std::vector<std::string> security_file_warnings(
    const eprosima::fastrtps::rtps::PropertyPolicy& properties);

// Logs each of those faults as an error and each of those warnings as a warning in
// `context`; true when there is no fault.
bool security_files_usable(const eprosima::fastrtps::rtps::PropertyPolicy& properties,
                           const char* context);

}  // namespace qordds

#endif
