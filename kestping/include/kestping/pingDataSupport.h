// The typed layer of the ping sample types: type supports that register them with a
// participant, and typed writers and readers over the middleware's untyped endpoints.
#ifndef QOR_KESTPING_PING_DATA_SUPPORT_H
#define QOR_KESTPING_PING_DATA_SUPPORT_H

#include "kestping/pingData.h"
#include "qordds/domain.h"
#include "qordds/dynamic_data.h"
#include "qordds/publication.h"
#include "qordds/subscription.h"
#include "qordds/type_plugin.h"
#include "qordds/typecode.h"

class KestPingDataTypeSupport : public DDSTypeSupport {
  public:
    // Registers KestPingData with the participant under `type_name`; a DDS return code.
    static DDS_ReturnCode_t register_type(DDSDomainParticipant* participant, const char* type_name);
    static DDS_ReturnCode_t unregister_type(DDSDomainParticipant* participant,
                                            const char* type_name);
    // "KestPingData", whatever name the type is registered under.
    static const char* get_type_name();
    static const DDS_TypeCode* get_typecode();

    static KestPingData* create_data(
        const DDS_TypeAllocationParams_t& params = DDS_TYPE_ALLOCATION_PARAMS_DEFAULT);
    static KestPingData* create_data_ex(bool allocate_pointers);
    static DDS_ReturnCode_t delete_data(
        KestPingData* sample,
        const DDS_TypeDeallocationParams_t& params = DDS_TYPE_DEALLOCATION_PARAMS_DEFAULT);
    static DDS_ReturnCode_t delete_data_ex(KestPingData* sample, bool delete_pointers);
    static DDS_ReturnCode_t initialize_data(KestPingData* sample);
    static DDS_ReturnCode_t initialize_data_ex(KestPingData* sample, bool allocate_pointers);
    static DDS_ReturnCode_t finalize_data(KestPingData* sample);
    static DDS_ReturnCode_t finalize_data_ex(KestPingData* sample, bool delete_pointers);
    static DDS_ReturnCode_t copy_data(KestPingData* dst, const KestPingData* src);
    static void print_data(const KestPingData* sample);
    static DDS_ReturnCode_t serialize_data_to_cdr_buffer(char* buffer, unsigned int& length,
                                                         const KestPingData* sample);
    static DDS_ReturnCode_t serialize_data_to_cdr_buffer_ex(
        char* buffer, unsigned int& length, const KestPingData* sample,
        DDS_DataRepresentationId_t representation);
    static DDS_ReturnCode_t deserialize_data_from_cdr_buffer(KestPingData* sample,
                                                             const char* buffer,
                                                             unsigned int length);
    static DDS_ReturnCode_t data_to_string(const KestPingData* sample, char* text,
                                           unsigned int& length,
                                           const DDS_PrintFormatProperty& format);
    // Releases what the type support holds process-wide.
    static DDS_ReturnCode_t finalize();

    DDSDataReader* create_datareaderI(DDSDataReader* untyped) override;
    void destroy_datareaderI(DDSDataReader* typed) override;
    DDSDataWriter* create_datawriterI(DDSDataWriter* untyped) override;
    void destroy_datawriterI(DDSDataWriter* typed) override;
};

class KestPingDataDataWriter : public DDSDataWriter {
  public:
    explicit KestPingDataDataWriter(DDSDataWriter* untyped) : untyped_(untyped) {}

    // The writer as a KestPingData writer, or none (logged) when it was made for another type.
    static KestPingDataDataWriter* narrow(DDSDataWriter* writer);

    DDS_ReturnCode_t write(const KestPingData& sample, const DDS_InstanceHandle_t& handle);
    DDS_ReturnCode_t dispose(const KestPingData& sample, const DDS_InstanceHandle_t& handle);
    DDS_ReturnCode_t unregister_instance(const KestPingData& sample,
                                         const DDS_InstanceHandle_t& handle);
    DDS_InstanceHandle_t register_instance(const KestPingData& sample);
    KestPingData* create_data();
    DDS_ReturnCode_t delete_data(KestPingData* sample);

    DDSDataWriterListener* get_listener() override;
    const DDSTypePlugin* get_type_plugin() override;
    DDS_ReturnCode_t write_untyped(const void* sample, const DDS_InstanceHandle_t& handle) override;
    DDS_ReturnCode_t dispose_untyped(const void* sample,
                                     const DDS_InstanceHandle_t& handle) override;
    DDS_ReturnCode_t unregister_instance_untyped(const void* sample,
                                                 const DDS_InstanceHandle_t& handle) override;
    DDS_InstanceHandle_t register_instance_untyped(const void* sample) override;

  private:
    DDSDataWriter* untyped_;
};

class KestPingDataDataReader : public DDSDataReader {
  public:
    explicit KestPingDataDataReader(DDSDataReader* untyped) : untyped_(untyped) {}

    // The reader as a KestPingData reader, or none (logged) when it was made for another type.
    static KestPingDataDataReader* narrow(DDSDataReader* reader);

    // Empty sequences (maximum 0) receive a loan, to be given back with return_loan; sequences
    // with a maximum receive copies of at most that many samples.
    DDS_ReturnCode_t take(KestPingDataSeq& received_data, DDS_SampleInfoSeq& info_seq,
                          int32_t max_samples, DDS_SampleStateMask sample_states,
                          DDS_ViewStateMask view_states, DDS_InstanceStateMask instance_states);
    DDS_ReturnCode_t read(KestPingDataSeq& received_data, DDS_SampleInfoSeq& info_seq,
                          int32_t max_samples, DDS_SampleStateMask sample_states,
                          DDS_ViewStateMask view_states, DDS_InstanceStateMask instance_states);
    // Copies the next sample not read before; DDS_RETCODE_NO_DATA when there is none.
    DDS_ReturnCode_t take_next_sample(KestPingData& received_data, DDS_SampleInfo& sample_info);
    DDS_ReturnCode_t read_next_sample(KestPingData& received_data, DDS_SampleInfo& sample_info);
    DDS_ReturnCode_t return_loan(KestPingDataSeq& received_data, DDS_SampleInfoSeq& info_seq);

    DDSDataReaderListener* get_listener() override;
    const DDSTypePlugin* get_type_plugin() override;
    DDS_ReturnCode_t read_or_take_untyped(bool take, void*** samples, int32_t* count,
                                          DDS_SampleInfoSeq& infos, int32_t max_samples,
                                          DDS_SampleStateMask sample_states,
                                          DDS_ViewStateMask view_states,
                                          DDS_InstanceStateMask instance_states) override;
    DDS_ReturnCode_t return_loan_untyped(void** samples, int32_t count,
                                         DDS_SampleInfoSeq& infos) override;

  private:
    DDSDataReader* untyped_;
};

class KestKeyedPingDataTypeSupport : public DDSTypeSupport {
  public:
    static DDS_ReturnCode_t register_type(DDSDomainParticipant* participant, const char* type_name);
    static DDS_ReturnCode_t unregister_type(DDSDomainParticipant* participant,
                                            const char* type_name);
    // "KestKeyedPingData", whatever name the type is registered under.
    static const char* get_type_name();
    static const DDS_TypeCode* get_typecode();

    static KestKeyedPingData* create_data(
        const DDS_TypeAllocationParams_t& params = DDS_TYPE_ALLOCATION_PARAMS_DEFAULT);
    static KestKeyedPingData* create_data_ex(bool allocate_pointers);
    static DDS_ReturnCode_t delete_data(
        KestKeyedPingData* sample,
        const DDS_TypeDeallocationParams_t& params = DDS_TYPE_DEALLOCATION_PARAMS_DEFAULT);
    static DDS_ReturnCode_t delete_data_ex(KestKeyedPingData* sample, bool delete_pointers);
    static DDS_ReturnCode_t initialize_data(KestKeyedPingData* sample);
    static DDS_ReturnCode_t initialize_data_ex(KestKeyedPingData* sample, bool allocate_pointers);
    static DDS_ReturnCode_t finalize_data(KestKeyedPingData* sample);
    static DDS_ReturnCode_t finalize_data_ex(KestKeyedPingData* sample, bool delete_pointers);
    static DDS_ReturnCode_t copy_data(KestKeyedPingData* dst, const KestKeyedPingData* src);
    static void print_data(const KestKeyedPingData* sample);
    static DDS_ReturnCode_t serialize_data_to_cdr_buffer(char* buffer, unsigned int& length,
                                                         const KestKeyedPingData* sample);
    static DDS_ReturnCode_t serialize_data_to_cdr_buffer_ex(
        char* buffer, unsigned int& length, const KestKeyedPingData* sample,
        DDS_DataRepresentationId_t representation);
    static DDS_ReturnCode_t deserialize_data_from_cdr_buffer(KestKeyedPingData* sample,
                                                             const char* buffer,
                                                             unsigned int length);
    static DDS_ReturnCode_t data_to_string(const KestKeyedPingData* sample, char* text,
                                           unsigned int& length,
                                           const DDS_PrintFormatProperty& format);
    static DDS_ReturnCode_t finalize();

    DDSDataReader* create_datareaderI(DDSDataReader* untyped) override;
    void destroy_datareaderI(DDSDataReader* typed) override;
    DDSDataWriter* create_datawriterI(DDSDataWriter* untyped) override;
    void destroy_datawriterI(DDSDataWriter* typed) override;
};

class KestKeyedPingDataDataWriter : public DDSDataWriter {
  public:
    explicit KestKeyedPingDataDataWriter(DDSDataWriter* untyped) : untyped_(untyped) {}

    static KestKeyedPingDataDataWriter* narrow(DDSDataWriter* writer);

    DDS_ReturnCode_t write(const KestKeyedPingData& sample, const DDS_InstanceHandle_t& handle);
    DDS_ReturnCode_t dispose(const KestKeyedPingData& sample, const DDS_InstanceHandle_t& handle);
    DDS_ReturnCode_t unregister_instance(const KestKeyedPingData& sample,
                                         const DDS_InstanceHandle_t& handle);
    DDS_InstanceHandle_t register_instance(const KestKeyedPingData& sample);
    KestKeyedPingData* create_data();
    DDS_ReturnCode_t delete_data(KestKeyedPingData* sample);

    DDSDataWriterListener* get_listener() override;
    const DDSTypePlugin* get_type_plugin() override;
    DDS_ReturnCode_t write_untyped(const void* sample, const DDS_InstanceHandle_t& handle) override;
    DDS_ReturnCode_t dispose_untyped(const void* sample,
                                     const DDS_InstanceHandle_t& handle) override;
    DDS_ReturnCode_t unregister_instance_untyped(const void* sample,
                                                 const DDS_InstanceHandle_t& handle) override;
    DDS_InstanceHandle_t register_instance_untyped(const void* sample) override;

  private:
    DDSDataWriter* untyped_;
};

class KestKeyedPingDataDataReader : public DDSDataReader {
  public:
    explicit KestKeyedPingDataDataReader(DDSDataReader* untyped) : untyped_(untyped) {}

    static KestKeyedPingDataDataReader* narrow(DDSDataReader* reader);

    DDS_ReturnCode_t take(KestKeyedPingDataSeq& received_data, DDS_SampleInfoSeq& info_seq,
                          int32_t max_samples, DDS_SampleStateMask sample_states,
                          DDS_ViewStateMask view_states, DDS_InstanceStateMask instance_states);
    DDS_ReturnCode_t read(KestKeyedPingDataSeq& received_data, DDS_SampleInfoSeq& info_seq,
                          int32_t max_samples, DDS_SampleStateMask sample_states,
                          DDS_ViewStateMask view_states, DDS_InstanceStateMask instance_states);
    DDS_ReturnCode_t take_next_sample(KestKeyedPingData& received_data,
                                      DDS_SampleInfo& sample_info);
    DDS_ReturnCode_t read_next_sample(KestKeyedPingData& received_data,
                                      DDS_SampleInfo& sample_info);
    DDS_ReturnCode_t return_loan(KestKeyedPingDataSeq& received_data, DDS_SampleInfoSeq& info_seq);

    DDSDataReaderListener* get_listener() override;
    const DDSTypePlugin* get_type_plugin() override;
    DDS_ReturnCode_t read_or_take_untyped(bool take, void*** samples, int32_t* count,
                                          DDS_SampleInfoSeq& infos, int32_t max_samples,
                                          DDS_SampleStateMask sample_states,
                                          DDS_ViewStateMask view_states,
                                          DDS_InstanceStateMask instance_states) override;
    DDS_ReturnCode_t return_loan_untyped(void** samples, int32_t count,
                                         DDS_SampleInfoSeq& infos) override;

  private:
    DDSDataReader* untyped_;
};

#endif
