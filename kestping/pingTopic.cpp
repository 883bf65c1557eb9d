#include <cstdio>

#include "kestPingAgent.h"
#include "kestping/pingDataSupport.h"

// Creates the participant, registers the sample type under `typeName` and creates the topic
// that publisher and subscriber share.
bool KestPingAgent::init_topic() {
    if (theVerbosity > 2) {
        std::puts("Initializing application...");
    }
    if (!createDomainParticipant()) {
        return false;
    }
    if (theVerbosity > 1) {
        std::puts("Creating topic...");
    }

    // Both sample types go under the same registered name; only layout and keyedness differ.
    DDS_ReturnCode_t rc = useKeys
                              ? KestKeyedPingDataTypeSupport::register_type(participant, typeName)
                              : KestPingDataTypeSupport::register_type(participant, typeName);
    if (rc != DDS_RETCODE_OK) {
        if (theVerbosity > 0) {
            std::printf("register_type error %d\n", rc);
        }
        return false;
    }

    // The topic takes the participant's default QoS as the profiles left it; reliability,
    // durability and history are chosen on the writer and the reader instead.
    DDS_TopicQos topicQos;
    participant->get_default_topic_qos(topicQos);
    topic = participant->create_topic(topicName, typeName, DDS_TOPIC_QOS_DEFAULT, nullptr,
                                      DDS_STATUS_MASK_NONE);
    if (topic == nullptr) {
        // Kept word for word, although the step fails.
        if (theVerbosity > 0) {
            std::puts("OK. Topic was alredy created");
        }
        return false;
    }
    return true;
}
