// Binding-internal: a write that Fast DDS 2.9 gives up on too early when the send window is
// full.
//
// A reliable writer whose window is full waits in Fast DDS for acknowledgements. When they
// empty a VOLATILE writer's history while it waits, Fast DDS 2.9 wakes up, finds no sample
// left to drop and gives up with a timeout although there is room now; the sample is not
// written. Such a timeout comes before max_blocking_time has passed, so it is tried once
// more, which then finds the room. A real timeout comes at max_blocking_time and stays.
#ifndef QOR_DDS_SRC_SEND_WINDOW_H
#define QOR_DDS_SRC_SEND_WINDOW_H

#include <chrono>

#include "qordds/types.h"

namespace qordds {

// True for a timeout that a writer waiting for acknowledgements got before max_blocking_time
// had passed since `start`: the operation is to be tried once more.
inline bool is_early_send_window_timeout(DDS_ReturnCode_t result, bool waits_for_acknowledgements,
                                         std::chrono::steady_clock::time_point start,
                                         std::chrono::nanoseconds max_blocking_time) {
    return result == DDS_RETCODE_TIMEOUT && waits_for_acknowledgements &&
           std::chrono::steady_clock::now() - start < max_blocking_time;
}

}  // namespace qordds

#endif
