// What every scenario of the ping tool does with a run: start a subscriber and wait until it
// listens, expect a run to end as a successful one does, and take the lines it printed after
// its header.
#ifndef QOR_TESTS_E2E_SUPPORT_PING_RUN_H
#define QOR_TESTS_E2E_SUPPORT_PING_RUN_H

#include <memory>
#include <string>

#include "tests/e2e/support/lines.h"
#include "tests/e2e/support/private_host.h"

namespace qortest {

// The lines after the header that every run prints first; a run without the header fails
// the running test, and all its lines are returned.
Lines body(const std::string& output);

// The subscriber's line when nothing arrived for `seconds`.
std::string timeoutLine(int seconds);

// Starts a subscriber with `arguments` and waits, a minute at most, until it listens, so that
// a publisher started next finds it; a subscriber that does not listen fails the running test.
std::unique_ptr<Process> startListening(PrivateHost& host, const Lines& arguments);

// Expects the process to end by itself within a minute, with status 1 and nothing on standard
// error (where sanitizers report).
void expectEnded(Process& process);

}  // namespace qortest

#endif
