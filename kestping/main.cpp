// qorddsping: checks DDS connectivity by publishing numbered ping samples or subscribing to
// them and reporting what arrives.
#include <cstdio>

#include "kestPingAgent.h"
#include "stopSignals.h"

int main(int argc, char** argv) {
    // Every line goes out as it is printed, also into a pipe or a file: `| tee` and log files
    // follow the run, and a killed run loses nothing it has printed.
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    // Before the middleware starts any thread.
    catch_stop_signals();
    KestPingAgent* agent = new KestPingAgent("QOR Solvane DDS Ping");
    bool result = agent->execute(argc, const_cast<const char**>(argv));
    delete agent;
    // Deliberately not inverted: 1 after a successful run, 0 after a failure, -help or
    // -version.
    return result ? 1 : 0;
}
