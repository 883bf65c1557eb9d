#include <cstdio>

#include "agent/kestAgent.h"

// Placeholder until participant creation lands: run() fails through its normal path.
bool KestAgent::createDomainParticipant() {
    if (theVerbosity > 0) {
        std::puts("create_participant error");
    }
    return false;
}
