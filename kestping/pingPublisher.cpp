#include <cstdint>
#include <cstdio>
#include <new>

#include "kestPingAgent.h"
#include "kestping/pingDataSupport.h"
#include "pingDataWriterListener.h"
#include "stopSignals.h"

namespace {

// What the keyed publisher does to an instance, by cycle: every instance meets the same phase
// in the same cycle.
enum KeyedPhase { WritePhase = 0, DisposePhase = 1, RewritePhase = 2, UnregisterPhase = 3 };

}  // namespace

bool KestPingAgent::init_publisher() {
    if (theVerbosity > 1) {
        std::puts("Creating publisher...");
    }
    DDS_PublisherQos publisherQos;
    DDS_ReturnCode_t rc = participant->get_default_publisher_qos(publisherQos);
    if (rc != DDS_RETCODE_OK) {
        if (theVerbosity > 0) {
            std::printf("get_default_publisher_qos error %d\n", rc);
        }
        return false;
    }
    publisher = participant->create_publisher(publisherQos, nullptr, DDS_STATUS_MASK_NONE);
    if (publisher == nullptr) {
        if (theVerbosity > 0) {
            std::puts("create_publisher error");
        }
        return false;
    }

    if (theVerbosity > 1) {
        std::puts("Creating data writer...");
    }
    DDS_DataWriterQos writerQos;
    publisher->get_default_datawriter_qos_w_topic_name(writerQos, topicName);
    writerQos.reliability.kind =
        reliable ? DDS_RELIABLE_RELIABILITY_QOS : DDS_BEST_EFFORT_RELIABILITY_QOS;
    writerQos.history.kind = DDS_KEEP_LAST_HISTORY_QOS;
    writerQos.history.depth = queueSize;
    writerQos.durability.kind = static_cast<DDS_DurabilityQosPolicyKind>(durability);
    // The writer promises a sample every send period.
    convertFromFloat(writerQos.deadline.period, sendPeriod);

    dataWriterListener = new (std::nothrow) KESTPingDataWriterListener();
    dataWriter =
        publisher->create_datawriter(topic, writerQos, dataWriterListener, DDS_STATUS_MASK_ALL);
    if (dataWriter == nullptr) {
        if (theVerbosity > 0) {
            std::puts("create_datawriter error");
        }
        return false;
    }

    if (useKeys) {
        keyedPingWriter = KestKeyedPingDataDataWriter::narrow(dataWriter);
        if (keyedPingWriter == nullptr) {
            if (theVerbosity > 0) {
                std::puts("DataWriter (keyed) narrow error");
            }
            return false;
        }
    } else {
        pingWriter = KestPingDataDataWriter::narrow(dataWriter);
        if (pingWriter == nullptr) {
            if (theVerbosity > 0) {
                std::puts("DataWriter narrow error");
            }
            return false;
        }
    }

    if (theVerbosity > 1) {
        std::puts("Creating data sample...");
    }
    bool sampleCreated;
    if (useKeys) {
        keyedPingSample =
            KestKeyedPingDataTypeSupport::create_data(DDS_TYPE_ALLOCATION_PARAMS_DEFAULT);
        sampleCreated = keyedPingSample != nullptr;
    } else {
        pingSample = KestPingDataTypeSupport::create_data(DDS_TYPE_ALLOCATION_PARAMS_DEFAULT);
        sampleCreated = pingSample != nullptr;
    }
    if (!sampleCreated) {
        if (theVerbosity > 0) {
            std::puts("PingDataTypeSupport::create error");
        }
        return false;
    }

    KESTPING_INTERRUPTED = false;
    std::fflush(stdout);
    return true;
}

void KestPingAgent::do_write(int issue) {
    DDS_ReturnCode_t rc;
    if (!useKeys) {
        pingSample->number = issue;
        if (theVerbosity > 0) {
            std::printf("Sending data...   value: %.7d \n", pingSample->number);
        }
        rc = pingWriter->write(*pingSample, DDS_HANDLE_NIL);
    } else {
        // Keys and cycles count the issue as unsigned, so a wrapped counter still cycles.
        uint32_t unsignedIssue = static_cast<uint32_t>(issue);
        uint32_t keyCount = static_cast<uint32_t>(numKeys);
        keyedPingSample->number = issue;
        keyedPingSample->key = static_cast<int32_t>(unsignedIssue % keyCount);
        if (theVerbosity > 0) {
            std::printf("Sending data...   key: %.7d", keyedPingSample->key);
        }
        switch ((unsignedIssue / keyCount) % 4u) {
            case WritePhase:
            case RewritePhase:
                rc = keyedPingWriter->write(*keyedPingSample, DDS_HANDLE_NIL);
                if (theVerbosity > 0) {
                    std::printf(" value: %.7d\n", keyedPingSample->number);
                }
                break;
            case DisposePhase:
                rc = keyedPingWriter->dispose(*keyedPingSample, DDS_HANDLE_NIL);
                if (theVerbosity > 0) {
                    std::puts(" value: dispose");
                }
                break;
            default:
                rc = keyedPingWriter->unregister_instance(*keyedPingSample, DDS_HANDLE_NIL);
                if (theVerbosity > 0) {
                    std::puts(" value: unregister");
                }
                break;
        }
    }
    if (rc != DDS_RETCODE_OK && theVerbosity > 0) {
        std::printf("write error %d\n", rc);
    }
    std::fflush(stdout);
}

bool KestPingAgent::do_publisher() {
    bool ready = init_publisher();
    DDS_Duration_t period;
    convertFromFloat(period, sendPeriod);
    if (!ready) {
        return false;
    }
    for (int issue = 0;; issue = static_cast<int>(static_cast<uint32_t>(issue) + 1u)) {
        if (numSamples != 0 && !(issue < numSamples)) {
            break;
        }
        do_write(issue);
        // A zero period means back to back: the call only looks for a stop signal, it does
        // not sleep. A stop signal cuts the pause short.
        sleep_unless_interrupted(period);
        if (KESTPING_INTERRUPTED) {
            break;
        }
    }
    return shutdown_publisher();
}

bool KestPingAgent::shutdown_publisher() {
    KESTPING_INTERRUPTED = false;
    if (theVerbosity > 1) {
        std::puts("Destroying data sample...");
    }
    DDS_ReturnCode_t rc;
    if (useKeys) {
        rc = KestKeyedPingDataTypeSupport::delete_data(keyedPingSample,
                                                       DDS_TYPE_DEALLOCATION_PARAMS_DEFAULT);
        keyedPingSample = nullptr;
    } else {
        rc = KestPingDataTypeSupport::delete_data(pingSample, DDS_TYPE_DEALLOCATION_PARAMS_DEFAULT);
        pingSample = nullptr;
    }
    if (rc != DDS_RETCODE_OK && theVerbosity > 0) {
        std::printf("PingDataTypeSupport::delete error %d\n", rc);
    }
    std::fflush(stdout);
    return true;
}
