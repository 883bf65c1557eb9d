// Binding-internal: endpoint deletions asked for on a thread that is delivering a callback.
//
// Fast DDS 2.9 cannot delete an endpoint on such a thread: a receive thread holds the list of
// endpoints that the deletion must change, and waits for itself (measured: a reader deleted
// from its own on_data_available hangs in MessageReceiver::removeEndpoint). The binding
// therefore stops the endpoint's callbacks at once and deletes it on a thread of its own,
// which waits for the callbacks under way, the asking one included, to return first.
#ifndef QOR_DDS_SRC_DEFERRED_DELETION_H
#define QOR_DDS_SRC_DEFERRED_DELETION_H

#include <functional>

namespace qordds {

// True on a thread inside one of the binding's callbacks (see GatePass).
bool in_callback();

// Runs `deletion` on a thread of its own.
void defer_deletion(std::function<void()> deletion);

// Waits until the deferred deletions have run, so that the Fast DDS publisher, subscriber or
// topic that held the endpoints is free of them; a bounded wait, and none inside a callback,
// where it could wait for itself. False when some are still under way.
bool finish_deferred_deletions(const char* context);

}  // namespace qordds

#endif
