// Binding-internal: a sample type as Fast DDS sees it. The adapter hands every serialization,
// size, key and sample-allocation request to the type's plugin record.
#ifndef QOR_DDS_SRC_TOPIC_DATA_TYPE_ADAPTER_H
#define QOR_DDS_SRC_TOPIC_DATA_TYPE_ADAPTER_H

#include <fastdds/dds/topic/TopicDataType.hpp>

#include "qordds/type_plugin.h"

namespace qordds {

class TopicDataTypeAdapter : public eprosima::fastdds::dds::TopicDataType {
  public:
    // `registered_name` is the name Fast DDS knows the type by; the plugin record is copied.
    TopicDataTypeAdapter(const char* registered_name, const DDSTypePlugin& plugin);

    bool serialize(void* data, eprosima::fastrtps::rtps::SerializedPayload_t* payload) override;
    bool deserialize(eprosima::fastrtps::rtps::SerializedPayload_t* payload, void* data) override;
    std::function<uint32_t()> getSerializedSizeProvider(void* data) override;
    void* createData() override;
    void deleteData(void* data) override;
    bool getKey(void* data, eprosima::fastrtps::rtps::InstanceHandle_t* handle,
                bool force_md5 = false) override;

  private:
    DDSTypePlugin plugin_;
};

}  // namespace qordds

#endif
