// The liveliness of the writers a reader is matched with.
#include <gtest/gtest.h>

#include <string>

#include "tests/unit/dds/instance_handle.h"
#include "workarounds/writer_liveliness.h"

using qortest::handle;

namespace {

const DDS_InstanceHandle_t W1 = handle(0xa1);
const DDS_InstanceHandle_t W2 = handle(0xa2);

}  // namespace

TEST(WriterLiveliness, CountsMatchedWritersAliveAndTheirLossOnce) {
    // Expected after each step: reported (R) or not, writer lost (L) or not, the alive and not
    // alive counts, and what a report says: last writer and changes.
    const struct {
        const char* event;  // "match", "unmatch", "fast+" (alive), "fast-" (lost)
        DDS_InstanceHandle_t writer;
        const char* expected;
    } steps[] = {
        {"match", W1, "R- 1/0 161 +1/+0"},
        {"fast+", W1, "-- 1/0"},  // Fast DDS confirms: not counted twice
        {"match", W2, "R- 2/0 162 +1/+0"},
        {"unmatch", W1, "RL 1/1 161 -1/+1"},
        {"fast-", W1, "-- 1/1"},            // gone already
        {"fast-", W2, "RL 0/2 162 -1/+1"},  // lease lost while matched
        {"fast+", W2, "R- 1/1 162 +1/-1"},  // and back
        {"unmatch", W2, "RL 0/2 162 -1/+1"},
        {"unmatch", W2, "-- 0/2"},
        {"fast+", W1, "-- 0/2"},  // a removed writer stays removed
    };
    auto sign = [](int n) { return (n < 0 ? "" : "+") + std::to_string(n); };
    qordds::WriterLiveliness liveliness;
    for (const auto& step : steps) {
        std::string event = step.event;
        qordds::WriterLiveliness::Change change;
        if (event == "match") {
            change = liveliness.matched(step.writer);
        } else if (event == "unmatch") {
            change = liveliness.unmatched(step.writer);
        } else {
            DDS_LivelinessChangedStatus fast;
            fast.last_publication_handle = step.writer;
            fast.alive_count_change = event == "fast+" ? 1 : -1;
            fast.not_alive_count_change = event == "fast+" ? 0 : 1;
            change = liveliness.reported_by_fast(fast);
        }
        const DDS_LivelinessChangedStatus& s = change.status;
        std::string seen = std::string(change.reported ? "R" : "-") +
                           (change.writer_lost ? "L " : "- ") +
                           std::to_string(liveliness.alive_count()) + "/" +
                           std::to_string(liveliness.not_alive_count());
        if (change.reported) {
            EXPECT_EQ(s.alive_count, liveliness.alive_count());
            EXPECT_EQ(s.not_alive_count, liveliness.not_alive_count());
            seen += " " + std::to_string(s.last_publication_handle.value[0]) + " " +
                    sign(s.alive_count_change) + "/" + sign(s.not_alive_count_change);
        }
        EXPECT_EQ(seen, step.expected) << event << " writer " << int(step.writer.value[0]);
    }
}

// A writer unmatched (its participant's lease lost to a stopped process or a cut link) and
// matched again is alive again, once; Fast DDS's own late reports still do not count.
TEST(WriterLiveliness, AWriterMatchedAgainIsAliveAgain) {
    qordds::WriterLiveliness liveliness;
    liveliness.matched(W1);
    liveliness.matched(W2);
    EXPECT_TRUE(liveliness.unmatched(W1).writer_lost);
    EXPECT_EQ(liveliness.alive_count(), 1);

    qordds::WriterLiveliness::Change again = liveliness.matched(W1);
    EXPECT_TRUE(again.reported);
    EXPECT_FALSE(again.writer_lost);
    EXPECT_EQ(again.status.alive_count, 2);
    EXPECT_EQ(again.status.not_alive_count, 0);
    EXPECT_EQ(again.status.alive_count_change, 1);
    EXPECT_EQ(again.status.not_alive_count_change, -1);
    EXPECT_EQ(again.status.last_publication_handle, W1);
    EXPECT_FALSE(liveliness.matched(W1).reported);

    DDS_LivelinessChangedStatus fast;
    fast.last_publication_handle = W1;
    fast.alive_count_change = 1;
    EXPECT_FALSE(liveliness.reported_by_fast(fast).reported);
    EXPECT_EQ(liveliness.alive_count(), 2);
}
