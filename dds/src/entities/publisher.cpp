#include "qordds/publication.h"

#include <exception>
#include <memory>
#include <new>
#include <string>

#include "diagnostics/fast_facts.h"
#include "entities/deferred_deletion.h"
#include "entities/impl_access.h"
#include "entities/participant_impl.h"
#include "entities/publisher_impl.h"
#include "entities/topic_impl.h"
#include "log/log.h"
#include "qos/default_qos.h"
#include "qos/endpoint_qos.h"

namespace fdds = eprosima::fastdds::dds;

namespace {

// The writer (typed or untyped) that the application holds, among the publisher's writers.
qordds::UntypedDataWriter* find_writer(DDSPublisher::Impl& publisher, DDSDataWriter* writer) {
    for (qordds::UntypedDataWriter* candidate : publisher.writers) {
        if (candidate == writer || candidate->typed() == writer) {
            return candidate;
        }
    }
    return nullptr;
}

// The writer and its typed wrapper, attached to a Fast DDS writer; null (logged) when the
// topic went meanwhile or Fast DDS refuses.
qordds::UntypedDataWriter* make_writer(DDSPublisher::Impl& publisher,
                                       DDSDomainParticipant::Impl& participant, DDSTopic* topic,
                                       const fdds::DataWriterQos& fast_qos,
                                       DDSDataWriterListener* listener, DDS_StatusMask mask,
                                       const char* context) {
    DDSTopic* own = nullptr;  // the same topic, once known to be the participant's
    const qordds::RegisteredType* type = nullptr;
    if (!participant.endpoint_topic(topic, context, own, type)) {
        return nullptr;
    }
    std::unique_ptr<qordds::UntypedDataWriter> writer(
        new (std::nothrow) qordds::UntypedDataWriter(topic, type->plugin, listener, mask));
    if (writer == nullptr) {
        qordds::log(qordds::LogKind::Error, context, "out of memory");
        return nullptr;
    }
    DDSDataWriter* typed = type->plugin.type_support->create_datawriterI(writer.get());
    if (typed == nullptr) {
        qordds::log(qordds::LogKind::Error, context, "the type support made no typed writer");
        return nullptr;
    }
    writer->set_typed(typed);
    if (!writer->attach(publisher.fast, qordds::impl_of(topic)->fast, fast_qos)) {
        qordds::log(qordds::LogKind::Error, context, "Fast DDS refused the writer");
        type->plugin.type_support->destroy_datawriterI(typed);
        return nullptr;
    }
    if (qordds::ParticipantDiagnostics::described()) {
        participant.diagnostics.local_endpoint(qordds::facts_of(*writer->fast()));
    }
    return writer.release();
}

}  // namespace

namespace qordds {

DDS_ReturnCode_t destroy_writer(UntypedDataWriter* writer) {
    bool deferred = in_callback();
    DDS_ReturnCode_t result = DDS_RETCODE_OK;
    if (deferred) {
        writer->stop_callbacks();
    } else {
        result = writer->detach();
    }
    qordds::impl_of(writer->topic())->endpoints -= 1;
    const DDSTypePlugin* plugin = writer->get_type_plugin();
    if (writer->typed() != writer && plugin->type_support != nullptr) {
        plugin->type_support->destroy_datawriterI(writer->typed());
    }
    if (deferred) {
        defer_deletion([writer] {
            if (writer->detach() != DDS_RETCODE_OK) {
                log(LogKind::Error, "DDSPublisher::delete_datawriter",
                    "Fast DDS could not delete a writer deleted from a listener");
            }
            delete writer;
        });
    } else {
        delete writer;
    }
    return result;
}

}  // namespace qordds

DDSPublisher::~DDSPublisher() {
    delete impl_;
}

DDS_ReturnCode_t DDSPublisher::get_default_datawriter_qos_w_topic_name(DDS_DataWriterQos& qos,
                                                                       const char* topic_name) {
    DDSDomainParticipant::Impl* participant = qordds::impl_of(impl_->participant);
    std::lock_guard<std::recursive_mutex> lock(participant->mutex);
    return qordds::default_datawriter_qos(participant->defaults, topic_name, qos);
}

DDSDataWriter* DDSPublisher::create_datawriter(DDSTopic* topic, const DDS_DataWriterQos& qos,
                                               DDSDataWriterListener* listener,
                                               DDS_StatusMask mask) {
    const char* context = "DDSPublisher::create_datawriter";
    DDSDomainParticipant::Impl* participant = qordds::impl_of(impl_->participant);
    fdds::DataWriterQos fast_qos;
    std::string wire_topic;
    std::string type_name;
    {
        std::lock_guard<std::recursive_mutex> lock(participant->mutex);
        DDSTopic* own = nullptr;
        const qordds::RegisteredType* type = nullptr;
        if (!participant->endpoint_topic(topic, context, own, type) ||
            qordds::translate_writer_qos(qos, type->plugin.key_kind != DDS_TYPEPLUGIN_NO_KEY,
                                         fast_qos, context) != DDS_RETCODE_OK) {
            return nullptr;
        }
        wire_topic = qordds::impl_of(topic)->fast->get_name();
        type_name = topic->get_type_name();
    }
    // Without the participant's lock: other threads' entity operations, and callbacks that
    // make some, go on meanwhile.
    bool reader_known = participant->rendezvous.await_remote_reader(wire_topic, type_name);
    std::shared_ptr<qordds::MatchWatch> matches;
    DDSDataWriter* typed = nullptr;
    {
        std::lock_guard<std::recursive_mutex> lock(participant->mutex);
        qordds::UntypedDataWriter* writer =
            make_writer(*impl_, *participant, topic, fast_qos, listener, mask, context);
        if (writer == nullptr) {
            return nullptr;
        }
        qordds::impl_of(topic)->endpoints += 1;
        impl_->writers.push_back(writer);
        typed = writer->typed();
        matches = writer->matches();
    }
    if (reader_known) {
        matches->await_settled(
            qordds::DiscoveryRendezvous::Clock::now() + participant->rendezvous.settle_limit(),
            qordds::DiscoveryRendezvous::kSettle);
    }
    return typed;
}

DDS_ReturnCode_t DDSPublisher::delete_datawriter(DDSDataWriter* writer) {
    DDSDomainParticipant::Impl* participant = qordds::impl_of(impl_->participant);
    std::lock_guard<std::recursive_mutex> lock(participant->mutex);
    if (writer == nullptr) {
        qordds::log(qordds::LogKind::Error, "DDSPublisher::delete_datawriter",
                    "bad parameter: writer");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    qordds::UntypedDataWriter* found = find_writer(*impl_, writer);
    if (found == nullptr) {
        qordds::log(qordds::LogKind::Error, "DDSPublisher::delete_datawriter",
                    "the writer does not belong to this publisher");
        return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    if (found->fast() != nullptr) {
        participant->diagnostics.local_endpoint_gone(found->fast()->guid());
    }
    qordds::remove(impl_->writers, found);
    return qordds::destroy_writer(found);
}
