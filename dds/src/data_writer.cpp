#include "dds/src/data_writer.h"

#include <exception>
#include <mutex>

#include <fastdds/dds/publisher/DataWriterListener.hpp>

#include "dds/src/callback_gate.h"
#include "dds/src/fast_conversions.h"
#include "dds/src/log.h"
#include "dds/src/status_translation.h"

namespace fdds = eprosima::fastdds::dds;

namespace qordds {

// Receives every Fast DDS status and passes on those the application's mask selects.
class UntypedDataWriter::Bridge : public fdds::DataWriterListener {
  public:
    explicit Bridge(UntypedDataWriter& writer) : writer_(writer) {}

    void on_publication_matched(fdds::DataWriter*,
                                const fdds::PublicationMatchedStatus& status) override {
        GatePass pass(gate);
        if (!pass) {
            return;
        }
        int32_t peak = raise_peak(status.current_count);
        if (DDSDataWriterListener* listener = listener_for(DDS_PUBLICATION_MATCHED_STATUS)) {
            listener->on_publication_matched(writer_.typed(),
                                             translate_publication_matched(status, peak));
        }
    }

    void on_offered_deadline_missed(fdds::DataWriter*,
                                    const fdds::OfferedDeadlineMissedStatus& status) override {
        GatePass pass(gate);
        if (!pass) {
            return;
        }
        if (DDSDataWriterListener* listener = listener_for(DDS_OFFERED_DEADLINE_MISSED_STATUS)) {
            listener->on_offered_deadline_missed(writer_.typed(),
                                                 translate_offered_deadline_missed(status));
        }
    }

    void on_offered_incompatible_qos(fdds::DataWriter*,
                                     const fdds::OfferedIncompatibleQosStatus& status) override {
        GatePass pass(gate);
        if (!pass) {
            return;
        }
        if (DDSDataWriterListener* listener = listener_for(DDS_OFFERED_INCOMPATIBLE_QOS_STATUS)) {
            listener->on_offered_incompatible_qos(writer_.typed(),
                                                  translate_offered_incompatible_qos(status));
        }
    }

    void on_liveliness_lost(fdds::DataWriter*, const fdds::LivelinessLostStatus& status) override {
        GatePass pass(gate);
        if (!pass) {
            return;
        }
        if (DDSDataWriterListener* listener = listener_for(DDS_LIVELINESS_LOST_STATUS)) {
            listener->on_liveliness_lost(writer_.typed(), translate_liveliness_lost(status));
        }
    }

    CallbackGate gate;

  private:
    DDSDataWriterListener* listener_for(DDS_StatusKind kind) const {
        return (writer_.mask_ & kind) != 0 && writer_.typed() != nullptr ? writer_.listener_
                                                                         : nullptr;
    }

    int32_t raise_peak(int32_t current) {
        std::lock_guard<std::mutex> lock(peak_mutex_);
        if (current > peak_) {
            peak_ = current;
        }
        return peak_;
    }

    UntypedDataWriter& writer_;
    std::mutex peak_mutex_;
    int32_t peak_ = 0;
};

UntypedDataWriter::UntypedDataWriter(DDSTopic* topic, const DDSTypePlugin& plugin,
                                     DDSDataWriterListener* listener, DDS_StatusMask mask)
    : topic_(topic),
      plugin_(plugin),
      listener_(listener),
      mask_(mask),
      bridge_(new Bridge(*this)) {}

UntypedDataWriter::~UntypedDataWriter() {
    detach();
}

bool UntypedDataWriter::attach(fdds::Publisher* publisher, fdds::Topic* topic,
                               const fdds::DataWriterQos& qos) {
    try {
        fast_ = publisher->create_datawriter(topic, qos, bridge_.get(), fdds::StatusMask::all());
    } catch (const std::exception& e) {
        log(LogKind::Error, "DDSPublisher::create_datawriter", "%s", e.what());
        fast_ = nullptr;
    }
    fast_publisher_ = fast_ == nullptr ? nullptr : publisher;
    return fast_ != nullptr;
}

DDS_ReturnCode_t UntypedDataWriter::detach() {
    if (fast_ == nullptr) {
        return DDS_RETCODE_OK;
    }
    bridge_->gate.close();
    DDS_ReturnCode_t result;
    try {
        result = static_cast<DDS_ReturnCode_t>(fast_publisher_->delete_datawriter(fast_)());
    } catch (const std::exception& e) {
        log(LogKind::Error, "DDSPublisher::delete_datawriter", "%s", e.what());
        result = DDS_RETCODE_ERROR;
    }
    fast_ = nullptr;
    return result;
}

namespace {

template <class Operation>
DDS_ReturnCode_t guarded(const char* context, fdds::DataWriter* writer, const void* sample,
                         Operation operation) {
    if (sample == nullptr) {
        log(LogKind::Error, context, "null sample");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    if (writer == nullptr) {
        return DDS_RETCODE_NOT_ENABLED;
    }
    try {
        return static_cast<DDS_ReturnCode_t>(operation(const_cast<void*>(sample))());
    } catch (const std::exception& e) {
        log(LogKind::Error, context, "%s", e.what());
        return DDS_RETCODE_ERROR;
    }
}

}  // namespace

DDS_ReturnCode_t UntypedDataWriter::write_untyped(const void* sample,
                                                  const DDS_InstanceHandle_t& handle) {
    fdds::InstanceHandle_t fast_handle = to_fast(handle);
    return guarded("DDSDataWriter::write", fast_, sample,
                   [&](void* data) { return fast_->write(data, fast_handle); });
}

DDS_ReturnCode_t UntypedDataWriter::dispose_untyped(const void* sample,
                                                    const DDS_InstanceHandle_t& handle) {
    fdds::InstanceHandle_t fast_handle = to_fast(handle);
    return guarded("DDSDataWriter::dispose", fast_, sample,
                   [&](void* data) { return fast_->dispose(data, fast_handle); });
}

DDS_ReturnCode_t UntypedDataWriter::unregister_instance_untyped(
    const void* sample, const DDS_InstanceHandle_t& handle) {
    fdds::InstanceHandle_t fast_handle = to_fast(handle);
    return guarded("DDSDataWriter::unregister_instance", fast_, sample,
                   [&](void* data) { return fast_->unregister_instance(data, fast_handle); });
}

DDS_InstanceHandle_t UntypedDataWriter::register_instance_untyped(const void* sample) {
    if (sample == nullptr || fast_ == nullptr) {
        return DDS_HANDLE_NIL;
    }
    try {
        return from_fast(fast_->register_instance(const_cast<void*>(sample)));
    } catch (const std::exception& e) {
        log(LogKind::Error, "DDSDataWriter::register_instance", "%s", e.what());
        return DDS_HANDLE_NIL;
    }
}

}  // namespace qordds
