// Fuzz target: the ping tool's command line through KestAgent::execute, as main() hands it
// over. The input is the argument list, arguments separated by NUL bytes (argv[0] is the
// program's name and not part of it). Only crashes and sanitizer reports count; what the tool
// prints and its result are not checked.
//
// Covered: joining the arguments into the bounded command string, splitting it again, the
// option loop with every generic and ping option (abbreviations, values, lists, their error
// messages), -help and -version, the summary of verbosity 2 and up, and the logger settings.
// The run itself is replaced: it ends where the tool would create its DomainParticipant, so no
// Fast DDS entity exists and one execution takes microseconds. With QOR_FUZZ_PARTICIPANT=1 in
// the environment, every command line that parses goes on to create (and enable) the
// participant from the profiles and options, and delete it again: the QoS file named by
// -qosFile, the profile selection, the transport and size checks. That mode opens sockets and
// shared memory, so it runs on a private host only (tools/fuzz runs every target there); and it
// cannot run long, as Fast DDS numbers the automatic participants of a process upward and ends
// the process once the ports of that number overflow (after 62 participants of domain 232).
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "kestping/kestPingAgent.h"

namespace {

class FuzzedPingAgent : public KestPingAgent {
  public:
    explicit FuzzedPingAgent(bool participant)
        : KestPingAgent("QOR Solvane DDS Ping"), createsParticipant(participant) {
        // No closing pause: a negative duration skips even the zero sleep's context switch.
        teardownPause = {-1, 0};
    }

    bool run() override { return !createsParticipant || createDomainParticipant(); }

  private:
    bool createsParticipant;
};

bool createsParticipant() {
    const char* mode = std::getenv("QOR_FUZZ_PARTICIPANT");
    return mode != nullptr && std::strcmp(mode, "1") == 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool participant = createsParticipant();
    std::vector<std::string> arguments(1, "qorddsping");
    std::string current;
    for (size_t i = 0; i < size; ++i) {
        if (data[i] == 0) {
            arguments.push_back(current);
            current.clear();
        } else {
            current += static_cast<char>(data[i]);
        }
    }
    if (size > 0) {
        arguments.push_back(current);
    }
    std::vector<const char*> argv;
    argv.reserve(arguments.size());
    for (const std::string& argument : arguments) {
        argv.push_back(argument.c_str());
    }

    // Every execution starts from the tool's start-up state: the verbosity global is written
    // by a run and read by the next one's messages, and the stop flag is process-wide.
    theVerbosity = 1;
    KESTPING_INTERRUPTED = false;
    FuzzedPingAgent* agent = new FuzzedPingAgent(participant);
    agent->execute(static_cast<int>(argv.size()), argv.data());
    delete agent;
    return 0;
}
