// Binding-internal: keeps Fast DDS from configuring itself from the environment.
#ifndef QOR_DDS_SRC_FAST_ENVIRONMENT_H
#define QOR_DDS_SRC_FAST_ENVIRONMENT_H

namespace qordds {

// Fast DDS reads a profile file named by a variable or found in the working directory, a
// discovery-server list and statistics switches from the environment, each of which would
// change what the tool does without the tool knowing. QoS come only from the binding's own
// profile sources, so those variables are removed from this process before Fast DDS first
// reads them. Call before any Fast DDS participant is created; later calls do nothing.
void neutralise_fast_dds_environment();

}  // namespace qordds

#endif
