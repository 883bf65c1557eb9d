// Helpers of the endpoint tests between participants: participants with the keyed ping type, a
// recording listener, and waiting on conditions. Each test executable includes it once.
#ifndef QOR_TESTS_UNIT_DDS_ENDPOINTS_TEST_SUPPORT_H
#define QOR_TESTS_UNIT_DDS_ENDPOINTS_TEST_SUPPORT_H

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <fastrtps/xmlparser/XMLProfileManager.h>

#include "kestping/pingDataPlugin.h"
#include "kestping/pingDataSupport.h"
#include "qordds/domain.h"
#include "qordds/logger.h"
#include "qordds/publication.h"
#include "qordds/subscription.h"
#include "qordds/topic.h"

namespace endpoints_test {

typedef std::vector<std::string> Texts;

// Polls `done` every 20 ms; the bound only keeps a broken build from hanging.
inline bool eventually(const std::function<bool()>& done, int seconds = 20) {
    for (int i = 0; i < seconds * 50; ++i) {
        if (done()) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return done();
}

// Samples between participants of one process go through the transports, as between processes.
inline void deliver_through_transports() {
    eprosima::fastrtps::LibrarySettingsAttributes settings;
    settings.intraprocess_delivery = eprosima::fastrtps::INTRAPROCESS_OFF;
    eprosima::fastrtps::xmlparser::XMLProfileManager::library_settings(settings);
}

inline DDSTopic* ping_topic(DDSDomainParticipant* participant, const char* name = "PingTopic") {
    return participant->create_topic(name, "PingType", DDS_TOPIC_QOS_DEFAULT, nullptr,
                                     DDS_STATUS_MASK_NONE);
}

template <class Qos>
Qos endpoint_qos(bool reliable) {
    Qos qos;
    qos.reliability.kind =
        reliable ? DDS_RELIABLE_RELIABILITY_QOS : DDS_BEST_EFFORT_RELIABILITY_QOS;
    qos.history.depth = 10;
    return qos;
}
inline DDS_DataWriterQos writer_qos(bool reliable = true) {
    return endpoint_qos<DDS_DataWriterQos>(reliable);
}
inline DDS_DataReaderQos reader_qos(bool reliable = true) {
    return endpoint_qos<DDS_DataReaderQos>(reliable);
}

// The ping type's key, which its instance handle starts with.
inline int key_of(const DDS_InstanceHandle_t& handle) {
    const unsigned char* bytes = handle.value;
    return bytes[0] << 24 | bytes[1] << 16 | bytes[2] << 8 | bytes[3];
}

// Takes everything: "k<key>:<number>", "k<key>:disposed" or "k<key>:nowriters" per sample.
inline Texts take_all(DDSDataReader* reader) {
    Texts result;
    void** samples = nullptr;
    int32_t count = 0;
    DDS_SampleInfoSeq infos;
    if (reader->read_or_take_untyped(true, &samples, &count, infos, DDS_LENGTH_UNLIMITED,
                                     DDS_ANY_SAMPLE_STATE, DDS_ANY_VIEW_STATE,
                                     DDS_ANY_INSTANCE_STATE) != DDS_RETCODE_OK) {
        return result;
    }
    for (int32_t i = 0; i < count; ++i) {
        const DDS_SampleInfo& info = infos[i];
        std::string text = "k" + std::to_string(key_of(info.instance_handle)) + ":";
        if (info.valid_data) {
            text += std::to_string(static_cast<KestKeyedPingData*>(samples[i])->number);
        } else {
            text += info.instance_state == DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE ? "disposed"
                                                                                 : "nowriters";
        }
        result.push_back(text);
    }
    EXPECT_EQ(reader->return_loan_untyped(samples, count, infos), DDS_RETCODE_OK);
    return result;
}

// Records what a reader or writer listener hears, taking samples as they come.
class Recorder : public DDSDataReaderListener, public DDSDataWriterListener {
  public:
    void on_data_available(DDSDataReader* reader) override {
        Texts taken = take_all(reader);
        std::lock_guard<std::mutex> lock(mutex_);
        samples.insert(samples.end(), taken.begin(), taken.end());
    }
    void on_subscription_matched(DDSDataReader*,
                                 const DDS_SubscriptionMatchedStatus& status) override {
        std::lock_guard<std::mutex> lock(mutex_);
        matched = status.current_count;
    }
    void on_liveliness_changed(DDSDataReader*, const DDS_LivelinessChangedStatus& status) override {
        std::lock_guard<std::mutex> lock(mutex_);
        liveliness.push_back(status);
    }
    void on_publication_matched(DDSDataWriter*,
                                const DDS_PublicationMatchedStatus& status) override {
        std::lock_guard<std::mutex> lock(mutex_);
        matched = status.current_count;
        ++writer_calls;
    }
    void on_offered_deadline_missed(DDSDataWriter*,
                                    const DDS_OfferedDeadlineMissedStatus& status) override {
        std::lock_guard<std::mutex> lock(mutex_);
        ++deadline_misses[key_of(status.last_instance_handle)];
        deadline_total = status.total_count;
    }

    template <class T>
    T get(const T& member) {
        std::lock_guard<std::mutex> lock(mutex_);
        return member;
    }
    bool has_sample(const std::string& text) {
        std::lock_guard<std::mutex> lock(mutex_);
        return std::find(samples.begin(), samples.end(), text) != samples.end();
    }

    std::mutex mutex_;
    Texts samples;
    int matched = 0;
    int writer_calls = 0;
    std::vector<DDS_LivelinessChangedStatus> liveliness;
    std::map<int, int> deadline_misses;  // by key
    int deadline_total = 0;
};

// One participant, with the ping type, a topic, a publisher and a subscriber.
struct Side {
    Side() {
        participant = DDSDomainParticipantFactory::get_instance()->create_participant(
            0, DDS_DomainParticipantQos(), nullptr, DDS_STATUS_MASK_NONE);
        if (participant == nullptr) {
            return;
        }
        KestKeyedPingDataTypeSupport::register_type(participant, "PingType");
        topic = ping_topic(participant);
        publisher =
            participant->create_publisher(DDS_PublisherQos(), nullptr, DDS_STATUS_MASK_NONE);
        subscriber =
            participant->create_subscriber(DDS_SubscriberQos(), nullptr, DDS_STATUS_MASK_NONE);
    }
    ~Side() {
        if (participant != nullptr) {
            EXPECT_EQ(participant->delete_contained_entities(), DDS_RETCODE_OK);
            EXPECT_EQ(DDSDomainParticipantFactory::get_instance()->delete_participant(participant),
                      DDS_RETCODE_OK);
        }
    }
    bool ready() const {
        return participant != nullptr && topic != nullptr && publisher != nullptr &&
               subscriber != nullptr;
    }
    DDSDataWriter* writer(DDSDataWriterListener* listener = nullptr,
                          const DDS_DataWriterQos& qos = writer_qos()) {
        return publisher->create_datawriter(topic, qos, listener, DDS_STATUS_MASK_ALL);
    }
    DDSDataReader* reader(DDSDataReaderListener* listener = nullptr,
                          const DDS_DataReaderQos& qos = reader_qos()) {
        return subscriber->create_datareader(topic, qos, listener, DDS_STATUS_MASK_ALL);
    }

    DDSDomainParticipant* participant = nullptr;
    DDSTopic* topic = nullptr;
    DDSPublisher* publisher = nullptr;
    DDSSubscriber* subscriber = nullptr;
};

inline DDS_ReturnCode_t write(DDSDataWriter* writer, int32_t key, int32_t number) {
    KestKeyedPingData sample = {key, number};
    return writer->write_untyped(&sample, DDS_HANDLE_NIL);
}

// Runs `operation` with the binding's errors on, and returns what it printed.
inline std::string quiet(const std::function<void()>& operation) {
    DDSLogger::get_instance()->set_verbosity(DDS_LOG_VERBOSITY_FATAL | DDS_LOG_VERBOSITY_ERROR);
    testing::internal::CaptureStdout();
    operation();
    return testing::internal::GetCapturedStdout();
}

}  // namespace endpoints_test

#endif
