// qorddsping: checks DDS connectivity by publishing numbered ping samples or subscribing to
// them and reporting what arrives.
#include "kestPingAgent.h"
#include "stopSignals.h"

int main(int argc, char** argv) {
    // Before the middleware starts any thread.
    catch_stop_signals();
    KestPingAgent* agent = new KestPingAgent("QOR Solvane DDS Ping");
    bool result = agent->execute(argc, const_cast<const char**>(argv));
    delete agent;
    // Deliberately not inverted: 1 after a successful run, 0 after a failure, -help or
    // -version.
    return result ? 1 : 0;
}
