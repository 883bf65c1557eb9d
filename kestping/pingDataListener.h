// KestPingDataListener: the ping subscriber's reader listener. It takes every sample that
// arrives, prints its issue number, counts the issues that never arrived, reports disposed and
// writer-less instances, and prints the reader's status changes.
#ifndef QOR_KESTPING_PING_DATA_LISTENER_H
#define QOR_KESTPING_PING_DATA_LISTENER_H

#include <atomic>
#include <cstdint>

#include "qordds/listener.h"
#include "qordds/subscription.h"

class KestPingDataListener : public DDSDataReaderListener {
  public:
    KestPingDataListener(bool keyed, bool timeFilterActive);
    ~KestPingDataListener() override;

    void on_requested_deadline_missed(DDSDataReader* reader,
                                      const DDS_RequestedDeadlineMissedStatus& status) override;
    void on_liveliness_changed(DDSDataReader* reader,
                               const DDS_LivelinessChangedStatus& status) override;
    void on_requested_incompatible_qos(DDSDataReader* reader,
                                       const DDS_RequestedIncompatibleQosStatus& status) override;
    void on_sample_rejected(DDSDataReader* reader, const DDS_SampleRejectedStatus& status) override;
    void on_data_available(DDSDataReader* reader) override;
    void on_sample_lost(DDSDataReader* reader, const DDS_SampleLostStatus& status) override;
    void on_subscription_matched(DDSDataReader* reader,
                                 const DDS_SubscriptionMatchedStatus& status) override;

    // Issue number expected next: the last one seen plus 1.
    int32_t expectedNumber;
    // Raised for every valid sample; the subscriber loop lowers it after each period. Relaxed
    // accesses suffice: a sample that lands between the loop's test and its reset simply
    // counts for the next period.
    std::atomic<bool> received;
    // Sample infos taken so far, valid or not.
    uint32_t sampleCount;
    // Issues that never arrived, over the whole run.
    uint32_t missedTotal;
    // A time-based filter drops samples on purpose, so gaps mean nothing.
    bool timeFilterActive;
    // Two publishers interleave their own numbering, so gaps mean nothing either.
    std::atomic<bool> multiplePublishers;
    bool keyed;

  private:
    template <class Reader, class Seq>
    void takeAndReport(DDSDataReader* reader, const char* narrowError);
    template <class Seq>
    void report(const Seq& samples, const DDS_SampleInfoSeq& infos);
    void countIssue(int32_t number);
    static void printDisposedKey(const DDS_SampleInfo& info);
};

#endif
