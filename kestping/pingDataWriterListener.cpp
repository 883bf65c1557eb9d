#include "pingDataWriterListener.h"

#include <cstdio>

#include "agent/kestAgent.h"

KESTPingDataWriterListener::~KESTPingDataWriterListener() {}

void KESTPingDataWriterListener::on_offered_deadline_missed(
    DDSDataWriter*, const DDS_OfferedDeadlineMissedStatus&) {}

void KESTPingDataWriterListener::on_liveliness_lost(DDSDataWriter*,
                                                    const DDS_LivelinessLostStatus&) {}

void KESTPingDataWriterListener::on_offered_incompatible_qos(
    DDSDataWriter*, const DDS_OfferedIncompatibleQosStatus&) {}

void KESTPingDataWriterListener::on_publication_matched(
    DDSDataWriter*, const DDS_PublicationMatchedStatus& status) {
    if (theVerbosity <= 0) {
        return;
    }
    if (status.current_count_change > 0) {
        std::printf("Found %d additional ping subscriber(s).\n", status.current_count_change);
    } else {
        std::printf("Detected loss of %d ping subscriber(s).\n", -status.current_count_change);
    }
    std::printf("Current subscriber tally is: %d\n", status.current_count);
}

void KESTPingDataWriterListener::on_reliable_writer_cache_changed(
    DDSDataWriter*, const DDS_ReliableWriterCacheChangedStatus&) {}

void KESTPingDataWriterListener::on_reliable_reader_activity_changed(
    DDSDataWriter*, const DDS_ReliableReaderActivityChangedStatus&) {}
