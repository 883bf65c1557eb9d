#include "log/fast_environment.h"

#include <cstdlib>

#include "log/log.h"

namespace qordds {

namespace {

// Variables Fast DDS 2.9 acts on by itself.
const char* const ignored_variables[] = {
    "FASTRTPS_DEFAULT_PROFILES_FILE",  // an XML profile file loaded into every participant
    "ROS_DISCOVERY_SERVER",            // turns simple discovery into a discovery-server client
    "ROS_SUPER_CLIENT",                // the same, as a super client
    "FASTDDS_ENVIRONMENT_FILE",        // a file that may carry the variable above, watched
    "FASTDDS_STATISTICS",              // extra statistics writers in every participant
};

}  // namespace

void neutralise_fast_dds_environment() {
    static bool done = false;
    if (done) {
        return;
    }
    done = true;
    for (const char* name : ignored_variables) {
        if (std::getenv(name) != nullptr) {
            log(LogKind::Warning, "DDSDomainParticipantFactory",
                "the environment variable %s is ignored", name);
            unsetenv(name);
        }
    }
    // Without this Fast DDS loads DEFAULT_FASTRTPS_PROFILES.xml from the working directory.
    setenv("SKIP_DEFAULT_XML_FILE", "1", 1);
}

}  // namespace qordds
