#include <exception>
#include <new>
#include <string>

#include <fastdds/dds/publisher/qos/PublisherQos.hpp>
#include <fastdds/dds/subscriber/qos/SubscriberQos.hpp>

#include "entities/deferred_deletion.h"
#include "entities/impl_access.h"
#include "entities/participant_impl.h"
#include "entities/publisher_impl.h"
#include "entities/subscriber_impl.h"
#include "entities/topic_impl.h"
#include "log/log.h"
#include "qordds/domain.h"
#include "qordds/publication.h"
#include "qordds/subscription.h"
#include "qordds/topic.h"
#include "qos/endpoint_qos.h"
#include "workarounds/domain_isolation.h"

namespace fdds = eprosima::fastdds::dds;

namespace {

template <class Operation>
DDS_ReturnCode_t fast_call(const char* context, Operation operation) {
    try {
        return static_cast<DDS_ReturnCode_t>(operation()());
    } catch (const std::exception& e) {
        qordds::log(qordds::LogKind::Error, context, "%s", e.what());
        return DDS_RETCODE_ERROR;
    }
}

template <class FastQos>
void set_partitions(FastQos& fast_qos, const DDS_DomainParticipantQos& participant,
                    const DDS_PartitionQosPolicy& group) {
    fast_qos.partition().clear();
    for (const std::string& name : qordds::wire_partitions(participant, group)) {
        fast_qos.partition().push_back(name.c_str());
    }
}

DDS_ReturnCode_t destroy_publisher(DDSDomainParticipant::Impl& participant, DDSPublisher* publisher,
                                   DDSPublisher::Impl& state) {
    DDS_ReturnCode_t result = DDS_RETCODE_OK;
    for (qordds::UntypedDataWriter* writer : state.writers) {
        DDS_ReturnCode_t deleted = qordds::destroy_writer(writer);
        result = result == DDS_RETCODE_OK ? deleted : result;
    }
    state.writers.clear();
    qordds::finish_deferred_deletions("DDSDomainParticipant::delete_publisher");
    DDS_ReturnCode_t deleted = fast_call("DDSDomainParticipant::delete_publisher", [&] {
        return participant.fast->delete_publisher(state.fast);
    });
    if (deleted != DDS_RETCODE_OK) {
        return deleted;
    }
    qordds::remove(participant.entities.publishers, publisher);
    delete publisher;
    return result;
}

DDS_ReturnCode_t destroy_subscriber(DDSDomainParticipant::Impl& participant,
                                    DDSSubscriber* subscriber, DDSSubscriber::Impl& state) {
    DDS_ReturnCode_t result = DDS_RETCODE_OK;
    for (qordds::UntypedDataReader* reader : state.readers) {
        DDS_ReturnCode_t deleted = qordds::destroy_reader(reader);
        result = result == DDS_RETCODE_OK ? deleted : result;
    }
    state.readers.clear();
    qordds::finish_deferred_deletions("DDSDomainParticipant::delete_subscriber");
    DDS_ReturnCode_t deleted = fast_call("DDSDomainParticipant::delete_subscriber", [&] {
        return participant.fast->delete_subscriber(state.fast);
    });
    if (deleted != DDS_RETCODE_OK) {
        return deleted;
    }
    qordds::remove(participant.entities.subscribers, subscriber);
    delete subscriber;
    return result;
}

DDS_ReturnCode_t destroy_topic(DDSDomainParticipant::Impl& participant, DDSTopic* topic) {
    qordds::finish_deferred_deletions("DDSDomainParticipant::delete_topic");
    DDS_ReturnCode_t deleted = fast_call("DDSDomainParticipant::delete_topic", [&] {
        return participant.fast->delete_topic(qordds::impl_of(topic)->fast);
    });
    if (deleted != DDS_RETCODE_OK) {
        return deleted;
    }
    qordds::remove(participant.entities.topics, topic);
    delete topic;
    return DDS_RETCODE_OK;
}

}  // namespace

bool DDSDomainParticipant::Impl::endpoint_topic(DDSTopicDescription* description,
                                                const char* context, DDSTopic*& topic,
                                                const qordds::RegisteredType*& type) {
    topic = nullptr;
    for (DDSTopic* candidate : entities.topics) {
        if (candidate == description) {
            topic = candidate;
        }
    }
    if (topic == nullptr) {
        qordds::log(qordds::LogKind::Error, context, "bad parameter: topic");
        return false;
    }
    type = types.find(topic->get_type_name());
    if (type == nullptr || type->plugin.type_support == nullptr) {
        qordds::log(qordds::LogKind::Error, context, "no type support for \"%s\"",
                    topic->get_type_name());
        return false;
    }
    return true;
}

DDSTopic* DDSDomainParticipant::create_topic(const char* topic_name, const char* type_name,
                                             const DDS_TopicQos& qos, DDSTopicListener*,
                                             DDS_StatusMask) {
    const char* context = "DDSDomainParticipant::create_topic";
    if (topic_name == nullptr || topic_name[0] == '\0' || type_name == nullptr) {
        qordds::log(qordds::LogKind::Error, context, "bad parameter: %s",
                    type_name == nullptr ? "type_name" : "topic_name");
        return nullptr;
    }
    std::lock_guard<std::recursive_mutex> lock(impl_->mutex);
    if (impl_->fast == nullptr) {
        qordds::log(qordds::LogKind::Error, context, "participant not created");
        return nullptr;
    }
    if (impl_->types.find(type_name) == nullptr) {
        qordds::log(qordds::LogKind::Error, context, "type \"%s\" is not registered", type_name);
        return nullptr;
    }
    for (DDSTopic* existing : impl_->entities.topics) {
        if (qordds::impl_of(existing)->name == topic_name) {
            qordds::log(qordds::LogKind::Error, context, "topic \"%s\" already exists", topic_name);
            return nullptr;
        }
    }
    const DDS_TopicQos& effective = &qos == &DDS_TOPIC_QOS_DEFAULT ? impl_->defaults.topic : qos;
    fdds::TopicQos fast_qos = impl_->fast->get_default_topic_qos();
    if (qordds::translate_topic_qos(effective, fast_qos, context) != DDS_RETCODE_OK) {
        return nullptr;
    }
    std::string problem = qordds::topic_name_problem(impl_->qos, topic_name, type_name);
    if (!problem.empty()) {
        qordds::log(qordds::LogKind::Error, context, "%s", problem.c_str());
        return nullptr;
    }
    std::string wire_name = qordds::wire_topic_name(impl_->qos, topic_name);
    fdds::Topic* fast = nullptr;
    try {
        fast = impl_->fast->create_topic(wire_name, type_name, fast_qos);
    } catch (const std::exception& e) {
        qordds::log(qordds::LogKind::Error, context, "%s", e.what());
    }
    if (fast == nullptr) {
        qordds::log(qordds::LogKind::Error, context, "Fast DDS refused topic \"%s\"", topic_name);
        return nullptr;
    }
    DDSTopic::Impl* topic_impl = new (std::nothrow) DDSTopic::Impl;
    DDSTopic* topic = topic_impl == nullptr ? nullptr : new (std::nothrow) DDSTopic(topic_impl);
    if (topic == nullptr) {
        delete topic_impl;
        impl_->fast->delete_topic(fast);
        qordds::log(qordds::LogKind::Error, context, "out of memory");
        return nullptr;
    }
    topic_impl->participant = this;
    topic_impl->name = topic_name;
    topic_impl->type_name = type_name;
    topic_impl->fast = fast;
    impl_->entities.topics.push_back(topic);
    return topic;
}

DDS_ReturnCode_t DDSDomainParticipant::delete_topic(DDSTopic* topic) {
    const char* context = "DDSDomainParticipant::delete_topic";
    std::lock_guard<std::recursive_mutex> lock(impl_->mutex);
    if (topic == nullptr) {
        qordds::log(qordds::LogKind::Error, context, "bad parameter: topic");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    if (!qordds::contains(impl_->entities.topics, topic)) {
        qordds::log(qordds::LogKind::Error, context,
                    "the topic does not belong to this participant");
        return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    if (qordds::impl_of(topic)->endpoints > 0) {
        qordds::log(qordds::LogKind::Error, context, "topic \"%s\" still has %d endpoint(s)",
                    topic->get_name(), qordds::impl_of(topic)->endpoints);
        return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    return destroy_topic(*impl_, topic);
}

DDSPublisher* DDSDomainParticipant::create_publisher(const DDS_PublisherQos& qos,
                                                     DDSPublisherListener*, DDS_StatusMask) {
    const char* context = "DDSDomainParticipant::create_publisher";
    std::lock_guard<std::recursive_mutex> lock(impl_->mutex);
    if (impl_->fast == nullptr) {
        qordds::log(qordds::LogKind::Error, context, "participant not created");
        return nullptr;
    }
    fdds::PublisherQos fast_qos = impl_->fast->get_default_publisher_qos();
    set_partitions(fast_qos, impl_->qos, qos.partition);
    fdds::Publisher* fast = nullptr;
    try {
        fast = impl_->fast->create_publisher(fast_qos, nullptr, fdds::StatusMask::none());
    } catch (const std::exception& e) {
        qordds::log(qordds::LogKind::Error, context, "%s", e.what());
    }
    if (fast == nullptr) {
        qordds::log(qordds::LogKind::Error, context, "Fast DDS refused the publisher");
        return nullptr;
    }
    DDSPublisher::Impl* publisher_impl = new DDSPublisher::Impl;
    publisher_impl->participant = this;
    publisher_impl->fast = fast;
    DDSPublisher* publisher = new DDSPublisher(publisher_impl);
    impl_->entities.publishers.push_back(publisher);
    return publisher;
}

DDS_ReturnCode_t DDSDomainParticipant::delete_publisher(DDSPublisher* publisher) {
    const char* context = "DDSDomainParticipant::delete_publisher";
    std::lock_guard<std::recursive_mutex> lock(impl_->mutex);
    if (publisher == nullptr) {
        qordds::log(qordds::LogKind::Error, context, "bad parameter: publisher");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    if (!qordds::contains(impl_->entities.publishers, publisher)) {
        qordds::log(qordds::LogKind::Error, context,
                    "the publisher does not belong to this participant");
        return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    if (!qordds::impl_of(publisher)->writers.empty()) {
        qordds::log(qordds::LogKind::Error, context, "the publisher still has %zu writer(s)",
                    qordds::impl_of(publisher)->writers.size());
        return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    return destroy_publisher(*impl_, publisher, *qordds::impl_of(publisher));
}

DDSSubscriber* DDSDomainParticipant::create_subscriber(const DDS_SubscriberQos& qos,
                                                       DDSSubscriberListener*, DDS_StatusMask) {
    const char* context = "DDSDomainParticipant::create_subscriber";
    std::lock_guard<std::recursive_mutex> lock(impl_->mutex);
    if (impl_->fast == nullptr) {
        qordds::log(qordds::LogKind::Error, context, "participant not created");
        return nullptr;
    }
    fdds::SubscriberQos fast_qos = impl_->fast->get_default_subscriber_qos();
    set_partitions(fast_qos, impl_->qos, qos.partition);
    fdds::Subscriber* fast = nullptr;
    try {
        fast = impl_->fast->create_subscriber(fast_qos, nullptr, fdds::StatusMask::none());
    } catch (const std::exception& e) {
        qordds::log(qordds::LogKind::Error, context, "%s", e.what());
    }
    if (fast == nullptr) {
        qordds::log(qordds::LogKind::Error, context, "Fast DDS refused the subscriber");
        return nullptr;
    }
    DDSSubscriber::Impl* subscriber_impl = new DDSSubscriber::Impl;
    subscriber_impl->participant = this;
    subscriber_impl->fast = fast;
    DDSSubscriber* subscriber = new DDSSubscriber(subscriber_impl);
    impl_->entities.subscribers.push_back(subscriber);
    return subscriber;
}

DDS_ReturnCode_t DDSDomainParticipant::delete_subscriber(DDSSubscriber* subscriber) {
    const char* context = "DDSDomainParticipant::delete_subscriber";
    std::lock_guard<std::recursive_mutex> lock(impl_->mutex);
    if (subscriber == nullptr) {
        qordds::log(qordds::LogKind::Error, context, "bad parameter: subscriber");
        return DDS_RETCODE_BAD_PARAMETER;
    }
    if (!qordds::contains(impl_->entities.subscribers, subscriber)) {
        qordds::log(qordds::LogKind::Error, context,
                    "the subscriber does not belong to this participant");
        return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    if (!qordds::impl_of(subscriber)->readers.empty()) {
        qordds::log(qordds::LogKind::Error, context, "the subscriber still has %zu reader(s)",
                    qordds::impl_of(subscriber)->readers.size());
        return DDS_RETCODE_PRECONDITION_NOT_MET;
    }
    return destroy_subscriber(*impl_, subscriber, *qordds::impl_of(subscriber));
}

DDS_ReturnCode_t DDSDomainParticipant::delete_contained_entities() {
    std::lock_guard<std::recursive_mutex> lock(impl_->mutex);
    if (impl_->fast == nullptr) {
        return DDS_RETCODE_OK;
    }
    for (DDSSubscriber* subscriber : impl_->entities.subscribers) {
        for (qordds::UntypedDataReader* reader : qordds::impl_of(subscriber)->readers) {
            if (reader->has_outstanding_loans()) {
                qordds::log(qordds::LogKind::Error,
                            "DDSDomainParticipant::delete_contained_entities",
                            "a reader has loans outstanding");
                return DDS_RETCODE_PRECONDITION_NOT_MET;
            }
        }
    }
    DDS_ReturnCode_t result = DDS_RETCODE_OK;
    auto keep_first_error = [&result](DDS_ReturnCode_t code) {
        result = result == DDS_RETCODE_OK ? code : result;
    };
    while (!impl_->entities.publishers.empty()) {
        DDSPublisher* publisher = impl_->entities.publishers.back();
        DDS_ReturnCode_t code = destroy_publisher(*impl_, publisher, *qordds::impl_of(publisher));
        keep_first_error(code);
        if (code != DDS_RETCODE_OK && qordds::contains(impl_->entities.publishers, publisher)) {
            return result;
        }
    }
    while (!impl_->entities.subscribers.empty()) {
        DDSSubscriber* subscriber = impl_->entities.subscribers.back();
        DDS_ReturnCode_t code =
            destroy_subscriber(*impl_, subscriber, *qordds::impl_of(subscriber));
        keep_first_error(code);
        if (code != DDS_RETCODE_OK && qordds::contains(impl_->entities.subscribers, subscriber)) {
            return result;
        }
    }
    while (!impl_->entities.topics.empty()) {
        DDSTopic* topic = impl_->entities.topics.back();
        DDS_ReturnCode_t code = destroy_topic(*impl_, topic);
        keep_first_error(code);
        if (code != DDS_RETCODE_OK) {
            return result;
        }
    }
    return result;
}
