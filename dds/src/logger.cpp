#include "dds/logger.h"

#include <cstdarg>
#include <cstdio>

#include "dds/src/log.h"

// Placeholder until the logger lands: the binding's own lines only, errors by default.

namespace {
int verbosity_mask = DDS_LOG_VERBOSITY_FATAL | DDS_LOG_VERBOSITY_ERROR;
int print_format = 0;
}  // namespace

DDSLogger* DDSLogger::get_instance() {
    static DDSLogger logger;
    return &logger;
}

void DDSLogger::finalize() {
    std::fflush(stdout);
}

void DDSLogger::set_verbosity(int mask) {
    verbosity_mask = mask;
}
int DDSLogger::get_verbosity() const {
    return verbosity_mask;
}
void DDSLogger::set_print_format(int format) {
    print_format = format;
}
int DDSLogger::get_print_format() const {
    return print_format;
}

namespace qordds {

void log(LogKind kind, const char* context, const char* format, ...) {
    int bit = kind == LogKind::Error     ? DDS_LOG_VERBOSITY_ERROR
              : kind == LogKind::Warning ? DDS_LOG_VERBOSITY_WARNING
                                         : DDS_LOG_VERBOSITY_LOCAL_INFO;
    if ((verbosity_mask & bit) == 0) {
        return;
    }
    char message[1024];
    va_list args;
    va_start(args, format);
    std::vsnprintf(message, sizeof message, format, args);
    va_end(args);
    std::printf("%s: %s\n", context, message);
}

}  // namespace qordds
