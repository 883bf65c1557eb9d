// The QoS profile document built into the tool, so that it works with no QoS file at all: the
// library "InternalPingLibrary" with the single profile "InternalPingProfile".
#ifndef QOR_AGENT_BUILTIN_QOS_PROFILE_H
#define QOR_AGENT_BUILTIN_QOS_PROFILE_H

extern const char* const KEST_BUILTIN_QOS_LIBRARY;  // "InternalPingLibrary"
extern const char* const KEST_BUILTIN_QOS_PROFILE;  // "InternalPingProfile"

// The document as the fragments handed to the participant factory as its string profile, one
// per element, in order; joined with no separator they form the XML text. `count` receives
// their number.
const char* const* KestAgent_getBuiltinQosProfile(int* count);

#endif
