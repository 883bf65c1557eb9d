// The typed layer of the ping sample types: type supports that register them with a
// participant, and typed writers and readers over the middleware's untyped endpoints.
//
// Both types share one implementation, the templates of namespace kestping; the named
// classes below (KestPingDataTypeSupport, KestPingDataDataWriter, KestPingDataDataReader and
// their KestKeyedPingData counterparts) are those templates for one sample type each.
#ifndef QOR_KESTPING_PING_DATA_SUPPORT_H
#define QOR_KESTPING_PING_DATA_SUPPORT_H

#include "kestping/pingData.h"
#include "qordds/domain.h"
#include "qordds/dynamic_data.h"
#include "qordds/publication.h"
#include "qordds/subscription.h"
#include "qordds/type_plugin.h"
#include "qordds/typecode.h"

class KestPingDataTypeSupport;
class KestPingDataDataWriter;
class KestPingDataDataReader;
class KestKeyedPingDataTypeSupport;
class KestKeyedPingDataDataWriter;
class KestKeyedPingDataDataReader;

namespace kestping {

// The named classes of sample type T (defined at the end of this header).
template <class T>
struct Named;

template <>
struct Named<KestPingData> {
    typedef KestPingDataTypeSupport Support;
    typedef KestPingDataDataWriter Writer;
    typedef KestPingDataDataReader Reader;
};

template <>
struct Named<KestKeyedPingData> {
    typedef KestKeyedPingDataTypeSupport Support;
    typedef KestKeyedPingDataDataWriter Writer;
    typedef KestKeyedPingDataDataReader Reader;
};

template <class T>
class TypeSupport : public DDSTypeSupport {
  public:
    // Registers T with the participant under `type_name`; a DDS return code.
    static DDS_ReturnCode_t register_type(DDSDomainParticipant* participant, const char* type_name);
    static DDS_ReturnCode_t unregister_type(DDSDomainParticipant* participant,
                                            const char* type_name);
    // T's own name ("KestPingData"), whatever name the type is registered under.
    static const char* get_type_name();
    static const DDS_TypeCode* get_typecode();

    static T* create_data(
        const DDS_TypeAllocationParams_t& params = DDS_TYPE_ALLOCATION_PARAMS_DEFAULT);
    static T* create_data_ex(bool allocate_pointers);
    static DDS_ReturnCode_t delete_data(T* sample, const DDS_TypeDeallocationParams_t& params =
                                                       DDS_TYPE_DEALLOCATION_PARAMS_DEFAULT);
    static DDS_ReturnCode_t delete_data_ex(T* sample, bool delete_pointers);
    static DDS_ReturnCode_t initialize_data(T* sample);
    static DDS_ReturnCode_t initialize_data_ex(T* sample, bool allocate_pointers);
    static DDS_ReturnCode_t finalize_data(T* sample);
    static DDS_ReturnCode_t finalize_data_ex(T* sample, bool delete_pointers);
    static DDS_ReturnCode_t copy_data(T* dst, const T* src);
    static void print_data(const T* sample);
    static DDS_ReturnCode_t serialize_data_to_cdr_buffer(char* buffer, unsigned int& length,
                                                         const T* sample);
    static DDS_ReturnCode_t serialize_data_to_cdr_buffer_ex(
        char* buffer, unsigned int& length, const T* sample,
        DDS_DataRepresentationId_t representation);
    static DDS_ReturnCode_t deserialize_data_from_cdr_buffer(T* sample, const char* buffer,
                                                             unsigned int length);
    static DDS_ReturnCode_t data_to_string(const T* sample, char* text, unsigned int& length,
                                           const DDS_PrintFormatProperty& format);
    // Releases what the type support holds process-wide.
    static DDS_ReturnCode_t finalize();

    DDSDataReader* create_datareaderI(DDSDataReader* untyped) override;
    void destroy_datareaderI(DDSDataReader* typed) override;
    DDSDataWriter* create_datawriterI(DDSDataWriter* untyped) override;
    void destroy_datawriterI(DDSDataWriter* typed) override;
};

template <class T>
class DataWriter : public DDSDataWriter {
  public:
    explicit DataWriter(DDSDataWriter* untyped) : untyped_(untyped) {}

    // The writer as a T writer, or none (logged) when it was made for another type.
    static typename Named<T>::Writer* narrow(DDSDataWriter* writer);

    DDS_ReturnCode_t write(const T& sample, const DDS_InstanceHandle_t& handle);
    DDS_ReturnCode_t dispose(const T& sample, const DDS_InstanceHandle_t& handle);
    DDS_ReturnCode_t unregister_instance(const T& sample, const DDS_InstanceHandle_t& handle);
    DDS_InstanceHandle_t register_instance(const T& sample);
    T* create_data();
    DDS_ReturnCode_t delete_data(T* sample);

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

template <class T>
class DataReader : public DDSDataReader {
  public:
    explicit DataReader(DDSDataReader* untyped) : untyped_(untyped) {}

    // The reader as a T reader, or none (logged) when it was made for another type.
    static typename Named<T>::Reader* narrow(DDSDataReader* reader);

    // Empty sequences (maximum 0) receive a loan, to be given back with return_loan; sequences
    // with a maximum receive copies of at most that many samples.
    DDS_ReturnCode_t take(DDSSequence<T>& received_data, DDS_SampleInfoSeq& info_seq,
                          int32_t max_samples, DDS_SampleStateMask sample_states,
                          DDS_ViewStateMask view_states, DDS_InstanceStateMask instance_states);
    DDS_ReturnCode_t read(DDSSequence<T>& received_data, DDS_SampleInfoSeq& info_seq,
                          int32_t max_samples, DDS_SampleStateMask sample_states,
                          DDS_ViewStateMask view_states, DDS_InstanceStateMask instance_states);
    // Copies the next sample not read before; DDS_RETCODE_NO_DATA when there is none.
    DDS_ReturnCode_t take_next_sample(T& received_data, DDS_SampleInfo& sample_info);
    DDS_ReturnCode_t read_next_sample(T& received_data, DDS_SampleInfo& sample_info);
    DDS_ReturnCode_t return_loan(DDSSequence<T>& received_data, DDS_SampleInfoSeq& info_seq);

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

}  // namespace kestping

class KestPingDataTypeSupport final : public kestping::TypeSupport<KestPingData> {};
class KestPingDataDataWriter final : public kestping::DataWriter<KestPingData> {
  public:
    using DataWriter::DataWriter;
};
class KestPingDataDataReader final : public kestping::DataReader<KestPingData> {
  public:
    using DataReader::DataReader;
};

class KestKeyedPingDataTypeSupport final : public kestping::TypeSupport<KestKeyedPingData> {};
class KestKeyedPingDataDataWriter final : public kestping::DataWriter<KestKeyedPingData> {
  public:
    using DataWriter::DataWriter;
};
class KestKeyedPingDataDataReader final : public kestping::DataReader<KestKeyedPingData> {
  public:
    using DataReader::DataReader;
};

#endif
