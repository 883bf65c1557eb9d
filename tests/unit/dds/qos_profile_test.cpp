// QoS profile sources: what the factory loads from XML, and how it refuses bad sources.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "profiles/qos_profile_library.h"
#include "qordds/domain.h"
#include "tests/unit/support/test_io.h"

namespace {

// One string profile and, when given, one file.
DDS_DomainParticipantFactoryQos sources(const char* text, const std::string& file = "") {
    DDS_DomainParticipantFactoryQos qos;
    qos.profile.string_profile.ensure_length(1, 1);
    DDS_String_replace(&qos.profile.string_profile[0], text);
    if (!file.empty()) {
        qos.profile.url_profile.ensure_length(1, 1);
        DDS_String_replace(&qos.profile.url_profile[0], file.c_str());
    }
    return qos;
}

std::string names(const DDS_StringSeq& sequence) {
    std::string text;
    for (int32_t i = 0; i < sequence.length(); ++i) {
        text += (i > 0 ? " " : "") + std::string(sequence[i]);
    }
    return text;
}

std::string loadedLibraries() {
    DDS_StringSeq libraries;
    DDSDomainParticipantFactory::get_instance()->get_qos_profile_libraries(libraries);
    return names(libraries);
}

// One profile of library L, in a document of its own; `body` starts on line 4.
std::string profile(const std::string& body, const std::string& attributes = "") {
    return "<dds>\n<qos_library name='L'>\n<qos_profile name='P'" + attributes + ">\n" + body +
           "\n</qos_profile>\n</qos_library>\n</dds>\n";
}

// Each broken source is refused as a whole, with its name, line and the element or value in
// the message, and the profiles loaded before stay as they were.
TEST(QosProfileSources, BrokenSourcesAreRefusedAndNamed) {
    const char* const good =
        "<dds><qos_library name='Good'><qos_profile name='P'/></qos_library></dds>";
    std::string directory = testing::TempDir() + "qos_directory";
    mkdir(directory.c_str(), 0700);
    // Nothing ever writes into it: opening it for reading would wait for ever.
    std::string fifo = testing::TempDir() + "qos_fifo";
    unlink(fifo.c_str());
    mkfifo(fifo.c_str(), 0600);
    // One byte past the limit, in whitespace that would otherwise parse.
    std::string oversized = "<dds/>" + std::string(qordds::qos_file_size_limit - 5, ' ');
    const struct {
        const char* what;
        std::string text;  // written to a file, unless `path` names one already
        std::string expected;
        std::string path = "";
    } cases[] = {
        {"malformed", "<dds>\n<qos_library name='L'>\n<qos_profile name='P'>\n</qos_library>",
         ", line 3: malformed XML (XML_ERROR_MISMATCHED_ELEMENT: XMLElement name=qos_profile)"},
        {"unknown_element", profile("<datawriter_qos>\n<reliabilty/></datawriter_qos>"),
         ", line 5: unknown element <reliabilty> in <datawriter_qos>"},
        {"bad_enum",
         profile(
             "<datareader_qos><reliability>\n<kind>RELIABLE</kind></reliability></datareader_qos>"),
         ", line 5: value 'RELIABLE' of <kind> is not a reliability kind"},
        {"bad_number",
         profile("<datawriter_qos><history>\n<depth> 1O </depth></history></datawriter_qos>"),
         ", line 5: value '1O' of <depth> is not an integer"},
        {"out_of_range",
         profile("<datawriter_qos><deadline><period>\n<nanosec>1000000000</nanosec></period></"
                 "deadline></datawriter_qos>"),
         ", line 5: value '1000000000' of <nanosec> is out of range (0 to 999999999)"},
        {"missing_base", profile("", " base_name='L::Nope'"),
         ", line 3: base profile 'L::Nope' of profile 'L::P' does not exist"},
        {"loop",
         "<dds><qos_library name='L'>\n<qos_profile name='A' base_name='B'/>\n<qos_profile "
         "name='B' base_name='L::A'/></qos_library></dds>",
         ", line 2: base profiles of 'L::A' lead back to themselves"},
        {"loop_further_on",
         "<dds><qos_library name='L'>\n<qos_profile name='P' base_name='A'/>\n<qos_profile "
         "name='A' base_name='B'/>\n<qos_profile name='B' base_name='A'/></qos_library></dds>",
         ", line 3: base profiles of 'L::A' lead back to themselves"},
        {"missing_file", "", ": cannot open the file: No such file or directory",
         testing::TempDir() + "no_such_file.xml"},
        {"directory", "", ": not a regular file", directory},
        {"fifo", "", ": not a regular file", fifo},
        {"endless_device", "", ": not a regular file", "/dev/zero"},
        {"random_device", "", ": not a regular file", "/dev/urandom"},
        {"oversized", oversized, ": larger than 8388608 bytes, the limit of a QoS file"},
        {"empty_file", "", ": malformed XML (XML_ERROR_EMPTY_DOCUMENT)"},
        {"wrong_root", "<profiles>\n<qos_library name='L'/></profiles>",
         ", line 1: the root element is <profiles>, not <dds>"},
        {"participant_id_out_of_range",
         profile("<domain_participant_qos><wire_protocol>\n<participant_id>2147483647</"
                 "participant_id></wire_protocol></domain_participant_qos>"),
         ", line 5: value '2147483647' of <participant_id> is out of range (-1 to 29062)"},
        {"no_transport",
         profile("<domain_participant_qos><transport_builtin>\n<mask>MASK_NONE</mask></"
                 "transport_builtin></domain_participant_qos>"),
         ", line 5: <mask> enables no built-in transport (UDPv4, SHMEM or UDPv6)"},
        {"bad_peer",
         profile("<domain_participant_qos><discovery><initial_peers><element>host1</element>\n"
                 "<element>not a peer!!</element></initial_peers></discovery>"
                 "</domain_participant_qos>"),
         ", line 5: peer 'not a peer!!': 'not a peer!!' is neither an address nor a host name"},
        {"bad_peer_index",
         profile("<domain_participant_qos><discovery><initial_peers>\n<element>99@host1</element>"
                 "</initial_peers></discovery></domain_participant_qos>"),
         ", line 5: peer '99@host1': '99' before '@' is not a participant index from 0 to 62"},
        {"two_roots", "<dds/>\n<dds/>", ", line 2: a second root element <dds> after <dds>"},
        {"duplicate_of_other_source", good,
         ", line 1: profile 'Good::P' is defined twice (first in the string profile, line 1)"},
        {"unknown_attribute", profile("", " bogus='1'"),
         ", line 3: unknown attribute 'bogus' of <qos_profile>"},
        {"bad_mask",
         profile("<domain_participant_qos><transport_builtin>\n<mask>UDPv4|UDPv5</mask></"
                 "transport_builtin></domain_participant_qos>"),
         ", line 5: value 'UDPv4|UDPv5' of <mask> is not a transport mask"},
        {"element_as_value",
         profile("<datawriter_qos><history><depth>\n<x/></depth></history></datawriter_qos>"),
         ", line 5: unexpected element <x> in <depth>, which holds a value"},
        {"participant_twice", profile("<domain_participant_qos/>\n<domain_participant_qos/>"),
         ", line 5: <domain_participant_qos> appears twice in one profile"},
        {"bad_boolean", profile("", " is_default_qos='yes'"),
         ", line 3: value 'yes' of is_default_qos is not a boolean"},
    };
    DDSDomainParticipantFactory* factory = DDSDomainParticipantFactory::get_instance();
    for (const auto& broken : cases) {
        SCOPED_TRACE(broken.what);
        ASSERT_EQ(factory->set_qos(sources(good)), DDS_RETCODE_OK);
        std::string path = broken.path.empty() ? qortest::writeTempFile(
                                                     std::string(broken.what) + ".xml", broken.text)
                                               : broken.path;
        DDS_ReturnCode_t rc = DDS_RETCODE_OK;
        std::string logged =
            qortest::captureStdout([&] { rc = factory->set_qos(sources(good, "file://" + path)); });
        EXPECT_EQ(rc, DDS_RETCODE_BAD_PARAMETER);
        EXPECT_NE(logged.find(path + broken.expected), std::string::npos) << logged;
        EXPECT_NE(logged.find(path + " is not used"), std::string::npos) << logged;
        EXPECT_EQ(loadedLibraries(), "Good");
    }
}

// A source with a flood of problems lists the first twenty and counts the rest.
TEST(QosProfileSources, OnlyTheFirstTwentyProblemsOfASourceAreListed) {
    std::string body;
    for (int i = 0; i < 200000; ++i) {
        body += "<bogus/>\n";
    }
    std::string path = qortest::writeTempFile(
        "flood.xml", profile("<datawriter_qos>\n" + body + "</datawriter_qos>"));
    DDSDomainParticipantFactory* factory = DDSDomainParticipantFactory::get_instance();
    DDS_ReturnCode_t rc = DDS_RETCODE_OK;
    std::string logged =
        qortest::captureStdout([&] { rc = factory->set_qos(sources("<dds/>", "file://" + path)); });
    EXPECT_EQ(rc, DDS_RETCODE_BAD_PARAMETER);
    size_t listed = 0;
    for (size_t at = logged.find("unknown element <bogus>"); at != std::string::npos;
         at = logged.find("unknown element <bogus>", at + 1)) {
        ++listed;
    }
    EXPECT_EQ(listed, 20u);
    EXPECT_NE(logged.find(path + ", line 24: unknown element <bogus>"), std::string::npos);
    EXPECT_EQ(logged.find(path + ", line 25: "), std::string::npos);
    EXPECT_NE(logged.find("... and 199980 more\n"), std::string::npos) << logged.substr(0, 3000);
    EXPECT_NE(logged.find(path + " is not used"), std::string::npos);
}

const char* const values_document = R"(<dds><qos_library name="L">
<qos_profile name="Base" is_default_qos="true"><domain_participant_qos>
  <participant_name><name> Base name </name></participant_name>
  <wire_protocol><participant_id>4</participant_id><rtps_app_id>0x00C0FFEE</rtps_app_id>
  </wire_protocol><transport_builtin><mask>DDS_TRANSPORTBUILTIN_UDPv4 | UDPv6</mask>
  </transport_builtin><discovery><initial_peers><element>1@127.0.0.1</element>
  <element>shmem://</element></initial_peers></discovery><discovery_config>
  <participant_liveliness_lease_duration><sec>DURATION_INFINITE_SEC</sec>
  </participant_liveliness_lease_duration>
  <builtin_discovery_plugins>DDS_DISCOVERYCONFIG_BUILTIN_SDP2</builtin_discovery_plugins>
  </discovery_config><receiver_pool><buffer_size>9000</buffer_size></receiver_pool>
  <property><value><element><name>a</name><value>1</value><propagate>true</propagate>
  </element></value></property></domain_participant_qos>
 <publisher_qos><partition><name><element>P1</element></name></partition></publisher_qos>
 <datawriter_qos><reliability><kind>DDS_RELIABLE_RELIABILITY_QOS</kind></reliability>
  <history><kind>KEEP_ALL_HISTORY_QOS</kind><depth>5</depth></history>
  <resource_limits><max_samples>DDS_LENGTH_UNLIMITED</max_samples>
  <max_instances>8</max_instances></resource_limits><writer_data_lifecycle>
  <autodispose_unregistered_instances>true
  </autodispose_unregistered_instances></writer_data_lifecycle></datawriter_qos>
</qos_profile>
<qos_profile name="Derived" base_name="Base"><domain_participant_qos>
  <participant_name><name>Derived name</name></participant_name>
  <property><value><element><name>b</name><value>2</value></element></value></property>
 </domain_participant_qos>
 <datawriter_qos topic_filter="Ping*"><durability><kind>TRANSIENT_LOCAL_DURABILITY_QOS</kind>
 </durability></datawriter_qos>
 <datawriter_qos><deadline><period><sec>3</sec><nanosec>DURATION_ZERO_NSEC</nanosec></period>
 </deadline></datawriter_qos>
 <datareader_qos><time_based_filter><minimum_separation><sec>0</sec><nanosec>5</nanosec>
  </minimum_separation></time_based_filter><multicast><value><element>
  <receive_address>239.255.0.2</receive_address><receive_port>23002</receive_port>
  </element></value></multicast></datareader_qos>
</qos_profile>
</qos_library></dds>)";

// Values over the base's; enumerators with and without DDS_, named constants, masks joined
// with '|', blanks around text; the first QoS element whose topic filter matches wins.
TEST(QosProfileSources, ProfilesInheritAndOverride) {
    DDSDomainParticipantFactory* factory = DDSDomainParticipantFactory::get_instance();
    ASSERT_EQ(factory->set_qos(sources(values_document)), DDS_RETCODE_OK);
    DDS_DomainParticipantQos qos;
    ASSERT_EQ(factory->get_participant_qos_from_profile(qos, "L", "Base"), DDS_RETCODE_OK);
    EXPECT_STREQ(qos.participant_name.name, "Base name");
    ASSERT_EQ(factory->get_participant_qos_from_profile(qos, "L", "Derived"), DDS_RETCODE_OK);
    EXPECT_STREQ(qos.participant_name.name, "Derived name");
    EXPECT_EQ(qos.wire_protocol.participant_id, 4);
    EXPECT_EQ(qos.wire_protocol.rtps_app_id, 0x00C0FFEEu);
    EXPECT_EQ(qos.transport_builtin.mask, DDS_TRANSPORTBUILTIN_UDPv4 | DDS_TRANSPORTBUILTIN_UDPv6);
    EXPECT_EQ(names(qos.discovery.initial_peers), "1@127.0.0.1 shmem://");
    EXPECT_EQ(qos.discovery_config.participant_liveliness_lease_duration, DDS_DURATION_INFINITE);
    EXPECT_EQ(qos.discovery_config.participant_liveliness_assert_period,
              (DDS_Duration_t{3, 0}));  // the binding's, untouched
    EXPECT_EQ(qos.discovery_config.builtin_discovery_plugins, DDS_DISCOVERYCONFIG_BUILTIN_SDP2);
    EXPECT_EQ(qos.receiver_pool.buffer_size, 9000);
    ASSERT_EQ(qos.property.value.length(), 2);
    EXPECT_STREQ(qos.property.value[0].name, "a");
    EXPECT_TRUE(qos.property.value[0].propagate);
    EXPECT_STREQ(qos.property.value[1].value, "2");

    std::shared_ptr<const qordds::QosProfileLibrary> library =
        qordds::QosProfileLibrary::load(sources(values_document).profile);
    ASSERT_NE(library, nullptr);
    EXPECT_EQ(library->default_profile(), library->find("L", "Base"));
    const qordds::QosProfile& derived = *library->find("L", "Derived");
    DDS_DataWriterQos ping, other;
    qordds::profile_datawriter_qos(derived, "PingTopic", ping);
    EXPECT_EQ(ping.reliability.kind, DDS_RELIABLE_RELIABILITY_QOS);
    EXPECT_EQ(ping.history.kind, DDS_KEEP_ALL_HISTORY_QOS);
    EXPECT_EQ(ping.history.depth, 5);
    EXPECT_EQ(ping.resource_limits.max_samples, DDS_LENGTH_UNLIMITED);
    EXPECT_EQ(ping.resource_limits.max_instances, 8);
    EXPECT_TRUE(ping.writer_data_lifecycle.autodispose_unregistered_instances);
    EXPECT_EQ(ping.durability.kind, DDS_TRANSIENT_LOCAL_DURABILITY_QOS);
    EXPECT_EQ(ping.deadline.period, DDS_DURATION_INFINITE);
    qordds::profile_datawriter_qos(derived, "Other", other);
    EXPECT_EQ(other.durability.kind, DDS_VOLATILE_DURABILITY_QOS);
    EXPECT_EQ(other.deadline.period, (DDS_Duration_t{3, 0}));
    DDS_DataWriterQos unnamed;
    qordds::profile_datawriter_qos(derived, nullptr, unnamed);
    EXPECT_EQ(unnamed.deadline.period, (DDS_Duration_t{3, 0}));

    DDS_DataReaderQos reader;
    qordds::profile_datareader_qos(derived, "PingTopic", reader);
    EXPECT_EQ(reader.time_based_filter.minimum_separation, (DDS_Duration_t{0, 5}));
    ASSERT_EQ(reader.multicast.value.length(), 1);
    EXPECT_STREQ(reader.multicast.value[0].receive_address, "239.255.0.2");
    EXPECT_EQ(reader.multicast.value[0].receive_port, 23002);
    DDS_PublisherQos publisher;
    qordds::profile_publisher_qos(derived, publisher);
    EXPECT_EQ(names(publisher.partition.name), "P1");
}

}  // namespace
