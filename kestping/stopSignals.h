// Ctrl+C and SIGTERM stop a run the way its end would: the first one raises
// KESTPING_INTERRUPTED and wakes the publish and subscribe loops, which then tear down as
// usual; a second one ends the process at once, by the signal's default action.
#ifndef QOR_KESTPING_STOP_SIGNALS_H
#define QOR_KESTPING_STOP_SIGNALS_H

#include "qordds/types.h"

// Call first in main, before any thread exists: SIGINT and SIGTERM are blocked in this thread
// and so in every thread started later, and a thread of its own waits for them. A signal that
// the process inherited as ignored (a job started with & by a script) stays ignored.
void catch_stop_signals();

// Sleeps for the duration, or less when a stop signal comes. Once a stop signal has come it
// raises KESTPING_INTERRUPTED again and returns at once, so a loop that cleared the flag on
// entry still ends after its first pass. A zero duration only looks; an infinite or negative
// one does not sleep.
void sleep_unless_interrupted(const DDS_Duration_t& duration);

// What the first stop signal does; for an embedding that stops the loops itself.
void request_stop();

#endif
