// Binding-internal: Fast DDS log entries that report no fault, left out of the log.
#ifndef QOR_DDS_SRC_FAST_LOG_FILTER_H
#define QOR_DDS_SRC_FAST_LOG_FILTER_H

#include <string>

namespace qordds {

// True for an entry of Fast DDS (its category and message) that is known to report nothing
// wrong; each such entry and the reason why is listed in fast_log_filter.cpp.
bool is_known_false_fast_entry(const char* category, const std::string& message);

}  // namespace qordds

#endif
