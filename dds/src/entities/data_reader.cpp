#include "entities/data_reader.h"

#include <algorithm>
#include <ctime>
#include <exception>

#include <fastdds/dds/core/UserAllocatedSequence.hpp>
#include <fastdds/dds/subscriber/DataReaderListener.hpp>
#include <fastdds/dds/subscriber/SampleInfo.hpp>

#include "diagnostics/participant_diagnostics.h"
#include "entities/callback_gate.h"
#include "log/log.h"
#include "qos/fast_conversions.h"
#include "qos/status_translation.h"
#include "workarounds/key_only_repair.h"

namespace fdds = eprosima::fastdds::dds;

namespace qordds {

namespace {

// Samples taken from Fast DDS per call at most, unless its reader gives fewer.
const int32_t kDrainLimit = 32;

int32_t drain_limit(const fdds::DataReader& fast) {
    return std::max(
        1, std::min(kDrainLimit, fast.get_qos().reader_resource_limits().max_samples_per_read));
}

ReaderCacheSettings cache_settings(const DDSTypePlugin& plugin, const DDS_DataReaderQos& qos) {
    ReaderCacheSettings settings;
    settings.keyed = plugin.key_kind != DDS_TYPEPLUGIN_NO_KEY;
    settings.history = qos.history;
    settings.limits = qos.resource_limits;
    settings.minimum_separation = qos.time_based_filter.minimum_separation;
    return settings;
}

DDS_SampleInfo translate_info(const fdds::SampleInfo& info) {
    DDS_SampleInfo result;
    result.instance_state = static_cast<DDS_InstanceStateKind>(info.instance_state);
    result.source_timestamp = from_fast_time(info.source_timestamp);
    result.reception_timestamp = from_fast_time(info.reception_timestamp);
    result.instance_handle = from_fast(info.instance_handle);
    result.publication_handle = from_fast(info.publication_handle);
    result.valid_data = info.valid_data;
    return result;
}

DDS_Time_t now() {
    timespec time;
    clock_gettime(CLOCK_REALTIME, &time);
    return {static_cast<int32_t>(time.tv_sec), static_cast<uint32_t>(time.tv_nsec)};
}

}  // namespace

// Fast DDS walks its instances from the first on every take, past the changes it cannot hand
// out yet, so the reader takes as many samples per call as Fast DDS gives: the samples are
// deserialized straight into the binding's own, created ahead and kept from one drain to the next.
struct UntypedDataReader::DrainBuffers {
    explicit DrainBuffers(int32_t size)
        : samples(static_cast<size_t>(size), nullptr), infos(size) {}

    // Creates the samples missing; false when out of memory.
    bool fill(const DDSTypePlugin& plugin) {
        for (void*& sample : samples) {
            if (sample == nullptr && (sample = plugin.create_sample()) == nullptr) {
                return false;
            }
        }
        return true;
    }
    int32_t size() const { return static_cast<int32_t>(samples.size()); }
    void destroy(const DDSTypePlugin& plugin) {
        for (void*& sample : samples) {
            if (sample != nullptr) {
                plugin.destroy_sample(sample);
                sample = nullptr;
            }
        }
    }

    std::vector<void*> samples;
    fdds::SampleInfoSeq infos;
};

class UntypedDataReader::Bridge : public fdds::DataReaderListener {
  public:
    explicit Bridge(UntypedDataReader& reader) : reader_(reader) {}

    void on_data_available(fdds::DataReader* fast) override {
        GatePass pass(reader_.gate_);
        if (pass && reader_.drain_from(fast)) {
            reader_.notify_data_available();
        }
    }

    void on_subscription_matched(fdds::DataReader*,
                                 const fdds::SubscriptionMatchedStatus& status) override {
        GatePass pass(reader_.gate_);
        if (!pass) {
            return;
        }
        int32_t peak;
        {
            std::lock_guard<std::mutex> lock(reader_.mutex_);
            reader_.matched_peak_ = std::max(reader_.matched_peak_, status.current_count);
            peak = reader_.matched_peak_;
        }
        DDS_SubscriptionMatchedStatus matched = translate_subscription_matched(status, peak);
        reader_.call_listener(DDS_SUBSCRIPTION_MATCHED_STATUS, [&](DDSDataReaderListener& l) {
            l.on_subscription_matched(reader_.typed(), matched);
        });
        reader_.writer_matched(from_fast(status.last_publication_handle),
                               status.current_count_change > 0);
        reader_.note_match(status.last_publication_handle, status.current_count_change > 0);
    }

    void on_liveliness_changed(fdds::DataReader*,
                               const fdds::LivelinessChangedStatus& status) override {
        GatePass pass(reader_.gate_);
        if (!pass) {
            return;
        }
        WriterLiveliness::Change change;
        {
            std::lock_guard<std::mutex> lock(reader_.mutex_);
            change = reader_.liveliness_.reported_by_fast(translate_liveliness_changed(status));
        }
        reader_.apply(change);
    }

    void on_requested_deadline_missed(fdds::DataReader*,
                                      const fdds::RequestedDeadlineMissedStatus& status) override {
        GatePass pass(reader_.gate_);
        if (pass) {
            DDS_RequestedDeadlineMissedStatus missed = translate_requested_deadline_missed(status);
            reader_.call_listener(DDS_REQUESTED_DEADLINE_MISSED_STATUS,
                                  [&](DDSDataReaderListener& l) {
                                      l.on_requested_deadline_missed(reader_.typed(), missed);
                                  });
        }
    }

    void on_requested_incompatible_qos(
        fdds::DataReader*, const fdds::RequestedIncompatibleQosStatus& status) override {
        GatePass pass(reader_.gate_);
        if (pass) {
            DDS_RequestedIncompatibleQosStatus incompatible =
                translate_requested_incompatible_qos(status);
            reader_.call_listener(
                DDS_REQUESTED_INCOMPATIBLE_QOS_STATUS, [&](DDSDataReaderListener& l) {
                    l.on_requested_incompatible_qos(reader_.typed(), incompatible);
                });
        }
    }

    void on_sample_rejected(fdds::DataReader*, const fdds::SampleRejectedStatus& status) override {
        GatePass pass(reader_.gate_);
        if (pass) {
            DDS_SampleRejectedStatus translated = translate_sample_rejected(status);
            reader_.report_rejected(translated.last_reason, translated.last_instance_handle);
        }
    }

    void on_sample_lost(fdds::DataReader*, const fdds::SampleLostStatus& status) override {
        GatePass pass(reader_.gate_);
        if (pass) {
            DDS_SampleLostStatus lost = translate_sample_lost(status);
            reader_.call_listener(DDS_SAMPLE_LOST_STATUS, [&](DDSDataReaderListener& l) {
                l.on_sample_lost(reader_.typed(), lost);
            });
        }
    }

  private:
    UntypedDataReader& reader_;
};

UntypedDataReader::UntypedDataReader(DDSTopic* topic, const DDSTypePlugin& plugin,
                                     const DDS_DataReaderQos& qos, DDSDataReaderListener* listener,
                                     DDS_StatusMask mask)
    : topic_(topic),
      plugin_(plugin),
      listener_(ListenerSlot::make(listener)),
      mask_(mask),
      cache_(plugin, cache_settings(plugin, qos)),
      gate_(std::make_shared<CallbackGate>()),
      listener_turn_(*gate_),
      bridge_(new Bridge(*this)) {}

UntypedDataReader::~UntypedDataReader() {
    detach();
    if (drain_buffers_ != nullptr) {
        drain_buffers_->destroy(plugin_);
    }
    for (std::unique_ptr<Loan>& loan : loans_) {
        for (void* data : loan->data) {
            if (data != nullptr) {
                plugin_.destroy_sample(data);
            }
        }
    }
}

bool UntypedDataReader::attach(fdds::Subscriber* subscriber, fdds::Topic* topic,
                               const fdds::DataReaderQos& qos) {
    try {
        fast_ = subscriber->create_datareader(topic, qos, bridge_.get(), fdds::StatusMask::all());
    } catch (const std::exception& e) {
        log(LogKind::Error, "DDSSubscriber::create_datareader", "%s", e.what());
        fast_ = nullptr;
    }
    fast_subscriber_ = fast_ == nullptr ? nullptr : subscriber;
    return fast_ != nullptr;
}

void UntypedDataReader::stop_callbacks() {
    gate_->close([this] { listener_turn_.gate_closed(); });
    std::lock_guard<std::mutex> lock(mutex_);
    for (const DDS_InstanceHandle_t& writer : matched_writers_) {
        untrack_keyed_writer(writer);
    }
    matched_writers_.clear();
}

DDS_ReturnCode_t UntypedDataReader::detach() {
    if (fast_ == nullptr) {
        return DDS_RETCODE_OK;
    }
    stop_callbacks();
    DDS_ReturnCode_t result;
    try {
        result = static_cast<DDS_ReturnCode_t>(fast_subscriber_->delete_datareader(fast_)());
    } catch (const std::exception& e) {
        log(LogKind::Error, "DDSSubscriber::delete_datareader", "%s", e.what());
        result = DDS_RETCODE_ERROR;
    }
    fast_ = nullptr;
    return result;
}

bool UntypedDataReader::has_outstanding_loans() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return !loans_.empty();
}

// The gate is looked at with the turn taken: a callback that waited for its turn while
// another one deleted the reader must not call the listener with the deleted typed reader.
template <class Invoke>
void UntypedDataReader::call_listener(DDS_StatusKind kind, Invoke invoke) {
    if ((mask_ & kind) == 0 || typed_ == nullptr || !listener_turn_.take()) {
        return;
    }
    ListenerTurn::Held turn(listener_turn_);
    if (gate_->is_closed()) {
        return;
    }
    ListenerSlot::Call call(listener_);
    if (DDSDataReaderListener* listener = call.get<DDSDataReaderListener>()) {
        invoke(*listener);
    }
}

bool UntypedDataReader::drain_from(fdds::DataReader* fast) {
    std::unique_ptr<DrainBuffers> buffers;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        buffers.swap(drain_buffers_);
    }
    int32_t limit = drain_limit(*fast);
    if (buffers != nullptr && buffers->size() != limit) {
        buffers->destroy(plugin_);
        buffers.reset();
    }
    if (buffers == nullptr) {
        buffers.reset(new DrainBuffers(limit));
    }
    // Fewer samples than the limit means Fast DDS had no more to give.
    while (drain_batch(fast, *buffers) == limit) {
    }
    std::lock_guard<std::mutex> lock(mutex_);
    if (drain_buffers_ == nullptr) {
        drain_buffers_.swap(buffers);
    } else {
        buffers->destroy(plugin_);
    }
    return cache_.has_unread();
}

int32_t UntypedDataReader::drain_batch(fdds::DataReader* fast, DrainBuffers& buffers) {
    if (!buffers.fill(plugin_)) {
        log(LogKind::Error, "DDSDataReader", "out of memory for a sample");
        return 0;
    }
    fdds::UserAllocatedSequence data(buffers.samples.data(), buffers.size());
    buffers.infos.length(0);
    eprosima::fastrtps::types::ReturnCode_t taken =
        eprosima::fastrtps::types::ReturnCode_t::RETCODE_ERROR;
    try {
        taken = fast->take(data, buffers.infos, fdds::LENGTH_UNLIMITED, fdds::NOT_READ_SAMPLE_STATE,
                           fdds::ANY_VIEW_STATE, fdds::ANY_INSTANCE_STATE);
    } catch (const std::exception& e) {
        log(LogKind::Error, "DDSDataReader", "%s", e.what());
        // What the call had taken goes with it, and any of the samples may be half written.
        buffers.destroy(plugin_);
        return 0;
    }
    if (taken != eprosima::fastrtps::types::ReturnCode_t::RETCODE_OK) {
        return 0;
    }
    int32_t count = data.length();
    for (int32_t i = 0; i < count; ++i) {
        void*& sample = buffers.samples[static_cast<size_t>(i)];
        add_taken(sample, buffers.infos[i]);
        sample = nullptr;
    }
    // A sample that failed to deserialize may have been left half written in the next slot.
    if (count < buffers.size()) {
        void*& next = buffers.samples[static_cast<size_t>(count)];
        plugin_.destroy_sample(next);
        next = nullptr;
    }
    return count;
}

void UntypedDataReader::add_taken(void* data, const fdds::SampleInfo& info) {
    note_sample(info.publication_handle);
    DDS_SampleInfo translated = translate_info(info);
    DDS_SampleRejectedStatusKind reason = DDS_NOT_REJECTED;
    ReaderCache::Outcome outcome;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        outcome = cache_.add(data, translated, &reason);
    }
    if (outcome == ReaderCache::Outcome::Rejected) {
        report_rejected(reason, translated.instance_handle);
    }
}

void UntypedDataReader::report_rejected(DDS_SampleRejectedStatusKind reason,
                                        const DDS_InstanceHandle_t& handle) {
    DDS_SampleRejectedStatus status;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        rejected_.total_count += 1;
        rejected_.total_count_change = 1;
        rejected_.last_reason = reason;
        rejected_.last_instance_handle = handle;
        status = rejected_;
    }
    call_listener(DDS_SAMPLE_REJECTED_STATUS,
                  [&](DDSDataReaderListener& l) { l.on_sample_rejected(typed_, status); });
}

void UntypedDataReader::notify_data_available() {
    call_listener(DDS_DATA_AVAILABLE_STATUS,
                  [&](DDSDataReaderListener& l) { l.on_data_available(typed_); });
}

void UntypedDataReader::apply(const WriterLiveliness::Change& change) {
    if (!change.reported) {
        return;
    }
    call_listener(DDS_LIVELINESS_CHANGED_STATUS, [&](DDSDataReaderListener& l) {
        l.on_liveliness_changed(typed_, change.status);
    });
    // The listener may have deleted the reader.
    if (change.writer_lost && !gate_->is_closed()) {
        int added;
        {
            std::lock_guard<std::mutex> lock(mutex_);
            added = cache_.writer_lost(change.status.last_publication_handle, now());
        }
        if (added > 0) {
            notify_data_available();
        }
    }
}

void UntypedDataReader::note_match(const fdds::InstanceHandle_t& writer, bool matched) {
    if (diagnostics_ == nullptr || fast_ == nullptr) {
        return;
    }
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto known = std::find(silent_writers_.begin(), silent_writers_.end(), writer);
        if (matched && known == silent_writers_.end()) {
            silent_writers_.push_back(writer);
        } else if (!matched && known != silent_writers_.end()) {
            silent_writers_.erase(known);
        }
        silent_count_ = silent_writers_.size();
    }
    diagnostics_->writer_matched(fast_->guid(), eprosima::fastrtps::rtps::iHandle2GUID(writer),
                                 matched);
}

void UntypedDataReader::note_sample(const fdds::InstanceHandle_t& writer) {
    if (diagnostics_ == nullptr || silent_count_.load(std::memory_order_relaxed) == 0) {
        return;
    }
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto known = std::find(silent_writers_.begin(), silent_writers_.end(), writer);
        if (known == silent_writers_.end()) {
            return;
        }
        silent_writers_.erase(known);
        silent_count_ = silent_writers_.size();
    }
    diagnostics_->first_sample(fast_->guid(), eprosima::fastrtps::rtps::iHandle2GUID(writer));
}

void UntypedDataReader::writer_matched(const DDS_InstanceHandle_t& writer, bool matched) {
    // A reader being deleted has let go of its writers already.
    if (gate_->is_closed()) {
        return;
    }
    bool keyed = plugin_.key_kind != DDS_TYPEPLUGIN_NO_KEY;
    WriterLiveliness::Change change;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto known = std::find(matched_writers_.begin(), matched_writers_.end(), writer);
        if (matched) {
            if (known == matched_writers_.end()) {
                matched_writers_.push_back(writer);
                if (keyed) {
                    track_keyed_writer(writer, plugin_);
                }
            }
            change = liveliness_.matched(writer);
        } else {
            if (known != matched_writers_.end()) {
                matched_writers_.erase(known);
                if (keyed) {
                    untrack_keyed_writer(writer);
                }
            }
            change = liveliness_.unmatched(writer);
        }
    }
    apply(change);
}

DDS_ReturnCode_t UntypedDataReader::read_or_take_untyped(bool take, void*** samples, int32_t* count,
                                                         DDS_SampleInfoSeq& infos,
                                                         int32_t max_samples,
                                                         DDS_SampleStateMask sample_states,
                                                         DDS_ViewStateMask view_states,
                                                         DDS_InstanceStateMask instance_states) {
    const char* context = take ? "DDSDataReader::take" : "DDSDataReader::read";
    if (samples == nullptr || count == nullptr || max_samples == 0 ||
        max_samples < DDS_LENGTH_UNLIMITED) {
        log(LogKind::Error, context, "bad parameter");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    *samples = nullptr;
    *count = 0;
    if (!infos.has_ownership() || infos.maximum() != 0) {
        log(LogKind::Error, context, "the info sequence must be empty to take a loan");
        return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    std::unique_ptr<Loan> loan(new Loan);
    std::lock_guard<std::mutex> lock(mutex_);
    cache_.collect(take, max_samples, sample_states, view_states, instance_states, loan->data,
                   loan->infos);
    if (loan->data.empty()) {
        return DDS_RETCODE_NO_DATA;
    }
    int32_t length = static_cast<int32_t>(loan->infos.size());
    if (!infos.loan_contiguous(loan->infos.data(), length, length)) {
        for (void* data : loan->data) {
            plugin_.destroy_sample(data);
        }
        return DDS_RETCODE_ERROR;
    }
    infos.set_read_token(loan.get(), this);
    *samples = loan->data.data();
    *count = length;
    loans_.push_back(std::move(loan));
    return DDS_RETCODE_OK;
}

DDS_ReturnCode_t UntypedDataReader::return_loan_untyped(void** samples, int32_t count,
                                                        DDS_SampleInfoSeq& infos) {
    const char* context = "DDSDataReader::return_loan";
    void* token = nullptr;
    void* owner = nullptr;
    infos.get_read_token(token, owner);
    std::unique_ptr<Loan> loan;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto found = std::find_if(
            loans_.begin(), loans_.end(),
            [token](const std::unique_ptr<Loan>& candidate) { return candidate.get() == token; });
        if (infos.has_ownership() || owner != this || found == loans_.end() ||
            (*found)->data.data() != samples ||
            static_cast<int32_t>((*found)->data.size()) != count) {
            log(LogKind::Error, context, "not a loan of this reader");
            return DDS_RETCODE_PRECONDITION_NOT_MET;
        }
        loan = std::move(*found);
        loans_.erase(found);
    }
    infos.unloan();
    for (void* data : loan->data) {
        if (data != nullptr) {
            plugin_.destroy_sample(data);
        }
    }
    return DDS_RETCODE_OK;
}

}  // namespace qordds
