// Binding-internal: the binding's own (untyped) DataWriter over a Fast DDS DataWriter.
#ifndef QOR_DDS_SRC_DATA_WRITER_H
#define QOR_DDS_SRC_DATA_WRITER_H

#include <chrono>
#include <memory>

#include <fastdds/dds/publisher/DataWriter.hpp>
#include <fastdds/dds/publisher/Publisher.hpp>
#include <fastdds/dds/publisher/qos/DataWriterQos.hpp>
#include <fastdds/dds/topic/Topic.hpp>

#include "entities/callback_gate.h"
#include "entities/listener_slot.h"
#include "qordds/publication.h"
#include "qordds/topic.h"
#include "workarounds/deadline_watch.h"
#include "workarounds/discovery_rendezvous.h"
#include "workarounds/send_window.h"

namespace qordds {

class UntypedDataWriter : public DDSDataWriter {
  public:
    UntypedDataWriter(DDSTopic* topic, const DDSTypePlugin& plugin, DDSDataWriterListener* listener,
                      DDS_StatusMask mask);
    ~UntypedDataWriter() override;

    // Creates the Fast DDS writer. Listeners are called with typed() from then on, so the
    // typed writer is set first.
    bool attach(eprosima::fastdds::dds::Publisher* publisher, eprosima::fastdds::dds::Topic* topic,
                const eprosima::fastdds::dds::DataWriterQos& qos);
    // No callback starts after this, and those under way on other threads have returned;
    // one of the calling thread may still be under way.
    void stop_callbacks();
    // Stops the callbacks and deletes the Fast DDS writer; not on a thread inside a callback
    // (see deferred_deletion.h).
    DDS_ReturnCode_t detach();

    void set_typed(DDSDataWriter* typed) { typed_ = typed; }
    DDSDataWriter* typed() const { return typed_; }
    DDSTopic* topic() const { return topic_; }
    // The Fast DDS writer once attached.
    const eprosima::fastdds::dds::DataWriter* fast() const { return fast_; }
    // Its matches, for the discovery rendezvous of its creation.
    const std::shared_ptr<MatchWatch>& matches() const { return matches_; }

    DDSDataWriterListener* get_listener() override {
        return listener_->get<DDSDataWriterListener>();
    }
    const DDSTypePlugin* get_type_plugin() override { return &plugin_; }
    DDS_ReturnCode_t write_untyped(const void* sample, const DDS_InstanceHandle_t& handle) override;
    DDS_ReturnCode_t dispose_untyped(const void* sample,
                                     const DDS_InstanceHandle_t& handle) override;
    DDS_ReturnCode_t unregister_instance_untyped(const void* sample,
                                                 const DDS_InstanceHandle_t& handle) override;
    DDS_InstanceHandle_t register_instance_untyped(const void* sample) override;

    class Bridge;  // the Fast DDS listener

  private:
    UntypedDataWriter(const UntypedDataWriter&) = delete;
    UntypedDataWriter& operator=(const UntypedDataWriter&) = delete;

    // The instance a sample (or the handle, when given) belongs to.
    DDS_InstanceHandle_t instance_of(const void* sample, const DDS_InstanceHandle_t& handle) const;
    void report_deadline_missed(const DDS_OfferedDeadlineMissedStatus& status);
    // Calls `invoke` with the listener when the mask selects `kind` and the writer is not
    // being deleted.
    template <class Invoke>
    void call_listener(DDS_StatusKind kind, Invoke invoke);

    // Runs a write, dispose or unregistration on the Fast DDS writer.
    template <class Operation>
    DDS_ReturnCode_t guarded(const char* context, const void* sample,
                             const DDS_InstanceHandle_t& handle, Operation operation);
    // With a send window: waits, boundedly, when the sample's instance has a full window.
    void wait_for_room(void* sample, const DDS_InstanceHandle_t& handle);

    DDSTopic* topic_;
    DDSTypePlugin plugin_;
    std::shared_ptr<ListenerSlot> listener_;
    DDS_StatusMask mask_;
    DDSDataWriter* typed_ = nullptr;
    eprosima::fastdds::dds::Publisher* fast_publisher_ = nullptr;
    eprosima::fastdds::dds::DataWriter* fast_ = nullptr;
    std::shared_ptr<CallbackGate> gate_;
    std::shared_ptr<MatchWatch> matches_;
    std::unique_ptr<Bridge> bridge_;
    std::unique_ptr<DeadlineWatch> deadline_;  // with a finite deadline only
    std::unique_ptr<SendWindow> window_;       // reliable KEEP_LAST writers only
    bool waits_for_acknowledgements_ = false;  // reliable writers
    bool fast_waits_for_room_ = false;         // reliable KEEP_ALL writers
    std::chrono::nanoseconds max_blocking_time_{0};
    eprosima::fastrtps::Duration_t fast_max_blocking_time_;
};

}  // namespace qordds

#endif
