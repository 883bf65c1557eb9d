#include "qordds/utility.h"

#include <cerrno>
#include <ctime>

void DDSUtility::sleep(const DDS_Duration_t& duration) {
    if (duration.sec < 0 || duration == DDS_DURATION_INFINITE) {
        return;
    }
    timespec remaining = {static_cast<time_t>(duration.sec) + duration.nanosec / 1000000000u,
                          static_cast<long>(duration.nanosec % 1000000000u)};
    while (nanosleep(&remaining, &remaining) != 0 && errno == EINTR) {
    }
}
