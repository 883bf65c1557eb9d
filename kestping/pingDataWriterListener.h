// KESTPingDataWriterListener: the ping publisher's writer listener. It reports subscribers as
// they match and leave; every other writer event is ignored.
#ifndef QOR_KESTPING_PING_DATA_WRITER_LISTENER_H
#define QOR_KESTPING_PING_DATA_WRITER_LISTENER_H

#include "qordds/listener.h"

class KESTPingDataWriterListener : public DDSDataWriterListener {
  public:
    ~KESTPingDataWriterListener() override;

    void on_offered_deadline_missed(DDSDataWriter* writer,
                                    const DDS_OfferedDeadlineMissedStatus& status) override;
    void on_liveliness_lost(DDSDataWriter* writer, const DDS_LivelinessLostStatus& status) override;
    void on_offered_incompatible_qos(DDSDataWriter* writer,
                                     const DDS_OfferedIncompatibleQosStatus& status) override;
    void on_publication_matched(DDSDataWriter* writer,
                                const DDS_PublicationMatchedStatus& status) override;
    void on_reliable_writer_cache_changed(
        DDSDataWriter* writer, const DDS_ReliableWriterCacheChangedStatus& status) override;
    void on_reliable_reader_activity_changed(
        DDSDataWriter* writer, const DDS_ReliableReaderActivityChangedStatus& status) override;
};

#endif
