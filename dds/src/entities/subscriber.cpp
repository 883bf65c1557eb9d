#include "qordds/subscription.h"

#include <memory>
#include <new>

#include "diagnostics/fast_facts.h"
#include "entities/deferred_deletion.h"
#include "entities/impl_access.h"
#include "entities/participant_impl.h"
#include "entities/subscriber_impl.h"
#include "entities/topic_impl.h"
#include "log/log.h"
#include "qos/default_qos.h"
#include "qos/endpoint_qos.h"

namespace fdds = eprosima::fastdds::dds;

namespace {

// The reader (typed or untyped) that the application holds, among the subscriber's readers.
qordds::UntypedDataReader* find_reader(DDSSubscriber::Impl& subscriber, DDSDataReader* reader) {
    for (qordds::UntypedDataReader* candidate : subscriber.readers) {
        if (candidate == reader || candidate->typed() == reader) {
            return candidate;
        }
    }
    return nullptr;
}

}  // namespace

namespace qordds {

DDS_ReturnCode_t destroy_reader(UntypedDataReader* reader) {
    bool deferred = in_callback();
    DDS_ReturnCode_t result = DDS_RETCODE_OK;
    if (deferred) {
        reader->stop_callbacks();
    } else {
        result = reader->detach();
    }
    qordds::impl_of(reader->topic())->endpoints -= 1;
    const DDSTypePlugin* plugin = reader->get_type_plugin();
    if (reader->typed() != reader && plugin->type_support != nullptr) {
        plugin->type_support->destroy_datareaderI(reader->typed());
    }
    if (deferred) {
        defer_deletion([reader] {
            if (reader->detach() != DDS_RETCODE_OK) {
                log(LogKind::Error, "DDSSubscriber::delete_datareader",
                    "Fast DDS could not delete a reader deleted from a listener");
            }
            delete reader;
        });
    } else {
        delete reader;
    }
    return result;
}

}  // namespace qordds

DDSSubscriber::~DDSSubscriber() {
    delete impl_;
}

DDS_ReturnCode_t DDSSubscriber::get_default_datareader_qos_w_topic_name(DDS_DataReaderQos& qos,
                                                                        const char* topic_name) {
    DDSDomainParticipant::Impl* participant = qordds::impl_of(impl_->participant);
    std::lock_guard<std::recursive_mutex> lock(participant->mutex);
    return qordds::default_datareader_qos(participant->defaults, topic_name, qos);
}

DDSDataReader* DDSSubscriber::create_datareader(DDSTopicDescription* description,
                                                const DDS_DataReaderQos& qos,
                                                DDSDataReaderListener* listener,
                                                DDS_StatusMask mask) {
    const char* context = "DDSSubscriber::create_datareader";
    DDSDomainParticipant::Impl* participant = qordds::impl_of(impl_->participant);
    std::lock_guard<std::recursive_mutex> lock(participant->mutex);
    DDSTopic* topic = nullptr;
    const qordds::RegisteredType* type = nullptr;
    if (!participant->endpoint_topic(description, context, topic, type)) {
        return nullptr;
    }
    fdds::DataReaderQos fast_qos;
    if (qordds::translate_reader_qos(qos, fast_qos, context) != DDS_RETCODE_OK) {
        return nullptr;
    }
    std::unique_ptr<qordds::UntypedDataReader> reader(
        new (std::nothrow) qordds::UntypedDataReader(topic, type->plugin, qos, listener, mask));
    if (reader == nullptr) {
        qordds::log(qordds::LogKind::Error, context, "out of memory");
        return nullptr;
    }
    DDSDataReader* typed = type->plugin.type_support->create_datareaderI(reader.get());
    if (typed == nullptr) {
        qordds::log(qordds::LogKind::Error, context, "the type support made no typed reader");
        return nullptr;
    }
    reader->set_typed(typed);
    if (qordds::log_enabled(qordds::LogKind::RemoteInfo)) {
        reader->report_arrivals_to(&participant->diagnostics);
    }
    if (!reader->attach(impl_->fast, qordds::impl_of(topic)->fast, fast_qos)) {
        qordds::log(qordds::LogKind::Error, context, "Fast DDS refused the reader");
        type->plugin.type_support->destroy_datareaderI(typed);
        return nullptr;
    }
    if (qordds::ParticipantDiagnostics::described()) {
        participant->diagnostics.local_endpoint(qordds::facts_of(*reader->fast()));
    }
    qordds::impl_of(topic)->endpoints += 1;
    impl_->readers.push_back(reader.release());
    return typed;
}

DDS_ReturnCode_t DDSSubscriber::delete_datareader(DDSDataReader* reader) {
    const char* context = "DDSSubscriber::delete_datareader";
    DDSDomainParticipant::Impl* participant = qordds::impl_of(impl_->participant);
    std::lock_guard<std::recursive_mutex> lock(participant->mutex);
    if (reader == nullptr) {
        qordds::log(qordds::LogKind::Error, context, "bad parameter: reader");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    qordds::UntypedDataReader* found = find_reader(*impl_, reader);
    if (found == nullptr) {
        qordds::log(qordds::LogKind::Error, context,
                    "the reader does not belong to this subscriber");
        return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    if (found->has_outstanding_loans()) {
        qordds::log(qordds::LogKind::Error, context, "the reader has loans outstanding");
        return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    if (found->fast() != nullptr) {
        participant->diagnostics.local_endpoint_gone(found->fast()->guid());
    }
    qordds::remove(impl_->readers, found);
    return qordds::destroy_reader(found);
}
