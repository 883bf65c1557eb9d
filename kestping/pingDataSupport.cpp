#include "kestping/pingDataSupport.h"

#include <new>

#include "kestping/pingDataPlugin.h"
#include "pingDataSupportImpl.h"

// ---- KestPingData type support ----

DDS_ReturnCode_t KestPingDataTypeSupport::register_type(DDSDomainParticipant* participant,
                                                        const char* type_name) {
    return kestping_typed::register_type<KestPingData>(participant, type_name);
}

DDS_ReturnCode_t KestPingDataTypeSupport::unregister_type(DDSDomainParticipant* participant,
                                                          const char* type_name) {
    return kestping_typed::unregister_type<KestPingData>(participant, type_name);
}

const char* KestPingDataTypeSupport::get_type_name() {
    return KestPingDataTYPENAME;
}

const DDS_TypeCode* KestPingDataTypeSupport::get_typecode() {
    return KestPingData_get_typecode();
}

KestPingData* KestPingDataTypeSupport::create_data(const DDS_TypeAllocationParams_t& params) {
    return KestPingDataPluginSupport_create_data_w_params(&params);
}

KestPingData* KestPingDataTypeSupport::create_data_ex(bool allocate_pointers) {
    return KestPingDataPluginSupport_create_data_ex(allocate_pointers);
}

DDS_ReturnCode_t KestPingDataTypeSupport::delete_data(KestPingData* sample,
                                                      const DDS_TypeDeallocationParams_t& params) {
    if (!kestping_typed::sample_given(sample, "KestPingDataTypeSupport::delete_data")) {
        return DDS_RETCODE_BAD_PARAMETER;
    }
    KestPingDataPluginSupport_destroy_data_w_params(sample, &params);
    return DDS_RETCODE_OK;
}

DDS_ReturnCode_t KestPingDataTypeSupport::delete_data_ex(KestPingData* sample,
                                                         bool delete_pointers) {
    if (!kestping_typed::sample_given(sample, "KestPingDataTypeSupport::delete_data_ex")) {
        return DDS_RETCODE_BAD_PARAMETER;
    }
    KestPingDataPluginSupport_destroy_data_ex(sample, delete_pointers);
    return DDS_RETCODE_OK;
}

DDS_ReturnCode_t KestPingDataTypeSupport::initialize_data(KestPingData* sample) {
    return KestPingData_initialize(sample) ? DDS_RETCODE_OK : DDS_RETCODE_BAD_PARAMETER;
}

DDS_ReturnCode_t KestPingDataTypeSupport::initialize_data_ex(KestPingData* sample,
                                                             bool allocate_pointers) {
    return KestPingData_initialize_ex(sample, allocate_pointers, true) ? DDS_RETCODE_OK
                                                                       : DDS_RETCODE_BAD_PARAMETER;
}

DDS_ReturnCode_t KestPingDataTypeSupport::finalize_data(KestPingData* sample) {
    if (sample == nullptr) {
        return DDS_RETCODE_BAD_PARAMETER;
    }
    KestPingData_finalize(sample);
    return DDS_RETCODE_OK;
}

DDS_ReturnCode_t KestPingDataTypeSupport::finalize_data_ex(KestPingData* sample,
                                                           bool delete_pointers) {
    if (sample == nullptr) {
        return DDS_RETCODE_BAD_PARAMETER;
    }
    KestPingData_finalize_ex(sample, delete_pointers);
    return DDS_RETCODE_OK;
}

DDS_ReturnCode_t KestPingDataTypeSupport::copy_data(KestPingData* dst, const KestPingData* src) {
    return KestPingDataPluginSupport_copy_data(dst, src) ? DDS_RETCODE_OK
                                                         : DDS_RETCODE_BAD_PARAMETER;
}

void KestPingDataTypeSupport::print_data(const KestPingData* sample) {
    KestPingDataPluginSupport_print_data(sample, nullptr, 0);
}

DDS_ReturnCode_t KestPingDataTypeSupport::serialize_data_to_cdr_buffer(char* buffer,
                                                                       unsigned int& length,
                                                                       const KestPingData* sample) {
    if (sample == nullptr) {
        return DDS_RETCODE_BAD_PARAMETER;
    }
    return KestPingDataPlugin_serialize_to_cdr_buffer(buffer, &length, sample) ? DDS_RETCODE_OK
                                                                               : DDS_RETCODE_ERROR;
}

DDS_ReturnCode_t KestPingDataTypeSupport::serialize_data_to_cdr_buffer_ex(
    char* buffer, unsigned int& length, const KestPingData* sample,
    DDS_DataRepresentationId_t representation) {
    if (sample == nullptr) {
        return DDS_RETCODE_BAD_PARAMETER;
    }
    return KestPingDataPlugin_serialize_to_cdr_buffer_ex(buffer, &length, sample, representation)
               ? DDS_RETCODE_OK
               : DDS_RETCODE_ERROR;
}

DDS_ReturnCode_t KestPingDataTypeSupport::deserialize_data_from_cdr_buffer(KestPingData* sample,
                                                                           const char* buffer,
                                                                           unsigned int length) {
    if (sample == nullptr || buffer == nullptr) {
        return DDS_RETCODE_BAD_PARAMETER;
    }
    return KestPingDataPlugin_deserialize_from_cdr_buffer(sample, buffer, length)
               ? DDS_RETCODE_OK
               : DDS_RETCODE_ERROR;
}

DDS_ReturnCode_t KestPingDataTypeSupport::data_to_string(const KestPingData* sample, char* text,
                                                         unsigned int& length,
                                                         const DDS_PrintFormatProperty& format) {
    return KestPingDataPlugin_data_to_string(sample, text, &length, &format);
}

// The type description and plugin record are constants: nothing to release.
DDS_ReturnCode_t KestPingDataTypeSupport::finalize() {
    return DDS_RETCODE_OK;
}

DDSDataReader* KestPingDataTypeSupport::create_datareaderI(DDSDataReader* untyped) {
    return untyped == nullptr ? nullptr : new (std::nothrow) KestPingDataDataReader(untyped);
}

void KestPingDataTypeSupport::destroy_datareaderI(DDSDataReader* typed) {
    delete typed;
}

DDSDataWriter* KestPingDataTypeSupport::create_datawriterI(DDSDataWriter* untyped) {
    return untyped == nullptr ? nullptr : new (std::nothrow) KestPingDataDataWriter(untyped);
}

void KestPingDataTypeSupport::destroy_datawriterI(DDSDataWriter* typed) {
    delete typed;
}

// ---- KestPingData writer ----

KestPingDataDataWriter* KestPingDataDataWriter::narrow(DDSDataWriter* writer) {
    return kestping_typed::narrow<KestPingData, KestPingDataDataWriter>(writer, "DataWriter",
                                                                        "writer");
}

DDS_ReturnCode_t KestPingDataDataWriter::write(const KestPingData& sample,
                                               const DDS_InstanceHandle_t& handle) {
    return untyped_->write_untyped(&sample, handle);
}

DDS_ReturnCode_t KestPingDataDataWriter::dispose(const KestPingData& sample,
                                                 const DDS_InstanceHandle_t& handle) {
    return untyped_->dispose_untyped(&sample, handle);
}

DDS_ReturnCode_t KestPingDataDataWriter::unregister_instance(const KestPingData& sample,
                                                             const DDS_InstanceHandle_t& handle) {
    return untyped_->unregister_instance_untyped(&sample, handle);
}

DDS_InstanceHandle_t KestPingDataDataWriter::register_instance(const KestPingData& sample) {
    return untyped_->register_instance_untyped(&sample);
}

KestPingData* KestPingDataDataWriter::create_data() {
    return KestPingDataTypeSupport::create_data();
}

DDS_ReturnCode_t KestPingDataDataWriter::delete_data(KestPingData* sample) {
    if (!kestping_typed::sample_given(sample, "KestPingDataDataWriter::delete_data")) {
        return DDS_RETCODE_BAD_PARAMETER;
    }
    return KestPingDataTypeSupport::delete_data(sample);
}

DDSDataWriterListener* KestPingDataDataWriter::get_listener() {
    return untyped_->get_listener();
}

const DDSTypePlugin* KestPingDataDataWriter::get_type_plugin() {
    return untyped_->get_type_plugin();
}

DDS_ReturnCode_t KestPingDataDataWriter::write_untyped(const void* sample,
                                                       const DDS_InstanceHandle_t& handle) {
    return untyped_->write_untyped(sample, handle);
}

DDS_ReturnCode_t KestPingDataDataWriter::dispose_untyped(const void* sample,
                                                         const DDS_InstanceHandle_t& handle) {
    return untyped_->dispose_untyped(sample, handle);
}

DDS_ReturnCode_t KestPingDataDataWriter::unregister_instance_untyped(
    const void* sample, const DDS_InstanceHandle_t& handle) {
    return untyped_->unregister_instance_untyped(sample, handle);
}

DDS_InstanceHandle_t KestPingDataDataWriter::register_instance_untyped(const void* sample) {
    return untyped_->register_instance_untyped(sample);
}

// ---- KestPingData reader ----

KestPingDataDataReader* KestPingDataDataReader::narrow(DDSDataReader* reader) {
    return kestping_typed::narrow<KestPingData, KestPingDataDataReader>(reader, "DataReader",
                                                                        "reader");
}

DDS_ReturnCode_t KestPingDataDataReader::take(KestPingDataSeq& received_data,
                                              DDS_SampleInfoSeq& info_seq, int32_t max_samples,
                                              DDS_SampleStateMask sample_states,
                                              DDS_ViewStateMask view_states,
                                              DDS_InstanceStateMask instance_states) {
    return kestping_typed::read_or_take(untyped_, true, received_data, info_seq, max_samples,
                                        sample_states, view_states, instance_states);
}

DDS_ReturnCode_t KestPingDataDataReader::read(KestPingDataSeq& received_data,
                                              DDS_SampleInfoSeq& info_seq, int32_t max_samples,
                                              DDS_SampleStateMask sample_states,
                                              DDS_ViewStateMask view_states,
                                              DDS_InstanceStateMask instance_states) {
    return kestping_typed::read_or_take(untyped_, false, received_data, info_seq, max_samples,
                                        sample_states, view_states, instance_states);
}

DDS_ReturnCode_t KestPingDataDataReader::take_next_sample(KestPingData& received_data,
                                                          DDS_SampleInfo& sample_info) {
    return kestping_typed::read_or_take_next(untyped_, true, received_data, sample_info);
}

DDS_ReturnCode_t KestPingDataDataReader::read_next_sample(KestPingData& received_data,
                                                          DDS_SampleInfo& sample_info) {
    return kestping_typed::read_or_take_next(untyped_, false, received_data, sample_info);
}

DDS_ReturnCode_t KestPingDataDataReader::return_loan(KestPingDataSeq& received_data,
                                                     DDS_SampleInfoSeq& info_seq) {
    return kestping_typed::return_loan(untyped_, received_data, info_seq);
}

DDSDataReaderListener* KestPingDataDataReader::get_listener() {
    return untyped_->get_listener();
}

const DDSTypePlugin* KestPingDataDataReader::get_type_plugin() {
    return untyped_->get_type_plugin();
}

DDS_ReturnCode_t KestPingDataDataReader::read_or_take_untyped(
    bool take, void*** samples, int32_t* count, DDS_SampleInfoSeq& infos, int32_t max_samples,
    DDS_SampleStateMask sample_states, DDS_ViewStateMask view_states,
    DDS_InstanceStateMask instance_states) {
    return untyped_->read_or_take_untyped(take, samples, count, infos, max_samples, sample_states,
                                          view_states, instance_states);
}

DDS_ReturnCode_t KestPingDataDataReader::return_loan_untyped(void** samples, int32_t count,
                                                             DDS_SampleInfoSeq& infos) {
    return untyped_->return_loan_untyped(samples, count, infos);
}

// ---- KestKeyedPingData type support ----

DDS_ReturnCode_t KestKeyedPingDataTypeSupport::register_type(DDSDomainParticipant* participant,
                                                             const char* type_name) {
    return kestping_typed::register_type<KestKeyedPingData>(participant, type_name);
}

DDS_ReturnCode_t KestKeyedPingDataTypeSupport::unregister_type(DDSDomainParticipant* participant,
                                                               const char* type_name) {
    return kestping_typed::unregister_type<KestKeyedPingData>(participant, type_name);
}

const char* KestKeyedPingDataTypeSupport::get_type_name() {
    return KestKeyedPingDataTYPENAME;
}

const DDS_TypeCode* KestKeyedPingDataTypeSupport::get_typecode() {
    return KestKeyedPingData_get_typecode();
}

KestKeyedPingData* KestKeyedPingDataTypeSupport::create_data(
    const DDS_TypeAllocationParams_t& params) {
    return KestKeyedPingDataPluginSupport_create_data_w_params(&params);
}

KestKeyedPingData* KestKeyedPingDataTypeSupport::create_data_ex(bool allocate_pointers) {
    return KestKeyedPingDataPluginSupport_create_data_ex(allocate_pointers);
}

DDS_ReturnCode_t KestKeyedPingDataTypeSupport::delete_data(
    KestKeyedPingData* sample, const DDS_TypeDeallocationParams_t& params) {
    if (!kestping_typed::sample_given(sample, "KestKeyedPingDataTypeSupport::delete_data")) {
        return DDS_RETCODE_BAD_PARAMETER;
    }
    KestKeyedPingDataPluginSupport_destroy_data_w_params(sample, &params);
    return DDS_RETCODE_OK;
}

DDS_ReturnCode_t KestKeyedPingDataTypeSupport::delete_data_ex(KestKeyedPingData* sample,
                                                              bool delete_pointers) {
    if (!kestping_typed::sample_given(sample, "KestKeyedPingDataTypeSupport::delete_data_ex")) {
        return DDS_RETCODE_BAD_PARAMETER;
    }
    KestKeyedPingDataPluginSupport_destroy_data_ex(sample, delete_pointers);
    return DDS_RETCODE_OK;
}

DDS_ReturnCode_t KestKeyedPingDataTypeSupport::initialize_data(KestKeyedPingData* sample) {
    return KestKeyedPingData_initialize(sample) ? DDS_RETCODE_OK : DDS_RETCODE_BAD_PARAMETER;
}

DDS_ReturnCode_t KestKeyedPingDataTypeSupport::initialize_data_ex(KestKeyedPingData* sample,
                                                                  bool allocate_pointers) {
    return KestKeyedPingData_initialize_ex(sample, allocate_pointers, true)
               ? DDS_RETCODE_OK
               : DDS_RETCODE_BAD_PARAMETER;
}

DDS_ReturnCode_t KestKeyedPingDataTypeSupport::finalize_data(KestKeyedPingData* sample) {
    if (sample == nullptr) {
        return DDS_RETCODE_BAD_PARAMETER;
    }
    KestKeyedPingData_finalize(sample);
    return DDS_RETCODE_OK;
}

DDS_ReturnCode_t KestKeyedPingDataTypeSupport::finalize_data_ex(KestKeyedPingData* sample,
                                                                bool delete_pointers) {
    if (sample == nullptr) {
        return DDS_RETCODE_BAD_PARAMETER;
    }
    KestKeyedPingData_finalize_ex(sample, delete_pointers);
    return DDS_RETCODE_OK;
}

DDS_ReturnCode_t KestKeyedPingDataTypeSupport::copy_data(KestKeyedPingData* dst,
                                                         const KestKeyedPingData* src) {
    return KestKeyedPingDataPluginSupport_copy_data(dst, src) ? DDS_RETCODE_OK
                                                              : DDS_RETCODE_BAD_PARAMETER;
}

void KestKeyedPingDataTypeSupport::print_data(const KestKeyedPingData* sample) {
    KestKeyedPingDataPluginSupport_print_data(sample, nullptr, 0);
}

DDS_ReturnCode_t KestKeyedPingDataTypeSupport::serialize_data_to_cdr_buffer(
    char* buffer, unsigned int& length, const KestKeyedPingData* sample) {
    if (sample == nullptr) {
        return DDS_RETCODE_BAD_PARAMETER;
    }
    return KestKeyedPingDataPlugin_serialize_to_cdr_buffer(buffer, &length, sample)
               ? DDS_RETCODE_OK
               : DDS_RETCODE_ERROR;
}

DDS_ReturnCode_t KestKeyedPingDataTypeSupport::serialize_data_to_cdr_buffer_ex(
    char* buffer, unsigned int& length, const KestKeyedPingData* sample,
    DDS_DataRepresentationId_t representation) {
    if (sample == nullptr) {
        return DDS_RETCODE_BAD_PARAMETER;
    }
    return KestKeyedPingDataPlugin_serialize_to_cdr_buffer_ex(buffer, &length, sample,
                                                              representation)
               ? DDS_RETCODE_OK
               : DDS_RETCODE_ERROR;
}

DDS_ReturnCode_t KestKeyedPingDataTypeSupport::deserialize_data_from_cdr_buffer(
    KestKeyedPingData* sample, const char* buffer, unsigned int length) {
    if (sample == nullptr || buffer == nullptr) {
        return DDS_RETCODE_BAD_PARAMETER;
    }
    return KestKeyedPingDataPlugin_deserialize_from_cdr_buffer(sample, buffer, length)
               ? DDS_RETCODE_OK
               : DDS_RETCODE_ERROR;
}

DDS_ReturnCode_t KestKeyedPingDataTypeSupport::data_to_string(
    const KestKeyedPingData* sample, char* text, unsigned int& length,
    const DDS_PrintFormatProperty& format) {
    return KestKeyedPingDataPlugin_data_to_string(sample, text, &length, &format);
}

// The type description and plugin record are constants: nothing to release.
DDS_ReturnCode_t KestKeyedPingDataTypeSupport::finalize() {
    return DDS_RETCODE_OK;
}

DDSDataReader* KestKeyedPingDataTypeSupport::create_datareaderI(DDSDataReader* untyped) {
    return untyped == nullptr ? nullptr : new (std::nothrow) KestKeyedPingDataDataReader(untyped);
}

void KestKeyedPingDataTypeSupport::destroy_datareaderI(DDSDataReader* typed) {
    delete typed;
}

DDSDataWriter* KestKeyedPingDataTypeSupport::create_datawriterI(DDSDataWriter* untyped) {
    return untyped == nullptr ? nullptr : new (std::nothrow) KestKeyedPingDataDataWriter(untyped);
}

void KestKeyedPingDataTypeSupport::destroy_datawriterI(DDSDataWriter* typed) {
    delete typed;
}

// ---- KestKeyedPingData writer ----

KestKeyedPingDataDataWriter* KestKeyedPingDataDataWriter::narrow(DDSDataWriter* writer) {
    return kestping_typed::narrow<KestKeyedPingData, KestKeyedPingDataDataWriter>(
        writer, "DataWriter", "writer");
}

DDS_ReturnCode_t KestKeyedPingDataDataWriter::write(const KestKeyedPingData& sample,
                                                    const DDS_InstanceHandle_t& handle) {
    return untyped_->write_untyped(&sample, handle);
}

DDS_ReturnCode_t KestKeyedPingDataDataWriter::dispose(const KestKeyedPingData& sample,
                                                      const DDS_InstanceHandle_t& handle) {
    return untyped_->dispose_untyped(&sample, handle);
}

DDS_ReturnCode_t KestKeyedPingDataDataWriter::unregister_instance(
    const KestKeyedPingData& sample, const DDS_InstanceHandle_t& handle) {
    return untyped_->unregister_instance_untyped(&sample, handle);
}

DDS_InstanceHandle_t KestKeyedPingDataDataWriter::register_instance(
    const KestKeyedPingData& sample) {
    return untyped_->register_instance_untyped(&sample);
}

KestKeyedPingData* KestKeyedPingDataDataWriter::create_data() {
    return KestKeyedPingDataTypeSupport::create_data();
}

DDS_ReturnCode_t KestKeyedPingDataDataWriter::delete_data(KestKeyedPingData* sample) {
    if (!kestping_typed::sample_given(sample, "KestKeyedPingDataDataWriter::delete_data")) {
        return DDS_RETCODE_BAD_PARAMETER;
    }
    return KestKeyedPingDataTypeSupport::delete_data(sample);
}

DDSDataWriterListener* KestKeyedPingDataDataWriter::get_listener() {
    return untyped_->get_listener();
}

const DDSTypePlugin* KestKeyedPingDataDataWriter::get_type_plugin() {
    return untyped_->get_type_plugin();
}

DDS_ReturnCode_t KestKeyedPingDataDataWriter::write_untyped(const void* sample,
                                                            const DDS_InstanceHandle_t& handle) {
    return untyped_->write_untyped(sample, handle);
}

DDS_ReturnCode_t KestKeyedPingDataDataWriter::dispose_untyped(const void* sample,
                                                              const DDS_InstanceHandle_t& handle) {
    return untyped_->dispose_untyped(sample, handle);
}

DDS_ReturnCode_t KestKeyedPingDataDataWriter::unregister_instance_untyped(
    const void* sample, const DDS_InstanceHandle_t& handle) {
    return untyped_->unregister_instance_untyped(sample, handle);
}

DDS_InstanceHandle_t KestKeyedPingDataDataWriter::register_instance_untyped(const void* sample) {
    return untyped_->register_instance_untyped(sample);
}

// ---- KestKeyedPingData reader ----

KestKeyedPingDataDataReader* KestKeyedPingDataDataReader::narrow(DDSDataReader* reader) {
    return kestping_typed::narrow<KestKeyedPingData, KestKeyedPingDataDataReader>(
        reader, "DataReader", "reader");
}

DDS_ReturnCode_t KestKeyedPingDataDataReader::take(KestKeyedPingDataSeq& received_data,
                                                   DDS_SampleInfoSeq& info_seq, int32_t max_samples,
                                                   DDS_SampleStateMask sample_states,
                                                   DDS_ViewStateMask view_states,
                                                   DDS_InstanceStateMask instance_states) {
    return kestping_typed::read_or_take(untyped_, true, received_data, info_seq, max_samples,
                                        sample_states, view_states, instance_states);
}

DDS_ReturnCode_t KestKeyedPingDataDataReader::read(KestKeyedPingDataSeq& received_data,
                                                   DDS_SampleInfoSeq& info_seq, int32_t max_samples,
                                                   DDS_SampleStateMask sample_states,
                                                   DDS_ViewStateMask view_states,
                                                   DDS_InstanceStateMask instance_states) {
    return kestping_typed::read_or_take(untyped_, false, received_data, info_seq, max_samples,
                                        sample_states, view_states, instance_states);
}

DDS_ReturnCode_t KestKeyedPingDataDataReader::take_next_sample(KestKeyedPingData& received_data,
                                                               DDS_SampleInfo& sample_info) {
    return kestping_typed::read_or_take_next(untyped_, true, received_data, sample_info);
}

DDS_ReturnCode_t KestKeyedPingDataDataReader::read_next_sample(KestKeyedPingData& received_data,
                                                               DDS_SampleInfo& sample_info) {
    return kestping_typed::read_or_take_next(untyped_, false, received_data, sample_info);
}

DDS_ReturnCode_t KestKeyedPingDataDataReader::return_loan(KestKeyedPingDataSeq& received_data,
                                                          DDS_SampleInfoSeq& info_seq) {
    return kestping_typed::return_loan(untyped_, received_data, info_seq);
}

DDSDataReaderListener* KestKeyedPingDataDataReader::get_listener() {
    return untyped_->get_listener();
}

const DDSTypePlugin* KestKeyedPingDataDataReader::get_type_plugin() {
    return untyped_->get_type_plugin();
}

DDS_ReturnCode_t KestKeyedPingDataDataReader::read_or_take_untyped(
    bool take, void*** samples, int32_t* count, DDS_SampleInfoSeq& infos, int32_t max_samples,
    DDS_SampleStateMask sample_states, DDS_ViewStateMask view_states,
    DDS_InstanceStateMask instance_states) {
    return untyped_->read_or_take_untyped(take, samples, count, infos, max_samples, sample_states,
                                          view_states, instance_states);
}

DDS_ReturnCode_t KestKeyedPingDataDataReader::return_loan_untyped(void** samples, int32_t count,
                                                                  DDS_SampleInfoSeq& infos) {
    return untyped_->return_loan_untyped(samples, count, infos);
}
