// Publishers and DataWriters.
#ifndef QOR_DDS_PUBLICATION_H
#define QOR_DDS_PUBLICATION_H

#include "qordds/listener.h"
#include "qordds/qos.h"
#include "qordds/type_plugin.h"
#include "qordds/types.h"

namespace qordds {
struct ImplAccess;
}

class DDSTopic;

// A DataWriter. The binding's own writer is untyped; a type support wraps it into the type's
// typed writer, which forwards every operation here to the untyped one.
class DDSDataWriter {
  public:
    virtual ~DDSDataWriter() {}

    virtual DDSDataWriterListener* get_listener() = 0;
    // The plugin of the type the writer was created for; typed narrowing checks its name.
    virtual const DDSTypePlugin* get_type_plugin() = 0;

    virtual DDS_ReturnCode_t write_untyped(const void* sample,
                                           const DDS_InstanceHandle_t& handle) = 0;
    virtual DDS_ReturnCode_t dispose_untyped(const void* sample,
                                             const DDS_InstanceHandle_t& handle) = 0;
    virtual DDS_ReturnCode_t unregister_instance_untyped(const void* sample,
                                                         const DDS_InstanceHandle_t& handle) = 0;
    virtual DDS_InstanceHandle_t register_instance_untyped(const void* sample) = 0;
};

class DDSPublisher {
  public:
    // The default DataWriter QoS as the QoS profiles resolve it for that topic name.
    DDS_ReturnCode_t get_default_datawriter_qos_w_topic_name(DDS_DataWriterQos& qos,
                                                             const char* topic_name);
    // Returns the typed writer made by the topic type's type support.
    DDSDataWriter* create_datawriter(DDSTopic* topic, const DDS_DataWriterQos& qos,
                                     DDSDataWriterListener* listener, DDS_StatusMask mask);
    DDS_ReturnCode_t delete_datawriter(DDSDataWriter* writer);

    class Impl;  // binding-internal
    ~DDSPublisher();

  private:
    // Only the participant that contains it creates it and reaches its state.
    friend class DDSDomainParticipant;
    explicit DDSPublisher(Impl* impl) : impl_(impl) {}
    friend struct qordds::ImplAccess;

    DDSPublisher(const DDSPublisher&) = delete;
    DDSPublisher& operator=(const DDSPublisher&) = delete;
    Impl* impl_;
};

#endif
