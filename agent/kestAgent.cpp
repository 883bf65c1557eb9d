// KestAgent's settings with their defaults, and the release of what it owns.
#include <cstdio>
#include <cstring>

#include "agent/kestAgent.h"
#include "qordds/string.h"

int theVerbosity = 1;
const char* ProductVersion = "$Id$";

KestAgent::KestAgent(const char* name, int domain)
    : verbosity(1),
      logFormat(13330),
      domainId(domain),
      domainTag(nullptr),
      participantIndex(-1),
      appId(0),
      participantPartitionCount(0),
      peerCount(0),
      discoveryPluginSet(false),
      discoveryPlugin(3),
      discoveryTTL(-1),
      transportMask(3),
      msgMaxSize(-1),
      shmRcvSize(-1),
      tcMaxSize(4096),
      qosFile(nullptr),
      qosProfile(nullptr),
      qosProfileLibrary(nullptr),
      qosProfileName(nullptr),
      participant(nullptr),
      retcode(DDS_RETCODE_OK) {
    std::strncpy(applicationName, name, sizeof applicationName - 1);
    applicationName[sizeof applicationName - 1] = '\0';
    // Entries past the counts are never read.
    participantPartitions[0] = nullptr;
    peers[0] = nullptr;
}

static void releaseString(char** string) {
    DDS_String_free(*string);
    *string = nullptr;
}

KestAgent::~KestAgent() {
    for (int i = 0; i < participantPartitionCount; ++i) {
        releaseString(&participantPartitions[i]);
    }
    for (int i = 0; i < peerCount; ++i) {
        releaseString(&peers[i]);
    }

    // Teardown goes on after a failed step; its messages do not depend on the verbosity.
    if (participant != nullptr) {
        retcode = participant->delete_contained_entities();
        if (retcode != DDS_RETCODE_OK) {
            std::printf("delete_contained_entities error %d\n", retcode);
        }
        retcode = DDSDomainParticipantFactory::get_instance()->delete_participant(participant);
        if (retcode != DDS_RETCODE_OK) {
            std::printf("delete_participant error %d\n", retcode);
        }
        participant = nullptr;
    }
    retcode = DDSDomainParticipantFactory::finalize_instance();
    if (retcode != DDS_RETCODE_OK) {
        std::printf("finalize_instance error %d\n", retcode);
    }

    releaseString(&qosFile);
    releaseString(&qosProfile);
    releaseString(&qosProfileLibrary);
    releaseString(&qosProfileName);
    releaseString(&domainTag);
}
