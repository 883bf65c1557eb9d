// Creating, enabling and deleting participants on Fast DDS. Runs on a private host.
#include <gtest/gtest.h>

#include <fastdds/dds/domain/DomainParticipant.hpp>
#include <fastdds/dds/publisher/qos/PublisherQos.hpp>

#include "dds/domain.h"
#include "dds/publication.h"
#include "dds/src/participant_impl.h"

namespace {

DDSDomainParticipantFactory* factory_with_autoenable(bool autoenable) {
    DDSDomainParticipantFactory* factory = DDSDomainParticipantFactory::get_instance();
    DDS_DomainParticipantFactoryQos qos;
    EXPECT_EQ(factory->get_qos(qos), DDS_RETCODE_OK);
    qos.entity_factory.autoenable_created_entities = autoenable;
    EXPECT_EQ(factory->set_qos(qos), DDS_RETCODE_OK);
    return factory;
}

DDS_DomainParticipantQos named_qos(const char* name) {
    DDS_DomainParticipantQos qos;
    DDS_String_replace(&qos.participant_name.name, name);
    return qos;
}

TEST(ParticipantLifecycle, CreatedDisabledUntilEnabled) {
    DDSDomainParticipantFactory* factory = factory_with_autoenable(false);
    DDSDomainParticipant* participant =
        factory->create_participant(3, named_qos("lifecycle"), nullptr, DDS_STATUS_MASK_NONE);
    ASSERT_NE(participant, nullptr);
    eprosima::fastdds::dds::DomainParticipant* fast = participant->impl()->fast;
    EXPECT_FALSE(fast->is_enabled());
    EXPECT_EQ(participant->get_domain_id(), 3);
    EXPECT_EQ(fast->get_domain_id(), 3u);

    EXPECT_EQ(participant->enable(), DDS_RETCODE_OK);
    EXPECT_TRUE(fast->is_enabled());
    EXPECT_EQ(std::string(fast->get_qos().name().c_str()), "lifecycle");
    EXPECT_EQ(participant->enable(), DDS_RETCODE_OK);  // a second enable changes nothing

    EXPECT_EQ(factory->finalize_instance(), DDS_RETCODE_PRECONDITION_NOT_MET);
    EXPECT_EQ(factory->delete_participant(participant), DDS_RETCODE_OK);
    EXPECT_EQ(factory->delete_participant(participant), DDS_RETCODE_BAD_PARAMETER);
    EXPECT_EQ(DDSDomainParticipantFactory::finalize_instance(), DDS_RETCODE_OK);
    EXPECT_EQ(DDSDomainParticipantFactory::finalize_instance(), DDS_RETCODE_OK);
}

TEST(ParticipantLifecycle, AutoenableEnablesAtCreation) {
    DDSDomainParticipantFactory* factory = factory_with_autoenable(true);
    DDSDomainParticipant* participant =
        factory->create_participant(0, named_qos("auto"), nullptr, DDS_STATUS_MASK_NONE);
    ASSERT_NE(participant, nullptr);
    EXPECT_TRUE(participant->impl()->fast->is_enabled());
    EXPECT_EQ(factory->delete_participant(participant), DDS_RETCODE_OK);
}

TEST(ParticipantLifecycle, RefusesDeletionWhileEntitiesExist) {
    DDSDomainParticipantFactory* factory = factory_with_autoenable(true);
    DDSDomainParticipant* participant =
        factory->create_participant(0, named_qos("busy"), nullptr, DDS_STATUS_MASK_NONE);
    ASSERT_NE(participant, nullptr);
    DDSPublisher* publisher = participant->create_publisher(DDS_PublisherQos(), nullptr, 0);
    ASSERT_NE(publisher, nullptr);
    EXPECT_EQ(factory->delete_participant(participant), DDS_RETCODE_PRECONDITION_NOT_MET);
    EXPECT_EQ(participant->delete_publisher(publisher), DDS_RETCODE_OK);

    // Entities made with Fast DDS directly count too.
    auto* fast_publisher =
        participant->impl()->fast->create_publisher(eprosima::fastdds::dds::PUBLISHER_QOS_DEFAULT);
    ASSERT_NE(fast_publisher, nullptr);
    EXPECT_EQ(factory->delete_participant(participant), DDS_RETCODE_PRECONDITION_NOT_MET);
    participant->impl()->fast->delete_publisher(fast_publisher);
    EXPECT_EQ(factory->delete_participant(participant), DDS_RETCODE_OK);
}

// Fast DDS ends the process when a domain's ports do not fit; the binding refuses first.
TEST(ParticipantLifecycle, RefusesDomainsAndIndexesBeyondThePortRange) {
    DDSDomainParticipantFactory* factory = factory_with_autoenable(true);
    EXPECT_EQ(factory->create_participant(233, named_qos("x"), nullptr, 0), nullptr);
    EXPECT_EQ(factory->create_participant(-1, named_qos("x"), nullptr, 0), nullptr);
    DDS_DomainParticipantQos qos = named_qos("x");
    qos.wire_protocol.participant_id = 63;
    EXPECT_EQ(factory->create_participant(232, qos, nullptr, 0), nullptr);
    qos.wire_protocol.participant_id = 62;
    DDSDomainParticipant* participant = factory->create_participant(232, qos, nullptr, 0);
    ASSERT_NE(participant, nullptr);
    EXPECT_EQ(factory->delete_participant(participant), DDS_RETCODE_OK);
}

}  // namespace
