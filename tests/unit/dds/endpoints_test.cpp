// Topics, publishers, subscribers, writers and readers between participants on one private
// host, and what the binding adds to Fast DDS 2.9: liveliness of matched writers, no-writers
// samples, listeners destroyed before their readers and endpoints deleted from their own
// callbacks (under AddressSanitizer, a call that reaches freed memory fails).
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "tests/unit/dds/endpoints_test_support.h"

using namespace endpoints_test;

TEST(Entities, CreationAndDeletionFollowTheDdsRules) {
    Side side;
    ASSERT_TRUE(side.ready());
    DDSDomainParticipant* participant = side.participant;
    DDSDataWriter* writer = side.writer();
    ASSERT_NE(writer, nullptr);
    DDSPublisher* other = participant->create_publisher(DDS_PublisherQos(), nullptr, 0);
    ASSERT_NE(other, nullptr);
    std::string log = quiet([&] {
        EXPECT_EQ(ping_topic(participant), nullptr) << "a second topic of the same name";
        EXPECT_EQ(participant->delete_topic(side.topic), DDS_RETCODE_PRECONDITION_NOT_MET);
        EXPECT_EQ(participant->delete_publisher(side.publisher), DDS_RETCODE_PRECONDITION_NOT_MET);
        EXPECT_EQ(other->delete_datawriter(writer), DDS_RETCODE_PRECONDITION_NOT_MET);
    });
    EXPECT_NE(log.find("already exists"), std::string::npos) << log;
    EXPECT_EQ(participant->delete_contained_entities(), DDS_RETCODE_OK);
    EXPECT_NE(ping_topic(participant), nullptr) << "everything went, topic included";
}

// Matched writers count as alive. Deleting one is a loss that leaves each live instance it
// alone wrote without writers, once; unregistering leaves an instance without writers, not
// disposed.
TEST(WriterLoss, MatchedWritersAreAliveAndTheirInstancesLoseTheirWritersWithThem) {
    Recorder listener;
    Recorder writer_matches;
    Side writing;
    Side reading;
    ASSERT_TRUE(writing.ready() && reading.ready());
    ASSERT_NE(reading.reader(&listener), nullptr);
    DDSDataWriter* first = writing.writer(&writer_matches);
    DDSDataWriter* second = writing.writer(&writer_matches);
    ASSERT_TRUE(first != nullptr && second != nullptr);
    ASSERT_TRUE(eventually([&] { return writer_matches.get(writer_matches.writer_calls) == 2; }));
    // Each liveliness status: alive and not alive counts and their changes.
    auto statuses = [&] {
        Texts texts;
        for (const DDS_LivelinessChangedStatus& s : listener.get(listener.liveliness)) {
            texts.push_back(std::to_string(s.alive_count) + "/" +
                            std::to_string(s.not_alive_count) + " " +
                            std::to_string(s.alive_count_change) + "/" +
                            std::to_string(s.not_alive_count_change));
        }
        return texts;
    };
    ASSERT_TRUE(eventually([&] { return statuses().size() == 2; }));
    EXPECT_EQ(statuses(), (Texts{"1/0 1/0", "2/0 1/0"}));
    EXPECT_NE(listener.get(listener.liveliness)[0].last_publication_handle,
              listener.get(listener.liveliness)[1].last_publication_handle);

    KestKeyedPingData three = {3, 30};
    KestKeyedPingData four = {4, 40};
    ASSERT_EQ(write(first, 1, 10), DDS_RETCODE_OK);
    ASSERT_EQ(write(first, 2, 20), DDS_RETCODE_OK);
    ASSERT_EQ(first->write_untyped(&three, DDS_HANDLE_NIL), DDS_RETCODE_OK);
    ASSERT_EQ(first->dispose_untyped(&three, DDS_HANDLE_NIL), DDS_RETCODE_OK);
    ASSERT_EQ(second->write_untyped(&four, DDS_HANDLE_NIL), DDS_RETCODE_OK);
    ASSERT_EQ(second->unregister_instance_untyped(&four, DDS_HANDLE_NIL), DDS_RETCODE_OK);
    ASSERT_EQ(write(second, 5, 50), DDS_RETCODE_OK);
    ASSERT_EQ(write(second, 2, 21), DDS_RETCODE_OK);
    // The samples from `from` on, sorted: the writers' own orders interleave.
    auto samples_after = [&](size_t from, size_t count) {
        EXPECT_TRUE(eventually([&] { return listener.get(listener.samples).size() == count; }));
        Texts samples = listener.get(listener.samples);
        samples.erase(samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(
                                                             std::min(from, samples.size())));
        std::sort(samples.begin(), samples.end());
        return samples;
    };
    EXPECT_EQ(samples_after(0, 8), (Texts{"k1:10", "k2:20", "k2:21", "k3:30", "k3:disposed",
                                          "k4:40", "k4:nowriters", "k5:50"}));
    ASSERT_EQ(writing.publisher->delete_datawriter(first), DDS_RETCODE_OK);
    EXPECT_EQ(samples_after(8, 9), Texts{"k1:nowriters"}) << "k2 has a writer still";
    ASSERT_EQ(writing.publisher->delete_datawriter(second), DDS_RETCODE_OK);
    EXPECT_EQ(samples_after(9, 11), (Texts{"k2:nowriters", "k5:nowriters"}));
    ASSERT_TRUE(eventually([&] { return statuses().size() == 4; }));
    EXPECT_EQ(statuses(), (Texts{"1/0 1/0", "2/0 1/0", "1/1 -1/1", "0/2 -1/1"}));
}

namespace {

// What each counting listener took, kept outside it: a callback under way may still run during
// the derived destructor (see dds/listener.h). A call after the detachment reads freed memory.
std::mutex taken_mutex;
std::map<const void*, size_t> taken_by;

size_t taken(const void* listener, size_t more = 0) {
    std::lock_guard<std::mutex> lock(taken_mutex);
    return taken_by[listener] += more;
}

class CountingListener : public DDSDataReaderListener {
  public:
    void on_data_available(DDSDataReader* reader) override { taken(this, take_all(reader).size()); }
};

// Destroys itself from its own callback once it has taken some.
class SelfDestroyingListener : public DDSDataReaderListener {
  public:
    void on_data_available(DDSDataReader* reader) override {
        taken_ += take_all(reader).size();
        if (taken_ >= 20) {
            delete this;
        }
    }

  private:
    size_t taken_ = 0;
};

// Writes as fast as it can until stopped.
class Flood {
  public:
    explicit Flood(DDSDataWriter* writer)
        : thread_([this, writer] {
              for (int32_t n = 0; !stop_; ++n) {
                  write(writer, 1, n);
              }
          }) {}
    ~Flood() {
        stop_ = true;
        thread_.join();
    }

  private:
    std::atomic<bool> stop_{false};
    std::thread thread_;
};

}  // namespace

TEST(ListenerLifetime, AListenerDestroyedWhileItsReadersReceiveIsNeverCalledAgain) {
    const int kRounds = 30;
    deliver_through_transports();
    Side writing;
    Side reading;
    ASSERT_TRUE(writing.ready() && reading.ready());
    DDSDataWriter* writer = writing.writer(nullptr, writer_qos(false));
    ASSERT_NE(writer, nullptr);
    Flood flood(writer);
    for (int round = 0; round < kRounds; ++round) {
        SCOPED_TRACE(round);
        // One listener on two readers, destroyed by this thread while both call it.
        CountingListener* shared = new CountingListener;
        size_t before = taken(shared);  // an earlier listener may have had the same address
        DDSDataReader* first = reading.reader(shared, reader_qos(false));
        DDSDataReader* second = reading.reader(shared, reader_qos(false));
        // One that destroys itself from its own callback, which must not wait for itself.
        DDSDataReader* third = reading.reader(new SelfDestroyingListener, reader_qos(false));
        ASSERT_TRUE(first != nullptr && second != nullptr && third != nullptr);
        ASSERT_TRUE(eventually([&] { return taken(shared) >= before + 20; }));
        delete shared;
        EXPECT_EQ(first->get_listener(), nullptr);
        EXPECT_EQ(second->get_listener(), nullptr);
        ASSERT_TRUE(eventually([&] { return third->get_listener() == nullptr; }));
        // Samples keep coming to readers that no longer have a listener.
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        EXPECT_EQ(reading.subscriber->delete_datareader(first), DDS_RETCODE_OK);
        EXPECT_EQ(reading.subscriber->delete_datareader(second), DDS_RETCODE_OK);
        EXPECT_EQ(reading.subscriber->delete_datareader(third), DDS_RETCODE_OK);
    }
}

namespace {

// Deletes its endpoint from the callback named `when`, once.
class SelfDeleting : public DDSDataReaderListener, public DDSDataWriterListener {
  public:
    SelfDeleting(Side& writing, Side& reading, std::string when)
        : writing_(writing), reading_(reading), when_(std::move(when)) {}
    void on_data_available(DDSDataReader* reader) override { reader_event("data", reader); }
    void on_subscription_matched(DDSDataReader* reader,
                                 const DDS_SubscriptionMatchedStatus&) override {
        reader_event("matched", reader);
    }
    void on_liveliness_changed(DDSDataReader* reader, const DDS_LivelinessChangedStatus&) override {
        reader_event("liveliness", reader);
    }
    void on_publication_matched(DDSDataWriter* writer,
                                const DDS_PublicationMatchedStatus&) override {
        writer_event("writer matched", writer);
    }
    void on_offered_deadline_missed(DDSDataWriter* writer,
                                    const DDS_OfferedDeadlineMissedStatus&) override {
        writer_event("deadline", writer);
    }
    bool deleted() const { return deleted_; }
    DDS_ReturnCode_t result() const { return result_; }

  private:
    void reader_event(const char* event, DDSDataReader* reader) {
        happened(event, [&] { return reading_.subscriber->delete_datareader(reader); });
    }
    void writer_event(const char* event, DDSDataWriter* writer) {
        happened(event, [&] { return writing_.publisher->delete_datawriter(writer); });
    }
    void happened(const char* event, const std::function<DDS_ReturnCode_t()>& deletion) {
        if (event == when_ && !started_.exchange(true)) {
            result_ = deletion();
            deleted_ = true;
        }
    }
    Side& writing_;
    Side& reading_;
    const std::string when_;
    std::atomic<DDS_ReturnCode_t> result_{DDS_RETCODE_ERROR};
    std::atomic<bool> started_{false};
    std::atomic<bool> deleted_{false};
};

}  // namespace

// Fast DDS 2.9 hangs when an endpoint is deleted on the thread delivering its callback; the
// binding finishes such a deletion on another thread. A topic per round keeps endpoints of
// earlier rounds out; the endpoint with the listener comes first, so its callbacks come after
// its creation.
TEST(OwnListener, AnEndpointDeletedFromItsOwnCallbackGoesOnceTheCallbackReturned) {
    const int kRounds = 10;
    const std::string events[] = {"data", "matched", "liveliness", "writer matched", "deadline"};
    deliver_through_transports();
    Side writing;
    Side reading;
    ASSERT_TRUE(writing.ready() && reading.ready());
    int index = 0;
    for (const std::string& event : events) {
        const bool writer_deletes = event == "writer matched" || event == "deadline";
        for (int round = 0; round < kRounds; ++round, ++index) {
            SCOPED_TRACE(event + " " + std::to_string(round));
            std::string name = "Round" + std::to_string(index);
            DDSTopic* written = ping_topic(writing.participant, name.c_str());
            DDSTopic* read = ping_topic(reading.participant, name.c_str());
            ASSERT_TRUE(written != nullptr && read != nullptr);
            SelfDeleting listener(writing, reading, event);
            DDS_DataWriterQos qos = writer_qos(false);
            if (event == "deadline") {
                qos.deadline.period = {0, 200000000};
            }
            DDSDataWriter* writer = nullptr;
            DDSDataReader* reader = nullptr;
            auto create_writer = [&] {
                writer = writing.publisher->create_datawriter(
                    written, qos, writer_deletes ? &listener : nullptr, DDS_STATUS_MASK_ALL);
            };
            auto create_reader = [&] {
                reader = reading.subscriber->create_datareader(read, reader_qos(false),
                                                               writer_deletes ? nullptr : &listener,
                                                               DDS_STATUS_MASK_ALL);
            };
            writer_deletes ? (create_writer(), create_reader())
                           : (create_reader(), create_writer());
            ASSERT_TRUE(writer != nullptr && reader != nullptr);
            if (event == "deadline") {
                write(writer, 1, round);  // once: the writer goes a period later
            }
            EXPECT_TRUE(eventually([&] {
                if (!writer_deletes) {
                    write(writer, 1, round);
                }
                return listener.deleted();
            }));
            EXPECT_EQ(listener.result(), DDS_RETCODE_OK);
            EXPECT_EQ(writer_deletes ? reading.subscriber->delete_datareader(reader)
                                     : writing.publisher->delete_datawriter(writer),
                      DDS_RETCODE_OK);
            EXPECT_EQ(writing.participant->delete_topic(written), DDS_RETCODE_OK);
            EXPECT_EQ(reading.participant->delete_topic(read), DDS_RETCODE_OK);
        }
    }
    // What was deleted from the callbacks is gone from Fast DDS too.
    EXPECT_EQ(writing.participant->delete_publisher(writing.publisher), DDS_RETCODE_OK);
    writing.publisher = nullptr;
    EXPECT_EQ(reading.participant->delete_subscriber(reading.subscriber), DDS_RETCODE_OK);
    reading.subscriber = nullptr;
}
