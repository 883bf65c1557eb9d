#include "qordds/type_plugin.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "log/log.h"

bool DDS_TypePlugin_is_type(const DDSTypePlugin* plugin, const char* type_name) {
    return plugin != nullptr && plugin->type_name != nullptr && type_name != nullptr &&
           std::strcmp(plugin->type_name, type_name) == 0;
}

void DDS_TypePlugin_log_error(const char* context, const char* format, ...) {
    char message[512];
    va_list args;
    va_start(args, format);
    std::vsnprintf(message, sizeof message, format, args);
    va_end(args);
    qordds::log(qordds::LogKind::Error, context, "%s", message);
}
