// Helpers of the endpoint tests between participants: participants with the keyed ping type,
// recording listeners, and waiting on conditions. Each test executable includes it once.
#ifndef QOR_TESTS_UNIT_DDS_ENDPOINTS_TEST_SUPPORT_H
#define QOR_TESTS_UNIT_DDS_ENDPOINTS_TEST_SUPPORT_H

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <fastrtps/xmlparser/XMLProfileManager.h>

#include "dds/domain.h"
#include "dds/logger.h"
#include "dds/publication.h"
#include "dds/subscription.h"
#include "dds/topic.h"
#include "kestping/pingDataPlugin.h"
#include "kestping/pingDataSupport.h"

namespace endpoints_test {

typedef std::vector<std::string> Texts;

// Polls `done` every 20 ms for up to `seconds`; the bound only keeps a broken build from
// hanging.
inline bool eventually(const std::function<bool()>& done, int seconds = 20) {
    for (int i = 0; i < seconds * 50; ++i) {
        if (done()) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return done();
}

// Samples between participants of one process go through the transports, as between
// processes, rather than being handed over directly.
inline void deliver_through_transports() {
    eprosima::fastrtps::LibrarySettingsAttributes settings;
    settings.intraprocess_delivery = eprosima::fastrtps::INTRAPROCESS_OFF;
    eprosima::fastrtps::xmlparser::XMLProfileManager::library_settings(settings);
}

struct ParticipantSetup {
    std::vector<std::string> partitions;
    const char* tag = nullptr;
    DDS_Duration_t lease = {20, 0};
};

inline DDSDomainParticipant* make_participant(const ParticipantSetup& setup = ParticipantSetup()) {
    DDSDomainParticipantFactory* factory = DDSDomainParticipantFactory::get_instance();
    DDS_DomainParticipantQos qos;
    int32_t count = static_cast<int32_t>(setup.partitions.size());
    qos.partition.name.ensure_length(count, count);
    for (int32_t i = 0; i < count; ++i) {
        DDS_String_replace(&qos.partition.name[i], setup.partitions[i].c_str());
    }
    if (setup.tag != nullptr) {
        DDSPropertyQosPolicyHelper::assert_property(
            qos.property, "dds.domain_participant.domain_tag", setup.tag, false);
    }
    qos.discovery_config.participant_liveliness_lease_duration = setup.lease;
    qos.discovery_config.participant_liveliness_assert_period = {0, 500000000};
    DDSDomainParticipant* participant =
        factory->create_participant(0, qos, nullptr, DDS_STATUS_MASK_NONE);
    if (participant != nullptr) {
        KestKeyedPingDataTypeSupport::register_type(participant, "PingType");
    }
    return participant;
}

inline DDSTopic* ping_topic(DDSDomainParticipant* participant) {
    return participant->create_topic("PingTopic", "PingType", DDS_TOPIC_QOS_DEFAULT, nullptr,
                                     DDS_STATUS_MASK_NONE);
}

inline DDS_DataWriterQos writer_qos(bool reliable = true) {
    DDS_DataWriterQos qos;
    qos.reliability.kind =
        reliable ? DDS_RELIABLE_RELIABILITY_QOS : DDS_BEST_EFFORT_RELIABILITY_QOS;
    qos.history.depth = 10;
    return qos;
}

inline DDS_DataReaderQos reader_qos(bool reliable = true) {
    DDS_DataReaderQos qos;
    qos.reliability.kind =
        reliable ? DDS_RELIABLE_RELIABILITY_QOS : DDS_BEST_EFFORT_RELIABILITY_QOS;
    qos.history.depth = 10;
    return qos;
}

// Takes everything through the untyped interface: "k<key>:<number>", "k<key>:disposed" or
// "k<key>:nowriters" per sample.
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
        const unsigned char* key_bytes = info.instance_handle.value;
        int key = key_bytes[0] << 24 | key_bytes[1] << 16 | key_bytes[2] << 8 | key_bytes[3];
        std::string text = "k" + std::to_string(key) + ":";
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

// Records what a reader's listener hears, taking samples as they come.
class RecordingReaderListener : public DDSDataReaderListener {
  public:
    void on_data_available(DDSDataReader* reader) override {
        Texts taken = take_all(reader);
        std::lock_guard<std::mutex> lock(mutex_);
        seen_reader = reader;
        samples.insert(samples.end(), taken.begin(), taken.end());
        events.push_back("data");
    }
    void on_subscription_matched(DDSDataReader* reader,
                                 const DDS_SubscriptionMatchedStatus& status) override {
        std::lock_guard<std::mutex> lock(mutex_);
        seen_reader = reader;
        matched = status;
        events.push_back("matched " + std::to_string(status.current_count_change));
    }
    void on_liveliness_changed(DDSDataReader* reader,
                               const DDS_LivelinessChangedStatus& status) override {
        std::lock_guard<std::mutex> lock(mutex_);
        seen_reader = reader;
        liveliness.push_back(status);
        events.push_back("liveliness");
    }
    void on_requested_incompatible_qos(DDSDataReader*,
                                       const DDS_RequestedIncompatibleQosStatus& status) override {
        std::lock_guard<std::mutex> lock(mutex_);
        incompatible.clear();
        for (int32_t i = 0; i < status.policies.length(); ++i) {
            incompatible.push_back(status.policies[i].policy_id);
        }
        events.push_back("incompatible");
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
    int matched_count() {
        std::lock_guard<std::mutex> lock(mutex_);
        return matched.current_count;
    }

    std::mutex mutex_;
    DDSDataReader* seen_reader = nullptr;
    Texts samples;
    Texts events;
    DDS_SubscriptionMatchedStatus matched;
    std::vector<DDS_LivelinessChangedStatus> liveliness;
    std::vector<int> incompatible;
};

class RecordingWriterListener : public DDSDataWriterListener {
  public:
    void on_publication_matched(DDSDataWriter* writer,
                                const DDS_PublicationMatchedStatus& status) override {
        std::lock_guard<std::mutex> lock(mutex_);
        seen_writer = writer;
        current = status.current_count;
        ++calls;
    }
    void on_offered_incompatible_qos(DDSDataWriter*,
                                     const DDS_OfferedIncompatibleQosStatus& status) override {
        std::lock_guard<std::mutex> lock(mutex_);
        incompatible.clear();
        for (int32_t i = 0; i < status.policies.length(); ++i) {
            incompatible.push_back(status.policies[i].policy_id);
        }
    }
    template <class T>
    T get(const T& member) {
        std::lock_guard<std::mutex> lock(mutex_);
        return member;
    }

    std::mutex mutex_;
    DDSDataWriter* seen_writer = nullptr;
    int current = 0;
    int calls = 0;
    std::vector<int> incompatible;
};

// One participant with a topic, a publisher and a subscriber.
struct Side {
    explicit Side(const ParticipantSetup& setup = ParticipantSetup()) {
        participant = make_participant(setup);
        if (participant == nullptr) {
            return;
        }
        topic = ping_topic(participant);
        DDS_PublisherQos publisher_qos;
        participant->get_default_publisher_qos(publisher_qos);
        publisher = participant->create_publisher(publisher_qos, nullptr, DDS_STATUS_MASK_NONE);
        DDS_SubscriberQos subscriber_qos;
        participant->get_default_subscriber_qos(subscriber_qos);
        subscriber = participant->create_subscriber(subscriber_qos, nullptr, DDS_STATUS_MASK_NONE);
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
                          const DDS_DataWriterQos& qos = writer_qos(),
                          DDS_StatusMask mask = DDS_STATUS_MASK_ALL) {
        return publisher->create_datawriter(topic, qos, listener, mask);
    }
    DDSDataReader* reader(DDSDataReaderListener* listener = nullptr,
                          const DDS_DataReaderQos& qos = reader_qos(),
                          DDS_StatusMask mask = DDS_STATUS_MASK_ALL) {
        return subscriber->create_datareader(topic, qos, listener, mask);
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

inline std::string quiet(const std::function<void()>& operation) {
    DDSLogger::get_instance()->set_verbosity(DDS_LOG_VERBOSITY_FATAL | DDS_LOG_VERBOSITY_ERROR);
    testing::internal::CaptureStdout();
    operation();
    return testing::internal::GetCapturedStdout();
}

}  // namespace endpoints_test

#endif
