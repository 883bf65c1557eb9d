// Topic, writer and reader QoS as Fast DDS takes them.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <fastrtps/utils/IPLocator.h>

#include "qordds/logger.h"
#include "qos/endpoint_qos.h"

namespace fdds = eprosima::fastdds::dds;
using eprosima::fastrtps::Duration_t;
typedef std::vector<std::string> Texts;

TEST(EndpointQos, HistoryLimitsAndFilterThatDdsOrFastDdsRefuseFailCleanly) {
    struct Case {
        const char* what;
        DDS_HistoryQosPolicyKind kind;
        int32_t depth, max_samples, max_instances, per_instance;
        DDS_ReturnCode_t expected;
    };
    const int32_t U = DDS_LENGTH_UNLIMITED;
    const DDS_HistoryQosPolicyKind LAST = DDS_KEEP_LAST_HISTORY_QOS;
    const DDS_ReturnCode_t BAD = DDS_RETCODE_INCONSISTENT_POLICY;
    const Case cases[] = {
        {"defaults", LAST, 1, U, U, U, DDS_RETCODE_OK},
        {"depth 0", LAST, 0, U, U, U, BAD},
        {"keep all ignores depth", DDS_KEEP_ALL_HISTORY_QOS, 0, U, U, U, DDS_RETCODE_OK},
        {"zero limit", LAST, 1, 0, U, U, BAD},
        {"samples below per instance", LAST, 1, 2, U, 3, BAD},
        {"depth above per instance", LAST, 4, U, U, 3, BAD},
        {"product above samples", LAST, 1, 5, 5, 5, BAD},
        {"product fits", LAST, 5, 25, 5, 5, DDS_RETCODE_OK},
    };
    DDSLogger::get_instance()->set_verbosity(DDS_LOG_VERBOSITY_SILENT);
    for (const Case& c : cases) {
        DDS_DataReaderQos reader;
        reader.history.kind = c.kind;
        reader.history.depth = c.depth;
        reader.resource_limits = {c.max_samples, c.max_instances, c.per_instance};
        DDS_DataWriterQos writer;
        writer.history = reader.history;
        writer.resource_limits = reader.resource_limits;
        fdds::DataReaderQos fast_reader;
        fdds::DataWriterQos fast_writer;
        EXPECT_EQ(qordds::translate_reader_qos(reader, fast_reader, "test"), c.expected) << c.what;
        EXPECT_EQ(qordds::translate_writer_qos(writer, true, fast_writer, "test"), c.expected)
            << c.what;
    }
    // The time-based filter is carried for discovery and must fit in the deadline.
    DDS_DataReaderQos qos;
    qos.time_based_filter.minimum_separation = {0, 500000000};
    qos.deadline.period = {0, 500000000};
    fdds::DataReaderQos fast;
    EXPECT_EQ(qordds::translate_reader_qos(qos, fast, "test"), DDS_RETCODE_OK);
    EXPECT_EQ(fast.time_based_filter().minimum_separation, Duration_t(0, 500000000));
    qos.deadline.period = {0, 499999999};
    EXPECT_EQ(qordds::translate_reader_qos(qos, fast, "test"), BAD);
    DDSLogger::get_instance()->set_verbosity(DDS_LOG_VERBOSITY_ERROR);
}

// Reliable KEEP_LAST writers stay KEEP_LAST, with room for `depth` samples per instance (and
// in all, for an unkeyed type); the binding's send window stands in front of them.
TEST(EndpointQos, ReliableKeepLastWritersHaveRoomForTheirWindow) {
    const struct {
        bool reliable, keep_last, keyed;
        int32_t max_samples;  // the binding's limit
        const char* fast;     // history kind, depth, max samples, max samples per instance
    } cases[] = {
        {true, true, false, DDS_LENGTH_UNLIMITED, "last 1000 1000 1000"},  // unkeyed: capped in all
        {true, true, true, DDS_LENGTH_UNLIMITED, "last 1000 0 1000"},
        {true, true, true, 5000, "last 1000 5000 1000"},
        {false, true, false, DDS_LENGTH_UNLIMITED, "last 1000 0 0"},  // best effort: untouched
        {true, false, false, DDS_LENGTH_UNLIMITED, "all 1 0 0"},      // keep all: untouched
    };
    for (const auto& c : cases) {
        DDS_DataWriterQos qos;
        qos.reliability.kind =
            c.reliable ? DDS_RELIABLE_RELIABILITY_QOS : DDS_BEST_EFFORT_RELIABILITY_QOS;
        qos.history.kind = c.keep_last ? DDS_KEEP_LAST_HISTORY_QOS : DDS_KEEP_ALL_HISTORY_QOS;
        qos.history.depth = 1000;
        qos.resource_limits.max_samples = c.max_samples;
        fdds::DataWriterQos fast;
        ASSERT_EQ(qordds::translate_writer_qos(qos, c.keyed, fast, "test"), DDS_RETCODE_OK);
        const fdds::ResourceLimitsQosPolicy& limits = fast.resource_limits();
        EXPECT_EQ(
            std::string(fast.history().kind == fdds::KEEP_ALL_HISTORY_QOS ? "all " : "last ") +
                std::to_string(fast.history().depth) + " " + std::to_string(limits.max_samples) +
                " " + std::to_string(limits.max_samples_per_instance),
            c.fast);
        EXPECT_LE(limits.allocated_samples, limits.max_samples > 0 ? limits.max_samples : INT32_MAX)
            << c.fast;
    }
}

TEST(EndpointQos, ReaderMulticastSettingsBecomeMulticastLocators) {
    struct Setting {
        const char* address;
        int32_t port;
        const char* transport;  // null: the empty list, every transport
    };
    const Setting settings[] = {
        {"239.255.0.1", 23001, nullptr},
        {"ff02::1", 7400, nullptr},
        {"239.255.0.2", 23002, "UDPv6"},  // another transport's only: left out
        {"239.255.0.3", 23003, "builtin.udpv4"},
        {"foo", 12, nullptr},           // not an address: left out
        {"localhost", 23001, nullptr},  // names are never looked up
        {nullptr, 23001, nullptr},
        {"239.255.0.4", 0, nullptr},   // no port: left out
        {"10.0.0.1", 23001, nullptr},  // no multicast group: left out
        {"223.255.255.255", 23001, nullptr},
        {"224.0.0.0", 23005, nullptr},
        {"239.255.255.255", 23006, nullptr},
        {"240.0.0.0", 23001, nullptr},
        {"::1", 23001, nullptr},
    };
    DDS_DataReaderQos qos;
    const int32_t count = sizeof settings / sizeof settings[0];
    ASSERT_TRUE(qos.multicast.value.ensure_length(count, count));
    for (int32_t i = 0; i < count; ++i) {
        DDS_TransportMulticastSettings_t& setting = qos.multicast.value[i];
        if (settings[i].address != nullptr) {
            DDS_String_replace(&setting.receive_address, settings[i].address);
        }
        setting.receive_port = settings[i].port;
        if (settings[i].transport != nullptr) {
            ASSERT_TRUE(setting.transports.ensure_length(1, 1));
            DDS_String_replace(&setting.transports[0], settings[i].transport);
        }
    }
    fdds::DataReaderQos fast;
    DDSLogger::get_instance()->set_verbosity(DDS_LOG_VERBOSITY_SILENT);
    ASSERT_EQ(qordds::translate_reader_qos(qos, fast, "test"), DDS_RETCODE_OK);
    DDSLogger::get_instance()->set_verbosity(DDS_LOG_VERBOSITY_ERROR);
    Texts locators;
    for (const auto& locator : fast.endpoint().multicast_locator_list) {
        locators.push_back(eprosima::fastrtps::rtps::IPLocator::ip_to_string(locator) + ":" +
                           std::to_string(locator.port));
    }
    EXPECT_EQ(locators, (Texts{"239.255.0.1:23001", "ff02::1:7400", "239.255.0.3:23003",
                               "224.0.0.0:23005", "239.255.255.255:23006"}));
    EXPECT_TRUE(fast.endpoint().unicast_locator_list.empty());
}
