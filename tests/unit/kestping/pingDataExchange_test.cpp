// The ping types between two participants on one private host: registered under the tool's
// type name, and a keyed sample taken with a loan on the other participant, given back, and
// seen on the wire. UDPv4 only, so that the data travels where a capture on the loopback
// interface sees it.
#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <fastrtps/xmlparser/XMLProfileManager.h>
#include <fastdds/dds/domain/DomainParticipant.hpp>

#include "dds/domain.h"
#include "dds/logger.h"
#include "dds/src/participant_impl.h"
#include "dds/topic.h"
#include "kestping/pingDataSupport.h"
#include "tests/unit/support/test_io.h"

extern char** environ;

namespace {

std::string loggedBy(const std::function<void()>& operation) {
    DDSLogger::get_instance()->set_verbosity(DDS_LOG_VERBOSITY_FATAL | DDS_LOG_VERBOSITY_ERROR);
    return qortest::captureStdout(operation);
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

class TwoParticipants : public testing::Test {
  protected:
    void SetUp() override {
        // Fast DDS hands samples between participants of one process directly; turned off,
        // they take the transport, as samples between the tool's processes do.
        eprosima::fastrtps::LibrarySettingsAttributes settings;
        settings.intraprocess_delivery = eprosima::fastrtps::INTRAPROCESS_OFF;
        eprosima::fastrtps::xmlparser::XMLProfileManager::library_settings(settings);
        DDS_DomainParticipantQos qos;
        qos.transport_builtin.mask = DDS_TRANSPORTBUILTIN_UDPv4;
        for (DDSDomainParticipant** participant : {&first, &second}) {
            *participant = DDSDomainParticipantFactory::get_instance()->create_participant(
                0, qos, nullptr, DDS_STATUS_MASK_NONE);
            ASSERT_NE(*participant, nullptr);
        }
    }

    void TearDown() override {
        for (DDSDomainParticipant* participant : {first, second}) {
            if (participant != nullptr) {
                EXPECT_EQ(participant->delete_contained_entities(), DDS_RETCODE_OK);
                EXPECT_EQ(
                    DDSDomainParticipantFactory::get_instance()->delete_participant(participant),
                    DDS_RETCODE_OK);
            }
        }
    }

    static const qordds::RegisteredType* registered(DDSDomainParticipant* participant) {
        std::lock_guard<std::recursive_mutex> lock(participant->impl()->mutex);
        return participant->impl()->types.find("PingType");
    }

    // A reliable, transient-local keyed writer on the first participant writes { key 1,
    // number 7 }; a reader on the second takes it with a loan.
    void writeAndTake(KestKeyedPingDataSeq& data, DDS_SampleInfoSeq& infos) {
        DDSTopic* topics[2];
        for (DDSDomainParticipant* participant : {first, second}) {
            ASSERT_EQ(KestKeyedPingDataTypeSupport::register_type(participant, "PingType"),
                      DDS_RETCODE_OK);
            topics[participant == second] = participant->create_topic(
                "PingTopic", "PingType", DDS_TOPIC_QOS_DEFAULT, nullptr, DDS_STATUS_MASK_NONE);
        }
        DDSPublisher* publisher =
            first->create_publisher(DDS_PublisherQos(), nullptr, DDS_STATUS_MASK_NONE);
        DDSSubscriber* subscriber =
            second->create_subscriber(DDS_SubscriberQos(), nullptr, DDS_STATUS_MASK_NONE);
        ASSERT_TRUE(topics[0] && topics[1] && publisher && subscriber);
        DDS_DataWriterQos writerQos;
        writerQos.reliability.kind = DDS_RELIABLE_RELIABILITY_QOS;
        writerQos.durability.kind = DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
        DDS_DataReaderQos readerQos;
        readerQos.reliability.kind = DDS_RELIABLE_RELIABILITY_QOS;
        readerQos.durability.kind = DDS_TRANSIENT_LOCAL_DURABILITY_QOS;
        KestKeyedPingDataDataWriter* writer = KestKeyedPingDataDataWriter::narrow(
            publisher->create_datawriter(topics[0], writerQos, nullptr, DDS_STATUS_MASK_NONE));
        reader = KestKeyedPingDataDataReader::narrow(
            subscriber->create_datareader(topics[1], readerQos, nullptr, DDS_STATUS_MASK_NONE));
        ASSERT_TRUE(writer && reader);
        ASSERT_EQ(writer->write(KestKeyedPingData{1, 7}, DDS_HANDLE_NIL), DDS_RETCODE_OK);
        DDS_ReturnCode_t taken = DDS_RETCODE_NO_DATA;
        ASSERT_TRUE(eventually([&] { return (taken = take(data, infos)) != DDS_RETCODE_NO_DATA; }));
        ASSERT_EQ(taken, DDS_RETCODE_OK);
    }

    DDS_ReturnCode_t take(KestKeyedPingDataSeq& data, DDS_SampleInfoSeq& infos) {
        return reader->take(data, infos, DDS_LENGTH_UNLIMITED, DDS_ANY_SAMPLE_STATE,
                            DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE);
    }

    DDSDomainParticipant* first = nullptr;
    DDSDomainParticipant* second = nullptr;
    KestKeyedPingDataDataReader* reader = nullptr;
};

TEST_F(TwoParticipants, EachTypeRegistersUnderPingTypeAndTheNameKeepsItsFirstType) {
    ASSERT_EQ(KestKeyedPingDataTypeSupport::register_type(first, "PingType"), DDS_RETCODE_OK);
    ASSERT_EQ(KestPingDataTypeSupport::register_type(second, "PingType"), DDS_RETCODE_OK);
    EXPECT_FALSE(first->is_type_registered("KestKeyedPingData")) << "only under the given name";
    const qordds::RegisteredType* keyed = registered(first);
    const qordds::RegisteredType* plain = registered(second);
    ASSERT_TRUE(keyed && plain);
    EXPECT_STREQ(keyed->plugin.type_name, "KestKeyedPingData");
    EXPECT_TRUE(keyed->fast_type->m_isGetKeyDefined);
    EXPECT_EQ(first->impl()->fast->find_type("PingType"), keyed->fast_type);
    EXPECT_STREQ(plain->plugin.type_name, "KestPingData");
    EXPECT_FALSE(plain->fast_type->m_isGetKeyDefined);

    // The same type again keeps the first type support and releases the new one (LeakSanitizer
    // would report it otherwise); the other type is refused.
    const DDSTypeSupport* kept = plain->type_support.get();
    DDS_ReturnCode_t again = DDS_RETCODE_ERROR;
    EXPECT_EQ(loggedBy([&] { again = KestPingDataTypeSupport::register_type(second, "PingType"); }),
              "");
    EXPECT_EQ(again, DDS_RETCODE_OK);
    EXPECT_EQ(registered(second)->type_support.get(), kept);
    std::string log =
        loggedBy([&] { again = KestKeyedPingDataTypeSupport::register_type(second, "PingType"); });
    EXPECT_EQ(again, DDS_RETCODE_PRECONDITION_NOT_MET);
    EXPECT_NE(log.find("register_type error 4"), std::string::npos) << log;
    EXPECT_STREQ(registered(second)->plugin.type_name, "KestPingData");

    EXPECT_EQ(KestPingDataTypeSupport::unregister_type(second, "PingType"), DDS_RETCODE_OK);
    log = loggedBy([&] { again = KestPingDataTypeSupport::unregister_type(second, "PingType"); });
    EXPECT_EQ(again, DDS_RETCODE_BAD_PARAMETER);
    EXPECT_NE(log.find("unregister_type error 3"), std::string::npos) << log;
    EXPECT_EQ(KestKeyedPingDataTypeSupport::register_type(second, "PingType"), DDS_RETCODE_OK)
        << "a released name takes any type";
    log = loggedBy([&] { again = KestPingDataTypeSupport::register_type(second, ""); });
    EXPECT_EQ(again, DDS_RETCODE_BAD_PARAMETER);
    EXPECT_NE(log.find("type_name"), std::string::npos) << log;
}

// tshark on the loopback interface: one line "user data|UDP payload" in hex for each DATA
// submessage with user data, and "|payload" for each datagram sent to port 47999. Bounded in
// time, so that a test that dies before stopping it does not leave it behind.
class Capture {
  public:
    Capture() {
        std::string command =
            "exec timeout 60 tshark -i lo -l -f udp --enable-heuristic rtps_udp -T fields "
            "-E 'separator=|' -Y 'rtps.issueData || udp.dstport == 47999' "
            "-e rtps.issueData -e udp.payload >" +
            log_ + " 2>/dev/null";
        const char* argv[] = {"sh", "-c", command.c_str(), nullptr};
        if (posix_spawnp(&pid_, "sh", nullptr, nullptr, const_cast<char**>(argv), environ) != 0) {
            pid_ = -1;
        }
    }
    ~Capture() {
        stop();
        std::remove(log_.c_str());
    }

    // True once tshark has seen a probe ("probe" is 70726f6265 in hex), so that nothing sent
    // later is missed.
    bool live() const {
        int probe = socket(AF_INET, SOCK_DGRAM, 0);
        sockaddr_in target = {};
        target.sin_family = AF_INET;
        target.sin_port = htons(47999);
        target.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        bool seen =
            pid_ > 0 && eventually([&] {
                sendto(probe, "probe", 5, 0, reinterpret_cast<sockaddr*>(&target), sizeof target);
                return text().find("|70726f6265") != std::string::npos;
            });
        close(probe);
        return seen;
    }

    void stop() {
        if (pid_ > 0) {
            kill(pid_, SIGINT);
            waitpid(pid_, nullptr, 0);
            pid_ = -1;
        }
    }

    std::string text() const {
        std::ifstream log(log_);
        return std::string(std::istreambuf_iterator<char>(log), {});
    }

  private:
    std::string log_ = testing::TempDir() + "tshark-" + std::to_string(getpid()) + ".log";
    pid_t pid_ = -1;
};

TEST_F(TwoParticipants, KeyedSampleTravelsInLittleEndianXcdr1AndIsTakenWithALoan) {
    bool tshark = std::system("command -v tshark >/dev/null 2>&1") == 0;
    Capture capture;
    ASSERT_TRUE(!tshark || capture.live());
    KestKeyedPingDataSeq data;
    DDS_SampleInfoSeq infos;
    ASSERT_NO_FATAL_FAILURE(writeAndTake(data, infos));
    ASSERT_EQ(data.length(), 1);
    ASSERT_EQ(infos.length(), 1);
    EXPECT_FALSE(data.has_ownership()) << "a loan, not a copy";
    EXPECT_TRUE(infos[0].valid_data);
    EXPECT_EQ(data[0].key, 1);
    EXPECT_EQ(data[0].number, 7);
    const unsigned char* hash = infos[0].instance_handle.value;
    EXPECT_EQ(hash[0] | hash[1] | hash[2], 0);
    EXPECT_EQ(hash[3], 1) << "the instance handle is the key hash";

    // While loaned, the sequence keeps its buffer and the reader lends nothing more.
    KestKeyedPingDataSeq other(1);
    std::vector<std::pair<std::function<bool()>, const char*>> refusals = {
        {[&] { return !data.maximum(4); }, "buffer must not be loaned"},
        {[&] { return !data.copy_from(other); }, "buffer must not be loaned"},
        {[&] { return take(data, infos) == DDS_RETCODE_PRECONDITION_NOT_MET; }, "hold a loan"}};
    for (const auto& refusal : refusals) {
        bool refused = false;
        std::string log = loggedBy([&] { refused = refusal.first(); });
        EXPECT_TRUE(refused) << refusal.second;
        EXPECT_NE(log.find(refusal.second), std::string::npos) << log;
    }
    EXPECT_EQ(reader->return_loan(data, infos), DDS_RETCODE_OK);
    EXPECT_TRUE(data.has_ownership());
    EXPECT_TRUE(infos.has_ownership());
    EXPECT_EQ(take(data, infos), DDS_RETCODE_NO_DATA) << "taken once";
    EXPECT_EQ(reader->return_loan(data, infos), DDS_RETCODE_OK) << "nothing to give back";

    if (!tshark) {
        GTEST_SKIP() << "tshark is not installed: the bytes on the wire go unchecked";
    }
    // The sample has arrived, so its datagram has passed; wait for tshark to decode it.
    auto userData = [&] {
        std::vector<std::string> lines;
        std::istringstream text(capture.text());
        for (std::string line; std::getline(text, line);) {
            if (!line.empty() && line[0] != '|') {
                lines.push_back(line);
            }
        }
        return lines;
    };
    EXPECT_TRUE(eventually([&] { return !userData().empty(); }));
    capture.stop();
    for (const std::string& line : userData()) {
        EXPECT_EQ(line.substr(0, line.find('|')), "0100000007000000") << line;
        EXPECT_NE(line.find("000100000100000007000000"), std::string::npos)
            << "encapsulation header and body, together: " << line;
    }
}

}  // namespace
