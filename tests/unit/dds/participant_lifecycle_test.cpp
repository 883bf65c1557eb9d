// Creating, enabling and deleting participants on Fast DDS. Runs on a private host.
#include <gtest/gtest.h>

#include <fastdds/dds/domain/DomainParticipant.hpp>
#include <fastdds/dds/publisher/qos/PublisherQos.hpp>

#include "entities/impl_access.h"
#include "entities/participant_impl.h"
#include "qordds/domain.h"
#include "qordds/publication.h"

namespace {

DDSDomainParticipant* create(bool autoenable, DDS_DomainId_t domain, int index = -1) {
    DDSDomainParticipantFactory* factory = DDSDomainParticipantFactory::get_instance();
    DDS_DomainParticipantFactoryQos factoryQos;
    factory->get_qos(factoryQos);
    factoryQos.entity_factory.autoenable_created_entities = autoenable;
    EXPECT_EQ(factory->set_qos(factoryQos), DDS_RETCODE_OK);
    DDS_DomainParticipantQos qos;
    DDS_String_replace(&qos.participant_name.name, "lifecycle");
    qos.wire_protocol.participant_id = index;
    return factory->create_participant(domain, qos, nullptr, DDS_STATUS_MASK_NONE);
}

TEST(ParticipantLifecycle, EnabledAtCreationOnlyWithAutoenable) {
    DDSDomainParticipantFactory* factory = DDSDomainParticipantFactory::get_instance();
    DDSDomainParticipant* participant = create(false, 3);
    ASSERT_NE(participant, nullptr);
    eprosima::fastdds::dds::DomainParticipant* fast = qordds::impl_of(participant)->fast;
    EXPECT_FALSE(fast->is_enabled());
    EXPECT_EQ(fast->get_domain_id(), 3u);
    EXPECT_EQ(participant->enable(), DDS_RETCODE_OK);
    EXPECT_TRUE(fast->is_enabled());
    EXPECT_EQ(fast->get_qos().name().to_string(), "lifecycle");
    EXPECT_EQ(participant->enable(), DDS_RETCODE_OK);  // a second enable changes nothing

    DDSDomainParticipant* enabled = create(true, 0);
    ASSERT_NE(enabled, nullptr);
    EXPECT_TRUE(qordds::impl_of(enabled)->fast->is_enabled());

    EXPECT_EQ(factory->delete_participant(enabled), DDS_RETCODE_OK);
    EXPECT_EQ(factory->finalize_instance(), DDS_RETCODE_PRECONDITION_NOT_MET);
    EXPECT_EQ(factory->delete_participant(participant), DDS_RETCODE_OK);
    EXPECT_EQ(factory->delete_participant(participant), DDS_RETCODE_BAD_PARAMETER);
    EXPECT_EQ(DDSDomainParticipantFactory::finalize_instance(), DDS_RETCODE_OK);
    EXPECT_EQ(DDSDomainParticipantFactory::finalize_instance(), DDS_RETCODE_OK);
}

TEST(ParticipantLifecycle, RefusesDeletionWhileEntitiesExist) {
    DDSDomainParticipantFactory* factory = DDSDomainParticipantFactory::get_instance();
    DDSDomainParticipant* participant = create(true, 0);
    ASSERT_NE(participant, nullptr);
    DDSPublisher* publisher = participant->create_publisher(DDS_PublisherQos(), nullptr, 0);
    ASSERT_NE(publisher, nullptr);
    EXPECT_EQ(factory->delete_participant(participant), DDS_RETCODE_PRECONDITION_NOT_MET);
    EXPECT_EQ(participant->delete_publisher(publisher), DDS_RETCODE_OK);
    // Entities made with Fast DDS directly count too.
    auto* fastPublisher =
        qordds::impl_of(participant)
            ->fast->create_publisher(eprosima::fastdds::dds::PUBLISHER_QOS_DEFAULT);
    ASSERT_NE(fastPublisher, nullptr);
    EXPECT_EQ(factory->delete_participant(participant), DDS_RETCODE_PRECONDITION_NOT_MET);
    qordds::impl_of(participant)->fast->delete_publisher(fastPublisher);
    EXPECT_EQ(factory->delete_participant(participant), DDS_RETCODE_OK);
}

// Fast DDS ends the process when a domain's ports do not fit; the binding refuses first.
TEST(ParticipantLifecycle, RefusesDomainsAndIndexesBeyondThePortRange) {
    EXPECT_EQ(create(true, 233), nullptr);
    EXPECT_EQ(create(true, -1), nullptr);
    EXPECT_EQ(create(true, 232, 63), nullptr);
    DDSDomainParticipant* participant = create(true, 232, 62);
    ASSERT_NE(participant, nullptr);
    EXPECT_EQ(DDSDomainParticipantFactory::get_instance()->delete_participant(participant),
              DDS_RETCODE_OK);
}

}  // namespace
