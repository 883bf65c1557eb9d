// The summary of the generic settings, printed before the run at verbosity 2 and above.
#include <cstdio>

#include "agent/kestAgent.h"

static const char* verbosityLabel(int level) {
    switch (level) {
        case 0:
            return "0 (Silent)";
        case 1:
            return "1 (Error)";
        case 2:
            return "2 (Warning)";
        case 3:
            return "3 (Local Info)";
        case 4:
            return "4 (Remote Info)";
        case 5:
            return "5 (All Info)";
        default:
            return "Unknown";
    }
}

void KestAgent::printSummary() {
    std::printf("Running %s with the following options:\n", applicationName);
    std::printf("    Verbosity..............: %s\n", verbosityLabel(theVerbosity));
    std::printf("    Domain.................: %d\n", domainId);
    std::printf("    Domain Tag.............: %s\n",
                domainTag != nullptr ? domainTag : "(not set)");
    std::printf("    Participant index......: %d %s\n", participantIndex,
                participantIndex == -1 ? "(auto pick)" : "");
    std::printf("    AppId..................: %.8x %s\n", static_cast<unsigned int>(appId),
                appId == 0 ? "(auto pick)" : "");
    std::printf("    DiscoveryTTL...........: %d %s\n", discoveryTTL,
                discoveryTTL == -1 ? "(use default)" : "");

    // With partitions the line has no end of its own: the peer line continues it.
    std::printf("    Partition in the Participant list.........: ");
    if (participantPartitionCount == 0) {
        std::printf("* (unless overwritten with qosProfile)\n");
    } else {
        for (int i = 0; i < participantPartitionCount; ++i) {
            std::printf(i == 0 ? "%s" : ",%s", participantPartitions[i]);
        }
    }
    std::printf("    Peer Host list.........:");
    if (peerCount == 0) {
        std::printf(" <default from environment>\n");
    } else {
        for (int i = 0; i < peerCount; ++i) {
            std::printf(" %s", peers[i]);
        }
        std::printf("\n");
    }

    std::printf("    Transport mask.........: %d %s\n", transportMask,
                transportMask == 3 ? "(default)" : "");
    std::printf("    Max message size.......: %d %s\n", msgMaxSize,
                msgMaxSize < 0 ? "(use default)" : "");
    std::printf("    Shmem receive size.....: %d %s\n", shmRcvSize,
                shmRcvSize < 0 ? "(use default)" : "");
    std::printf("    Type code max size.....: %d %s\n", tcMaxSize,
                tcMaxSize == 4096 ? "(use default)" : "");
}
