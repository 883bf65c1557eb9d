#include "workarounds/fast_log_filter.h"

#include <cstring>

namespace qordds {

namespace {

struct KnownFalseEntry {
    const char* category;
    const char* message;  // the whole message, exactly
    const char* reason;
};

const KnownFalseEntry kKnownFalseEntries[] = {
    {"DATA_WRITER", "Could not set the next deadline in the history",
     "Fast DDS's own offered-deadline timer lost an unregistered instance; the binding keeps "
     "the offered deadline itself and ignores that timer (offered_deadline.h)"},
};

}  // namespace

bool is_known_false_fast_entry(const char* category, const std::string& message) {
    if (category == nullptr) {
        return false;
    }
    for (const KnownFalseEntry& entry : kKnownFalseEntries) {
        if (std::strcmp(category, entry.category) == 0 && message == entry.message) {
            return true;
        }
    }
    return false;
}

}  // namespace qordds
