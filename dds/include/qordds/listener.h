// Listener interfaces. The binding calls them from Fast DDS's threads; every callback does
// nothing unless overridden.
#ifndef QOR_DDS_LISTENER_H
#define QOR_DDS_LISTENER_H

#include "qordds/status.h"

class DDSDataWriter;
class DDSDataReader;

// Listener kinds the tool never installs; they exist only as create_* parameter types.
class DDSDomainParticipantListener;
class DDSTopicListener;
class DDSPublisherListener;
class DDSSubscriberListener;

class DDSListener {
  public:
    virtual ~DDSListener() {}
};

// A writer or reader listener may be destroyed before its entity. Its destructor detaches it
// from every entity that has it and waits for the callbacks under way on other threads: no
// callback starts afterwards, and the entity's get_listener() answers null. The derived
// class's destructor runs before that, so a callback may still run during it; a listener
// whose callbacks use what its destructor releases is to be deleted after its entity.
class DDSDataWriterListener : public virtual DDSListener {
  public:
    ~DDSDataWriterListener() override;
    virtual void on_offered_deadline_missed(DDSDataWriter*,
                                            const DDS_OfferedDeadlineMissedStatus&) {}
    virtual void on_liveliness_lost(DDSDataWriter*, const DDS_LivelinessLostStatus&) {}
    virtual void on_offered_incompatible_qos(DDSDataWriter*,
                                             const DDS_OfferedIncompatibleQosStatus&) {}
    virtual void on_publication_matched(DDSDataWriter*, const DDS_PublicationMatchedStatus&) {}
    virtual void on_reliable_writer_cache_changed(DDSDataWriter*,
                                                  const DDS_ReliableWriterCacheChangedStatus&) {}
    virtual void on_reliable_reader_activity_changed(
        DDSDataWriter*, const DDS_ReliableReaderActivityChangedStatus&) {}
};

class DDSDataReaderListener : public virtual DDSListener {
  public:
    ~DDSDataReaderListener() override;
    virtual void on_requested_deadline_missed(DDSDataReader*,
                                              const DDS_RequestedDeadlineMissedStatus&) {}
    virtual void on_liveliness_changed(DDSDataReader*, const DDS_LivelinessChangedStatus&) {}
    virtual void on_requested_incompatible_qos(DDSDataReader*,
                                               const DDS_RequestedIncompatibleQosStatus&) {}
    virtual void on_sample_rejected(DDSDataReader*, const DDS_SampleRejectedStatus&) {}
    virtual void on_data_available(DDSDataReader*) {}
    virtual void on_sample_lost(DDSDataReader*, const DDS_SampleLostStatus&) {}
    virtual void on_subscription_matched(DDSDataReader*, const DDS_SubscriptionMatchedStatus&) {}
};

#endif
