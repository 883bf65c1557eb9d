// Binding-internal: the binding's own (untyped) DataReader over a Fast DDS DataReader.
//
// Every sample Fast DDS delivers is taken at once, in Fast DDS's own on_data_available, into
// the reader's cache, where the binding completes what Fast DDS 2.9 leaves out (see
// reader_cache.h and writer_liveliness.h). The application reads and takes from that cache
// only, never from Fast DDS, so no lock of the binding is ever held while calling into Fast
// DDS, and the order Fast DDS delivered is the order the application sees.
//
// Listener callbacks of one reader are made one at a time, with the typed reader. Deletion
// waits for the callbacks under way; a reader deleted from a listener is deleted on another
// thread once that callback has returned (see deferred_deletion.h).
#ifndef QOR_DDS_SRC_DATA_READER_H
#define QOR_DDS_SRC_DATA_READER_H

#include <atomic>
#include <memory>
#include <mutex>
#include <vector>

#include <fastdds/dds/subscriber/DataReader.hpp>
#include <fastdds/dds/subscriber/Subscriber.hpp>
#include <fastdds/dds/subscriber/qos/DataReaderQos.hpp>
#include <fastdds/dds/topic/Topic.hpp>

#include "entities/callback_gate.h"
#include "entities/listener_slot.h"
#include "entities/listener_turn.h"
#include "qordds/subscription.h"
#include "qordds/topic.h"
#include "workarounds/reader_cache.h"
#include "workarounds/writer_liveliness.h"

namespace qordds {

class ParticipantDiagnostics;

class UntypedDataReader : public DDSDataReader {
  public:
    UntypedDataReader(DDSTopic* topic, const DDSTypePlugin& plugin, const DDS_DataReaderQos& qos,
                      DDSDataReaderListener* listener, DDS_StatusMask mask);
    ~UntypedDataReader() override;

    // Creates the Fast DDS reader. Listeners are called with typed() from then on, so the
    // typed reader is set first.
    bool attach(eprosima::fastdds::dds::Subscriber* subscriber,
                eprosima::fastdds::dds::Topic* topic,
                const eprosima::fastdds::dds::DataReaderQos& qos);
    // No callback starts after this, and those under way on other threads have returned;
    // one of the calling thread may still be under way.
    void stop_callbacks();
    // Stops the callbacks and deletes the Fast DDS reader; not on a thread inside a callback
    // (see deferred_deletion.h).
    DDS_ReturnCode_t detach();
    bool has_outstanding_loans() const;

    void set_typed(DDSDataReader* typed) { typed_ = typed; }
    DDSDataReader* typed() const { return typed_; }
    DDSTopic* topic() const { return topic_; }
    // The Fast DDS reader once attached.
    eprosima::fastdds::dds::DataReader* fast() const { return fast_; }
    // Tells `diagnostics` of each writer matched and of the first sample from it; once
    // attached, before any match.
    void report_arrivals_to(ParticipantDiagnostics* diagnostics) { diagnostics_ = diagnostics; }

    DDSDataReaderListener* get_listener() override {
        return listener_->get<DDSDataReaderListener>();
    }
    const DDSTypePlugin* get_type_plugin() override { return &plugin_; }
    DDS_ReturnCode_t read_or_take_untyped(bool take, void*** samples, int32_t* count,
                                          DDS_SampleInfoSeq& infos, int32_t max_samples,
                                          DDS_SampleStateMask sample_states,
                                          DDS_ViewStateMask view_states,
                                          DDS_InstanceStateMask instance_states) override;
    DDS_ReturnCode_t return_loan_untyped(void** samples, int32_t count,
                                         DDS_SampleInfoSeq& infos) override;

    class Bridge;  // the Fast DDS listener

  private:
    friend class Bridge;
    struct Loan {
        std::vector<void*> data;
        std::vector<DDS_SampleInfo> infos;
    };

    UntypedDataReader(const UntypedDataReader&) = delete;
    UntypedDataReader& operator=(const UntypedDataReader&) = delete;

    // Calls `invoke` with the listener when the mask selects `kind` and the reader is not
    // being deleted.
    template <class Invoke>
    void call_listener(DDS_StatusKind kind, Invoke invoke);
    struct DrainBuffers;
    // Moves what the Fast DDS reader holds into the cache; true when unread samples wait.
    bool drain_from(eprosima::fastdds::dds::DataReader* fast);
    // Takes what Fast DDS gives in one call into the cache; returns how many samples that was.
    int32_t drain_batch(eprosima::fastdds::dds::DataReader* fast, DrainBuffers& buffers);
    // Hands one sample taken from Fast DDS to the cache, which owns it from then on.
    void add_taken(void* data, const eprosima::fastdds::dds::SampleInfo& info);
    void report_rejected(DDS_SampleRejectedStatusKind reason, const DDS_InstanceHandle_t& handle);
    void notify_data_available();
    void apply(const WriterLiveliness::Change& change);
    void writer_matched(const DDS_InstanceHandle_t& writer, bool matched);
    // Passes a match or the first sample of a writer on to diagnostics_, when set.
    void note_match(const eprosima::fastdds::dds::InstanceHandle_t& writer, bool matched);
    void note_sample(const eprosima::fastdds::dds::InstanceHandle_t& writer);

    DDSTopic* topic_;
    DDSTypePlugin plugin_;
    std::shared_ptr<ListenerSlot> listener_;
    DDS_StatusMask mask_;
    DDSDataReader* typed_ = nullptr;
    eprosima::fastdds::dds::Subscriber* fast_subscriber_ = nullptr;
    eprosima::fastdds::dds::DataReader* fast_ = nullptr;
    ParticipantDiagnostics* diagnostics_ = nullptr;

    mutable std::mutex mutex_;  // the state below
    ReaderCache cache_;
    WriterLiveliness liveliness_;
    std::vector<std::unique_ptr<Loan>> loans_;
    // Kept between drains while no drain runs, so that its unfilled samples serve the next one.
    std::unique_ptr<DrainBuffers> drain_buffers_;
    std::vector<DDS_InstanceHandle_t> matched_writers_;
    DDS_SampleRejectedStatus rejected_;
    int32_t matched_peak_ = 0;
    // Matched writers not heard from yet, while diagnostics_ is set.
    std::vector<eprosima::fastdds::dds::InstanceHandle_t> silent_writers_;
    std::atomic<size_t> silent_count_{0};  // its size, read without the lock per sample

    std::shared_ptr<CallbackGate> gate_;
    ListenerTurn listener_turn_;
    std::unique_ptr<Bridge> bridge_;
};

}  // namespace qordds

#endif
