// What a DataWriter of the binding does beyond Fast DDS 2.9's own writer: one created right
// after its participant was enabled finds the readers already there before it writes,
// reliable writers wait for acknowledgements instead of overwriting what readers have not yet
// got, and the offered deadline keeps being watched across unregistrations, without Fast
// DDS's error.
#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <fastdds/dds/log/Log.hpp>

#include "tests/unit/dds/endpoints_test_support.h"

using namespace endpoints_test;

namespace {

DDS_DataWriterQos window_writer_qos(int32_t depth) {
    DDS_DataWriterQos qos = writer_qos(true);
    qos.history.depth = depth;
    return qos;
}

// Numbers of key 1 taken by the listener, in arrival order.
class NumberListener : public DDSDataReaderListener {
  public:
    void on_data_available(DDSDataReader* reader) override {
        void** samples = nullptr;
        int32_t count = 0;
        DDS_SampleInfoSeq infos;
        if (reader->read_or_take_untyped(true, &samples, &count, infos, DDS_LENGTH_UNLIMITED,
                                         DDS_ANY_SAMPLE_STATE, DDS_ANY_VIEW_STATE,
                                         DDS_ANY_INSTANCE_STATE) != DDS_RETCODE_OK) {
            return;
        }
        std::lock_guard<std::mutex> lock(mutex_);
        for (int32_t i = 0; i < count; ++i) {
            if (infos[i].valid_data) {
                numbers_.push_back(static_cast<KestKeyedPingData*>(samples[i])->number);
            }
        }
        reader->return_loan_untyped(samples, count, infos);
    }
    std::vector<int32_t> numbers() {
        std::lock_guard<std::mutex> lock(mutex_);
        return numbers_;
    }
    size_t size() {
        std::lock_guard<std::mutex> lock(mutex_);
        return numbers_.size();
    }

  private:
    std::mutex mutex_;
    std::vector<int32_t> numbers_;
};

std::vector<int32_t> range(int32_t first, int32_t last) {
    std::vector<int32_t> numbers;
    for (int32_t n = first; n <= last; ++n) {
        numbers.push_back(n);
    }
    return numbers;
}

}  // namespace

// ---- Writers created right after enable ----

namespace {

bool has(NumberListener& listener, int32_t number) {
    std::vector<int32_t> numbers = listener.numbers();
    return std::find(numbers.begin(), numbers.end(), number) != numbers.end();
}

}  // namespace

// Each round enables a participant and at once creates a writer and writes one sample, as the
// ping publisher does, to readers that run on another participant all along: a best-effort
// one, and a reliable VOLATILE one that reliable writers reach. A writer that had matched
// them when its creation returned must get its very first sample to them; a marker written
// afterwards tells when to look. Now and then discovery outlasts the rendezvous (announcements
// lost and repeated, measured about one round in two hundred); without a rendezvous it would
// in nearly every round.
TEST(Rendezvous, AFreshWritersVeryFirstSampleReachesTheReadersAlreadyThere) {
    const int32_t kRounds = 50;
    const int32_t kMarker = 1000000;
    deliver_through_transports();
    NumberListener best_effort;
    NumberListener reliable;
    Side reading;
    ASSERT_TRUE(reading.ready());
    ASSERT_NE(reading.reader(&best_effort, reader_qos(false)), nullptr);
    ASSERT_NE(reading.reader(&reliable, reader_qos(true)), nullptr);
    std::vector<std::string> lost;
    std::vector<int32_t> unmatched;
    for (int32_t round = 0; round < kRounds; ++round) {
        bool writer_reliable = round % 2 == 1;
        RecordingWriterListener matches;
        Side writing;
        ASSERT_TRUE(writing.ready());
        DDSDataWriter* writer = writing.writer(&matches, writer_qos(writer_reliable));
        ASSERT_NE(writer, nullptr);
        bool matched = matches.get(matches.current) == (writer_reliable ? 2 : 1);
        ASSERT_EQ(write(writer, 1, round), DDS_RETCODE_OK);
        ASSERT_TRUE(eventually([&] {
            write(writer, 1, kMarker + round);
            return has(best_effort, kMarker + round) &&
                   (!writer_reliable || has(reliable, kMarker + round));
        }));
        if (!matched) {
            unmatched.push_back(round);
            continue;
        }
        if (!has(best_effort, round)) {
            lost.push_back("best-effort reader, round " + std::to_string(round));
        }
        if (writer_reliable && !has(reliable, round)) {
            lost.push_back("reliable reader, round " + std::to_string(round));
        }
    }
    EXPECT_EQ(lost, std::vector<std::string>());
    EXPECT_LT(unmatched.size(), static_cast<size_t>(kRounds / 2))
        << "writers created before discovery had found the readers";
}

// Readers of its own participant do not count: with no reader elsewhere the writer is created
// once the rendezvous gives up, and its samples reach them.
TEST(Rendezvous, AFreshWriterWithNoReaderElsewhereIsCreatedAndWrites) {
    NumberListener local;
    Side writing;
    ASSERT_TRUE(writing.ready());
    ASSERT_NE(writing.reader(&local, reader_qos(false)), nullptr);
    DDSDataWriter* writer = writing.writer(nullptr, writer_qos(false));
    ASSERT_NE(writer, nullptr);
    ASSERT_EQ(write(writer, 1, 7), DDS_RETCODE_OK);
    EXPECT_TRUE(eventually([&] { return has(local, 7); }));
}

// ---- Reliable writers wait for acknowledgements ----

TEST(SendWindow, AReliableBurstFarLongerThanTheDepthArrivesWholeAndInOrder) {
    deliver_through_transports();
    const int32_t kBurst = 20000;
    NumberListener listener;
    RecordingWriterListener writer_listener;
    Side writing;
    Side reading;
    ASSERT_TRUE(writing.ready() && reading.ready());
    DDS_DataReaderQos qos = reader_qos(true);
    qos.history.depth = 100;
    ASSERT_NE(reading.reader(&listener, qos), nullptr);
    // A loaded machine only slows the burst down: the writer waits as long as it takes.
    DDS_DataWriterQos patient = window_writer_qos(100);
    patient.reliability.max_blocking_time = {30, 0};
    DDSDataWriter* writer = writing.writer(&writer_listener, patient);
    ASSERT_NE(writer, nullptr);
    ASSERT_TRUE(eventually([&] { return writer_listener.get(writer_listener.current) == 1; }));
    int failed = 0;
    for (int32_t n = 0; n < kBurst; ++n) {
        failed += write(writer, 1, n) != DDS_RETCODE_OK;
    }
    ASSERT_EQ(failed, 0);
    ASSERT_TRUE(eventually([&] { return listener.size() >= static_cast<size_t>(kBurst); }, 60))
        << listener.size() << " arrived";
    EXPECT_EQ(listener.numbers(), range(0, kBurst - 1));
}

TEST(SendWindow, WithoutReadersWritesNeverWaitAndLateJoinersGetTheLastDepthSamples) {
    deliver_through_transports();
    NumberListener listener;
    Side writing;
    Side reading;
    ASSERT_TRUE(writing.ready() && reading.ready());
    DDS_DataWriterQos qos = window_writer_qos(3);
    qos.durability.kind = DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
    qos.reliability.max_blocking_time = {60, 0};  // a wait would show as a hang, not a pass
    DDSDataWriter* writer = writing.writer(nullptr, qos);
    ASSERT_NE(writer, nullptr);
    for (int32_t n = 0; n < 50; ++n) {
        ASSERT_EQ(write(writer, 1, n), DDS_RETCODE_OK) << n;
    }
    DDS_DataReaderQos late = reader_qos(true);
    late.durability.kind = DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
    ASSERT_NE(reading.reader(&listener, late), nullptr);
    ASSERT_TRUE(eventually([&] { return listener.size() >= 3; }));
    ASSERT_EQ(write(writer, 1, 50), DDS_RETCODE_OK);
    ASSERT_TRUE(eventually([&] { return listener.size() >= 4; }));
    EXPECT_EQ(listener.numbers(), (std::vector<int32_t>{47, 48, 49, 50}));
}

// The reader side of StalledReader below, run in a child process that the test stops.
TEST(StalledReaderChild, ReadsUntilStopped) {
    if (std::getenv("QOR_STALLED_READER_CHILD") == nullptr) {
        GTEST_SKIP() << "run by StalledReader only";
    }
    NumberListener listener;
    Side reading;
    ASSERT_TRUE(reading.ready());
    ASSERT_NE(reading.reader(&listener), nullptr);
    std::this_thread::sleep_for(std::chrono::seconds(60));
}

TEST(StalledReader, MakesWriteTimeOutAfterMaxBlockingTimeOnceTheWindowIsFull) {
    deliver_through_transports();
    RecordingWriterListener writer_listener;
    Side writing;
    ASSERT_TRUE(writing.ready());
    DDS_DataWriterQos qos = window_writer_qos(5);
    qos.reliability.max_blocking_time = {0, 200000000};
    DDSDataWriter* writer = writing.writer(&writer_listener, qos);
    ASSERT_NE(writer, nullptr);

    pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        setenv("QOR_STALLED_READER_CHILD", "1", 1);
        execl("/proc/self/exe", "stalled-reader",
              "--gtest_filter=StalledReaderChild.ReadsUntilStopped", nullptr);
        _exit(127);
    }
    bool matched = eventually([&] { return writer_listener.get(writer_listener.current) == 1; });
    kill(child, SIGSTOP);
    std::vector<DDS_ReturnCode_t> results;
    if (matched) {
        for (int32_t n = 0; n < 6; ++n) {
            results.push_back(write(writer, 1, n));
        }
    }
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    ASSERT_TRUE(matched);
    std::vector<DDS_ReturnCode_t> expected(5, DDS_RETCODE_OK);
    expected.push_back(DDS_RETCODE_TIMEOUT);
    EXPECT_EQ(results, expected);
}

// ---- Offered deadline ----

namespace {

// Offered deadline misses by key, and what the log printed meanwhile.
class DeadlineListener : public DDSDataWriterListener {
  public:
    void on_offered_deadline_missed(DDSDataWriter*,
                                    const DDS_OfferedDeadlineMissedStatus& status) override {
        const unsigned char* key = status.last_instance_handle.value;
        std::lock_guard<std::mutex> lock(mutex_);
        ++misses_[key[0] << 24 | key[1] << 16 | key[2] << 8 | key[3]];
        last_total_ = status.total_count;
    }
    int misses(int key) {
        std::lock_guard<std::mutex> lock(mutex_);
        return misses_[key];
    }
    int last_total() {
        std::lock_guard<std::mutex> lock(mutex_);
        return last_total_;
    }

  private:
    std::mutex mutex_;
    std::map<int, int> misses_;
    int last_total_ = 0;
};

}  // namespace

// Fast DDS's own deadline timer goes quiet for good after an unregistration, logging "Could
// not set the next deadline in the history"; the binding's keeps reporting the instances
// that are still owed, and the log stays empty.
TEST(OfferedDeadline, StillFiresForTheInstancesLeftAfterAnUnregistrationAndLogsNothing) {
    DeadlineListener listener;
    Side writing;
    ASSERT_TRUE(writing.ready());
    DDS_DataWriterQos qos = writer_qos(true);
    qos.deadline.period = {0, 100000000};
    DDSDataWriter* writer = writing.writer(&listener, qos);
    ASSERT_NE(writer, nullptr);
    KestKeyedPingData first = {1, 0};
    KestKeyedPingData second = {2, 0};
    KestKeyedPingData third = {3, 0};

    std::string log = quiet([&] {
        ASSERT_EQ(writer->write_untyped(&first, DDS_HANDLE_NIL), DDS_RETCODE_OK);
        ASSERT_EQ(writer->write_untyped(&second, DDS_HANDLE_NIL), DDS_RETCODE_OK);
        ASSERT_EQ(writer->dispose_untyped(&second, DDS_HANDLE_NIL), DDS_RETCODE_OK);
        ASSERT_EQ(writer->unregister_instance_untyped(&first, DDS_HANDLE_NIL), DDS_RETCODE_OK);
        EXPECT_TRUE(eventually([&] { return listener.misses(2) >= 3; }));
        ASSERT_EQ(writer->unregister_instance_untyped(&second, DDS_HANDLE_NIL), DDS_RETCODE_OK);
        ASSERT_EQ(writer->write_untyped(&third, DDS_HANDLE_NIL), DDS_RETCODE_OK);
        EXPECT_TRUE(eventually([&] { return listener.misses(3) >= 2; }));
        eprosima::fastdds::dds::Log::Flush();
        std::fflush(stdout);
    });
    EXPECT_EQ(log, "");
    EXPECT_EQ(listener.misses(1), 0) << "unregistered before its deadline, it owes nothing";
    EXPECT_EQ(listener.last_total(), listener.misses(2) + listener.misses(3));
}

TEST(OfferedDeadline, AWriterMayBeDeletedFromItsOwnDeadlineCallback) {
    class DeletingListener : public DDSDataWriterListener {
      public:
        explicit DeletingListener(DDSPublisher* publisher) : publisher_(publisher) {}
        void on_offered_deadline_missed(DDSDataWriter* writer,
                                        const DDS_OfferedDeadlineMissedStatus&) override {
            std::lock_guard<std::mutex> lock(mutex_);
            if (!deleted_) {
                result_ = publisher_->delete_datawriter(writer);
                deleted_ = true;
            }
        }
        bool deleted() {
            std::lock_guard<std::mutex> lock(mutex_);
            return deleted_;
        }
        DDS_ReturnCode_t result() {
            std::lock_guard<std::mutex> lock(mutex_);
            return result_;
        }

      private:
        DDSPublisher* publisher_;
        std::mutex mutex_;
        bool deleted_ = false;
        DDS_ReturnCode_t result_ = DDS_RETCODE_ERROR;
    };
    Side writing;
    ASSERT_TRUE(writing.ready());
    DeletingListener listener(writing.publisher);
    DDS_DataWriterQos qos = writer_qos(true);
    qos.deadline.period = {0, 50000000};
    DDSDataWriter* writer = writing.writer(&listener, qos);
    ASSERT_NE(writer, nullptr);
    ASSERT_EQ(write(writer, 1, 1), DDS_RETCODE_OK);
    ASSERT_TRUE(eventually([&] { return listener.deleted(); }));
    EXPECT_EQ(listener.result(), DDS_RETCODE_OK);
}
