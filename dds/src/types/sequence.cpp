#include "qordds/sequence.h"

#include "log/log.h"

void DDS_Sequence_log_error(const char* operation, const char* reason) {
    qordds::log(qordds::LogKind::Error, "DDSSequence", "%s: %s", operation, reason);
}
