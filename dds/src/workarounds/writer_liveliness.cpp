#include "workarounds/writer_liveliness.h"

#include <cstring>

namespace qordds {

WriterLiveliness::Key WriterLiveliness::key_of(const DDS_InstanceHandle_t& writer) {
    Key key;
    std::memcpy(key.data(), writer.value, key.size());
    return key;
}

WriterLiveliness::Change WriterLiveliness::report(const DDS_InstanceHandle_t& writer,
                                                  int32_t alive_change, int32_t not_alive_change) {
    alive_ += alive_change;
    not_alive_ += not_alive_change;
    Change change;
    change.reported = true;
    change.status.alive_count = alive_;
    change.status.not_alive_count = not_alive_;
    change.status.alive_count_change = alive_change;
    change.status.not_alive_count_change = not_alive_change;
    change.status.last_publication_handle = writer;
    return change;
}

WriterLiveliness::Change WriterLiveliness::become_alive(const DDS_InstanceHandle_t& writer) {
    auto found = writers_.find(key_of(writer));
    if (found == writers_.end()) {
        writers_[key_of(writer)] = State::Alive;
        return report(writer, +1, 0);
    }
    if (found->second == State::NotAlive) {
        found->second = State::Alive;
        return report(writer, +1, -1);
    }
    return Change();
}

WriterLiveliness::Change WriterLiveliness::become_lost(const DDS_InstanceHandle_t& writer,
                                                       State next) {
    auto found = writers_.find(key_of(writer));
    if (found == writers_.end() || found->second == State::Gone) {
        return Change();
    }
    State before = found->second;
    found->second = next;
    if (before != State::Alive) {
        return Change();
    }
    Change change = report(writer, -1, +1);
    change.writer_lost = true;
    return change;
}

WriterLiveliness::Change WriterLiveliness::matched(const DDS_InstanceHandle_t& writer) {
    // A writer matched again (its participant came back within reach) is alive again.
    auto found = writers_.find(key_of(writer));
    if (found != writers_.end() && found->second == State::Gone) {
        found->second = State::Alive;
        return report(writer, +1, -1);
    }
    return become_alive(writer);
}

WriterLiveliness::Change WriterLiveliness::unmatched(const DDS_InstanceHandle_t& writer) {
    return become_lost(writer, State::Gone);
}

WriterLiveliness::Change WriterLiveliness::reported_by_fast(
    const DDS_LivelinessChangedStatus& status) {
    const DDS_InstanceHandle_t& writer = status.last_publication_handle;
    if (status.alive_count_change > 0) {
        auto found = writers_.find(key_of(writer));
        if (found != writers_.end() && found->second == State::Gone) {
            return Change();
        }
        return become_alive(writer);
    }
    if (status.alive_count_change < 0 || status.not_alive_count_change > 0) {
        return become_lost(writer, State::NotAlive);
    }
    return Change();
}

}  // namespace qordds
