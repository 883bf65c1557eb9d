// Endpoints and listeners that go while Fast DDS threads are calling them: a listener
// destroyed before its reader, and endpoints deleted from their own listener. Run under
// AddressSanitizer, a call that reaches freed memory fails the test.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "tests/unit/dds/endpoints_test_support.h"

using namespace endpoints_test;

namespace {

// What each counting listener took, kept outside the listeners: a callback under way when
// its listener is destroyed may still run while the derived destructor runs (see
// dds/listener.h), and must not touch the object then. A call that came after the listener
// was detached would read freed memory at the dispatch.
std::mutex taken_mutex;
std::map<const void*, size_t> taken_by;

size_t taken(const void* listener) {
    std::lock_guard<std::mutex> lock(taken_mutex);
    return taken_by[listener];
}

// A listener made later at the same address starts from nothing.
void forget(const void* listener) {
    std::lock_guard<std::mutex> lock(taken_mutex);
    taken_by.erase(listener);
}

class CountingListener : public DDSDataReaderListener {
  public:
    void on_data_available(DDSDataReader* reader) override {
        size_t count = take_all(reader).size();
        std::lock_guard<std::mutex> lock(taken_mutex);
        taken_by[static_cast<const void*>(this)] += count;
    }
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

// ---- A listener destroyed before its reader ----

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
        DDSDataReader* first = reading.reader(shared, reader_qos(false));
        DDSDataReader* second = reading.reader(shared, reader_qos(false));
        // One that destroys itself from its own callback, which must not wait for itself.
        DDSDataReader* third = reading.reader(new SelfDestroyingListener, reader_qos(false));
        ASSERT_TRUE(first != nullptr && second != nullptr && third != nullptr);
        ASSERT_TRUE(eventually([&] { return taken(shared) >= 20; }));
        delete shared;
        forget(shared);
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

// ---- Endpoints deleted from their own listener ----

namespace {

// Deletes its reader from the callback named `when`, once.
class SelfDeletingReaderListener : public DDSDataReaderListener {
  public:
    SelfDeletingReaderListener(DDSSubscriber* subscriber, std::string when)
        : subscriber_(subscriber), when_(std::move(when)) {}
    void on_data_available(DDSDataReader* reader) override { happened("data", reader); }
    void on_subscription_matched(DDSDataReader* reader,
                                 const DDS_SubscriptionMatchedStatus&) override {
        happened("matched", reader);
    }
    void on_liveliness_changed(DDSDataReader* reader, const DDS_LivelinessChangedStatus&) override {
        happened("liveliness", reader);
    }
    DDS_ReturnCode_t result() const { return result_; }
    bool deleted() const { return deleted_; }

  private:
    void happened(const char* event, DDSDataReader* reader) {
        if (event == when_ && !deleted_) {
            result_ = subscriber_->delete_datareader(reader);
            deleted_ = true;
        }
    }
    DDSSubscriber* subscriber_;
    const std::string when_;
    std::atomic<DDS_ReturnCode_t> result_{DDS_RETCODE_ERROR};
    std::atomic<bool> deleted_{false};
};

class SelfDeletingWriterListener : public DDSDataWriterListener {
  public:
    explicit SelfDeletingWriterListener(DDSPublisher* publisher) : publisher_(publisher) {}
    void on_publication_matched(DDSDataWriter* writer,
                                const DDS_PublicationMatchedStatus&) override {
        if (!deleted_) {
            result_ = publisher_->delete_datawriter(writer);
            deleted_ = true;
        }
    }
    DDS_ReturnCode_t result() const { return result_; }
    bool deleted() const { return deleted_; }

  private:
    DDSPublisher* publisher_;
    std::atomic<DDS_ReturnCode_t> result_{DDS_RETCODE_ERROR};
    std::atomic<bool> deleted_{false};
};

}  // namespace

// A topic of its own for each round, so that no endpoint of an earlier round, gone but not
// yet known to be gone, matches during a creation.
struct RoundTopics {
    RoundTopics(Side& writing, Side& reading, const std::string& name)
        : writing_(writing), reading_(reading) {
        written = writing.participant->create_topic(name.c_str(), "PingType", DDS_TOPIC_QOS_DEFAULT,
                                                    nullptr, DDS_STATUS_MASK_NONE);
        read = reading.participant->create_topic(name.c_str(), "PingType", DDS_TOPIC_QOS_DEFAULT,
                                                 nullptr, DDS_STATUS_MASK_NONE);
    }
    ~RoundTopics() {
        EXPECT_EQ(writing_.participant->delete_topic(written), DDS_RETCODE_OK);
        EXPECT_EQ(reading_.participant->delete_topic(read), DDS_RETCODE_OK);
    }
    Side& writing_;
    Side& reading_;
    DDSTopic* written;
    DDSTopic* read;
};

// Fast DDS 2.9 itself hangs when an endpoint is deleted on the thread delivering its
// callback; the binding finishes such a deletion on another thread. Each endpoint is created
// before its counterpart, so that its callbacks come after its creation has returned.
TEST(OwnListener, AnEndpointDeletedFromItsOwnCallbackGoesOnceTheCallbackReturned) {
    const int kRounds = 10;
    const char* const events[] = {"data", "matched", "liveliness", "writer matched"};
    deliver_through_transports();
    Side writing;
    Side reading;
    ASSERT_TRUE(writing.ready() && reading.ready());
    int index = 0;
    for (const std::string event : events) {
        for (int round = 0; round < kRounds; ++round, ++index) {
            SCOPED_TRACE(event + " " + std::to_string(round));
            RoundTopics topics(writing, reading, "Round" + std::to_string(index));
            if (event == "writer matched") {
                SelfDeletingWriterListener listener(writing.publisher);
                ASSERT_NE(writing.publisher->create_datawriter(topics.written, writer_qos(false),
                                                               &listener, DDS_STATUS_MASK_ALL),
                          nullptr);
                DDSDataReader* reader = reading.subscriber->create_datareader(
                    topics.read, reader_qos(false), nullptr, DDS_STATUS_MASK_NONE);
                ASSERT_NE(reader, nullptr);
                EXPECT_TRUE(eventually([&] { return listener.deleted(); }));
                EXPECT_EQ(listener.result(), DDS_RETCODE_OK);
                EXPECT_EQ(reading.subscriber->delete_datareader(reader), DDS_RETCODE_OK);
                continue;
            }
            SelfDeletingReaderListener listener(reading.subscriber, event);
            ASSERT_NE(reading.subscriber->create_datareader(topics.read, reader_qos(false),
                                                            &listener, DDS_STATUS_MASK_ALL),
                      nullptr);
            DDSDataWriter* writer = writing.publisher->create_datawriter(
                topics.written, writer_qos(false), nullptr, DDS_STATUS_MASK_NONE);
            ASSERT_NE(writer, nullptr);
            EXPECT_TRUE(eventually([&] {
                write(writer, 1, round);
                return listener.deleted();
            }));
            EXPECT_EQ(listener.result(), DDS_RETCODE_OK);
            EXPECT_EQ(writing.publisher->delete_datawriter(writer), DDS_RETCODE_OK);
        }
    }
    // What was deleted from the callbacks is gone from Fast DDS too.
    EXPECT_EQ(writing.participant->delete_publisher(writing.publisher), DDS_RETCODE_OK);
    writing.publisher = nullptr;
    EXPECT_EQ(reading.participant->delete_subscriber(reading.subscriber), DDS_RETCODE_OK);
    reading.subscriber = nullptr;
}
