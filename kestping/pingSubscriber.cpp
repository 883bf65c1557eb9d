#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include "kestPingAgent.h"
#include "pingDataListener.h"
#include "qordds/transport_address.h"
#include "stopSignals.h"

namespace {

// Port of a multicast address given without one.
const int32_t DEFAULT_MULTICAST_PORT = 23001;
const int32_t UNTIMED_WAKEUP_SECONDS = 30;

// True for IPv6 multicast (ff00::/8) and for IPv4 multicast (224.0.0.0/4) in its 16-byte form.
bool isMulticast(const DDS_TransportAddress_t& address) {
    const unsigned char* bytes = address.network_ordered_value;
    if (bytes[0] == 0xFF) {
        return true;
    }
    for (int i = 0; i < 12; ++i) {
        if (bytes[i] != 0) {
            return false;
        }
    }
    return (bytes[12] & 0xF0) == 0xE0;
}

}  // namespace

// Splits "address[:port]" in place: the stored text keeps only the address. A questionable
// address is only warned about; the middleware has the last word on it.
static void setMulticastReceiveAddress(DDS_TransportMulticastQosPolicy& policy, char* text) {
    int32_t port = DEFAULT_MULTICAST_PORT;
    char* colon = std::strchr(text, ':');
    if (colon != nullptr) {
        *colon = '\0';
        port = static_cast<int32_t>(std::strtol(colon + 1, nullptr, 10));
    }

    policy.value.maximum(1);
    policy.value.length(1);
    DDS_TransportMulticastSettings_t& settings = policy.value[0];
    settings.transports.maximum(0);
    DDS_String_replace(&settings.receive_address, text);

    DDS_TransportAddress_t address;
    if (DDS_TransportAddress_from_string(&address, text) != 1) {
        if (theVerbosity > 0) {
            std::printf("%s is not a valid address\n", text);
        }
    } else if (!isMulticast(address)) {
        if (theVerbosity > 0) {
            std::printf("%s is not a valid multicast address\n", text);
        }
    }

    settings.receive_port = port;
}

bool KestPingAgent::init_subscriber() {
    if (theVerbosity > 1) {
        std::puts("Creating subscriber...");
    }
    DDS_SubscriberQos subscriberQos;
    DDS_ReturnCode_t rc = participant->get_default_subscriber_qos(subscriberQos);
    if (rc != DDS_RETCODE_OK) {
        if (theVerbosity > 0) {
            std::printf("get_default_subscriber_qos error %d\n", rc);
        }
        return false;
    }
    subscriber = participant->create_subscriber(subscriberQos, nullptr, DDS_STATUS_MASK_NONE);
    if (subscriber == nullptr) {
        if (theVerbosity > 0) {
            std::puts("create_subscriber error");
        }
        return false;
    }

    if (theVerbosity > 1) {
        std::puts("Creating data reader listener...");
    }
    DDS_DataReaderQos readerQos;
    subscriber->get_default_datareader_qos_w_topic_name(readerQos, topicName);
    readerQos.reliability.kind =
        reliable ? DDS_RELIABLE_RELIABILITY_QOS : DDS_BEST_EFFORT_RELIABILITY_QOS;
    readerQos.durability.kind = static_cast<DDS_DurabilityQosPolicyKind>(durability);
    readerQos.history.kind = DDS_KEEP_LAST_HISTORY_QOS;
    readerQos.history.depth = queueSize;
    // 0.0 and -1.0 are the "not given" values of the two options, compared exactly.
    if (timeFilter != 0.0f) {
        convertFromFloat(readerQos.time_based_filter.minimum_separation, timeFilter);
        if (theVerbosity > 1) {
            std::puts(
                "A time-based filter has been specified. This disables the missing samples "
                "report.");
        }
    }
    if (deadline != -1.0f) {
        convertFromFloat(readerQos.deadline.period, deadline);
    }
    if (multicast) {
        setMulticastReceiveAddress(readerQos.multicast, multicastAddress);
    }

    readerListener = new (std::nothrow) KestPingDataListener(useKeys, timeFilter > 0.0f);
    if (readerListener == nullptr) {
        if (theVerbosity > 0) {
            std::puts("listener instantiation error");
        }
        return false;
    }
    dataReader =
        subscriber->create_datareader(topic, readerQos, readerListener, DDS_STATUS_MASK_ALL);
    if (dataReader == nullptr) {
        if (theVerbosity > 0) {
            std::puts("create_datareader error");
        }
        return false;
    }

    if (theVerbosity > 0) {
        std::puts(KESTPING_DISABLE_INPUT
                      ? "qorddsping is listening for data."
                      : "qorddsping is listening for data, press CTRL+C to stop it.");
    }
    std::fflush(stdout);
    return true;
}

// Sleeps in periods of `timeout` seconds while the listener reports; with a timeout, a whole
// period without a valid sample ends the run. A stop signal ends the wait at once; without a
// timeout the loop also wakes every 30 seconds to look at the stop flag.
bool KestPingAgent::do_subscriber() {
    if (!init_subscriber()) {
        return false;
    }
    DDS_Duration_t period = {timeout != 0 ? timeout : UNTIMED_WAKEUP_SECONDS, 0};
    KESTPING_INTERRUPTED = false;
    do {
        if (theVerbosity > 2) {
            std::puts("Listening...");
        }
        sleep_unless_interrupted(period);
        // A stop cuts the period short, so it says nothing about silence.
        if (KESTPING_INTERRUPTED) {
            break;
        }
        if (timeout != 0 && !readerListener->received.load(std::memory_order_relaxed)) {
            if (theVerbosity > 0) {
                std::printf("Timeout! No packets received for more than %d seconds\n", period.sec);
            }
            break;
        }
        readerListener->received.store(false, std::memory_order_relaxed);
    } while (!KESTPING_INTERRUPTED);
    return shutdown_subscriber();
}

// The reader keeps pointing at the destroyed listener until the agent's destructor deletes
// the reader; nothing may call it in between.
bool KestPingAgent::shutdown_subscriber() {
    KESTPING_INTERRUPTED = false;
    std::fflush(stdout);
    if (readerListener != nullptr) {
        delete readerListener;
        readerListener = nullptr;
    }
    return true;
}
