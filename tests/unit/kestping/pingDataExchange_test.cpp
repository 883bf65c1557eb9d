// The ping types registered with a participant under the tool's type name.
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include <fastdds/dds/domain/DomainParticipant.hpp>

#include "entities/impl_access.h"
#include "entities/participant_impl.h"
#include "kestping/pingDataSupport.h"
#include "qordds/domain.h"
#include "qordds/logger.h"
#include "tests/unit/support/test_io.h"

namespace {

// Each step's result, its log and the type then registered under the name. A type registered
// again keeps its first type support and releases the new one (LeakSanitizer would report it
// otherwise); another type is refused until the name is released.
TEST(PingTypeRegistration, TheNameKeepsItsFirstTypeUntilReleased) {
    DDSDomainParticipant* participant =
        DDSDomainParticipantFactory::get_instance()->create_participant(
            0, DDS_DomainParticipantQos(), nullptr, DDS_STATUS_MASK_NONE);
    ASSERT_NE(participant, nullptr);
    auto registered = [&]() -> const qordds::RegisteredType* {
        std::lock_guard<std::recursive_mutex> lock(qordds::impl_of(participant)->mutex);
        return qordds::impl_of(participant)->types.find("PingType");
    };
    auto keyed = [&] {
        return KestKeyedPingDataTypeSupport::register_type(participant, "PingType");
    };
    auto plain = [&] { return KestPingDataTypeSupport::register_type(participant, "PingType"); };
    auto unregister = [&] {
        return KestPingDataTypeSupport::unregister_type(participant, "PingType");
    };
    const struct {
        std::function<DDS_ReturnCode_t()> operation;
        DDS_ReturnCode_t result;
        const char* logged;
        std::string typeAfter;
    } steps[] = {
        {keyed, DDS_RETCODE_OK, "", "KestKeyedPingData"},
        {keyed, DDS_RETCODE_OK, "", "KestKeyedPingData"},
        {plain, DDS_RETCODE_PRECONDITION_NOT_MET, "register_type error 4", "KestKeyedPingData"},
        {unregister, DDS_RETCODE_OK, "", ""},
        {unregister, DDS_RETCODE_BAD_PARAMETER, "unregister_type error 3", ""},
        {plain, DDS_RETCODE_OK, "", "KestPingData"},
        {[&] { return KestPingDataTypeSupport::register_type(participant, ""); },
         DDS_RETCODE_BAD_PARAMETER, "type_name", "KestPingData"},
    };
    DDSLogger::get_instance()->set_verbosity(DDS_LOG_VERBOSITY_FATAL | DDS_LOG_VERBOSITY_ERROR);
    for (size_t i = 0; i < sizeof steps / sizeof steps[0]; ++i) {
        SCOPED_TRACE(i);
        const qordds::RegisteredType* before = registered();
        const DDSTypeSupport* supportBefore = before ? before->type_support.get() : nullptr;
        DDS_ReturnCode_t result = DDS_RETCODE_ERROR;
        std::string log = qortest::captureStdout([&] { result = steps[i].operation(); });
        EXPECT_EQ(result, steps[i].result);
        EXPECT_NE(log.find(steps[i].logged), std::string::npos) << log;
        const qordds::RegisteredType* now = registered();
        EXPECT_EQ(now ? now->plugin.type_name : "", steps[i].typeAfter);
        if (now != nullptr) {
            EXPECT_EQ(now->fast_type->m_isGetKeyDefined, steps[i].typeAfter == "KestKeyedPingData");
            EXPECT_EQ(qordds::impl_of(participant)->fast->find_type("PingType"), now->fast_type);
            EXPECT_TRUE(supportBefore == nullptr || now->type_support.get() == supportBefore);
        }
    }
    EXPECT_FALSE(participant->is_type_registered("KestPingData")) << "only under the given name";
    EXPECT_EQ(participant->delete_contained_entities(), DDS_RETCODE_OK);
    EXPECT_EQ(DDSDomainParticipantFactory::get_instance()->delete_participant(participant),
              DDS_RETCODE_OK);
}

}  // namespace
