// Registering the ping types with participants on Fast DDS. Runs on a private host.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include <fastdds/dds/domain/DomainParticipant.hpp>

#include "dds/logger.h"
#include "dds/src/participant_impl.h"
#include "kestping/pingDataSupport.h"

namespace {

std::string logged_by(const std::function<void()>& operation) {
    DDSLogger::get_instance()->set_verbosity(DDS_LOG_VERBOSITY_FATAL | DDS_LOG_VERBOSITY_ERROR);
    testing::internal::CaptureStdout();
    operation();
    return testing::internal::GetCapturedStdout();
}

// Participants stay disabled: registration needs no sockets.
class Registration : public testing::Test {
  protected:
    void SetUp() override {
        DDSDomainParticipantFactory* factory = DDSDomainParticipantFactory::get_instance();
        DDS_DomainParticipantFactoryQos qos;
        ASSERT_EQ(factory->get_qos(qos), DDS_RETCODE_OK);
        qos.entity_factory.autoenable_created_entities = false;
        ASSERT_EQ(factory->set_qos(qos), DDS_RETCODE_OK);
        DDS_DomainParticipantQos participant_qos;
        first = factory->create_participant(0, participant_qos, nullptr, DDS_STATUS_MASK_NONE);
        second = factory->create_participant(0, participant_qos, nullptr, DDS_STATUS_MASK_NONE);
        ASSERT_NE(first, nullptr);
        ASSERT_NE(second, nullptr);
    }
    void TearDown() override {
        DDSDomainParticipantFactory* factory = DDSDomainParticipantFactory::get_instance();
        EXPECT_EQ(factory->delete_participant(first), DDS_RETCODE_OK);
        EXPECT_EQ(factory->delete_participant(second), DDS_RETCODE_OK);
    }

    static const qordds::RegisteredType* registered(DDSDomainParticipant* participant,
                                                    const char* name) {
        std::lock_guard<std::recursive_mutex> lock(participant->impl()->mutex);
        return participant->impl()->types.find(name);
    }

    DDSDomainParticipant* first = nullptr;
    DDSDomainParticipant* second = nullptr;
};

TEST_F(Registration, BothTypesUnderPingTypeOnTwoParticipants) {
    ASSERT_EQ(KestKeyedPingDataTypeSupport::register_type(first, "PingType"), DDS_RETCODE_OK);
    ASSERT_EQ(KestPingDataTypeSupport::register_type(second, "PingType"), DDS_RETCODE_OK);
    EXPECT_TRUE(first->is_type_registered("PingType"));
    EXPECT_FALSE(first->is_type_registered("KestKeyedPingData")) << "only under the given name";

    const qordds::RegisteredType* keyed = registered(first, "PingType");
    ASSERT_NE(keyed, nullptr);
    EXPECT_STREQ(keyed->plugin.type_name, "KestKeyedPingData");
    EXPECT_NE(dynamic_cast<KestKeyedPingDataTypeSupport*>(keyed->type_support.get()), nullptr);
    EXPECT_EQ(keyed->plugin.type_support, keyed->type_support.get());
    EXPECT_STREQ(keyed->fast_type.get_type_name().c_str(), "PingType");
    EXPECT_TRUE(keyed->fast_type->m_isGetKeyDefined);
    EXPECT_EQ(first->impl()->fast->find_type("PingType"), keyed->fast_type)
        << "the same type is registered with Fast DDS";

    const qordds::RegisteredType* plain = registered(second, "PingType");
    ASSERT_NE(plain, nullptr);
    EXPECT_STREQ(plain->plugin.type_name, "KestPingData");
    EXPECT_FALSE(plain->fast_type->m_isGetKeyDefined);
    EXPECT_NE(second->impl()->fast->find_type("PingType").get(), nullptr);
}

TEST_F(Registration, SameTypeTwiceKeepsOneTypeSupport) {
    ASSERT_EQ(KestPingDataTypeSupport::register_type(first, "PingType"), DDS_RETCODE_OK);
    const DDSTypeSupport* kept = registered(first, "PingType")->type_support.get();
    std::string log;
    DDS_ReturnCode_t again = DDS_RETCODE_ERROR;
    log = logged_by([&] { again = KestPingDataTypeSupport::register_type(first, "PingType"); });
    EXPECT_EQ(again, DDS_RETCODE_OK);
    EXPECT_EQ(log, "");
    EXPECT_EQ(registered(first, "PingType")->type_support.get(), kept);
    // The second type support was released (LeakSanitizer would report it otherwise).
}

TEST_F(Registration, OtherTypeUnderAUsedNameIsRefused) {
    ASSERT_EQ(KestPingDataTypeSupport::register_type(first, "PingType"), DDS_RETCODE_OK);
    DDS_ReturnCode_t result = DDS_RETCODE_OK;
    std::string log =
        logged_by([&] { result = KestKeyedPingDataTypeSupport::register_type(first, "PingType"); });
    EXPECT_EQ(result, DDS_RETCODE_PRECONDITION_NOT_MET);
    EXPECT_NE(log.find("register_type error 4"), std::string::npos) << log;
    EXPECT_STREQ(registered(first, "PingType")->plugin.type_name, "KestPingData");
}

TEST_F(Registration, UnregisterReleasesTheName) {
    ASSERT_EQ(KestKeyedPingDataTypeSupport::register_type(first, "PingType"), DDS_RETCODE_OK);
    EXPECT_EQ(KestKeyedPingDataTypeSupport::unregister_type(first, "PingType"), DDS_RETCODE_OK);
    EXPECT_FALSE(first->is_type_registered("PingType"));
    EXPECT_EQ(first->impl()->fast->find_type("PingType").get(), nullptr);

    struct Case {
        const char* name;
        std::function<DDS_ReturnCode_t()> operation;
        DDS_ReturnCode_t result;
        const char* message;
    } cases[] = {
        {"unregistered name",
         [&] { return KestKeyedPingDataTypeSupport::unregister_type(first, "PingType"); },
         DDS_RETCODE_BAD_PARAMETER, "unregister_type error 3"},
        {"missing type name",
         [&] { return KestKeyedPingDataTypeSupport::unregister_type(first, nullptr); },
         DDS_RETCODE_BAD_PARAMETER, "type_name"},
        {"register without type name",
         [&] { return KestPingDataTypeSupport::register_type(first, nullptr); }, DDS_RETCODE_ERROR,
         "type_name"},
        {"register under an empty name",
         [&] { return KestPingDataTypeSupport::register_type(first, ""); },
         DDS_RETCODE_BAD_PARAMETER, "register_type error 3"},
    };
    for (const Case& c : cases) {
        DDS_ReturnCode_t result = DDS_RETCODE_OK;
        std::string log = logged_by([&] { result = c.operation(); });
        EXPECT_EQ(result, c.result) << c.name;
        EXPECT_NE(log.find(c.message), std::string::npos) << c.name << ": " << log;
    }
    // The name can be used again, even by the other type.
    EXPECT_EQ(KestPingDataTypeSupport::register_type(first, "PingType"), DDS_RETCODE_OK);
}

}  // namespace
