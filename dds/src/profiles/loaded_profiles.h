// Binding-internal: the QoS profiles the participant factory has loaded.
#ifndef QOR_DDS_SRC_LOADED_PROFILES_H
#define QOR_DDS_SRC_LOADED_PROFILES_H

#include "profiles/qos_profile_library.h"

namespace qordds {

// The profile library::profile of the factory's current sources; an empty reference, logged
// under `context`, when there is none.
QosProfileRef find_loaded_profile(const char* library, const char* profile, const char* context);

}  // namespace qordds

#endif
