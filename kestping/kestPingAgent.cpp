// KestPingAgent's settings with their defaults, the operation it runs, and the release of the
// ping entities before the frame releases the participant.
#include <cstdio>

#include "kestPingAgent.h"
#include "pingDataListener.h"
#include "pingDataWriterListener.h"
#include "qordds/string.h"
#include "qordds/utility.h"

std::atomic<bool> KESTPING_INTERRUPTED(false);
bool KESTPING_DISABLE_INPUT = false;

KestPingAgent::KestPingAgent(const char* name)
    : KestAgent(name, 0),
      operation(Publisher),
      operationLocked(false),
      reliable(false),
      multicast(false),
      multicastAddress(nullptr),
      numSamples(0),
      sendPeriod(1.0f),
      timeout(0),
      durability(0),
      queueSize(1),
      publisher(nullptr),
      subscriber(nullptr),
      topic(nullptr),
      dataWriter(nullptr),
      dataReader(nullptr),
      pingWriter(nullptr),
      keyedPingWriter(nullptr),
      pingSample(nullptr),
      keyedPingSample(nullptr),
      dataWriterListener(nullptr),
      readerListener(nullptr),
      topicName(DDS_String_dup("PingTopic")),
      typeName(DDS_String_dup("PingType")),
      timeFilter(0.0f),
      deadline(-1.0f),
      useKeys(false),
      numKeys(0),
      teardownPause{2, 0} {}

KestPingAgent::~KestPingAgent() {
    DDS_String_free(multicastAddress);
    multicastAddress = nullptr;
    DDS_String_free(topicName);
    topicName = nullptr;
    DDS_String_free(typeName);
    typeName = nullptr;

    // Every step runs even when an earlier one failed; the messages ignore the verbosity.
    if (publisher != nullptr) {
        if (dataWriter != nullptr) {
            DDSDataWriterListener* listener = dataWriter->get_listener();
            retcode = publisher->delete_datawriter(dataWriter);
            // A writer that survived may still call its listener, which then stays.
            if (retcode != DDS_RETCODE_OK) {
                std::printf("delete_datawriter error %d\n", retcode);
            } else {
                delete listener;
            }
            dataWriterListener = nullptr;
            dataWriter = nullptr;
            pingWriter = nullptr;
            keyedPingWriter = nullptr;
        }
        retcode = participant->delete_publisher(publisher);
        if (retcode != DDS_RETCODE_OK) {
            std::printf("delete_publisher error %d\n", retcode);
        }
        publisher = nullptr;
    }
    // Made for a writer whose creation then failed.
    delete dataWriterListener;
    dataWriterListener = nullptr;
    bool readerGone = true;
    if (subscriber != nullptr) {
        if (dataReader != nullptr) {
            retcode = subscriber->delete_datareader(dataReader);
            if (retcode != DDS_RETCODE_OK) {
                std::printf("delete_datareader error: %d\n", retcode);
                readerGone = false;
            }
            dataReader = nullptr;
        }
        retcode = participant->delete_subscriber(subscriber);
        if (retcode != DDS_RETCODE_OK) {
            std::printf("delete_subscriber error %d\n", retcode);
        }
        subscriber = nullptr;
    }
    // shutdown_subscriber normally destroys it; it is still here when subscribing stopped
    // half-way, and may only go once no reader can call it.
    if (readerGone) {
        delete readerListener;
    }
    readerListener = nullptr;
    if (topic != nullptr) {
        retcode = participant->delete_topic(topic);
        if (retcode != DDS_RETCODE_OK) {
            std::printf("delete_topic error %d\n", retcode);
        }
        topic = nullptr;
    }

    DDSUtility::sleep(teardownPause);
}

bool KestPingAgent::run() {
    if (!init_topic()) {
        return false;
    }
    switch (operation) {
        case Publisher:
            return do_publisher();
        case Subscriber:
            return do_subscriber();
        default:
            // Nothing to do is not a failure at this level.
            return true;
    }
}

bool KestPingAgent::setOperation(PingOperation newOperation) {
    if (operationLocked) {
        std::puts("You cannot specify both -publisher and -subscriber option");
        return false;
    }
    operation = newOperation;
    return true;
}

PingOperation KestPingAgent::getOperation() {
    return operation;
}
