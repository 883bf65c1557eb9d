// The typed layer of the ping sample types: type supports that register them with a
// participant, and typed writers and readers over the middleware's untyped endpoints.
#ifndef QOR_KESTPING_PING_DATA_SUPPORT_H
#define QOR_KESTPING_PING_DATA_SUPPORT_H

#include "dds/domain.h"
#include "dds/publication.h"
#include "dds/subscription.h"
#include "dds/type_plugin.h"
#include "kestping/pingData.h"

class KestPingDataTypeSupport : public DDSTypeSupport {
  public:
    static DDS_ReturnCode_t register_type(DDSDomainParticipant* participant, const char* type_name);
    static const char* get_type_name();
    static KestPingData* create_data(
        const DDS_TypeAllocationParams_t& params = DDS_TYPE_ALLOCATION_PARAMS_DEFAULT);
    static DDS_ReturnCode_t delete_data(
        KestPingData* sample,
        const DDS_TypeDeallocationParams_t& params = DDS_TYPE_DEALLOCATION_PARAMS_DEFAULT);
};

class KestPingDataDataWriter : public DDSDataWriter {
  public:
    static KestPingDataDataWriter* narrow(DDSDataWriter* writer);
    DDS_ReturnCode_t write(const KestPingData& sample, const DDS_InstanceHandle_t& handle);
    DDS_ReturnCode_t dispose(const KestPingData& sample, const DDS_InstanceHandle_t& handle);
    DDS_ReturnCode_t unregister_instance(const KestPingData& sample,
                                         const DDS_InstanceHandle_t& handle);
};

class KestPingDataDataReader : public DDSDataReader {
  public:
    static KestPingDataDataReader* narrow(DDSDataReader* reader);
    DDS_ReturnCode_t take(KestPingDataSeq& received_data, DDS_SampleInfoSeq& info_seq,
                          int32_t max_samples, DDS_SampleStateMask sample_states,
                          DDS_ViewStateMask view_states, DDS_InstanceStateMask instance_states);
    DDS_ReturnCode_t return_loan(KestPingDataSeq& received_data, DDS_SampleInfoSeq& info_seq);
};

class KestKeyedPingDataTypeSupport : public DDSTypeSupport {
  public:
    static DDS_ReturnCode_t register_type(DDSDomainParticipant* participant, const char* type_name);
    static const char* get_type_name();
    static KestKeyedPingData* create_data(
        const DDS_TypeAllocationParams_t& params = DDS_TYPE_ALLOCATION_PARAMS_DEFAULT);
    static DDS_ReturnCode_t delete_data(
        KestKeyedPingData* sample,
        const DDS_TypeDeallocationParams_t& params = DDS_TYPE_DEALLOCATION_PARAMS_DEFAULT);
};

class KestKeyedPingDataDataWriter : public DDSDataWriter {
  public:
    static KestKeyedPingDataDataWriter* narrow(DDSDataWriter* writer);
    DDS_ReturnCode_t write(const KestKeyedPingData& sample, const DDS_InstanceHandle_t& handle);
    DDS_ReturnCode_t dispose(const KestKeyedPingData& sample, const DDS_InstanceHandle_t& handle);
    DDS_ReturnCode_t unregister_instance(const KestKeyedPingData& sample,
                                         const DDS_InstanceHandle_t& handle);
};

class KestKeyedPingDataDataReader : public DDSDataReader {
  public:
    static KestKeyedPingDataDataReader* narrow(DDSDataReader* reader);
    DDS_ReturnCode_t take(KestKeyedPingDataSeq& received_data, DDS_SampleInfoSeq& info_seq,
                          int32_t max_samples, DDS_SampleStateMask sample_states,
                          DDS_ViewStateMask view_states, DDS_InstanceStateMask instance_states);
    DDS_ReturnCode_t return_loan(KestKeyedPingDataSeq& received_data, DDS_SampleInfoSeq& info_seq);
};

#endif
