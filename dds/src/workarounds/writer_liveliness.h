// Binding-internal: the liveliness of the writers a DataReader is matched with.
//
// With the default writer liveliness (automatic, infinite lease) Fast DDS 2.9 never reports
// a liveliness change, yet a matched writer is alive for as long as it stays matched. So a
// writer counts as alive from its match, and as lost (alive -1, not alive +1) when it is
// unmatched, whether deleted or dropped with its participant's lease. Writers with a finite
// lease also get Fast DDS's own reports; they only count where they change the writer's
// state, so nothing is counted twice. A lost writer stays counted as not alive until it is
// matched again (after a stopped process or a cut link), when it is alive again.
#ifndef QOR_DDS_SRC_WRITER_LIVELINESS_H
#define QOR_DDS_SRC_WRITER_LIVELINESS_H

#include <array>
#include <map>

#include "qordds/status.h"

namespace qordds {

// Not thread-safe: the reader serialises access.
class WriterLiveliness {
  public:
    struct Change {
        bool reported = false;     // the status changed: tell the listener
        bool writer_lost = false;  // the writer went from alive to not alive
        DDS_LivelinessChangedStatus status;
    };

    Change matched(const DDS_InstanceHandle_t& writer);
    Change unmatched(const DDS_InstanceHandle_t& writer);
    // A change that Fast DDS reported for status.last_publication_handle.
    Change reported_by_fast(const DDS_LivelinessChangedStatus& status);

    int32_t alive_count() const { return alive_; }
    int32_t not_alive_count() const { return not_alive_; }

  private:
    enum class State { Alive, NotAlive, Gone };
    typedef std::array<unsigned char, 16> Key;

    static Key key_of(const DDS_InstanceHandle_t& writer);
    Change become_alive(const DDS_InstanceHandle_t& writer);
    Change become_lost(const DDS_InstanceHandle_t& writer, State next);
    Change report(const DDS_InstanceHandle_t& writer, int32_t alive_change,
                  int32_t not_alive_change);

    std::map<Key, State> writers_;
    int32_t alive_ = 0;
    int32_t not_alive_ = 0;
};

}  // namespace qordds

#endif
