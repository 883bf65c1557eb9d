// The participant factory and the DomainParticipant.
#ifndef QOR_DDS_DOMAIN_H
#define QOR_DDS_DOMAIN_H

#include "qordds/listener.h"
#include "qordds/qos.h"
#include "qordds/sequence.h"
#include "qordds/type_plugin.h"
#include "qordds/types.h"

namespace qordds {
struct ImplAccess;
}

class DDSDomainParticipant;
class DDSPublisher;
class DDSSubscriber;
class DDSTopic;

class DDSDomainParticipantFactory {
  public:
    // The process-wide factory.
    static DDSDomainParticipantFactory* get_instance();
    // Releases what the binding holds for the factory (profiles, QoS); participants must be
    // deleted first (DDS_RETCODE_PRECONDITION_NOT_MET otherwise). Safe to call twice.
    static DDS_ReturnCode_t finalize_instance();

    DDS_ReturnCode_t get_qos(DDS_DomainParticipantFactoryQos& qos);
    // Installs the QoS; the profile lists become the sources of QoS libraries and profiles.
    DDS_ReturnCode_t set_qos(const DDS_DomainParticipantFactoryQos& qos);

    DDS_ReturnCode_t get_qos_profile_libraries(DDS_StringSeq& library_names);
    DDS_ReturnCode_t get_qos_profiles(DDS_StringSeq& profile_names, const char* library_name);
    DDS_ReturnCode_t get_participant_qos_from_profile(DDS_DomainParticipantQos& qos,
                                                      const char* library_name,
                                                      const char* profile_name);

    DDSDomainParticipant* create_participant(DDS_DomainId_t domain_id,
                                             const DDS_DomainParticipantQos& qos,
                                             DDSDomainParticipantListener* listener,
                                             DDS_StatusMask mask);
    DDS_ReturnCode_t delete_participant(DDSDomainParticipant* participant);

    class Impl;  // binding-internal

  private:
    friend struct qordds::ImplAccess;
    DDSDomainParticipantFactory();
    ~DDSDomainParticipantFactory();
    Impl* impl_;
};

class DDSDomainParticipant {
  public:
    DDS_ReturnCode_t enable();
    DDS_DomainId_t get_domain_id();

    // Make a QoS profile the default for entities created afterwards.
    DDS_ReturnCode_t set_default_topic_qos_with_profile(const char* library_name,
                                                        const char* profile_name);
    DDS_ReturnCode_t set_default_publisher_qos_with_profile(const char* library_name,
                                                            const char* profile_name);
    DDS_ReturnCode_t set_default_subscriber_qos_with_profile(const char* library_name,
                                                             const char* profile_name);
    DDS_ReturnCode_t set_default_datawriter_qos_with_profile(const char* library_name,
                                                             const char* profile_name);
    DDS_ReturnCode_t set_default_datareader_qos_with_profile(const char* library_name,
                                                             const char* profile_name);

    DDS_ReturnCode_t get_default_topic_qos(DDS_TopicQos& qos);
    DDS_ReturnCode_t get_default_publisher_qos(DDS_PublisherQos& qos);
    DDS_ReturnCode_t get_default_subscriber_qos(DDS_SubscriberQos& qos);

    DDSTopic* create_topic(const char* topic_name, const char* type_name, const DDS_TopicQos& qos,
                           DDSTopicListener* listener, DDS_StatusMask mask);
    DDS_ReturnCode_t delete_topic(DDSTopic* topic);

    DDSPublisher* create_publisher(const DDS_PublisherQos& qos, DDSPublisherListener* listener,
                                   DDS_StatusMask mask);
    DDS_ReturnCode_t delete_publisher(DDSPublisher* publisher);

    DDSSubscriber* create_subscriber(const DDS_SubscriberQos& qos, DDSSubscriberListener* listener,
                                     DDS_StatusMask mask);
    DDS_ReturnCode_t delete_subscriber(DDSSubscriber* subscriber);

    // Deletes topics, publishers, subscribers and their endpoints.
    DDS_ReturnCode_t delete_contained_entities();

    // Type registration, for type supports.
    bool is_type_registered(const char* type_name);
    // Registers the plugin under `type_name`. When `keep_type_support` is true the participant
    // takes ownership of plugin.type_support (on success only; on failure it stays the
    // caller's). Registering the same plugin again under one name is accepted; a different
    // plugin under a used name is DDS_RETCODE_PRECONDITION_NOT_MET.
    DDS_ReturnCode_t register_type(const char* type_name, const DDSTypePlugin& plugin,
                                   bool keep_type_support);
    DDS_ReturnCode_t unregister_type(const char* type_name);
    DDS_ReturnCode_t lock();
    DDS_ReturnCode_t unlock();

    class Impl;  // binding-internal
    explicit DDSDomainParticipant(Impl* impl) : impl_(impl) {}
    ~DDSDomainParticipant();

  private:
    friend struct qordds::ImplAccess;
    DDSDomainParticipant(const DDSDomainParticipant&) = delete;
    DDSDomainParticipant& operator=(const DDSDomainParticipant&) = delete;
    Impl* impl_;
};

#endif
