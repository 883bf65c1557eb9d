// Topics, publishers, subscribers, writers and readers between participants on one private
// host, and what the binding adds to Fast DDS 2.9: liveliness of matched writers, no-writers
// samples, unregistration without disposal, the time-based filter, reader multicast, domain
// tags and participant partitions.
#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <fastrtps/xmlparser/XMLProfileManager.h>
#include <fastdds/dds/domain/DomainParticipant.hpp>
#include <fastdds/dds/domain/DomainParticipantFactory.hpp>
#include <fastdds/dds/publisher/DataWriter.hpp>
#include <fastdds/dds/publisher/Publisher.hpp>
#include <fastdds/dds/topic/TypeSupport.hpp>

#include "dds/domain.h"
#include "dds/logger.h"
#include "dds/publication.h"
#include "dds/src/topic_data_type_adapter.h"
#include "dds/subscription.h"
#include "dds/topic.h"
#include "kestping/pingDataPlugin.h"
#include "kestping/pingDataSupport.h"
#include "tests/unit/dds/endpoints_test_support.h"

namespace fdds = eprosima::fastdds::dds;
using namespace endpoints_test;

// ---- Entities ----

TEST(Entities, CreationAndDeletionFollowTheDdsRules) {
    Side side;
    ASSERT_TRUE(side.ready());
    DDSDomainParticipant* participant = side.participant;
    std::string log = quiet([&] {
        EXPECT_EQ(ping_topic(participant), nullptr) << "a second topic of the same name";
        EXPECT_EQ(participant->create_topic("Other", "NoSuchType", DDS_TOPIC_QOS_DEFAULT, nullptr,
                                            DDS_STATUS_MASK_NONE),
                  nullptr);
    });
    EXPECT_NE(log.find("already exists"), std::string::npos) << log;
    EXPECT_NE(log.find("not registered"), std::string::npos) << log;
    EXPECT_STREQ(side.topic->get_name(), "PingTopic");
    EXPECT_STREQ(side.topic->get_type_name(), "PingType");

    DDSDataWriter* writer = side.writer();
    DDSDataReader* reader = side.reader();
    ASSERT_NE(writer, nullptr);
    ASSERT_NE(reader, nullptr);
    EXPECT_NE(KestKeyedPingDataDataWriter::narrow(writer), nullptr) << "the typed writer";
    EXPECT_NE(KestKeyedPingDataDataReader::narrow(reader), nullptr) << "the typed reader";
    EXPECT_STREQ(writer->get_type_plugin()->type_name, "KestKeyedPingData");

    DDS_PublisherQos publisher_qos;
    DDSPublisher* other_publisher =
        participant->create_publisher(publisher_qos, nullptr, DDS_STATUS_MASK_NONE);
    ASSERT_NE(other_publisher, nullptr);
    quiet([&] {
        EXPECT_EQ(participant->delete_topic(side.topic), DDS_RETCODE_PRECONDITION_NOT_MET);
        EXPECT_EQ(participant->delete_publisher(side.publisher), DDS_RETCODE_PRECONDITION_NOT_MET);
        EXPECT_EQ(participant->delete_subscriber(side.subscriber),
                  DDS_RETCODE_PRECONDITION_NOT_MET);
        EXPECT_EQ(other_publisher->delete_datawriter(writer), DDS_RETCODE_PRECONDITION_NOT_MET);
        EXPECT_EQ(side.publisher->delete_datawriter(nullptr), DDS_RETCODE_BAD_PARAMETER);
        EXPECT_EQ(participant->delete_topic(nullptr), DDS_RETCODE_BAD_PARAMETER);
    });
    EXPECT_EQ(participant->delete_publisher(other_publisher), DDS_RETCODE_OK);
    EXPECT_EQ(side.publisher->delete_datawriter(writer), DDS_RETCODE_OK);
    EXPECT_EQ(participant->delete_publisher(side.publisher), DDS_RETCODE_OK);
    side.publisher = nullptr;
    EXPECT_EQ(side.subscriber->delete_datareader(reader), DDS_RETCODE_OK);
    EXPECT_EQ(participant->delete_topic(side.topic), DDS_RETCODE_OK);
    side.topic = ping_topic(participant);
    EXPECT_NE(side.topic, nullptr) << "the name is free again";
    EXPECT_NE(side.reader(), nullptr);
    EXPECT_EQ(participant->delete_contained_entities(), DDS_RETCODE_OK);
    EXPECT_EQ(participant->delete_contained_entities(), DDS_RETCODE_OK);
    EXPECT_NE(ping_topic(participant), nullptr) << "everything went, topic included";
}

TEST(Entities, QosThatFastDdsCannotTakeFailsTheCreationOnly) {
    Side side;
    ASSERT_TRUE(side.ready());
    DDS_DataWriterQos depth_zero = writer_qos();
    depth_zero.history.depth = 0;
    DDS_DataReaderQos bad_limits = reader_qos();
    bad_limits.resource_limits = {5, 5, 5};
    std::string log = quiet([&] {
        EXPECT_EQ(side.writer(nullptr, depth_zero), nullptr);
        EXPECT_EQ(side.reader(nullptr, bad_limits), nullptr);
    });
    EXPECT_NE(log.find("depth"), std::string::npos) << log;
    EXPECT_NE(side.writer(), nullptr) << "the publisher still works";
}

// ---- Samples and loans ----

TEST(Exchange, TakeLendsSamplesAndInfosUntilTheLoanIsReturned) {
    RecordingWriterListener writer_listener;
    Side writing;
    Side reading;
    ASSERT_TRUE(writing.ready() && reading.ready());
    DDSDataReader* reader = reading.reader();
    DDSDataWriter* writer = writing.writer(&writer_listener);
    ASSERT_NE(reader, nullptr);
    ASSERT_NE(writer, nullptr);
    ASSERT_TRUE(eventually([&] { return writer_listener.get(writer_listener.current) == 1; }));
    for (int i = 0; i < 3; ++i) {
        ASSERT_EQ(write(writer, 1 + i % 2, i), DDS_RETCODE_OK);
    }

    void** samples = nullptr;
    int32_t count = 0;
    DDS_SampleInfoSeq infos;
    auto read = [&](bool take) {
        return reader->read_or_take_untyped(take, &samples, &count, infos, DDS_LENGTH_UNLIMITED,
                                            DDS_ANY_SAMPLE_STATE, DDS_ANY_VIEW_STATE,
                                            DDS_ANY_INSTANCE_STATE);
    };
    ASSERT_TRUE(eventually([&] {
        if (read(false) != DDS_RETCODE_OK) {
            return false;
        }
        bool all = count == 3;
        EXPECT_EQ(reader->return_loan_untyped(samples, count, infos), DDS_RETCODE_OK);
        return all;
    }));
    ASSERT_EQ(read(true), DDS_RETCODE_OK);
    ASSERT_EQ(count, 3);
    EXPECT_EQ(infos.length(), 3);
    EXPECT_FALSE(infos.has_ownership());
    EXPECT_EQ(infos[0].sample_state, DDS_READ_SAMPLE_STATE) << "read before";
    EXPECT_EQ(static_cast<KestKeyedPingData*>(samples[0])->number, 0);
    EXPECT_EQ(static_cast<KestKeyedPingData*>(samples[1])->number, 2) << "instance by instance";
    EXPECT_EQ(static_cast<KestKeyedPingData*>(samples[2])->number, 1);
    EXPECT_TRUE(infos[0].valid_data);
    EXPECT_EQ(infos[0].instance_handle.value[3], 1);

    quiet([&] {
        void** more = nullptr;
        int32_t more_count = 0;
        EXPECT_EQ(reader->read_or_take_untyped(true, &more, &more_count, infos,
                                               DDS_LENGTH_UNLIMITED, DDS_ANY_SAMPLE_STATE,
                                               DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE),
                  DDS_RETCODE_PRECONDITION_NOT_MET)
            << "the infos still hold a loan";
        EXPECT_EQ(reader->return_loan_untyped(samples, count - 1, infos),
                  DDS_RETCODE_PRECONDITION_NOT_MET);
        EXPECT_EQ(reading.subscriber->delete_datareader(reader), DDS_RETCODE_PRECONDITION_NOT_MET);
    });
    EXPECT_EQ(reader->return_loan_untyped(samples, count, infos), DDS_RETCODE_OK);
    EXPECT_TRUE(infos.has_ownership());
    EXPECT_EQ(infos.maximum(), 0);
    EXPECT_EQ(read(true), DDS_RETCODE_NO_DATA);

    DDS_SampleInfoSeq owned(4);
    quiet([&] {
        EXPECT_EQ(reader->read_or_take_untyped(true, &samples, &count, owned, DDS_LENGTH_UNLIMITED,
                                               DDS_ANY_SAMPLE_STATE, DDS_ANY_VIEW_STATE,
                                               DDS_ANY_INSTANCE_STATE),
                  DDS_RETCODE_PRECONDITION_NOT_MET)
            << "a sequence with room of its own is refused";
    });
}

// ---- Listeners ----

TEST(Listeners, EachStatusReachesTheListenerOnlyWhenItsMaskBitIsSet) {
    struct Case {
        const char* what;
        DDS_StatusMask mask;
        bool matched, liveliness, data;
    };
    const Case cases[] = {
        {"all", DDS_STATUS_MASK_ALL, true, true, true},
        {"none", DDS_STATUS_MASK_NONE, false, false, false},
        {"matched", DDS_SUBSCRIPTION_MATCHED_STATUS, true, false, false},
        {"liveliness", DDS_LIVELINESS_CHANGED_STATUS, false, true, false},
        {"data", DDS_DATA_AVAILABLE_STATUS, false, false, true},
    };
    // Listeners outlive the entities that call them.
    RecordingReaderListener witness;
    RecordingWriterListener writer_listener;
    RecordingWriterListener silent_writer_listener;
    std::vector<std::unique_ptr<RecordingReaderListener>> listeners;
    Side writing;
    Side reading;
    ASSERT_TRUE(writing.ready() && reading.ready());
    std::vector<DDSDataReader*> readers;
    for (const Case& c : cases) {
        listeners.emplace_back(new RecordingReaderListener);
        readers.push_back(reading.reader(listeners.back().get(), reader_qos(), c.mask));
        ASSERT_NE(readers.back(), nullptr);
        EXPECT_EQ(readers.back()->get_listener(), listeners.back().get());
    }
    // A reader that hears everything, created last, tells when all have had the sample.
    ASSERT_NE(reading.reader(&witness), nullptr);
    DDSDataWriter* writer =
        writing.writer(&writer_listener, writer_qos(), DDS_PUBLICATION_MATCHED_STATUS);
    ASSERT_NE(writing.writer(&silent_writer_listener, writer_qos(),
                             DDS_STATUS_MASK_ALL & ~DDS_PUBLICATION_MATCHED_STATUS),
              nullptr);
    ASSERT_TRUE(eventually([&] { return writer_listener.get(writer_listener.current) == 6; }));
    ASSERT_EQ(write(writer, 1, 1), DDS_RETCODE_OK);
    ASSERT_TRUE(eventually([&] { return witness.has_sample("k1:1"); }));
    ASSERT_TRUE(eventually([&] {
        for (size_t i = 0; i < readers.size(); ++i) {
            void** samples = nullptr;
            int32_t count = 0;
            DDS_SampleInfoSeq infos;
            if (!cases[i].data &&
                readers[i]->read_or_take_untyped(
                    false, &samples, &count, infos, DDS_LENGTH_UNLIMITED, DDS_ANY_SAMPLE_STATE,
                    DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE) != DDS_RETCODE_OK) {
                return false;
            }
            if (samples != nullptr) {
                readers[i]->return_loan_untyped(samples, count, infos);
            }
        }
        return true;
    })) << "every reader has the sample";

    for (size_t i = 0; i < readers.size(); ++i) {
        const Case& c = cases[i];
        RecordingReaderListener& listener = *listeners[i];
        SCOPED_TRACE(c.what);
        EXPECT_EQ(listener.matched_count() == 2, c.matched);
        EXPECT_EQ(!listener.get(listener.liveliness).empty(), c.liveliness);
        EXPECT_EQ(listener.has_sample("k1:1"), c.data);
        if (c.matched || c.liveliness || c.data) {
            EXPECT_EQ(listener.get(listener.seen_reader), readers[i])
                << "called with the typed reader";
        }
    }
    EXPECT_EQ(writer_listener.get(writer_listener.seen_writer), writer);
    EXPECT_EQ(silent_writer_listener.get(silent_writer_listener.calls), 0);
}

// ---- Statuses ----

TEST(Statuses, IncompatibleQosNamesTheOffendingPoliciesByStandardId) {
    RecordingReaderListener reader_listener;
    RecordingWriterListener writer_listener;
    Side writing;
    Side reading;
    ASSERT_TRUE(writing.ready() && reading.ready());
    DDS_DataReaderQos demanding = reader_qos(true);
    demanding.durability.kind = DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
    ASSERT_NE(reading.reader(&reader_listener, demanding), nullptr);
    ASSERT_NE(writing.writer(&writer_listener, writer_qos(false)), nullptr);
    ASSERT_TRUE(eventually([&] {
        return !reader_listener.get(reader_listener.incompatible).empty() &&
               !writer_listener.get(writer_listener.incompatible).empty();
    }));
    EXPECT_EQ(reader_listener.get(reader_listener.incompatible), (std::vector<int>{11, 2}));
    EXPECT_EQ(writer_listener.get(writer_listener.incompatible), (std::vector<int>{11, 2}));
    EXPECT_EQ(reader_listener.matched_count(), 0);
}

// ---- Liveliness of matched writers ----

TEST(Liveliness, MatchedWritersCountAsAliveAndTheirDeletionAsALoss) {
    RecordingReaderListener listener;
    Side writing;
    Side reading;
    ASSERT_TRUE(writing.ready() && reading.ready());
    ASSERT_NE(reading.reader(&listener), nullptr);
    DDSDataWriter* first = writing.writer();
    DDSDataWriter* second = writing.writer();
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    auto last = [&] { return listener.get(listener.liveliness).back(); };
    ASSERT_TRUE(eventually(
        [&] { return !listener.get(listener.liveliness).empty() && last().alive_count == 2; }));
    std::vector<DDS_LivelinessChangedStatus> statuses = listener.get(listener.liveliness);
    ASSERT_EQ(statuses.size(), 2u);
    for (const DDS_LivelinessChangedStatus& status : statuses) {
        EXPECT_EQ(status.alive_count_change, 1);
        EXPECT_EQ(status.not_alive_count_change, 0);
    }
    EXPECT_NE(statuses[0].last_publication_handle, statuses[1].last_publication_handle);

    ASSERT_EQ(writing.publisher->delete_datawriter(first), DDS_RETCODE_OK);
    ASSERT_TRUE(eventually([&] { return last().alive_count == 1; }));
    EXPECT_EQ(last().not_alive_count, 1);
    EXPECT_EQ(last().alive_count_change, -1);
    EXPECT_EQ(last().not_alive_count_change, 1);
    ASSERT_EQ(writing.publisher->delete_datawriter(second), DDS_RETCODE_OK);
    ASSERT_TRUE(eventually([&] { return last().alive_count == 0; }));
    EXPECT_EQ(last().not_alive_count, 2);
    EXPECT_EQ(listener.get(listener.liveliness).size(), 4u);
}

// ---- Instances without writers ----

TEST(NoWriters, ADeletedKeyedWriterLeavesOneNoWritersSamplePerLiveInstance) {
    RecordingReaderListener listener;
    RecordingWriterListener writer_listener;
    Side writing;
    Side reading;
    ASSERT_TRUE(writing.ready() && reading.ready());
    ASSERT_NE(reading.reader(&listener), nullptr);
    DDSDataWriter* writer = writing.writer(&writer_listener);
    ASSERT_TRUE(eventually([&] { return writer_listener.get(writer_listener.current) == 1; }));
    KestKeyedPingData three = {3, 30};
    ASSERT_EQ(write(writer, 1, 10), DDS_RETCODE_OK);
    ASSERT_EQ(write(writer, 2, 20), DDS_RETCODE_OK);
    ASSERT_EQ(writer->write_untyped(&three, DDS_HANDLE_NIL), DDS_RETCODE_OK);
    ASSERT_EQ(writer->dispose_untyped(&three, DDS_HANDLE_NIL), DDS_RETCODE_OK);
    ASSERT_TRUE(eventually([&] { return listener.has_sample("k3:disposed"); }));
    ASSERT_EQ(writing.publisher->delete_datawriter(writer), DDS_RETCODE_OK);
    ASSERT_TRUE(eventually([&] { return listener.get(listener.samples).size() == 6; }));
    Texts samples = listener.get(listener.samples);
    std::sort(samples.begin() + 4, samples.end());
    EXPECT_EQ(samples,
              (Texts{"k1:10", "k2:20", "k3:30", "k3:disposed", "k1:nowriters", "k2:nowriters"}));
}

TEST(NoWriters, UnregisteringLeavesTheInstanceWithoutWritersNotDisposed) {
    RecordingReaderListener listener;
    RecordingWriterListener writer_listener;
    Side writing;
    Side reading;
    ASSERT_TRUE(writing.ready() && reading.ready());
    ASSERT_NE(reading.reader(&listener), nullptr);
    DDSDataWriter* writer = writing.writer(&writer_listener);
    ASSERT_TRUE(eventually([&] { return writer_listener.get(writer_listener.current) == 1; }));
    KestKeyedPingData sample = {4, 40};
    ASSERT_EQ(writer->write_untyped(&sample, DDS_HANDLE_NIL), DDS_RETCODE_OK);
    ASSERT_EQ(writer->unregister_instance_untyped(&sample, DDS_HANDLE_NIL), DDS_RETCODE_OK);
    ASSERT_EQ(write(writer, 5, 50), DDS_RETCODE_OK);
    ASSERT_TRUE(eventually([&] { return listener.has_sample("k5:50"); }));
    EXPECT_EQ(listener.get(listener.samples), (Texts{"k4:40", "k4:nowriters", "k5:50"}));
}

// The writer side of LeaseExpiry below, run in a child process that the test kills.
TEST(LeaseExpiryChild, WritesAndWaitsToBeKilled) {
    if (std::getenv("QOR_ENDPOINTS_CHILD") == nullptr) {
        GTEST_SKIP() << "run by LeaseExpiry only";
    }
    ParticipantSetup setup;
    setup.lease = {2, 0};
    RecordingWriterListener writer_listener;
    Side writing(setup);
    ASSERT_TRUE(writing.ready());
    DDSDataWriter* writer = writing.writer(&writer_listener);
    ASSERT_TRUE(eventually([&] { return writer_listener.get(writer_listener.current) == 1; }));
    write(writer, 1, 1);
    write(writer, 2, 2);
    std::this_thread::sleep_for(std::chrono::seconds(60));
}

TEST(LeaseExpiry, AKilledWritersInstancesLoseTheirWritersWhenItsLeaseRunsOut) {
    RecordingReaderListener listener;
    Side reading;
    ASSERT_TRUE(reading.ready());
    ASSERT_NE(reading.reader(&listener), nullptr);

    pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        setenv("QOR_ENDPOINTS_CHILD", "1", 1);
        execl("/proc/self/exe", "endpoints-child",
              "--gtest_filter=LeaseExpiryChild.WritesAndWaitsToBeKilled", nullptr);
        _exit(127);
    }
    bool written = eventually([&] { return listener.get(listener.samples).size() == 2; });
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    ASSERT_TRUE(written);
    ASSERT_TRUE(eventually([&] { return listener.get(listener.samples).size() == 4; }, 30));
    Texts samples = listener.get(listener.samples);
    std::sort(samples.begin() + 2, samples.end());
    EXPECT_EQ(samples, (Texts{"k1:1", "k2:2", "k1:nowriters", "k2:nowriters"}));
    DDS_LivelinessChangedStatus last = listener.get(listener.liveliness).back();
    EXPECT_EQ(last.alive_count, 0);
    EXPECT_EQ(last.not_alive_count, 1);
    EXPECT_EQ(last.not_alive_count_change, 1);
}

// ---- Time-based filter ----

TEST(TimeBasedFilter, KeepsOneSamplePerInstanceAndSeparation) {
    RecordingReaderListener filtered;
    RecordingWriterListener writer_listener;
    Side writing;
    Side reading;
    ASSERT_TRUE(writing.ready() && reading.ready());
    DDS_DataReaderQos qos = reader_qos();
    qos.time_based_filter.minimum_separation = {60, 0};
    ASSERT_NE(reading.reader(&filtered, qos), nullptr);
    DDSDataWriter* writer = writing.writer(&writer_listener);
    ASSERT_TRUE(eventually([&] { return writer_listener.get(writer_listener.current) == 1; }));
    // Back to back, well within a minute; the last one, on a new instance, passes and, the
    // writer being reliable, comes after all the others.
    for (int32_t number : {0, 1, 2, 3, 4}) {
        ASSERT_EQ(write(writer, number < 2 ? 1 : number < 4 ? 2 : 3, number), DDS_RETCODE_OK);
    }
    ASSERT_TRUE(eventually([&] { return filtered.has_sample("k3:4"); }));
    EXPECT_EQ(filtered.get(filtered.samples), (Texts{"k1:0", "k2:2", "k3:4"}));
}

// ---- Reader multicast ----

TEST(Multicast, ReaderSamplesTravelByItsGroupAndPort) {
    // Within one process Fast DDS would hand the sample over directly.
    eprosima::fastrtps::LibrarySettingsAttributes settings;
    settings.intraprocess_delivery = eprosima::fastrtps::INTRAPROCESS_OFF;
    eprosima::fastrtps::xmlparser::XMLProfileManager::library_settings(settings);
    int socket_fd = socket(AF_INET, SOCK_DGRAM, 0);
    ASSERT_GE(socket_fd, 0);
    int yes = 1;
    setsockopt(socket_fd, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    setsockopt(socket_fd, SOL_SOCKET, SO_REUSEPORT, &yes, sizeof yes);
    sockaddr_in bound{};
    bound.sin_family = AF_INET;
    bound.sin_port = htons(23017);
    bound.sin_addr.s_addr = htonl(INADDR_ANY);
    ASSERT_EQ(bind(socket_fd, reinterpret_cast<sockaddr*>(&bound), sizeof bound), 0);
    ip_mreq group{};
    inet_pton(AF_INET, "239.255.0.7", &group.imr_multiaddr);
    group.imr_interface.s_addr = htonl(INADDR_LOOPBACK);
    ASSERT_EQ(setsockopt(socket_fd, IPPROTO_IP, IP_ADD_MEMBERSHIP, &group, sizeof group), 0);
    timeval timeout = {0, 100000};
    setsockopt(socket_fd, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);

    RecordingReaderListener listener;
    RecordingWriterListener writer_listener;
    Side writing;
    Side reading;
    ASSERT_TRUE(writing.ready() && reading.ready());
    DDS_DataReaderQos qos = reader_qos(false);
    ASSERT_TRUE(qos.multicast.value.ensure_length(1, 1));
    DDS_String_replace(&qos.multicast.value[0].receive_address, "239.255.0.7");
    qos.multicast.value[0].receive_port = 23017;
    ASSERT_NE(reading.reader(&listener, qos), nullptr);
    DDSDataWriter* writer = writing.writer(&writer_listener, writer_qos(false));
    ASSERT_TRUE(eventually([&] { return writer_listener.get(writer_listener.current) == 1; }));

    // The sample { key 0x51e0, number 0x5eed } in little-endian CDR, as it must appear.
    const unsigned char payload[] = {0xe0, 0x51, 0x00, 0x00, 0xed, 0x5e, 0x00, 0x00};
    bool seen_on_group = false;
    ASSERT_TRUE(eventually([&] {
        write(writer, 0x51e0, 0x5eed);
        unsigned char buffer[65536];
        ssize_t length;
        while ((length = recv(socket_fd, buffer, sizeof buffer, 0)) > 0) {
            seen_on_group =
                seen_on_group || (std::memcmp(buffer, "RTPS", 4) == 0 &&
                                  std::search(buffer, buffer + length, payload,
                                              payload + sizeof payload) != buffer + length);
        }
        return seen_on_group && listener.has_sample("k20960:24301");
    }));
    close(socket_fd);
}

// ---- Domain tags and participant partitions ----

namespace {

// A reader on `reading`, and writers on participants of each setup, each writing its index as
// the key once matched; returns the keys the reader got once the writers that should match
// have all been heard, and checks that the reader matched no one else.
Texts heard_from(const ParticipantSetup& reading_setup,
                 const std::vector<ParticipantSetup>& writing_setups,
                 const std::vector<bool>& should_match) {
    RecordingReaderListener listener;
    Side reading(reading_setup);
    EXPECT_TRUE(reading.ready());
    EXPECT_NE(reading.reader(&listener), nullptr);
    std::vector<std::unique_ptr<RecordingWriterListener>> writer_listeners;
    std::vector<std::unique_ptr<Side>> writing;
    std::vector<DDSDataWriter*> writers;
    for (const ParticipantSetup& setup : writing_setups) {
        writing.emplace_back(new Side(setup));
        writer_listeners.emplace_back(new RecordingWriterListener);
        writers.push_back(writing.back()->writer(writer_listeners.back().get()));
    }
    int expected = static_cast<int>(std::count(should_match.begin(), should_match.end(), true));
    // Writers that must match are matched; meanwhile everyone writes.
    EXPECT_TRUE(eventually([&] {
        for (size_t i = 0; i < writers.size(); ++i) {
            write(writers[i], static_cast<int32_t>(i), 0);
        }
        int heard = 0;
        for (size_t i = 0; i < writers.size(); ++i) {
            heard += should_match[i] && listener.has_sample("k" + std::to_string(i) + ":0");
        }
        return heard == expected;
    }));
    // Discovery of every participant is complete well before the matching ones have
    // exchanged data; one more round of writes, and the reader has matched only them.
    for (size_t i = 0; i < writers.size(); ++i) {
        write(writers[i], static_cast<int32_t>(i), 1);
        EXPECT_EQ(writer_listeners[i]->get(writer_listeners[i]->current), should_match[i] ? 1 : 0)
            << "writer " << i;
    }
    EXPECT_EQ(listener.matched_count(), expected);
    Texts keys;
    for (const std::string& sample : listener.get(listener.samples)) {
        std::string key = sample.substr(0, sample.find(':'));
        if (std::find(keys.begin(), keys.end(), key) == keys.end()) {
            keys.push_back(key);
        }
    }
    std::sort(keys.begin(), keys.end());
    return keys;
}

ParticipantSetup tagged(const char* tag, std::vector<std::string> partitions = {"*"}) {
    ParticipantSetup setup;
    setup.tag = tag;
    setup.partitions = partitions;
    return setup;
}

}  // namespace

TEST(Isolation, OnlyParticipantsWithEqualDomainTagsMeet) {
    // Writers: tag "blue", no tag, tag "red".
    EXPECT_EQ(heard_from(tagged("red"), {tagged("blue"), tagged(nullptr), tagged("red")},
                         {false, false, true}),
              Texts{"k2"});
    EXPECT_EQ(heard_from(tagged(nullptr), {tagged("blue"), tagged(nullptr)}, {false, true}),
              Texts{"k1"});
}

TEST(Isolation, ParticipantPartitionsMeetByDdsPartitionRules) {
    // Writers: disjoint list, wildcard that matches, list with one name in common, default.
    EXPECT_EQ(heard_from(tagged(nullptr, {"A", "B"}),
                         {tagged(nullptr, {"C"}), tagged(nullptr, {"A*"}),
                          tagged(nullptr, {"X", "B"}), tagged(nullptr, {"*"})},
                         {false, true, true, true}),
              (Texts{"k1", "k2", "k3"}));
}

TEST(Isolation, TheDefaultListMeetsAPlainFastDdsPeerInTheDefaultPartition) {
    RecordingReaderListener listener;
    Side reading(tagged(nullptr, {"*"}));
    ASSERT_TRUE(reading.ready());
    ASSERT_NE(reading.reader(&listener), nullptr);

    // The peer: Fast DDS on its own, default QoS everywhere, the ping type through the same
    // adapter the binding uses.
    fdds::DomainParticipant* peer =
        fdds::DomainParticipantFactory::get_instance()->create_participant(
            0, fdds::PARTICIPANT_QOS_DEFAULT);
    ASSERT_NE(peer, nullptr);
    // The binding creates Fast DDS participants disabled, factory-wide.
    ASSERT_EQ(peer->enable(), eprosima::fastrtps::types::ReturnCode_t::RETCODE_OK);
    DDSTypePlugin* plugin = KestKeyedPingDataPlugin_new();
    ASSERT_NE(plugin, nullptr);
    fdds::TypeSupport type(new qordds::TopicDataTypeAdapter("PingType", *plugin));
    ASSERT_EQ(type.register_type(peer), eprosima::fastrtps::types::ReturnCode_t::RETCODE_OK);
    fdds::Topic* topic = peer->create_topic("PingTopic", "PingType", fdds::TOPIC_QOS_DEFAULT);
    ASSERT_NE(topic, nullptr);
    fdds::PublisherQos named;
    named.partition().push_back("x");
    fdds::DataWriter* in_default = peer->create_publisher(fdds::PUBLISHER_QOS_DEFAULT)
                                       ->create_datawriter(topic, fdds::DATAWRITER_QOS_DEFAULT);
    fdds::DataWriter* in_named =
        peer->create_publisher(named)->create_datawriter(topic, fdds::DATAWRITER_QOS_DEFAULT);
    ASSERT_NE(in_default, nullptr);
    ASSERT_NE(in_named, nullptr);
    bool heard = eventually([&] {
        KestKeyedPingData sample = {9, 90};
        in_default->write(&sample);
        KestKeyedPingData other = {8, 80};
        in_named->write(&other);
        return listener.has_sample("k9:90");
    });
    EXPECT_TRUE(heard);
    // The reader's publisher/subscriber partition is the default one: the peer's writer in
    // partition "x" is not for it.
    EXPECT_FALSE(listener.has_sample("k8:80"));
    EXPECT_EQ(listener.matched_count(), 1);
    peer->delete_contained_entities();
    fdds::DomainParticipantFactory::get_instance()->delete_participant(peer);
    KestKeyedPingDataPlugin_delete(plugin);
}
