#include "pingDataListener.h"

#include <cstdio>

#include "agent/kestAgent.h"
#include "kestping/pingDataSupport.h"
#include "qordds/subscription.h"

KestPingDataListener::KestPingDataListener(bool keyedSamples, bool filtered)
    : expectedNumber(0),
      received(false),
      sampleCount(0),
      missedTotal(0),
      timeFilterActive(filtered),
      multiplePublishers(false),
      keyed(keyedSamples) {}

KestPingDataListener::~KestPingDataListener() {}

void KestPingDataListener::on_data_available(DDSDataReader* reader) {
    if (keyed) {
        takeAndReport<KestKeyedPingDataDataReader, KestKeyedPingDataSeq>(
            reader, "DataReader (keyed) narrow error");
    } else {
        takeAndReport<KestPingDataDataReader, KestPingDataSeq>(reader, "DataReader narrow error");
    }
}

template <class Reader, class Seq>
void KestPingDataListener::takeAndReport(DDSDataReader* reader, const char* narrowError) {
    Seq samples;
    DDS_SampleInfoSeq infos;
    Reader* typedReader = Reader::narrow(reader);
    if (typedReader == nullptr) {
        if (theVerbosity >= 1) {
            std::puts(narrowError);
        }
        return;
    }
    DDS_ReturnCode_t rc =
        typedReader->take(samples, infos, DDS_LENGTH_UNLIMITED, DDS_ANY_SAMPLE_STATE,
                          DDS_ANY_VIEW_STATE, DDS_ANY_INSTANCE_STATE);
    if (rc == DDS_RETCODE_NO_DATA) {
        return;
    }
    if (rc != DDS_RETCODE_OK) {
        if (theVerbosity >= 1) {
            std::printf("take error %d\n", rc);
        }
        return;
    }
    report(samples, infos);
    rc = typedReader->return_loan(samples, infos);
    if (rc != DDS_RETCODE_OK && theVerbosity >= 1) {
        std::printf("return loan error %d\n", rc);
    }
    std::fflush(stdout);
}

template <class Seq>
void KestPingDataListener::report(const Seq& samples, const DDS_SampleInfoSeq& infos) {
    // The last valid number of this call; a state change resets the expectation from it.
    int32_t number = 0;
    for (int32_t i = 0; i < infos.length(); ++i) {
        ++sampleCount;
        const DDS_SampleInfo& info = infos[i];
        if (info.valid_data) {
            number = samples[i].number;
            if (theVerbosity >= 1) {
                std::printf("qorddsping, issue received: %.7d\n", number);
            }
            received.store(true, std::memory_order_relaxed);
            if (timeFilterActive || multiplePublishers.load(std::memory_order_relaxed) ||
                sampleCount == 0) {
                continue;
            }
            countIssue(number);
        } else {
            if (info.instance_state == DDS_NOT_ALIVE_DISPOSED_INSTANCE_STATE) {
                printDisposedKey(info);
            } else if (theVerbosity >= 1) {
                std::puts("qorddsping, instance no writers");
            }
            expectedNumber = static_cast<int32_t>(static_cast<uint32_t>(number) + 1u);
        }
    }
}

// Counts the issues skipped before `number` and prints the running statistic. The percentage
// is computed in 32-bit unsigned arithmetic, its hundredths printed without zero padding.
void KestPingDataListener::countIssue(int32_t number) {
    int32_t gap =
        static_cast<int32_t>(static_cast<uint32_t>(number) - static_cast<uint32_t>(expectedNumber));
    if (gap > 0) {
        missedTotal += static_cast<uint32_t>(gap);
        if (theVerbosity >= 1) {
            uint32_t total = missedTotal + sampleCount;
            uint32_t wholePercent = missedTotal * 100u / total;
            uint32_t hundredths = (missedTotal * 10000u / total) % 100u;
            std::printf("Detected Missed Sample(s) current: %d cumulative: %d  (%d.%d)%%\n", gap,
                        static_cast<int>(missedTotal), static_cast<int>(wholePercent),
                        static_cast<int>(hundredths));
        }
    }
    expectedNumber = static_cast<int32_t>(static_cast<uint32_t>(number) + 1u);
}

// The first four bytes of the instance handle are the big-endian key. Each byte goes out as a
// signed char, so a byte of 0x80 or more prints as eight hex digits.
void KestPingDataListener::printDisposedKey(const DDS_SampleInfo& info) {
    if (theVerbosity < 1) {
        return;
    }
    const unsigned char* hash = info.instance_handle.value;
    auto widened = [](unsigned char byte) {
        return static_cast<unsigned int>(static_cast<int>(static_cast<signed char>(byte)));
    };
    std::printf("qorddsping, instance disposed key: %02x%02x%02x%02x\n", widened(hash[0]),
                widened(hash[1]), widened(hash[2]), widened(hash[3]));
}

void KestPingDataListener::on_liveliness_changed(DDSDataReader*,
                                                 const DDS_LivelinessChangedStatus& status) {
    if (status.alive_count_change > 0 && theVerbosity >= 1) {
        std::printf("Found %d additional alive ping publishers(s).\n", status.alive_count_change);
    }
    if (status.not_alive_count_change > 0 && theVerbosity >= 1) {
        std::printf("Detected loss of %d previously alive ping publishers(s).\n",
                    status.not_alive_count_change);
    }
    if (theVerbosity >= 1) {
        std::printf("Current alive publisher tally is: %d\n", status.alive_count);
    }
    multiplePublishers.store(status.alive_count >= 2, std::memory_order_relaxed);
}

void KestPingDataListener::on_subscription_matched(DDSDataReader*,
                                                   const DDS_SubscriptionMatchedStatus& status) {
    if (theVerbosity < 1) {
        return;
    }
    if (status.current_count_change < 1) {
        std::printf("Detected loss of %d ping publishers(s).\n", -status.current_count_change);
    } else {
        std::printf("Found %d additional ping publishers(s).\n", status.current_count_change);
    }
    std::printf("Current publisher tally is: %d\n", status.current_count);
}

void KestPingDataListener::on_requested_deadline_missed(DDSDataReader*,
                                                        const DDS_RequestedDeadlineMissedStatus&) {
    if (theVerbosity >= 1) {
        std::puts("DataListener::on_requested_deadline_missed !!!!");
    }
}

void KestPingDataListener::on_sample_rejected(DDSDataReader*, const DDS_SampleRejectedStatus&) {
    if (theVerbosity >= 1) {
        std::puts("DataListener::on_sample_rejected !!!!");
    }
}

void KestPingDataListener::on_sample_lost(DDSDataReader*, const DDS_SampleLostStatus&) {
    if (!timeFilterActive && theVerbosity >= 1) {
        std::puts("DataListener::on_sample_lost !!!!");
    }
}

void KestPingDataListener::on_requested_incompatible_qos(
    DDSDataReader*, const DDS_RequestedIncompatibleQosStatus& status) {
    if (theVerbosity >= 1) {
        std::puts("DataListener::on_requested_incompatible_qos !!!!");
    }
    if (status.policies.length() < 1) {
        return;
    }
    std::printf("Incompatible policies: [ ");
    for (int32_t i = 0; i < status.policies.length(); ++i) {
        std::printf("%d, ", static_cast<int>(status.policies[i].policy_id));
    }
    std::printf("];\n");
}
