// Two participants on one private host exchange a keyed ping sample through the typed layer:
// the reader takes it with a loan and gives the loan back, and on the wire the sample is the
// little-endian XCDR1 form of the type. Runs on a private host; UDPv4 only, so that the data
// travels where a capture on the loopback interface sees it.
#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <thread>

#include <fastrtps/xmlparser/XMLProfileManager.h>

#include "dds/domain.h"
#include "dds/logger.h"
#include "dds/publication.h"
#include "dds/subscription.h"
#include "dds/topic.h"
#include "kestping/pingDataSupport.h"

extern char** environ;

namespace {

std::string logged_by(const std::function<void()>& operation) {
    DDSLogger::get_instance()->set_verbosity(DDS_LOG_VERBOSITY_FATAL | DDS_LOG_VERBOSITY_ERROR);
    testing::internal::CaptureStdout();
    operation();
    return testing::internal::GetCapturedStdout();
}

// Polls `done` every 20 ms for up to 20 s; the bound only keeps a broken build from hanging.
bool eventually(const std::function<bool()>& done) {
    for (int i = 0; i < 1000; ++i) {
        if (done()) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return false;
}

DDSDomainParticipant* udp_participant() {
    DDSDomainParticipantFactory* factory = DDSDomainParticipantFactory::get_instance();
    DDS_DomainParticipantFactoryQos factory_qos;
    factory->get_qos(factory_qos);
    factory_qos.entity_factory.autoenable_created_entities = true;
    factory->set_qos(factory_qos);
    DDS_DomainParticipantQos qos;
    qos.transport_builtin.mask = DDS_TRANSPORTBUILTIN_UDPv4;
    return factory->create_participant(0, qos, nullptr, DDS_STATUS_MASK_NONE);
}

class PingExchange : public testing::Test {
  protected:
    void SetUp() override {
        writing = udp_participant();
        reading = udp_participant();
        ASSERT_NE(writing, nullptr);
        ASSERT_NE(reading, nullptr);
        ASSERT_EQ(KestKeyedPingDataTypeSupport::register_type(writing, "PingType"), DDS_RETCODE_OK);
        ASSERT_EQ(KestKeyedPingDataTypeSupport::register_type(reading, "PingType"), DDS_RETCODE_OK);
        DDS_TopicQos topic_qos;
        ASSERT_EQ(writing->get_default_topic_qos(topic_qos), DDS_RETCODE_OK);
        DDSTopic* writer_topic = writing->create_topic("PingTopic", "PingType", topic_qos, nullptr,
                                                       DDS_STATUS_MASK_NONE);
        DDSTopic* reader_topic = reading->create_topic("PingTopic", "PingType", topic_qos, nullptr,
                                                       DDS_STATUS_MASK_NONE);
        ASSERT_NE(writer_topic, nullptr);
        ASSERT_NE(reader_topic, nullptr);

        DDS_PublisherQos publisher_qos;
        writing->get_default_publisher_qos(publisher_qos);
        DDSPublisher* publisher =
            writing->create_publisher(publisher_qos, nullptr, DDS_STATUS_MASK_NONE);
        ASSERT_NE(publisher, nullptr);
        DDS_DataWriterQos writer_qos;
        publisher->get_default_datawriter_qos_w_topic_name(writer_qos, "PingTopic");
        writer_qos.reliability.kind = DDS_RELIABLE_RELIABILITY_QOS;
        writer_qos.durability.kind = DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
        untyped_writer =
            publisher->create_datawriter(writer_topic, writer_qos, nullptr, DDS_STATUS_MASK_NONE);
        ASSERT_NE(untyped_writer, nullptr);

        DDS_SubscriberQos subscriber_qos;
        reading->get_default_subscriber_qos(subscriber_qos);
        DDSSubscriber* subscriber =
            reading->create_subscriber(subscriber_qos, nullptr, DDS_STATUS_MASK_NONE);
        ASSERT_NE(subscriber, nullptr);
        DDS_DataReaderQos reader_qos;
        subscriber->get_default_datareader_qos_w_topic_name(reader_qos, "PingTopic");
        reader_qos.reliability.kind = DDS_RELIABLE_RELIABILITY_QOS;
        reader_qos.durability.kind = DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
        untyped_reader =
            subscriber->create_datareader(reader_topic, reader_qos, nullptr, DDS_STATUS_MASK_NONE);
        ASSERT_NE(untyped_reader, nullptr);
    }

    void TearDown() override {
        DDSDomainParticipantFactory* factory = DDSDomainParticipantFactory::get_instance();
        for (DDSDomainParticipant* participant : {writing, reading}) {
            if (participant != nullptr) {
                EXPECT_EQ(participant->delete_contained_entities(), DDS_RETCODE_OK);
                EXPECT_EQ(factory->delete_participant(participant), DDS_RETCODE_OK);
            }
        }
    }

    // Writes { key 1, number 7 } and takes it on the other participant with a loan.
    void write_and_take(KestKeyedPingDataSeq& data, DDS_SampleInfoSeq& infos) {
        KestKeyedPingDataDataWriter* writer = KestKeyedPingDataDataWriter::narrow(untyped_writer);
        KestKeyedPingDataDataReader* reader = KestKeyedPingDataDataReader::narrow(untyped_reader);
        ASSERT_NE(writer, nullptr);
        ASSERT_NE(reader, nullptr);
        KestKeyedPingData sample = {1, 7};
        ASSERT_EQ(writer->write(sample, DDS_HANDLE_NIL), DDS_RETCODE_OK);
        DDS_ReturnCode_t taken = DDS_RETCODE_NO_DATA;
        ASSERT_TRUE(eventually([&] {
            taken = reader->take(data, infos, DDS_LENGTH_UNLIMITED, DDS_ANY_SAMPLE_STATE,
                                 DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE);
            return taken != DDS_RETCODE_NO_DATA;
        }));
        ASSERT_EQ(taken, DDS_RETCODE_OK);
    }

    DDSDomainParticipant* writing = nullptr;
    DDSDomainParticipant* reading = nullptr;
    DDSDataWriter* untyped_writer = nullptr;
    DDSDataReader* untyped_reader = nullptr;
};

TEST_F(PingExchange, TakenWithALoanOnAnotherParticipantAndGivenBack) {
    KestKeyedPingDataSeq data;
    DDS_SampleInfoSeq infos;
    write_and_take(data, infos);
    ASSERT_EQ(data.length(), 1);
    ASSERT_EQ(infos.length(), 1);
    EXPECT_FALSE(data.has_ownership()) << "a loan, not a copy";
    EXPECT_TRUE(infos[0].valid_data);
    EXPECT_EQ(data[0].key, 1);
    EXPECT_EQ(data[0].number, 7);
    const unsigned char* hash = infos[0].instance_handle.value;
    EXPECT_EQ(hash[0] | hash[1] | hash[2], 0);
    EXPECT_EQ(hash[3], 1) << "the instance handle is the key hash";

    bool resized = true;
    EXPECT_NE(logged_by([&] { resized = data.maximum(4); }).find("buffer must not be loaned"),
              std::string::npos);
    EXPECT_FALSE(resized);

    KestKeyedPingDataDataReader* reader = KestKeyedPingDataDataReader::narrow(untyped_reader);
    EXPECT_EQ(reader->return_loan(data, infos), DDS_RETCODE_OK);
    EXPECT_TRUE(data.has_ownership());
    EXPECT_TRUE(infos.has_ownership());
    EXPECT_EQ(data.length(), 0);
    EXPECT_EQ(reader->take(data, infos, DDS_LENGTH_UNLIMITED, DDS_ANY_SAMPLE_STATE,
                           DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE),
              DDS_RETCODE_NO_DATA)
        << "taken once";
}

TEST_F(PingExchange, NarrowingToTheOtherTypeIsRefused) {
    std::string log = logged_by([&] {
        EXPECT_EQ(KestPingDataDataWriter::narrow(untyped_writer), nullptr);
        EXPECT_EQ(KestPingDataDataReader::narrow(untyped_reader), nullptr);
    });
    EXPECT_NE(log.find("wrong type writer"), std::string::npos) << log;
    EXPECT_NE(log.find("wrong type reader"), std::string::npos) << log;
}

// tshark decoding the UDP datagrams on the loopback interface as they pass, one line per
// datagram: destination port, then for a DATA submessage with user data its encapsulation
// kind and options, the data after them, and the whole UDP payload, all in hex.
class Capture {
  public:
    explicit Capture(const std::string& directory) : log_(directory + "/tshark.log") {
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_addopen(&actions, 1, log_.c_str(), O_WRONLY | O_CREAT, 0644);
        posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
        const char* argv[] = {"tshark",
                              "-i",
                              "lo",
                              "-l",
                              "-f",
                              "udp",
                              "--enable-heuristic",
                              "rtps_udp",
                              "-T",
                              "fields",
                              "-E",
                              "separator=|",
                              "-e",
                              "udp.dstport",
                              "-e",
                              "rtps.param.serialize.encap_kind",
                              "-e",
                              "rtps.param.serialize.encap_len",
                              "-e",
                              "rtps.issueData",
                              "-e",
                              "udp.payload",
                              nullptr};
        if (posix_spawnp(&pid_, "tshark", &actions, nullptr, const_cast<char**>(argv), environ) !=
            0) {
            pid_ = -1;
        }
        posix_spawn_file_actions_destroy(&actions);
    }
    ~Capture() { stop(); }

    // True once tshark has seen a probe datagram, so that nothing sent later is missed.
    bool live() const {
        if (pid_ <= 0) {
            return false;
        }
        int probe = socket(AF_INET, SOCK_DGRAM, 0);
        sockaddr_in target = {};
        target.sin_family = AF_INET;
        target.sin_port = htons(kProbePort);
        target.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        bool seen = eventually([&] {
            sendto(probe, "probe", 5, 0, reinterpret_cast<sockaddr*>(&target), sizeof target);
            return lines().find(std::to_string(kProbePort) + "|") != std::string::npos;
        });
        close(probe);
        return seen;
    }

    // The lines of the datagrams that carried user data so far.
    std::string user_data() const {
        std::istringstream in(lines());
        std::string line, found;
        while (std::getline(in, line)) {
            std::string port, kind, options, body;
            std::istringstream fields(line);
            std::getline(fields, port, '|');
            std::getline(fields, kind, '|');
            std::getline(fields, options, '|');
            std::getline(fields, body, '|');
            if (!body.empty()) {
                found += line + "\n";
            }
        }
        return found;
    }

    void stop() {
        if (pid_ > 0) {
            kill(pid_, SIGINT);
            int status = 0;
            waitpid(pid_, &status, 0);
            pid_ = -1;
        }
    }

  private:
    static const int kProbePort = 47999;

    std::string lines() const {
        std::ifstream log(log_);
        std::stringstream text;
        text << log.rdbuf();
        return text.str();
    }

    std::string log_;
    pid_t pid_ = -1;
};

bool tshark_available() {
    return std::system("command -v tshark >/dev/null 2>&1") == 0;
}

// Fast DDS hands samples between participants of one process directly; turned off, they
// take the transport like samples between processes do.
class PingExchangeOnTheWire : public PingExchange {
  protected:
    void SetUp() override {
        eprosima::fastrtps::LibrarySettingsAttributes settings;
        settings.intraprocess_delivery = eprosima::fastrtps::INTRAPROCESS_OFF;
        eprosima::fastrtps::xmlparser::XMLProfileManager::library_settings(settings);
        PingExchange::SetUp();
    }
};

TEST_F(PingExchangeOnTheWire, CarriesTheLittleEndianXcdr1Form) {
    if (!tshark_available()) {
        GTEST_SKIP() << "tshark is not installed";
    }
    char directory[] = "/tmp/qor-wire-XXXXXX";
    ASSERT_NE(mkdtemp(directory), nullptr);
    Capture capture(directory);
    ASSERT_TRUE(capture.live());

    KestKeyedPingDataSeq data;
    DDS_SampleInfoSeq infos;
    write_and_take(data, infos);
    KestKeyedPingDataDataReader::narrow(untyped_reader)->return_loan(data, infos);
    // The sample has arrived, so its datagram has passed the interface; wait for tshark to
    // have decoded it.
    EXPECT_TRUE(eventually([&] { return !capture.user_data().empty(); }));
    capture.stop();
    std::string lines = capture.user_data();
    std::filesystem::remove_all(directory);

    std::istringstream in(lines);
    std::string line;
    int samples = 0;
    while (std::getline(in, line)) {
        std::istringstream fields(line);
        std::string port, kind, options, body, datagram;
        std::getline(fields, port, '|');
        std::getline(fields, kind, '|');
        std::getline(fields, options, '|');
        std::getline(fields, body, '|');
        std::getline(fields, datagram, '|');
        EXPECT_EQ(kind, "0x0001") << line;
        EXPECT_EQ(options, "0x0000") << line;
        EXPECT_EQ(body, "0100000007000000") << line;
        EXPECT_NE(datagram.find("000100000100000007000000"), std::string::npos) << line;
        ++samples;
    }
    EXPECT_GE(samples, 1) << "no DATA with user data captured:\n" << lines;
}

}  // namespace
