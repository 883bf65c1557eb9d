// What the type supports and typed endpoints of both ping types have in common, written once
// over the sample type. Included only by the typed layer's own source.
#ifndef QOR_KESTPING_PING_DATA_SUPPORT_IMPL_H
#define QOR_KESTPING_PING_DATA_SUPPORT_IMPL_H

#include <new>
#include <string>

#include "kestping/pingDataPlugin.h"
#include "kestping/pingDataSupport.h"
#include "qordds/type_plugin.h"

namespace kestping_typed {

template <class T>
struct Traits;

template <>
struct Traits<KestPingData> {
    typedef KestPingDataTypeSupport Support;
    typedef KestPingDataDataWriter Writer;
    typedef KestPingDataDataReader Reader;
    static const char* type_name() { return KestPingDataTYPENAME; }
    static DDSTypePlugin* plugin_new() { return KestPingDataPlugin_new(); }
    static void plugin_delete(DDSTypePlugin* plugin) { KestPingDataPlugin_delete(plugin); }
    static bool copy(KestPingData* dst, const KestPingData* src) {
        return KestPingDataPluginSupport_copy_data(dst, src);
    }
};

template <>
struct Traits<KestKeyedPingData> {
    typedef KestKeyedPingDataTypeSupport Support;
    typedef KestKeyedPingDataDataWriter Writer;
    typedef KestKeyedPingDataDataReader Reader;
    static const char* type_name() { return KestKeyedPingDataTYPENAME; }
    static DDSTypePlugin* plugin_new() { return KestKeyedPingDataPlugin_new(); }
    static void plugin_delete(DDSTypePlugin* plugin) { KestKeyedPingDataPlugin_delete(plugin); }
    static bool copy(KestKeyedPingData* dst, const KestKeyedPingData* src) {
        return KestKeyedPingDataPluginSupport_copy_data(dst, src);
    }
};

inline std::string context_of(const char* type_name, const char* role, const char* operation) {
    return std::string(type_name) + role + "::" + operation;
}

template <class T>
DDS_ReturnCode_t register_type(DDSDomainParticipant* participant, const char* type_name) {
    const std::string context = context_of(Traits<T>::type_name(), "TypeSupport", "register_type");
    if (participant == nullptr || type_name == nullptr) {
        DDS_TypePlugin_log_error(context.c_str(), "bad parameter: %s",
                                 participant == nullptr ? "participant" : "type_name");
        return DDS_RETCODE_ERROR;
    }
    DDSTypePlugin* plugin = Traits<T>::plugin_new();
    if (plugin == nullptr) {
        DDS_TypePlugin_log_error(context.c_str(), "failed to create %sPlugin",
                                 Traits<T>::type_name());
        return DDS_RETCODE_ERROR;
    }
    auto* type_support = new (std::nothrow) typename Traits<T>::Support;
    if (type_support == nullptr) {
        DDS_TypePlugin_log_error(context.c_str(), "failed to create %sTypeSupport",
                                 Traits<T>::type_name());
        Traits<T>::plugin_delete(plugin);
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
    Traits<T>::plugin_delete(plugin);
    if (registered || result != DDS_RETCODE_OK) {
        delete type_support;
    }
    return result;
}

template <class T>
DDS_ReturnCode_t unregister_type(DDSDomainParticipant* participant, const char* type_name) {
    const std::string context =
        context_of(Traits<T>::type_name(), "TypeSupport", "unregister_type");
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

// The endpoint as the typed one: its plugin must be T's (compared by T's own type name, so
// the name it was registered under does not matter), and it must be the typed object that
// T's type support made. `role` is "DataWriter" or "DataReader", `noun` "writer" or "reader".
template <class T, class Typed, class Endpoint>
Typed* narrow(Endpoint* endpoint, const char* role, const char* noun) {
    const std::string context = context_of(Traits<T>::type_name(), role, "narrow");
    if (endpoint == nullptr) {
        DDS_TypePlugin_log_error(context.c_str(), "null %s", noun);
        return nullptr;
    }
    Typed* typed = dynamic_cast<Typed*>(endpoint);
    if (typed == nullptr ||
        !DDS_TypePlugin_is_type(endpoint->get_type_plugin(), Traits<T>::type_name())) {
        DDS_TypePlugin_log_error(context.c_str(), "wrong type %s", noun);
        return nullptr;
    }
    return typed;
}

// False, with "null sample" logged, for a missing sample.
inline bool sample_given(const void* sample, const std::string& context) {
    if (sample == nullptr) {
        DDS_TypePlugin_log_error(context.c_str(), "null sample");
        return false;
    }
    return true;
}

template <class T>
DDS_ReturnCode_t read_or_take(DDSDataReader* untyped, bool take, DDSSequence<T>& data,
                              DDS_SampleInfoSeq& infos, int32_t max_samples,
                              DDS_SampleStateMask sample_states, DDS_ViewStateMask view_states,
                              DDS_InstanceStateMask instance_states) {
    const std::string context =
        context_of(Traits<T>::type_name(), "DataReader", take ? "take" : "read");
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
        copied = Traits<T>::copy(&data[i], static_cast<const T*>(samples[i]));
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

template <class T>
DDS_ReturnCode_t return_loan(DDSDataReader* untyped, DDSSequence<T>& data,
                             DDS_SampleInfoSeq& infos) {
    if (data.has_ownership() && infos.has_ownership()) {
        return DDS_RETCODE_OK;
    }
    const std::string context = context_of(Traits<T>::type_name(), "DataReader", "return_loan");
    void* samples = nullptr;
    void* lender = nullptr;
    data.get_read_token(samples, lender);
    if (lender != untyped) {
        DDS_TypePlugin_log_error(context.c_str(), "the loan is not from this reader");
        return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    DDS_ReturnCode_t result =
        untyped->return_loan_untyped(static_cast<void**>(samples), data.length(), infos);
    if (result != DDS_RETCODE_OK) {
        return result;
    }
    if (!data.unloan()) {
        DDS_TypePlugin_log_error(context.c_str(), "return loan failed");
        return DDS_RETCODE_ERROR;
    }
    return DDS_RETCODE_OK;
}

}  // namespace kestping_typed

#endif
