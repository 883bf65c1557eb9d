#include "kestping/kestPingAgent.h"

// Placeholder until topic creation lands.
bool KestPingAgent::init_topic() {
    return createDomainParticipant() && false;
}
