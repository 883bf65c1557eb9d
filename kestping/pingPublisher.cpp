#include "kestping/kestPingAgent.h"

// Placeholder until publishing lands.
bool KestPingAgent::init_publisher() {
    return false;
}
void KestPingAgent::do_write(int) {}
bool KestPingAgent::do_publisher() {
    return false;
}
bool KestPingAgent::shutdown_publisher() {
    return true;
}
