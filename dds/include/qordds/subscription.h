// Subscribers, DataReaders and sample information.
#ifndef QOR_DDS_SUBSCRIPTION_H
#define QOR_DDS_SUBSCRIPTION_H

#include <cstdint>

#include "qordds/listener.h"
#include "qordds/qos.h"
#include "qordds/sequence.h"
#include "qordds/type_plugin.h"
#include "qordds/types.h"

namespace qordds {
struct ImplAccess;
}

class DDSTopicDescription;

struct DDS_SampleInfo {
    DDS_SampleStateKind sample_state = DDS_NOT_READ_SAMPLE_STATE;
    DDS_ViewStateKind view_state = DDS_NEW_VIEW_STATE;
    DDS_InstanceStateKind instance_state = DDS_ALIVE_INSTANCE_STATE;
    DDS_Time_t source_timestamp = {0, 0};
    DDS_Time_t reception_timestamp = {0, 0};
    DDS_InstanceHandle_t instance_handle = DDS_HANDLE_NIL;
    DDS_InstanceHandle_t publication_handle = DDS_HANDLE_NIL;
    int32_t disposed_generation_count = 0;
    int32_t no_writers_generation_count = 0;
    int32_t sample_rank = 0;
    int32_t generation_rank = 0;
    int32_t absolute_generation_rank = 0;
    bool valid_data = false;
};
typedef DDSSequence<DDS_SampleInfo> DDS_SampleInfoSeq;

// A DataReader. The binding's own reader is untyped; a type support wraps it into the type's
// typed reader, which forwards every operation here to the untyped one. Listeners are called
// with the typed reader.
class DDSDataReader {
  public:
    virtual ~DDSDataReader() {}

    virtual DDSDataReaderListener* get_listener() = 0;
    // The plugin of the type the reader was created for; typed narrowing checks its name.
    virtual const DDSTypePlugin* get_type_plugin() = 0;

    // Reads or takes up to max_samples samples (DDS_LENGTH_UNLIMITED for all) in the given
    // states. On DDS_RETCODE_OK, *samples is a loaned array of *count sample pointers and
    // `infos` (which must be empty) holds a loan of the *count matching infos; both go back
    // with return_loan_untyped. DDS_RETCODE_NO_DATA when nothing matches.
    virtual DDS_ReturnCode_t read_or_take_untyped(bool take, void*** samples, int32_t* count,
                                                  DDS_SampleInfoSeq& infos, int32_t max_samples,
                                                  DDS_SampleStateMask sample_states,
                                                  DDS_ViewStateMask view_states,
                                                  DDS_InstanceStateMask instance_states) = 0;
    virtual DDS_ReturnCode_t return_loan_untyped(void** samples, int32_t count,
                                                 DDS_SampleInfoSeq& infos) = 0;
};

class DDSSubscriber {
  public:
    // The default DataReader QoS as the QoS profiles resolve it for that topic name.
    DDS_ReturnCode_t get_default_datareader_qos_w_topic_name(DDS_DataReaderQos& qos,
                                                             const char* topic_name);
    // Returns the typed reader made by the topic type's type support.
    DDSDataReader* create_datareader(DDSTopicDescription* topic, const DDS_DataReaderQos& qos,
                                     DDSDataReaderListener* listener, DDS_StatusMask mask);
    DDS_ReturnCode_t delete_datareader(DDSDataReader* reader);

    class Impl;  // binding-internal
    ~DDSSubscriber();

  private:
    // Only the participant that contains it creates it and reaches its state.
    friend class DDSDomainParticipant;
    explicit DDSSubscriber(Impl* impl) : impl_(impl) {}
    friend struct qordds::ImplAccess;

    DDSSubscriber(const DDSSubscriber&) = delete;
    DDSSubscriber& operator=(const DDSSubscriber&) = delete;
    Impl* impl_;
};

#endif
