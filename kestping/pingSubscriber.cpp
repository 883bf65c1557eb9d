#include "kestping/kestPingAgent.h"

// Placeholder until subscribing lands.
bool KestPingAgent::init_subscriber() {
    return false;
}
bool KestPingAgent::do_subscriber() {
    return false;
}
bool KestPingAgent::shutdown_subscriber() {
    return true;
}
