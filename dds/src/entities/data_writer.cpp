#include "entities/data_writer.h"

#include <chrono>
#include <cstring>
#include <exception>
#include <mutex>

#include <fastdds/dds/publisher/DataWriterListener.hpp>

#include "entities/callback_gate.h"
#include "log/log.h"
#include "qos/fast_conversions.h"
#include "qos/status_translation.h"
#include "workarounds/send_window.h"

namespace fdds = eprosima::fastdds::dds;

namespace qordds {

namespace {

const eprosima::fastrtps::Duration_t kAcknowledgementsBeforeDeletion(2, 0);

}  // namespace

// Receives every Fast DDS status and passes on those the application's mask selects.
class UntypedDataWriter::Bridge : public fdds::DataWriterListener {
  public:
    explicit Bridge(UntypedDataWriter& writer) : writer_(writer) {}

    void on_publication_matched(fdds::DataWriter*,
                                const fdds::PublicationMatchedStatus& status) override {
        GatePass pass(writer_.gate_);
        if (!pass) {
            return;
        }
        writer_.matches_->changed(status.current_count);
        DDS_PublicationMatchedStatus matched =
            translate_publication_matched(status, raise_peak(status.current_count));
        writer_.call_listener(DDS_PUBLICATION_MATCHED_STATUS, [&](DDSDataWriterListener& l) {
            l.on_publication_matched(writer_.typed(), matched);
        });
    }

    // Fast DDS's own reports are not passed on: the binding watches the deadline itself (see
    // offered_deadline.h).
    void on_offered_deadline_missed(fdds::DataWriter*,
                                    const fdds::OfferedDeadlineMissedStatus&) override {}

    void on_offered_incompatible_qos(fdds::DataWriter*,
                                     const fdds::OfferedIncompatibleQosStatus& status) override {
        GatePass pass(writer_.gate_);
        if (pass) {
            DDS_OfferedIncompatibleQosStatus incompatible =
                translate_offered_incompatible_qos(status);
            writer_.call_listener(DDS_OFFERED_INCOMPATIBLE_QOS_STATUS,
                                  [&](DDSDataWriterListener& l) {
                                      l.on_offered_incompatible_qos(writer_.typed(), incompatible);
                                  });
        }
    }

    void on_liveliness_lost(fdds::DataWriter*, const fdds::LivelinessLostStatus& status) override {
        GatePass pass(writer_.gate_);
        if (pass) {
            DDS_LivelinessLostStatus lost = translate_liveliness_lost(status);
            writer_.call_listener(DDS_LIVELINESS_LOST_STATUS, [&](DDSDataWriterListener& l) {
                l.on_liveliness_lost(writer_.typed(), lost);
            });
        }
    }

  private:
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
      listener_(ListenerSlot::make(listener)),
      mask_(mask),
      gate_(std::make_shared<CallbackGate>()),
      matches_(std::make_shared<MatchWatch>()),
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
    const eprosima::fastrtps::Duration_t& period = qos.deadline().period;
    if (fast_ != nullptr && period != eprosima::fastrtps::c_TimeInfinite) {
        try {
            deadline_.reset(
                new DeadlineWatch(std::chrono::nanoseconds(period.to_ns()),
                                  [this](const DDS_OfferedDeadlineMissedStatus& status) {
                                      report_deadline_missed(status);
                                  }));
        } catch (const std::exception& e) {
            log(LogKind::Error, "DDSPublisher::create_datawriter", "no offered-deadline watch: %s",
                e.what());
        }
    }
    bool reliable = qos.reliability().kind == fdds::RELIABLE_RELIABILITY_QOS;
    waits_for_acknowledgements_ = reliable;
    fast_waits_for_room_ = reliable && qos.history().kind == fdds::KEEP_ALL_HISTORY_QOS;
    if (reliable && qos.history().kind == fdds::KEEP_LAST_HISTORY_QOS && qos.history().depth > 0) {
        window_.reset(new SendWindow(qos.history().depth));
    }
    const eprosima::fastrtps::Duration_t& blocking = qos.reliability().max_blocking_time;
    fast_max_blocking_time_ = blocking;
    max_blocking_time_ = blocking == eprosima::fastrtps::c_TimeInfinite
                             ? std::chrono::nanoseconds::max()
                             : std::chrono::nanoseconds(blocking.to_ns());
    return fast_ != nullptr;
}

void UntypedDataWriter::stop_callbacks() {
    if (deadline_ != nullptr) {
        deadline_->stop();
    }
    gate_->close();
}

DDS_ReturnCode_t UntypedDataWriter::detach() {
    if (fast_ == nullptr) {
        return DDS_RETCODE_OK;
    }
    stop_callbacks();
    DDS_ReturnCode_t result;
    try {
        // Fast DDS drops whatever is still unacknowledged with the writer, so a burst that
        // ends with the writer's deletion would lose its last samples in flight. Readers
        // that keep up acknowledge them within milliseconds; a stalled one delays the
        // deletion by the bound at most.
        if (waits_for_acknowledgements_) {
            fast_->wait_for_acknowledgments(kAcknowledgementsBeforeDeletion);
        }
        result = static_cast<DDS_ReturnCode_t>(fast_publisher_->delete_datawriter(fast_)());
    } catch (const std::exception& e) {
        log(LogKind::Error, "DDSPublisher::delete_datawriter", "%s", e.what());
        result = DDS_RETCODE_ERROR;
    }
    fast_ = nullptr;
    return result;
}

template <class Invoke>
void UntypedDataWriter::call_listener(DDS_StatusKind kind, Invoke invoke) {
    if ((mask_ & kind) == 0 || typed_ == nullptr || gate_->is_closed()) {
        return;
    }
    ListenerSlot::Call call(listener_);
    if (DDSDataWriterListener* listener = call.get<DDSDataWriterListener>()) {
        invoke(*listener);
    }
}

namespace {

DDS_ReturnCode_t checked(const char* context, const fdds::DataWriter* writer, const void* sample) {
    if (sample == nullptr) {
        log(LogKind::Error, context, "null sample");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    return writer == nullptr ? DDS_RETCODE_NOT_ENABLED : DDS_RETCODE_OK;
}

}  // namespace

// Waits for the acknowledgements of the instance's window once it is full; the operation
// goes ahead after the wait whatever its outcome (see send_window.h).
void UntypedDataWriter::wait_for_room(void* sample, const DDS_InstanceHandle_t& handle) {
    DDS_InstanceHandle_t instance = instance_of(sample, handle);
    if (!window_->full(instance)) {
        return;
    }
    eprosima::fastrtps::types::ReturnCode_t acknowledged =
        plugin_.instance_to_keyhash == nullptr
            ? fast_->wait_for_acknowledgments(fast_max_blocking_time_)
            : fast_->wait_for_acknowledgments(sample, to_fast(handle), fast_max_blocking_time_);
    if (acknowledged == eprosima::fastrtps::types::ReturnCode_t::RETCODE_OK) {
        window_->acknowledged(instance);
    } else {
        log(LogKind::Warning, "DDSDataWriter::write",
            "%d samples still unacknowledged after max_blocking_time: writing on, the oldest "
            "leaves the history, and a reader that has not received it will miss it",
            window_->depth());
    }
}

// A timeout that comes too early is tried once more (see send_window.h).
template <class Operation>
DDS_ReturnCode_t UntypedDataWriter::guarded(const char* context, const void* sample,
                                            const DDS_InstanceHandle_t& handle,
                                            Operation operation) {
    DDS_ReturnCode_t result = checked(context, fast_, sample);
    if (result != DDS_RETCODE_OK) {
        return result;
    }
    auto start = std::chrono::steady_clock::now();
    try {
        if (window_ != nullptr) {
            wait_for_room(const_cast<void*>(sample), handle);
        }
        result = static_cast<DDS_ReturnCode_t>(operation(const_cast<void*>(sample))());
        if (is_early_send_window_timeout(result, fast_waits_for_room_, start, max_blocking_time_)) {
            result = static_cast<DDS_ReturnCode_t>(operation(const_cast<void*>(sample))());
        }
    } catch (const std::exception& e) {
        log(LogKind::Error, context, "%s", e.what());
        result = DDS_RETCODE_ERROR;
    }
    return result;
}

DDS_ReturnCode_t UntypedDataWriter::write_untyped(const void* sample,
                                                  const DDS_InstanceHandle_t& handle) {
    fdds::InstanceHandle_t fast_handle = to_fast(handle);
    DDS_ReturnCode_t result = guarded("DDSDataWriter::write", sample, handle,
                                      [&](void* data) { return fast_->write(data, fast_handle); });
    if (result == DDS_RETCODE_OK && deadline_ != nullptr) {
        deadline_->written(instance_of(sample, handle));
    }
    return result;
}

DDS_ReturnCode_t UntypedDataWriter::dispose_untyped(const void* sample,
                                                    const DDS_InstanceHandle_t& handle) {
    fdds::InstanceHandle_t fast_handle = to_fast(handle);
    DDS_ReturnCode_t result = guarded("DDSDataWriter::dispose", sample, handle, [&](void* data) {
        return fast_->dispose(data, fast_handle);
    });
    if (result == DDS_RETCODE_OK && deadline_ != nullptr) {
        deadline_->written(instance_of(sample, handle));
    }
    return result;
}

DDS_ReturnCode_t UntypedDataWriter::unregister_instance_untyped(
    const void* sample, const DDS_InstanceHandle_t& handle) {
    fdds::InstanceHandle_t fast_handle = to_fast(handle);
    DDS_ReturnCode_t result =
        guarded("DDSDataWriter::unregister_instance", sample, handle,
                [&](void* data) { return fast_->unregister_instance(data, fast_handle); });
    if (result == DDS_RETCODE_OK && deadline_ != nullptr) {
        deadline_->unregistered(instance_of(sample, handle));
    }
    return result;
}

// Called by the deadline watch's thread, which stops before the writer goes; a writer deleted
// from this very callback is deleted on another thread once it has returned.
void UntypedDataWriter::report_deadline_missed(const DDS_OfferedDeadlineMissedStatus& status) {
    GatePass pass(gate_);
    if (pass) {
        call_listener(DDS_OFFERED_DEADLINE_MISSED_STATUS, [&](DDSDataWriterListener& l) {
            l.on_offered_deadline_missed(typed_, status);
        });
    }
}

// The handle Fast DDS gives the instance: the key hash, through the same plugin function
// as the type adapter's getKey; an unkeyed type has one instance.
DDS_InstanceHandle_t UntypedDataWriter::instance_of(const void* sample,
                                                    const DDS_InstanceHandle_t& handle) const {
    if (handle.isValid || plugin_.instance_to_keyhash == nullptr) {
        return handle;
    }
    DDS_KeyHash_t hash;
    if (!plugin_.instance_to_keyhash(&hash, sample)) {
        return DDS_HANDLE_NIL;
    }
    DDS_InstanceHandle_t instance = DDS_HANDLE_NIL;
    std::memcpy(instance.value, hash.value, sizeof instance.value);
    instance.isValid = true;
    return instance;
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
