#include "types/topic_data_type_adapter.h"

#include <algorithm>
#include <cstring>

#include <fastdds/rtps/common/InstanceHandle.h>
#include <fastdds/rtps/common/SerializedPayload.h>

namespace qordds {

namespace {

// Samples go on the wire in XCDR version 1, the representation every peer reads (Cyclone
// DDS 0.10 among them); Fast DDS 2.9 gives the type no say in the representation anyway.
const DDS_DataRepresentationId_t kWireRepresentation = DDS_XCDR_DATA_REPRESENTATION;

}  // namespace

TopicDataTypeAdapter::TopicDataTypeAdapter(const char* registered_name, const DDSTypePlugin& plugin)
    : plugin_(plugin) {
    setName(registered_name);
    // Received payloads may come in either XCDR version, so room for the larger one.
    m_typeSize = std::max(plugin_.get_serialized_sample_max_size(DDS_XCDR_DATA_REPRESENTATION),
                          plugin_.get_serialized_sample_max_size(DDS_XCDR2_DATA_REPRESENTATION));
    m_isGetKeyDefined = plugin_.key_kind != DDS_TYPEPLUGIN_NO_KEY;
    // Cyclone DDS 0.10 drops endpoints whose Fast DDS type information it cannot parse, so
    // the type travels by name alone.
    auto_fill_type_object(false);
    auto_fill_type_information(false);
}

bool TopicDataTypeAdapter::serialize(void* data,
                                     eprosima::fastrtps::rtps::SerializedPayload_t* payload) {
    unsigned int length = payload->max_size;
    if (!plugin_.serialize(reinterpret_cast<char*>(payload->data), &length, data,
                           kWireRepresentation)) {
        return false;
    }
    payload->length = length;
    payload->encapsulation = (payload->data[1] & 1) != 0 ? CDR_LE : CDR_BE;
    return true;
}

bool TopicDataTypeAdapter::deserialize(eprosima::fastrtps::rtps::SerializedPayload_t* payload,
                                       void* data) {
    return plugin_.deserialize(data, reinterpret_cast<const char*>(payload->data), payload->length);
}

std::function<uint32_t()> TopicDataTypeAdapter::getSerializedSizeProvider(void* data) {
    return [this, data]() -> uint32_t {
        unsigned int length = 0;
        return plugin_.serialize(nullptr, &length, data, kWireRepresentation) ? length : 0;
    };
}

void* TopicDataTypeAdapter::createData() {
    return plugin_.create_sample();
}

void TopicDataTypeAdapter::deleteData(void* data) {
    plugin_.destroy_sample(data);
}

// force_md5 is asked for only with key protection from the security plugins, which the
// binding never enables, so the hash always follows the type's own rule.
bool TopicDataTypeAdapter::getKey(void* data, eprosima::fastrtps::rtps::InstanceHandle_t* handle,
                                  bool /*force_md5*/) {
    DDS_KeyHash_t hash;
    if (plugin_.instance_to_keyhash == nullptr || !plugin_.instance_to_keyhash(&hash, data)) {
        return false;
    }
    std::memcpy(static_cast<eprosima::fastrtps::rtps::octet*>(handle->value), hash.value,
                sizeof hash.value);
    return true;
}

}  // namespace qordds
