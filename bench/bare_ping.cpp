// bare-ping: the floor qorddsping is measured against. A publisher or subscriber of numbered
// samples written on the Fast DDS API directly, with the Fast DDS QoS qorddsping ends up with
// (best effort, volatile, history depth 1, participant lease 6.5 s announced every 2 s, the
// writer's deadline at the send period, unlimited reader resources, the partitions "*" gives;
// a reliable writer's KEEP_LAST history with qorddsping's send window in front of it, and a
// 50 ms heartbeat) and none of its binding: no disabled creation, no rendezvous, no
// re-announcement, no reader cache. It prints the lines qorddsping prints for a match and for
// each sample (the publisher the line it prints before each write), so one driver reads both
// and their output costs the same. The publisher waits for its first match (up to 10 s)
// before it writes. With -useKeys N the samples carry a key, cycled over N instances, and the
// publisher writes, disposes, writes again and unregisters each instance in turn, as
// qorddsping does. -quiet prints no line per sample: the subscriber prints, when it ends,
// "bare-ping: V valid of S samples, first at T ns, last at T ns" (the monotonic clock), the
// times of the first and last takes.
//
//   bare-ping pub|sub [-transport 1|2|3|8] [-peer ADDRESS]... [-numSamples N]
//                     [-sendPeriod S] [-timeout S] [-reliable] [-queueSize N]
//                     [-useKeys N] [-quiet]
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
    int keys = 0;  // 0: unkeyed samples
    bool quiet = false;
};

// What the keyed type carries; the unkeyed one carries `number` alone.
struct KeyedSample {
    int32_t key = 0;
    int32_t number = 0;
};

using eprosima::fastcdr::Cdr;

// Writes `fields` (a function of the Cdr stream) to `payload` as plain CDR behind the
// encapsulation header, in this machine's byte order.
template <class Fields>
bool write_cdr(frtps::SerializedPayload_t* payload, Fields fields) {
    eprosima::fastcdr::FastBuffer buffer(reinterpret_cast<char*>(payload->data), payload->max_size);
    Cdr cdr(buffer, Cdr::DEFAULT_ENDIAN, Cdr::DDS_CDR);
    payload->encapsulation = cdr.endianness() == Cdr::BIG_ENDIANNESS ? CDR_BE : CDR_LE;
    cdr.serialize_encapsulation();
    fields(cdr);
    payload->length = static_cast<uint32_t>(cdr.getSerializedDataLength());
    return true;
}

// Reads `fields` from `payload`, in the byte order its encapsulation header gives.
template <class Fields>
bool read_cdr(frtps::SerializedPayload_t* payload, Fields fields) {
    eprosima::fastcdr::FastBuffer buffer(reinterpret_cast<char*>(payload->data), payload->length);
    Cdr cdr(buffer, Cdr::DEFAULT_ENDIAN, Cdr::DDS_CDR);
    cdr.read_encapsulation();
    fields(cdr);
    return true;
}

// A type whose samples are `Sample`, `size` bytes in plain CDR with the encapsulation header;
// its subclass serializes them.
template <class Sample>
class BareType : public fdds::TopicDataType {
  public:
    BareType(const char* name, uint32_t size, bool keyed) {
        setName(name);
        m_typeSize = size;
        m_isGetKeyDefined = keyed;
        auto_fill_type_object(false);
        auto_fill_type_information(false);
    }
    std::function<uint32_t()> getSerializedSizeProvider(void*) override {
        uint32_t size = m_typeSize;
        return [size] { return size; };
    }
    void* createData() override { return new Sample(); }
    void deleteData(void* data) override { delete static_cast<Sample*>(data); }
};

// One unsigned 32-bit number in plain CDR, as small as qorddsping's unkeyed sample.
class BarePingType : public BareType<uint32_t> {
  public:
    BarePingType() : BareType("BarePingType", 4 + 4, false) {}
    bool serialize(void* data, frtps::SerializedPayload_t* payload) override {
        return write_cdr(payload, [&](Cdr& cdr) { cdr << *static_cast<uint32_t*>(data); });
    }
    bool deserialize(frtps::SerializedPayload_t* payload, void* data) override {
        return read_cdr(payload, [&](Cdr& cdr) { cdr >> *static_cast<uint32_t*>(data); });
    }
    bool getKey(void*, frtps::InstanceHandle_t*, bool) override { return false; }
};

// { key, number } in plain CDR, the key the instance's identity: its hash is the big-endian
// key, as in qorddsping's keyed sample.
class BareKeyedPingType : public BareType<KeyedSample> {
  public:
    BareKeyedPingType() : BareType("BareKeyedPingType", 4 + 8, true) {}
    bool serialize(void* data, frtps::SerializedPayload_t* payload) override {
        const auto* sample = static_cast<KeyedSample*>(data);
        return write_cdr(payload, [&](Cdr& cdr) { cdr << sample->key << sample->number; });
    }
    bool deserialize(frtps::SerializedPayload_t* payload, void* data) override {
        auto* sample = static_cast<KeyedSample*>(data);
        return read_cdr(payload, [&](Cdr& cdr) { cdr >> sample->key >> sample->number; });
    }
    bool getKey(void* data, frtps::InstanceHandle_t* handle, bool) override {
        uint32_t key = static_cast<uint32_t>(static_cast<KeyedSample*>(data)->key);
        for (int i = 0; i < 16; ++i) {
            handle->value[i] = 0;
        }
        handle->value[0] = static_cast<frtps::octet>(key >> 24);
        handle->value[1] = static_cast<frtps::octet>(key >> 16);
        handle->value[2] = static_cast<frtps::octet>(key >> 8);
        handle->value[3] = static_cast<frtps::octet>(key);
        return true;
    }
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
  public:
    explicit ReaderListener(const Options& options) : options_(options) {}
    std::atomic<long> samples{0};
    std::atomic<long> valid{0};
    std::atomic<long long> first_ns{0};
    std::atomic<long long> last_ns{0};

  private:
    const Options& options_;
    void on_subscription_matched(fdds::DataReader*,
                                 const fdds::SubscriptionMatchedStatus& status) override {
        if (status.current_count_change > 0) {
            std::printf("Found %d additional ping publishers(s).\n", status.current_count_change);
            std::fflush(stdout);
        }
    }
    void on_data_available(fdds::DataReader* reader) override {
        KeyedSample sample;
        void* data =
            options_.keys > 0 ? static_cast<void*>(&sample) : static_cast<void*>(&sample.number);
        fdds::SampleInfo info;
        while (reader->take_next_sample(data, &info) == ReturnCode_t::RETCODE_OK) {
            ++samples;
            if (info.valid_data) {
                ++valid;
                if (!options_.quiet) {
                    std::printf("qorddsping, issue received: %.7d\n", sample.number);
                }
                g_received = true;
            } else if (!options_.quiet) {
                if (info.instance_state == fdds::NOT_ALIVE_DISPOSED_INSTANCE_STATE) {
                    const frtps::octet* hash = info.instance_handle.value;
                    std::printf("qorddsping, instance disposed key: %02x%02x%02x%02x\n", hash[0],
                                hash[1], hash[2], hash[3]);
                } else {
                    std::puts("qorddsping, instance no writers");
                }
            }
        }
        long long now = std::chrono::duration_cast<std::chrono::nanoseconds>(
                            std::chrono::steady_clock::now().time_since_epoch())
                            .count();
        long long none = 0;
        first_ns.compare_exchange_strong(none, now);
        last_ns = now;
        if (!options_.quiet) {
            std::fflush(stdout);
        }
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
        if (name == "-quiet") {
            options.quiet = true;
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
        } else if (name == "-useKeys") {
            options.keys = std::atoi(value);
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

eprosima::fastrtps::Duration_t duration(double seconds) {
    auto whole = static_cast<int32_t>(seconds);
    return eprosima::fastrtps::Duration_t(whole, static_cast<uint32_t>((seconds - whole) * 1e9));
}

// Partitions as qorddsping's participant partition "*" makes them, for publisher and
// subscriber alike.
void set_partitions(fdds::PartitionQosPolicy& partition) {
    partition.push_back("*\x1f");
    partition.push_back("");
}

// What writer and reader share: the reliability asked for, volatile, KEEP_LAST `depth` history,
// and resource limits unlimited (0 in Fast DDS) with Fast DDS's preallocation.
template <class Qos>
void configure_common(Qos& qos, const Options& options) {
    qos.reliability().kind =
        options.reliable ? fdds::RELIABLE_RELIABILITY_QOS : fdds::BEST_EFFORT_RELIABILITY_QOS;
    qos.durability().kind = fdds::VOLATILE_DURABILITY_QOS;
    qos.history().kind = fdds::KEEP_LAST_HISTORY_QOS;
    qos.history().depth = options.depth;
    qos.resource_limits().max_samples = 0;
    qos.resource_limits().max_instances = 0;
    qos.resource_limits().max_samples_per_instance = 0;
}

// The writer offers its send period as deadline. A reliable writer has room for `depth`
// samples per instance (and in all, unkeyed), with a 50 ms heartbeat period; its send window
// is kept by publish().
fdds::DataWriterQos writer_qos(const Options& options) {
    fdds::DataWriterQos writer = fdds::DATAWRITER_QOS_DEFAULT;
    configure_common(writer, options);
    writer.deadline().period = duration(options.period);
    if (options.reliable) {
        fdds::ResourceLimitsQosPolicy& limits = writer.resource_limits();
        limits.max_samples_per_instance = options.depth;
        if (options.keys == 0) {
            limits.max_samples = options.depth;
        }
        if (limits.max_samples > 0 && limits.allocated_samples > limits.max_samples) {
            limits.allocated_samples = limits.max_samples;
        }
        writer.reliable_writer_qos().times.heartbeatPeriod =
            eprosima::fastrtps::Duration_t(0, 50000000);
    }
    return writer;
}

fdds::DataReaderQos reader_qos(const Options& options) {
    fdds::DataReaderQos reader = fdds::DATAREADER_QOS_DEFAULT;
    configure_common(reader, options);
    return reader;
}

std::chrono::duration<double> seconds(double value) {
    return std::chrono::duration<double>(value);
}

int publish(fdds::DomainParticipant& participant, fdds::Topic& topic, const Options& options) {
    WriterListener listener;
    fdds::DataWriterQos qos = writer_qos(options);
    fdds::PublisherQos publisher_qos = fdds::PUBLISHER_QOS_DEFAULT;
    set_partitions(publisher_qos.partition());
    fdds::Publisher* publisher = participant.create_publisher(publisher_qos);
    fdds::DataWriter* writer = publisher->create_datawriter(&topic, qos, &listener);
    auto give_up = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (g_matched == 0 && std::chrono::steady_clock::now() < give_up) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    KeyedSample sample;
    // The tool's send window: once an instance has had `depth` samples written since its
    // window was last acknowledged, the next write first waits up to 100 ms for that.
    std::vector<int> window(options.keys == 0 ? 1 : static_cast<size_t>(options.keys), 0);
    const eprosima::fastrtps::Duration_t max_blocking_time(0, 100000000);
    for (uint32_t number = 0; options.samples == 0 || number < options.samples; ++number) {
        sample.number = static_cast<int32_t>(number);
        if (!options.quiet) {
            std::printf("Sending data...   value: %.7d \n", sample.number);
            std::fflush(stdout);
        }
        auto keys = static_cast<uint32_t>(options.keys == 0 ? 1 : options.keys);
        sample.key = static_cast<int32_t>(number % keys);
        int& written = window[number % keys];
        if (options.reliable && options.depth > 0 && written == options.depth) {
            auto acknowledged = options.keys == 0
                                    ? writer->wait_for_acknowledgments(max_blocking_time)
                                    : writer->wait_for_acknowledgments(&sample, fdds::HANDLE_NIL,
                                                                       max_blocking_time);
            if (acknowledged == eprosima::fastrtps::types::ReturnCode_t::RETCODE_OK) {
                written = 0;
            }
        }
        written += written < options.depth ? 1 : 0;
        if (options.keys == 0) {
            writer->write(&sample.number);
        } else {
            switch ((number / keys) % 4) {
                case 1:
                    writer->dispose(&sample, fdds::HANDLE_NIL);
                    break;
                case 3:
                    writer->unregister_instance(&sample, fdds::HANDLE_NIL);
                    break;
                default:
                    writer->write(&sample);
                    break;
            }
        }
        if (options.period > 0) {
            std::this_thread::sleep_for(seconds(options.period));
        }
    }
    // Fast DDS drops what is unacknowledged with the writer: a reliable burst would lose its
    // tail. The tool waits up to 2 s for the acknowledgements; so does this.
    if (options.reliable) {
        writer->wait_for_acknowledgments(eprosima::fastrtps::Duration_t(2, 0));
    }
    publisher->delete_datawriter(writer);
    participant.delete_publisher(publisher);
    return 0;
}

int subscribe(fdds::DomainParticipant& participant, fdds::Topic& topic, const Options& options) {
    ReaderListener listener(options);
    fdds::DataReaderQos qos = reader_qos(options);
    fdds::SubscriberQos subscriber_qos = fdds::SUBSCRIBER_QOS_DEFAULT;
    set_partitions(subscriber_qos.partition());
    fdds::Subscriber* subscriber = participant.create_subscriber(subscriber_qos);
    fdds::DataReader* reader = subscriber->create_datareader(&topic, qos, &listener);
    double period = options.timeout > 0 ? options.timeout : 30;
    do {
        g_received = false;
        std::this_thread::sleep_for(seconds(period));
    } while (g_received || options.timeout <= 0);
    subscriber->delete_datareader(reader);
    if (options.quiet) {
        std::printf("bare-ping: %ld valid of %ld samples, first at %lld ns, last at %lld ns\n",
                    listener.valid.load(), listener.samples.load(), listener.first_ns.load(),
                    listener.last_ns.load());
    }
    std::printf("Timeout! No packets received for more than %g seconds\n", options.timeout);
    participant.delete_subscriber(subscriber);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    if (!parse(argc, argv, options)) {
        std::fprintf(stderr,
                     "usage: bare-ping pub|sub [-transport 1|2|3|8] [-peer ADDRESS]... "
                     "[-numSamples N] [-sendPeriod S] [-timeout S] [-reliable] [-queueSize N] "
                     "[-useKeys N] [-quiet]\n");
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
    fdds::TypeSupport type(options.keys > 0
                               ? static_cast<fdds::TopicDataType*>(new BareKeyedPingType())
                               : new BarePingType());
    type.register_type(participant);
    fdds::Topic* topic =
        participant->create_topic("BarePingTopic", type.get_type_name(), fdds::TOPIC_QOS_DEFAULT);
    int status = options.publisher ? publish(*participant, *topic, options)
                                   : subscribe(*participant, *topic, options);
    participant->delete_topic(topic);
    factory->delete_participant(participant);
    return status;
}
