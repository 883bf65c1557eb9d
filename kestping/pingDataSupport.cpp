// The typed layer of both ping types, written once over the sample type T.
#include "kestping/pingDataSupport.h"

#include <new>
#include <string>

#include "pingDataImpl.h"

namespace kestping {

namespace {

// False, with "null sample" logged, for a missing sample.
bool sample_given(const void* sample, const std::string& context) {
    if (sample == nullptr) {
        DDS_TypePlugin_log_error(context.c_str(), "null sample");
        return false;
    }
    return true;
}

// The endpoint as the typed one: its plugin must be T's (compared by T's own type name, so
// the name it was registered under does not matter), and it must be the typed object that
// T's type support made. `role` is "DataWriter" or "DataReader", `noun` "writer" or "reader".
template <class T, class Typed, class Endpoint>
Typed* narrow_to(Endpoint* endpoint, const char* role, const char* noun) {
    const std::string context = context_of(Traits<T>::name(), role, "narrow");
    if (endpoint == nullptr) {
        DDS_TypePlugin_log_error(context.c_str(), "null %s", noun);
        return nullptr;
    }
    Typed* typed = dynamic_cast<Typed*>(endpoint);
    if (typed == nullptr ||
        !DDS_TypePlugin_is_type(endpoint->get_type_plugin(), Traits<T>::name())) {
        DDS_TypePlugin_log_error(context.c_str(), "wrong type %s", noun);
        return nullptr;
    }
    return typed;
}

template <class T>
DDS_ReturnCode_t read_or_take(DDSDataReader* untyped, bool take, DDSSequence<T>& data,
                              DDS_SampleInfoSeq& infos, int32_t max_samples,
                              DDS_SampleStateMask sample_states, DDS_ViewStateMask view_states,
                              DDS_InstanceStateMask instance_states) {
    const std::string context = context_of(Traits<T>::name(), "DataReader", take ? "take" : "read");
    if (!data.has_ownership() || !infos.has_ownership()) {
        DDS_TypePlugin_log_error(context.c_str(), "sequences still hold a loan");
        return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    if (data.maximum() != infos.maximum()) {
        DDS_TypePlugin_log_error(context.c_str(), "sequences differ in maximum");
        return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    bool loan = data.maximum() == 0;
    if (!loan && (max_samples == DDS_LENGTH_UNLIMITED || max_samples > data.maximum())) {
        max_samples = data.maximum();
    }
    void** samples = nullptr;
    int32_t count = 0;
    DDS_SampleInfoSeq loaned_infos;
    DDS_ReturnCode_t result =
        untyped->read_or_take_untyped(take, &samples, &count, loan ? infos : loaned_infos,
                                      max_samples, sample_states, view_states, instance_states);
    if (result != DDS_RETCODE_OK) {
        return result;
    }
    if (loan) {
        // The reader hands out untyped pointers to T's samples; the sequence keeps the
        // original array as its read token, to give back exactly that.
        if (!data.loan_discontiguous(reinterpret_cast<T**>(samples), count, count)) {
            untyped->return_loan_untyped(samples, count, infos);
            return DDS_RETCODE_ERROR;
        }
        data.set_read_token(samples, untyped);
        return DDS_RETCODE_OK;
    }
    bool copied = data.length(count) && infos.length(count);
    for (int32_t i = 0; copied && i < count; ++i) {
        copied = copy(&data[i], static_cast<const T*>(samples[i]));
        infos[i] = loaned_infos[i];
    }
    result = untyped->return_loan_untyped(samples, count, loaned_infos);
    return copied ? result : DDS_RETCODE_ERROR;
}

template <class T>
DDS_ReturnCode_t read_or_take_next(DDSDataReader* untyped, bool take, T& data,
                                   DDS_SampleInfo& info) {
    DDSSequence<T> one(1);
    DDS_SampleInfoSeq one_info(1);
    DDS_ReturnCode_t result =
        read_or_take(untyped, take, one, one_info, 1, DDS_NOT_READ_SAMPLE_STATE, DDS_ANY_VIEW_STATE,
                     DDS_ANY_INSTANCE_STATE);
    if (result == DDS_RETCODE_OK) {
        data = one[0];
        info = one_info[0];
    }
    return result;
}

}  // namespace

// ---- type support ----

template <class T>
DDS_ReturnCode_t TypeSupport<T>::register_type(DDSDomainParticipant* participant,
                                               const char* type_name) {
    const std::string context = context_of(Traits<T>::name(), "TypeSupport", "register_type");
    if (participant == nullptr || type_name == nullptr) {
        DDS_TypePlugin_log_error(context.c_str(), "bad parameter: %s",
                                 participant == nullptr ? "participant" : "type_name");
        return DDS_RETCODE_ERROR;
    }
    DDSTypePlugin* plugin = plugin_new<T>();
    if (plugin == nullptr) {
        DDS_TypePlugin_log_error(context.c_str(), "failed to create %sPlugin", Traits<T>::name());
        return DDS_RETCODE_ERROR;
    }
    auto* type_support = new (std::nothrow) typename Named<T>::Support;
    if (type_support == nullptr) {
        DDS_TypePlugin_log_error(context.c_str(), "failed to create %sTypeSupport",
                                 Traits<T>::name());
        delete plugin;
        return DDS_RETCODE_ERROR;
    }
    plugin->type_support = type_support;
    // The participant keeps the first type support registered under a name; later ones for
    // the same name are only needed for the duration of the call.
    bool registered = participant->is_type_registered(type_name);
    DDS_ReturnCode_t result = participant->register_type(type_name, *plugin, !registered);
    if (result != DDS_RETCODE_OK) {
        DDS_TypePlugin_log_error(context.c_str(), "register_type error %d", result);
    }
    delete plugin;
    if (registered || result != DDS_RETCODE_OK) {
        delete type_support;
    }
    return result;
}

template <class T>
DDS_ReturnCode_t TypeSupport<T>::unregister_type(DDSDomainParticipant* participant,
                                                 const char* type_name) {
    const std::string context = context_of(Traits<T>::name(), "TypeSupport", "unregister_type");
    if (participant == nullptr || type_name == nullptr) {
        DDS_TypePlugin_log_error(context.c_str(), "bad parameter: %s",
                                 participant == nullptr ? "participant" : "type_name");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    DDS_ReturnCode_t result = participant->lock();
    if (result != DDS_RETCODE_OK) {
        DDS_TypePlugin_log_error(context.c_str(), "lock error %d", result);
        return result;
    }
    result = participant->unregister_type(type_name);
    if (result != DDS_RETCODE_OK) {
        DDS_TypePlugin_log_error(context.c_str(), "unregister_type error %d", result);
    }
    DDS_ReturnCode_t unlocked = participant->unlock();
    if (unlocked != DDS_RETCODE_OK) {
        DDS_TypePlugin_log_error(context.c_str(), "unlock error %d", unlocked);
        result = DDS_RETCODE_ERROR;
    }
    return result;
}

template <class T>
const char* TypeSupport<T>::get_type_name() {
    return Traits<T>::name();
}

template <class T>
const DDS_TypeCode* TypeSupport<T>::get_typecode() {
    return Traits<T>::type_code();
}

template <class T>
T* TypeSupport<T>::create_data(const DDS_TypeAllocationParams_t& params) {
    return create_data_w_params<T>(&params);
}

template <class T>
T* TypeSupport<T>::create_data_ex(bool) {
    return kestping::create_data<T>();
}

template <class T>
DDS_ReturnCode_t TypeSupport<T>::delete_data(T* sample, const DDS_TypeDeallocationParams_t&) {
    if (!sample_given(sample, context_of(Traits<T>::name(), "TypeSupport", "delete_data"))) {
        return DDS_RETCODE_BAD_PARAMETER;
    }
    destroy_data(sample);
    return DDS_RETCODE_OK;
}

template <class T>
DDS_ReturnCode_t TypeSupport<T>::delete_data_ex(T* sample, bool) {
    if (!sample_given(sample, context_of(Traits<T>::name(), "TypeSupport", "delete_data_ex"))) {
        return DDS_RETCODE_BAD_PARAMETER;
    }
    destroy_data(sample);
    return DDS_RETCODE_OK;
}

template <class T>
DDS_ReturnCode_t TypeSupport<T>::initialize_data(T* sample) {
    return initialize(sample) ? DDS_RETCODE_OK : DDS_RETCODE_BAD_PARAMETER;
}

template <class T>
DDS_ReturnCode_t TypeSupport<T>::initialize_data_ex(T* sample, bool) {
    return initialize(sample) ? DDS_RETCODE_OK : DDS_RETCODE_BAD_PARAMETER;
}

// Nothing to release in a sample.
template <class T>
DDS_ReturnCode_t TypeSupport<T>::finalize_data(T* sample) {
    return sample == nullptr ? DDS_RETCODE_BAD_PARAMETER : DDS_RETCODE_OK;
}

template <class T>
DDS_ReturnCode_t TypeSupport<T>::finalize_data_ex(T* sample, bool) {
    return sample == nullptr ? DDS_RETCODE_BAD_PARAMETER : DDS_RETCODE_OK;
}

template <class T>
DDS_ReturnCode_t TypeSupport<T>::copy_data(T* dst, const T* src) {
    return copy(dst, src) ? DDS_RETCODE_OK : DDS_RETCODE_BAD_PARAMETER;
}

template <class T>
void TypeSupport<T>::print_data(const T* sample) {
    kestping::print_data(sample, nullptr, 0);
}

template <class T>
DDS_ReturnCode_t TypeSupport<T>::serialize_data_to_cdr_buffer(char* buffer, unsigned int& length,
                                                              const T* sample) {
    return serialize_data_to_cdr_buffer_ex(buffer, length, sample, DDS_AUTO_DATA_REPRESENTATION);
}

template <class T>
DDS_ReturnCode_t TypeSupport<T>::serialize_data_to_cdr_buffer_ex(
    char* buffer, unsigned int& length, const T* sample,
    DDS_DataRepresentationId_t representation) {
    if (sample == nullptr) {
        return DDS_RETCODE_BAD_PARAMETER;
    }
    return serialize(buffer, &length, sample, representation) ? DDS_RETCODE_OK : DDS_RETCODE_ERROR;
}

template <class T>
DDS_ReturnCode_t TypeSupport<T>::deserialize_data_from_cdr_buffer(T* sample, const char* buffer,
                                                                  unsigned int length) {
    if (sample == nullptr || buffer == nullptr) {
        return DDS_RETCODE_BAD_PARAMETER;
    }
    return deserialize(sample, buffer, length) ? DDS_RETCODE_OK : DDS_RETCODE_ERROR;
}

template <class T>
DDS_ReturnCode_t TypeSupport<T>::data_to_string(const T* sample, char* text, unsigned int& length,
                                                const DDS_PrintFormatProperty& format) {
    return kestping::data_to_string(sample, text, &length, &format);
}

// The type description and plugin record are constants: nothing to release.
template <class T>
DDS_ReturnCode_t TypeSupport<T>::finalize() {
    return DDS_RETCODE_OK;
}

template <class T>
DDSDataReader* TypeSupport<T>::create_datareaderI(DDSDataReader* untyped) {
    return untyped == nullptr ? nullptr : new (std::nothrow) typename Named<T>::Reader(untyped);
}

template <class T>
void TypeSupport<T>::destroy_datareaderI(DDSDataReader* typed) {
    delete typed;
}

template <class T>
DDSDataWriter* TypeSupport<T>::create_datawriterI(DDSDataWriter* untyped) {
    return untyped == nullptr ? nullptr : new (std::nothrow) typename Named<T>::Writer(untyped);
}

template <class T>
void TypeSupport<T>::destroy_datawriterI(DDSDataWriter* typed) {
    delete typed;
}

// ---- writer ----

template <class T>
typename Named<T>::Writer* DataWriter<T>::narrow(DDSDataWriter* writer) {
    return narrow_to<T, typename Named<T>::Writer>(writer, "DataWriter", "writer");
}

template <class T>
DDS_ReturnCode_t DataWriter<T>::write(const T& sample, const DDS_InstanceHandle_t& handle) {
    return untyped_->write_untyped(&sample, handle);
}

template <class T>
DDS_ReturnCode_t DataWriter<T>::dispose(const T& sample, const DDS_InstanceHandle_t& handle) {
    return untyped_->dispose_untyped(&sample, handle);
}

template <class T>
DDS_ReturnCode_t DataWriter<T>::unregister_instance(const T& sample,
                                                    const DDS_InstanceHandle_t& handle) {
    return untyped_->unregister_instance_untyped(&sample, handle);
}

template <class T>
DDS_InstanceHandle_t DataWriter<T>::register_instance(const T& sample) {
    return untyped_->register_instance_untyped(&sample);
}

template <class T>
T* DataWriter<T>::create_data() {
    return create_data_w_params<T>(&DDS_TYPE_ALLOCATION_PARAMS_DEFAULT);
}

template <class T>
DDS_ReturnCode_t DataWriter<T>::delete_data(T* sample) {
    if (!sample_given(sample, context_of(Traits<T>::name(), "DataWriter", "delete_data"))) {
        return DDS_RETCODE_BAD_PARAMETER;
    }
    destroy_data(sample);
    return DDS_RETCODE_OK;
}

template <class T>
DDSDataWriterListener* DataWriter<T>::get_listener() {
    return untyped_->get_listener();
}

template <class T>
const DDSTypePlugin* DataWriter<T>::get_type_plugin() {
    return untyped_->get_type_plugin();
}

template <class T>
DDS_ReturnCode_t DataWriter<T>::write_untyped(const void* sample,
                                              const DDS_InstanceHandle_t& handle) {
    return untyped_->write_untyped(sample, handle);
}

template <class T>
DDS_ReturnCode_t DataWriter<T>::dispose_untyped(const void* sample,
                                                const DDS_InstanceHandle_t& handle) {
    return untyped_->dispose_untyped(sample, handle);
}

template <class T>
DDS_ReturnCode_t DataWriter<T>::unregister_instance_untyped(const void* sample,
                                                            const DDS_InstanceHandle_t& handle) {
    return untyped_->unregister_instance_untyped(sample, handle);
}

template <class T>
DDS_InstanceHandle_t DataWriter<T>::register_instance_untyped(const void* sample) {
    return untyped_->register_instance_untyped(sample);
}

// ---- reader ----

template <class T>
typename Named<T>::Reader* DataReader<T>::narrow(DDSDataReader* reader) {
    return narrow_to<T, typename Named<T>::Reader>(reader, "DataReader", "reader");
}

template <class T>
DDS_ReturnCode_t DataReader<T>::take(DDSSequence<T>& received_data, DDS_SampleInfoSeq& info_seq,
                                     int32_t max_samples, DDS_SampleStateMask sample_states,
                                     DDS_ViewStateMask view_states,
                                     DDS_InstanceStateMask instance_states) {
    return read_or_take(untyped_, true, received_data, info_seq, max_samples, sample_states,
                        view_states, instance_states);
}

template <class T>
DDS_ReturnCode_t DataReader<T>::read(DDSSequence<T>& received_data, DDS_SampleInfoSeq& info_seq,
                                     int32_t max_samples, DDS_SampleStateMask sample_states,
                                     DDS_ViewStateMask view_states,
                                     DDS_InstanceStateMask instance_states) {
    return read_or_take(untyped_, false, received_data, info_seq, max_samples, sample_states,
                        view_states, instance_states);
}

template <class T>
DDS_ReturnCode_t DataReader<T>::take_next_sample(T& received_data, DDS_SampleInfo& sample_info) {
    return read_or_take_next(untyped_, true, received_data, sample_info);
}

template <class T>
DDS_ReturnCode_t DataReader<T>::read_next_sample(T& received_data, DDS_SampleInfo& sample_info) {
    return read_or_take_next(untyped_, false, received_data, sample_info);
}

template <class T>
DDS_ReturnCode_t DataReader<T>::return_loan(DDSSequence<T>& received_data,
                                            DDS_SampleInfoSeq& info_seq) {
    if (received_data.has_ownership() && info_seq.has_ownership()) {
        return DDS_RETCODE_OK;
    }
    const std::string context = context_of(Traits<T>::name(), "DataReader", "return_loan");
    void* samples = nullptr;
    void* lender = nullptr;
    received_data.get_read_token(samples, lender);
    if (lender != untyped_) {
        DDS_TypePlugin_log_error(context.c_str(), "the loan is not from this reader");
        return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    DDS_ReturnCode_t result = untyped_->return_loan_untyped(static_cast<void**>(samples),
                                                            received_data.length(), info_seq);
    if (result != DDS_RETCODE_OK) {
        return result;
    }
    if (!received_data.unloan()) {
        DDS_TypePlugin_log_error(context.c_str(), "return loan failed");
        return DDS_RETCODE_ERROR;
    }
    return DDS_RETCODE_OK;
}

template <class T>
DDSDataReaderListener* DataReader<T>::get_listener() {
    return untyped_->get_listener();
}

template <class T>
const DDSTypePlugin* DataReader<T>::get_type_plugin() {
    return untyped_->get_type_plugin();
}

template <class T>
DDS_ReturnCode_t DataReader<T>::read_or_take_untyped(bool take, void*** samples, int32_t* count,
                                                     DDS_SampleInfoSeq& infos, int32_t max_samples,
                                                     DDS_SampleStateMask sample_states,
                                                     DDS_ViewStateMask view_states,
                                                     DDS_InstanceStateMask instance_states) {
    return untyped_->read_or_take_untyped(take, samples, count, infos, max_samples, sample_states,
                                          view_states, instance_states);
}

template <class T>
DDS_ReturnCode_t DataReader<T>::return_loan_untyped(void** samples, int32_t count,
                                                    DDS_SampleInfoSeq& infos) {
    return untyped_->return_loan_untyped(samples, count, infos);
}

template class TypeSupport<KestPingData>;
template class DataWriter<KestPingData>;
template class DataReader<KestPingData>;
template class TypeSupport<KestKeyedPingData>;
template class DataWriter<KestKeyedPingData>;
template class DataReader<KestKeyedPingData>;

}  // namespace kestping
