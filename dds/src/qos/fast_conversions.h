// Binding-internal: the small value conversions between this binding's DDS types and Fast
// DDS's: durations, times, instance handles.
#ifndef QOR_DDS_SRC_FAST_CONVERSIONS_H
#define QOR_DDS_SRC_FAST_CONVERSIONS_H

#include <cstring>

#include <fastdds/rtps/common/Time_t.h>
#include <fastdds/dds/common/InstanceHandle.hpp>

#include "qordds/types.h"

namespace qordds {

// The infinite and zero durations map onto Fast DDS's own constants; everything else keeps
// its seconds and nanoseconds (nanoseconds of a second or more carry into the seconds).
inline eprosima::fastrtps::Duration_t to_fast(const DDS_Duration_t& duration) {
    if (duration == DDS_DURATION_INFINITE) {
        return eprosima::fastrtps::c_TimeInfinite;
    }
    int64_t seconds = static_cast<int64_t>(duration.sec) + duration.nanosec / 1000000000u;
    if (seconds >= DDS_DURATION_INFINITE_SEC) {
        return eprosima::fastrtps::c_TimeInfinite;
    }
    return eprosima::fastrtps::Duration_t(static_cast<int32_t>(seconds),
                                          duration.nanosec % 1000000000u);
}

inline DDS_Duration_t from_fast_duration(const eprosima::fastrtps::Duration_t& duration) {
    if (duration == eprosima::fastrtps::c_TimeInfinite) {
        return DDS_DURATION_INFINITE;
    }
    return {duration.seconds, duration.nanosec};
}

inline DDS_Time_t from_fast_time(const eprosima::fastrtps::rtps::Time_t& time) {
    return {time.seconds(), time.nanosec()};
}

inline DDS_InstanceHandle_t from_fast(const eprosima::fastdds::dds::InstanceHandle_t& handle) {
    DDS_InstanceHandle_t result = DDS_HANDLE_NIL;
    if (handle.isDefined()) {
        for (int i = 0; i < 16; ++i) {
            result.value[i] = handle.value[i];
        }
        result.isValid = true;
    }
    return result;
}

inline eprosima::fastdds::dds::InstanceHandle_t to_fast(const DDS_InstanceHandle_t& handle) {
    eprosima::fastdds::dds::InstanceHandle_t result;
    if (handle.isValid) {
        for (int i = 0; i < 16; ++i) {
            result.value[i] = handle.value[i];
        }
    }
    return result;
}

}  // namespace qordds

#endif
