// Binding-internal: the binding's own diagnostics, written through the middleware logger.
#ifndef QOR_DDS_SRC_LOG_H
#define QOR_DDS_SRC_LOG_H

namespace qordds {

// Info is local information (verbosity 3), RemoteInfo what is learnt of other participants
// (verbosity 4).
enum class LogKind { Error, Warning, Info, RemoteInfo };

// Writes one line now (not from a background thread), if the logger's verbosity lets `kind`
// through. `context` names the operation, e.g. "DDSSequence::maximum".
void log(LogKind kind, const char* context, const char* format, ...)
    __attribute__((format(printf, 3, 4)));

// Whether the logger's verbosity lets `kind` through now.
bool log_enabled(LogKind kind);

}  // namespace qordds

#endif
