// Basic DDS vocabulary: return codes, time, instance handles, status and state masks.
#ifndef QOR_DDS_TYPES_H
#define QOR_DDS_TYPES_H

#include <cstdint>

typedef int DDS_ReturnCode_t;

enum {
    DDS_RETCODE_OK = 0,
    DDS_RETCODE_ERROR = 1,
    DDS_RETCODE_UNSUPPORTED = 2,
    DDS_RETCODE_BAD_PARAMETER = 3,
    DDS_RETCODE_PRECONDITION_NOT_MET = 4,
    DDS_RETCODE_OUT_OF_RESOURCES = 5,
    DDS_RETCODE_NOT_ENABLED = 6,
    DDS_RETCODE_IMMUTABLE_POLICY = 7,
    DDS_RETCODE_INCONSISTENT_POLICY = 8,
    DDS_RETCODE_ALREADY_DELETED = 9,
    DDS_RETCODE_TIMEOUT = 10,
    DDS_RETCODE_NO_DATA = 11,
    DDS_RETCODE_ILLEGAL_OPERATION = 12,
};

typedef int32_t DDS_DomainId_t;

// A span of time: whole seconds and nanoseconds.
struct DDS_Duration_t {
    int32_t sec;
    uint32_t nanosec;
};

const int32_t DDS_DURATION_INFINITE_SEC = 0x7fffffff;
const uint32_t DDS_DURATION_INFINITE_NSEC = 0x7fffffffu;
const int32_t DDS_DURATION_ZERO_SEC = 0;
const uint32_t DDS_DURATION_ZERO_NSEC = 0;
const DDS_Duration_t DDS_DURATION_INFINITE = {DDS_DURATION_INFINITE_SEC,
                                              DDS_DURATION_INFINITE_NSEC};
const DDS_Duration_t DDS_DURATION_ZERO = {DDS_DURATION_ZERO_SEC, DDS_DURATION_ZERO_NSEC};

inline bool operator==(const DDS_Duration_t& a, const DDS_Duration_t& b) {
    return a.sec == b.sec && a.nanosec == b.nanosec;
}
inline bool operator!=(const DDS_Duration_t& a, const DDS_Duration_t& b) {
    return !(a == b);
}

// A point in time since the epoch.
struct DDS_Time_t {
    int32_t sec;
    uint32_t nanosec;
};

// Identifies an instance (its key hash) or a remote endpoint (its GUID).
struct DDS_InstanceHandle_t {
    unsigned char value[16];
    bool isValid;
};

extern const DDS_InstanceHandle_t DDS_HANDLE_NIL;

bool operator==(const DDS_InstanceHandle_t& a, const DDS_InstanceHandle_t& b);
inline bool operator!=(const DDS_InstanceHandle_t& a, const DDS_InstanceHandle_t& b) {
    return !(a == b);
}

// "No limit" for lengths and resource limits.
const int32_t DDS_LENGTH_UNLIMITED = -1;

typedef uint32_t DDS_StatusKind;
typedef uint32_t DDS_StatusMask;

enum : DDS_StatusKind {
    DDS_INCONSISTENT_TOPIC_STATUS = 0x0001u << 0,
    DDS_OFFERED_DEADLINE_MISSED_STATUS = 0x0001u << 1,
    DDS_REQUESTED_DEADLINE_MISSED_STATUS = 0x0001u << 2,
    DDS_OFFERED_INCOMPATIBLE_QOS_STATUS = 0x0001u << 5,
    DDS_REQUESTED_INCOMPATIBLE_QOS_STATUS = 0x0001u << 6,
    DDS_SAMPLE_LOST_STATUS = 0x0001u << 7,
    DDS_SAMPLE_REJECTED_STATUS = 0x0001u << 8,
    DDS_DATA_ON_READERS_STATUS = 0x0001u << 9,
    DDS_DATA_AVAILABLE_STATUS = 0x0001u << 10,
    DDS_LIVELINESS_LOST_STATUS = 0x0001u << 11,
    DDS_LIVELINESS_CHANGED_STATUS = 0x0001u << 12,
    DDS_PUBLICATION_MATCHED_STATUS = 0x0001u << 13,
    DDS_SUBSCRIPTION_MATCHED_STATUS = 0x0001u << 14,
};

const DDS_StatusMask DDS_STATUS_MASK_NONE = 0u;
const DDS_StatusMask DDS_STATUS_MASK_ALL = 0xffffffffu;

// Sample, view and instance states of a received sample, and the masks that select them.
typedef uint32_t DDS_SampleStateKind;
typedef uint32_t DDS_SampleStateMask;
const DDS_SampleStateKind DDS_READ_SAMPLE_STATE = 0x0001u;
const DDS_SampleStateKind DDS_NOT_READ_SAMPLE_STATE = 0x0002u;
const DDS_SampleStateMask DDS_ANY_SAMPLE_STATE = 0xffffu;

typedef uint32_t DDS_ViewStateKind;
typedef uint32_t DDS_ViewStateMask;
const DDS_ViewStateKind DDS_NEW_VIEW_STATE = 0x0001u;
const DDS_ViewStateKind DDS_NOT_NEW_VIEW_STATE = 0x0002u;
const DDS_ViewStateMask DDS_ANY_VIEW_STATE = 0xffffu;

typedef uint32_t DDS_InstanceStateKind;
typedef uint32_t DDS_InstanceStateMask;
const DDS_InstanceStateKind DDS_ALIVE_INSTANCE_STATE = 0x0001u;
const DDS_InstanceStateKind DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE = 0x0002u;
const DDS_InstanceStateKind DDS_NOT_ALIVE_NO_WRITERS_INSTANCE_STATE = 0x0004u;
const DDS_InstanceStateMask DDS_ANY_INSTANCE_STATE = 0xffffu;

#endif
