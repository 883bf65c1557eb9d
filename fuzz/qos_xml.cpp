// Fuzz target: the QoS profile reader on a QoS file. The input is the file's content, written
// to a file and loaded as -qosFile loads it, after the tool's built-in profile document; NUL
// bytes and all. When the sources load, every profile of the file is read into the binding's
// QoS records (with its base chain, for the ping topic and for no topic name), and those are
// translated into what Fast DDS is given: participant QoS in domain 0, built-in transports and
// their descriptors, topic, writer (keyed and not) and reader QoS. Problems are logged at every
// verbosity, so that each message is formatted (tools/fuzz sends the output to /dev/null).
// Only crashes and sanitizer reports count.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "agent/builtinQosProfile.h"
#include "profiles/qos_profile_library.h"
#include "qordds/logger.h"
#include "qos/builtin_transports.h"
#include "qos/endpoint_qos.h"
#include "qos/participant_qos_translation.h"

namespace {

const char* const kTopic = "PingTopic";

// A file of its own, in a directory made for this process.
std::string qosFilePath() {
    const char* tmp = std::getenv("TMPDIR");
    std::string pattern =
        std::string(tmp != nullptr && tmp[0] != '\0' ? tmp : "/dev/shm") + "/qor-fuzz-qos-XXXXXX";
    if (mkdtemp(&pattern[0]) == nullptr) {
        std::perror("mkdtemp");
        std::abort();
    }
    return pattern + "/qos.xml";
}

void writeFile(const std::string& path, const uint8_t* data, size_t size) {
    std::FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr || std::fwrite(data, 1, size, file) != size || std::fclose(file) != 0) {
        std::perror(path.c_str());
        std::abort();
    }
}

void translateProfile(const qordds::QosProfile& profile, const char* topic) {
    if (topic != nullptr) {
        DDS_DomainParticipantQos participant;
        qordds::profile_participant_qos(profile, participant);
        eprosima::fastdds::dds::DomainParticipantQos fastParticipant;
        qordds::translate_participant_qos(participant, 0, fastParticipant);
        qordds::make_transport_descriptors(qordds::initial_transports(participant));
        DDS_PublisherQos publisher;
        qordds::profile_publisher_qos(profile, publisher);
        DDS_SubscriberQos subscriber;
        qordds::profile_subscriber_qos(profile, subscriber);
    }
    DDS_TopicQos topicQos;
    qordds::profile_topic_qos(profile, topic, topicQos);
    eprosima::fastdds::dds::TopicQos fastTopic;
    qordds::translate_topic_qos(topicQos, fastTopic, "fuzz");
    DDS_DataWriterQos writer;
    qordds::profile_datawriter_qos(profile, topic, writer);
    for (bool keyed : {false, true}) {
        eprosima::fastdds::dds::DataWriterQos fastWriter;
        qordds::translate_writer_qos(writer, keyed, fastWriter, "fuzz");
    }
    DDS_DataReaderQos reader;
    qordds::profile_datareader_qos(profile, topic, reader);
    eprosima::fastdds::dds::DataReaderQos fastReader;
    qordds::translate_reader_qos(reader, fastReader, "fuzz");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const std::string path = qosFilePath();
    static const bool everyMessage = [] {
        DDSLogger::get_instance()->set_verbosity(0x3F);
        return true;
    }();
    (void)everyMessage;
    writeFile(path, data, size);

    DDS_ProfileQosPolicy sources;
    int fragmentCount = 0;
    const char* const* fragments = KestAgent_getBuiltinQosProfile(&fragmentCount);
    sources.string_profile.from_array(const_cast<char* const*>(fragments), fragmentCount);
    sources.url_profile.ensure_length(1, 1);
    DDS_String_replace(&sources.url_profile[0], path.c_str());

    std::shared_ptr<const qordds::QosProfileLibrary> library =
        qordds::QosProfileLibrary::load(sources);
    if (library == nullptr) {
        return 0;
    }
    for (const std::string& name : library->library_names()) {
        for (const std::string& profileName : library->profile_names(name)) {
            const qordds::QosProfile* profile = library->find(name, profileName);
            if (profile == nullptr) {
                std::abort();  // a listed profile must be found
            }
            // The built-in profile reads the same every time; it is read still as a base.
            if (profile->source != path) {
                continue;
            }
            translateProfile(*profile, kTopic);
            translateProfile(*profile, nullptr);
        }
    }
    library->default_profile();
    return 0;
}
