// bare-ping: the floor qorddsping is measured against. A publisher or subscriber of numbered
// samples written on the Fast DDS API directly, with the QoS qorddsping uses by default
// (best effort, volatile, history depth 1, participant lease 6.5 s announced every 2 s)
// and none of its binding: no disabled creation, no rendezvous, no re-announcement. It
// prints the lines qorddsping prints for a match and for each sample, so one driver reads
// both. The publisher waits for its first match (up to 10 s) before it writes.
//
//   bare-ping pub|sub [-transport 1|2|3|8] [-peer ADDRESS]... [-numSamples N]
//                     [-sendPeriod S] [-timeout S] [-reliable] [-queueSize N]
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <arpa/inet.h>

#include <fastcdr/Cdr.h>
#include <fastcdr/FastBuffer.h>
#include <fastdds/rtps/transport/UDPv4TransportDescriptor.h>
#include <fastdds/rtps/transport/UDPv6TransportDescriptor.h>
#include <fastdds/rtps/transport/shared_mem/SharedMemTransportDescriptor.h>
#include <fastrtps/utils/IPLocator.h>
#include <fastdds/dds/domain/DomainParticipant.hpp>
#include <fastdds/dds/domain/DomainParticipantFactory.hpp>
#include <fastdds/dds/log/Log.hpp>
#include <fastdds/dds/publisher/DataWriter.hpp>
#include <fastdds/dds/publisher/DataWriterListener.hpp>
#include <fastdds/dds/publisher/Publisher.hpp>
#include <fastdds/dds/subscriber/DataReader.hpp>
#include <fastdds/dds/subscriber/DataReaderListener.hpp>
#include <fastdds/dds/subscriber/SampleInfo.hpp>
#include <fastdds/dds/subscriber/Subscriber.hpp>
#include <fastdds/dds/topic/TopicDataType.hpp>

namespace fdds = eprosima::fastdds::dds;
namespace frtps = eprosima::fastrtps::rtps;

namespace {

struct Options {
    bool publisher = true;
    int transport = 3;
    std::vector<std::string> peers;
    long samples = 0;
    double period = 1;
    double timeout = 0;
    bool reliable = false;
    int depth = 1;
};

// One unsigned 32-bit number in plain CDR, as small as qorddsping's unkeyed sample.
class BarePingType : public fdds::TopicDataType {
  public:
    BarePingType() {
        setName("BarePingType");
        m_typeSize = 4 + 4;
        m_isGetKeyDefined = false;
        auto_fill_type_object(false);
        auto_fill_type_information(false);
    }
    bool serialize(void* data, frtps::SerializedPayload_t* payload) override {
        eprosima::fastcdr::FastBuffer buffer(reinterpret_cast<char*>(payload->data),
                                             payload->max_size);
        eprosima::fastcdr::Cdr cdr(buffer, eprosima::fastcdr::Cdr::DEFAULT_ENDIAN,
                                   eprosima::fastcdr::Cdr::DDS_CDR);
        payload->encapsulation =
            cdr.endianness() == eprosima::fastcdr::Cdr::BIG_ENDIANNESS ? CDR_BE : CDR_LE;
        cdr.serialize_encapsulation();
        cdr << *static_cast<uint32_t*>(data);
        payload->length = static_cast<uint32_t>(cdr.getSerializedDataLength());
        return true;
    }
    bool deserialize(frtps::SerializedPayload_t* payload, void* data) override {
        eprosima::fastcdr::FastBuffer buffer(reinterpret_cast<char*>(payload->data),
                                             payload->length);
        eprosima::fastcdr::Cdr cdr(buffer, eprosima::fastcdr::Cdr::DEFAULT_ENDIAN,
                                   eprosima::fastcdr::Cdr::DDS_CDR);
        cdr.read_encapsulation();
        cdr >> *static_cast<uint32_t*>(data);
        return true;
    }
    std::function<uint32_t()> getSerializedSizeProvider(void*) override {
        return [] { return 8u; };
    }
    void* createData() override { return new uint32_t(0); }
    void deleteData(void* data) override { delete static_cast<uint32_t*>(data); }
    bool getKey(void*, frtps::InstanceHandle_t*, bool) override { return false; }
};

std::atomic<long> g_matched{0};
std::atomic<bool> g_received{false};

class WriterListener : public fdds::DataWriterListener {
    void on_publication_matched(fdds::DataWriter*,
                                const fdds::PublicationMatchedStatus& status) override {
        g_matched = status.current_count;
        if (status.current_count_change > 0) {
            std::printf("Found %d additional ping subscriber(s).\n", status.current_count_change);
            std::fflush(stdout);
        }
    }
};

class ReaderListener : public fdds::DataReaderListener {
    void on_subscription_matched(fdds::DataReader*,
                                 const fdds::SubscriptionMatchedStatus& status) override {
        if (status.current_count_change > 0) {
            std::printf("Found %d additional ping publishers(s).\n", status.current_count_change);
            std::fflush(stdout);
        }
    }
    void on_data_available(fdds::DataReader* reader) override {
        uint32_t number = 0;
        fdds::SampleInfo info;
        while (reader->take_next_sample(&number, &info) == ReturnCode_t::RETCODE_OK) {
            if (info.valid_data) {
                std::printf("qorddsping, issue received: %.7u\n", number);
                g_received = true;
            }
        }
        std::fflush(stdout);
    }
};

bool parse(int argc, char** argv, Options& options) {
    if (argc < 2 || (std::strcmp(argv[1], "pub") != 0 && std::strcmp(argv[1], "sub") != 0)) {
        return false;
    }
    options.publisher = std::strcmp(argv[1], "pub") == 0;
    for (int i = 2; i < argc; ++i) {
        std::string name = argv[i];
        const char* value = i + 1 < argc ? argv[i + 1] : nullptr;
        if (name == "-reliable") {
            options.reliable = true;
            continue;
        }
        if (value == nullptr) {
            return false;
        }
        ++i;
        if (name == "-transport") {
            options.transport = std::atoi(value);
        } else if (name == "-peer") {
            options.peers.push_back(value);
        } else if (name == "-numSamples") {
            options.samples = std::atol(value);
        } else if (name == "-sendPeriod") {
            options.period = std::atof(value);
        } else if (name == "-timeout") {
            options.timeout = std::atof(value);
        } else if (name == "-queueSize") {
            options.depth = std::atoi(value);
        } else {
            return false;
        }
    }
    return true;
}

fdds::DomainParticipantQos participant_qos(const Options& options) {
    fdds::DomainParticipantQos qos;
    qos.name("bare-ping");
    auto& discovery = qos.wire_protocol().builtin.discovery_config;
    discovery.leaseDuration = eprosima::fastrtps::Duration_t(6, 500000000);
    discovery.leaseDuration_announcementperiod = eprosima::fastrtps::Duration_t(2, 0);
    if (options.transport != 3) {
        qos.transport().use_builtin_transports = false;
        if (options.transport & 1) {
            qos.transport().user_transports.push_back(
                std::make_shared<eprosima::fastdds::rtps::UDPv4TransportDescriptor>());
        }
        if (options.transport & 2) {
            qos.transport().user_transports.push_back(
                std::make_shared<eprosima::fastdds::rtps::SharedMemTransportDescriptor>());
        }
        if (options.transport & 8) {
            qos.transport().user_transports.push_back(
                std::make_shared<eprosima::fastdds::rtps::UDPv6TransportDescriptor>());
        }
    }
    for (const std::string& peer : options.peers) {
        frtps::Locator_t locator;
        in6_addr v6;
        if (inet_pton(AF_INET6, peer.c_str(), &v6) == 1) {
            locator.kind = LOCATOR_KIND_UDPv6;
            frtps::IPLocator::setIPv6(locator, peer);
        } else {
            locator.kind = LOCATOR_KIND_UDPv4;
            frtps::IPLocator::setIPv4(locator, peer);
        }
        qos.wire_protocol().builtin.initialPeersList.push_back(locator);
    }
    return qos;
}

void configure(fdds::DataWriterQos& writer, fdds::DataReaderQos& reader, const Options& options) {
    auto reliability =
        options.reliable ? fdds::RELIABLE_RELIABILITY_QOS : fdds::BEST_EFFORT_RELIABILITY_QOS;
    writer.reliability().kind = reliability;
    reader.reliability().kind = reliability;
    writer.durability().kind = fdds::VOLATILE_DURABILITY_QOS;
    reader.durability().kind = fdds::VOLATILE_DURABILITY_QOS;
    writer.history().depth = options.depth;
    reader.history().depth = options.depth;
}

std::chrono::duration<double> seconds(double value) {
    return std::chrono::duration<double>(value);
}

int publish(fdds::DomainParticipant& participant, fdds::Topic& topic, const Options& options) {
    WriterListener listener;
    fdds::DataWriterQos qos = fdds::DATAWRITER_QOS_DEFAULT;
    fdds::DataReaderQos unused;
    configure(qos, unused, options);
    fdds::Publisher* publisher = participant.create_publisher(fdds::PUBLISHER_QOS_DEFAULT);
    fdds::DataWriter* writer = publisher->create_datawriter(&topic, qos, &listener);
    auto give_up = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (g_matched == 0 && std::chrono::steady_clock::now() < give_up) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    for (uint32_t number = 0; options.samples == 0 || number < options.samples; ++number) {
        writer->write(&number);
        std::this_thread::sleep_for(seconds(options.period));
    }
    publisher->delete_datawriter(writer);
    participant.delete_publisher(publisher);
    return 0;
}

int subscribe(fdds::DomainParticipant& participant, fdds::Topic& topic, const Options& options) {
    ReaderListener listener;
    fdds::DataWriterQos unused;
    fdds::DataReaderQos qos = fdds::DATAREADER_QOS_DEFAULT;
    configure(unused, qos, options);
    fdds::Subscriber* subscriber = participant.create_subscriber(fdds::SUBSCRIBER_QOS_DEFAULT);
    fdds::DataReader* reader = subscriber->create_datareader(&topic, qos, &listener);
    double period = options.timeout > 0 ? options.timeout : 30;
    do {
        g_received = false;
        std::this_thread::sleep_for(seconds(period));
    } while (g_received || options.timeout <= 0);
    std::printf("Timeout! No packets received for more than %g seconds\n", options.timeout);
    subscriber->delete_datareader(reader);
    participant.delete_subscriber(subscriber);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    if (!parse(argc, argv, options)) {
        std::fprintf(stderr,
                     "usage: bare-ping pub|sub [-transport 1|2|3|8] [-peer ADDRESS]... "
                     "[-numSamples N] [-sendPeriod S] [-timeout S] [-reliable] [-queueSize N]\n");
        return 2;
    }
    if (std::getenv("BARE_PING_WARNINGS") != nullptr) {
        fdds::Log::SetVerbosity(fdds::Log::Warning);
    }
    auto* factory = fdds::DomainParticipantFactory::get_instance();
    fdds::DomainParticipant* participant = factory->create_participant(0, participant_qos(options));
    if (participant == nullptr) {
        std::fprintf(stderr, "bare-ping: create_participant failed\n");
        return 1;
    }
    fdds::TypeSupport type(new BarePingType());
    type.register_type(participant);
    fdds::Topic* topic =
        participant->create_topic("BarePingTopic", type.get_type_name(), fdds::TOPIC_QOS_DEFAULT);
    int status = options.publisher ? publish(*participant, *topic, options)
                                   : subscribe(*participant, *topic, options);
    participant->delete_topic(topic);
    factory->delete_participant(participant);
    return status;
}
