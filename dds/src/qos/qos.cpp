#include "qordds/qos.h"

#include <cstring>

const DDS_TopicQos DDS_TOPIC_QOS_DEFAULT;

// ---- Records that own strings ----

DDS_TransportMulticastSettings_t::DDS_TransportMulticastSettings_t(
    const DDS_TransportMulticastSettings_t& other)
    : transports(other.transports),
      receive_address(DDS_String_dup(other.receive_address)),
      receive_port(other.receive_port) {}

DDS_TransportMulticastSettings_t& DDS_TransportMulticastSettings_t::operator=(
    const DDS_TransportMulticastSettings_t& other) {
    if (this != &other) {
        transports = other.transports;
        DDS_String_replace(&receive_address, other.receive_address);
        receive_port = other.receive_port;
    }
    return *this;
}

DDS_TransportMulticastSettings_t::~DDS_TransportMulticastSettings_t() {
    DDS_String_free(receive_address);
}

DDS_Property_t::DDS_Property_t(const DDS_Property_t& other)
    : name(DDS_String_dup(other.name)),
      value(DDS_String_dup(other.value)),
      propagate(other.propagate) {}

DDS_Property_t& DDS_Property_t::operator=(const DDS_Property_t& other) {
    if (this != &other) {
        DDS_String_replace(&name, other.name);
        DDS_String_replace(&value, other.value);
        propagate = other.propagate;
    }
    return *this;
}

DDS_Property_t::~DDS_Property_t() {
    DDS_String_free(name);
    DDS_String_free(value);
}

DDS_EntityNameQosPolicy::DDS_EntityNameQosPolicy(const DDS_EntityNameQosPolicy& other)
    : name(DDS_String_dup(other.name)) {}

DDS_EntityNameQosPolicy& DDS_EntityNameQosPolicy::operator=(const DDS_EntityNameQosPolicy& other) {
    if (this != &other) {
        DDS_String_replace(&name, other.name);
    }
    return *this;
}

DDS_EntityNameQosPolicy::~DDS_EntityNameQosPolicy() {
    DDS_String_free(name);
}

// ---- Property lists ----

namespace {

int32_t find_property(const DDS_PropertyQosPolicy& policy, const char* name) {
    if (name == nullptr) {
        return -1;
    }
    for (int32_t i = 0; i < policy.value.length(); ++i) {
        const char* candidate = policy.value[i].name;
        if (candidate != nullptr && std::strcmp(candidate, name) == 0) {
            return i;
        }
    }
    return -1;
}

}  // namespace

int32_t DDSPropertyQosPolicyHelper::get_number_of_properties(const DDS_PropertyQosPolicy& policy) {
    return policy.value.length();
}

const DDS_Property_t* DDSPropertyQosPolicyHelper::lookup_property(
    const DDS_PropertyQosPolicy& policy, const char* name) {
    int32_t index = find_property(policy, name);
    return index < 0 ? nullptr : policy.value.get_reference(index);
}

DDS_ReturnCode_t DDSPropertyQosPolicyHelper::assert_property(DDS_PropertyQosPolicy& policy,
                                                             const char* name, const char* value,
                                                             bool propagate) {
    if (name == nullptr || value == nullptr) {
        return DDS_RETCODE_BAD_PARAMETER;
    }
    int32_t index = find_property(policy, name);
    if (index < 0) {
        index = policy.value.length();
        if (!policy.value.ensure_length(index + 1, index + 1)) {
            return DDS_RETCODE_OUT_OF_RESOURCES;
        }
        DDS_String_replace(&policy.value[index].name, name);
    }
    DDS_Property_t& property = policy.value[index];
    DDS_String_replace(&property.value, value);
    property.propagate = propagate;
    return DDS_RETCODE_OK;
}

DDS_ReturnCode_t DDSPropertyQosPolicyHelper::remove_property(DDS_PropertyQosPolicy& policy,
                                                             const char* name) {
    int32_t index = find_property(policy, name);
    if (index < 0) {
        return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    int32_t last = policy.value.length() - 1;
    for (int32_t i = index; i < last; ++i) {
        policy.value[i] = policy.value[i + 1];
    }
    return policy.value.length(last) ? DDS_RETCODE_OK : DDS_RETCODE_ERROR;
}
