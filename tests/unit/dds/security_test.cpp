// DDS Security in the binding without a network: the dds.sec.* properties of a QoS profile
// reach the Fast DDS participant QoS unchanged, and the check of the plugins' files names the
// property, the file and the fault. The files come from tests/security/make-test-pki, made
// once per test process in a scratch directory (openssl at test time).
#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "qordds/domain.h"
#include "qos/participant_qos_translation.h"
#include "security/security_files.h"

namespace {

namespace fr = eprosima::fastrtps::rtps;
using Lines = std::vector<std::string>;

const std::string AUTH = "dds.sec.auth.builtin.PKI-DH.";
const std::string ACCESS = "dds.sec.access.builtin.Access-Permissions.";

// The nine properties of the documented recipe, and one of Fast DDS's optional ones that
// propagates.
const std::vector<std::pair<std::string, std::string>> RECIPE = {
    {"dds.sec.auth.plugin", "builtin.PKI-DH"},
    {AUTH + "identity_ca", "file:///etc/qor/ca.pem"},
    {AUTH + "identity_certificate", "file:///etc/qor/alice.pem"},
    {AUTH + "private_key", "file:///etc/qor/alice.key"},
    {"dds.sec.access.plugin", "builtin.Access-Permissions"},
    {ACCESS + "permissions_ca", "file:///etc/qor/ca.pem"},
    {ACCESS + "governance", "file:///etc/qor/governance.p7s"},
    {ACCESS + "permissions", "file:///etc/qor/permissions.p7s"},
    {"dds.sec.crypto.plugin", "builtin.AES-GCM-GMAC"},
};

TEST(SecurityProperties, ReachTheFastDdsParticipantUnchangedFromAProfile) {
    std::string xml =
        "<dds><qos_library name=\"L\"><qos_profile name=\"P\"><domain_participant_qos>"
        "<property><value>";
    for (const auto& property : RECIPE) {
        xml += "<element><name>" + property.first + "</name><value>" + property.second +
               "</value></element>";
    }
    xml +=
        "<element><name>dds.sec.crypto.keysize</name><value>128</value>"
        "<propagate>true</propagate></element>";
    xml += "</value></property></domain_participant_qos></qos_profile></qos_library></dds>";
    DDSDomainParticipantFactory* factory = DDSDomainParticipantFactory::get_instance();
    DDS_DomainParticipantFactoryQos factory_qos;
    factory->get_qos(factory_qos);
    const char* fragments[] = {xml.c_str()};
    factory_qos.profile.string_profile.from_array(const_cast<char* const*>(fragments), 1);
    ASSERT_EQ(factory->set_qos(factory_qos), DDS_RETCODE_OK);
    DDS_DomainParticipantQos qos;
    ASSERT_EQ(factory->get_participant_qos_from_profile(qos, "L", "P"), DDS_RETCODE_OK);

    eprosima::fastdds::dds::DomainParticipantQos fast;
    ASSERT_TRUE(qordds::translate_participant_qos(qos, 0, fast));
    // Fast DDS's own defaults (fastdds.physical_data.*) come first.
    std::vector<fr::Property> got;
    for (const fr::Property& property : fast.properties().properties()) {
        if (property.name().rfind("fastdds.", 0) != 0) {
            got.push_back(property);
        }
    }
    ASSERT_EQ(got.size(), RECIPE.size() + 1);
    for (size_t i = 0; i < RECIPE.size(); ++i) {
        EXPECT_EQ(got[i].name(), RECIPE[i].first);
        EXPECT_EQ(got[i].value(), RECIPE[i].second);
        EXPECT_FALSE(got[i].propagate());
    }
    EXPECT_EQ(got.back().name(), "dds.sec.crypto.keysize");
    EXPECT_EQ(got.back().value(), "128");
    EXPECT_TRUE(got.back().propagate());
}

class SecurityFiles : public ::testing::Test {
  protected:
    static void SetUpTestSuite() {
        char scratch[] = "/tmp/qorddsping-pki-XXXXXX";
        ASSERT_NE(mkdtemp(scratch), nullptr);
        pki_ = scratch;
        std::string command = std::string("sh ") + QOR_MAKE_TEST_PKI + " " + pki_;
        ASSERT_EQ(std::system(command.c_str()), 0) << command;
        std::ofstream(pki_ + "/broken.pem") << "-----BEGIN CERTIFICATE-----\nbroken\n";
        command = "cd " + pki_ +
                  " && openssl ec -in alice.key -aes256 -passout pass:secret -out "
                  "alice-locked.key 2>/dev/null"
                  " && openssl smime -sign -text -in governance.xml -out rogue-governance.p7s"
                  " -signer rogue-ca.pem -inkey rogue-ca.key"
                  " && sed 's/CN=alice, O=qorddsping test, C=ES/C=ES, O=qorddsping test, "
                  "CN=alice/' permissions.xml > forward.xml"
                  " && openssl smime -sign -text -in forward.xml -out forward-permissions.p7s"
                  " -signer ca.pem -inkey ca.key";
        ASSERT_EQ(std::system(command.c_str()), 0) << command;
    }
    static void TearDownTestSuite() {
        if (!pki_.empty()) {
            std::system(("rm -rf " + pki_).c_str());
        }
    }

    // Alice's properties, as the test QoS file has them.
    fr::PropertyPolicy alice() const {
        fr::PropertyPolicy policy;
        const std::vector<std::pair<std::string, std::string>> files = {
            {"dds.sec.auth.plugin", "builtin.PKI-DH"},
            {AUTH + "identity_ca", uri("ca.pem")},
            {AUTH + "identity_certificate", uri("alice.pem")},
            {AUTH + "private_key", uri("alice.key")},
            {"dds.sec.access.plugin", "builtin.Access-Permissions"},
            {ACCESS + "permissions_ca", uri("ca.pem")},
            {ACCESS + "governance", uri("governance.p7s")},
            {ACCESS + "permissions", uri("permissions.p7s")},
            {"dds.sec.crypto.plugin", "builtin.AES-GCM-GMAC"},
        };
        for (const auto& file : files) {
            policy.properties().emplace_back(file.first, file.second);
        }
        return policy;
    }

    static std::string uri(const std::string& name) { return "file://" + path(name); }
    static std::string path(const std::string& name) { return pki_ + "/" + name; }

    // Alice's properties with `name` set to `value` (added when missing, removed when empty).
    Lines problemsWith(const std::string& name, const std::string& value) const {
        fr::PropertyPolicy policy = alice();
        std::vector<fr::Property>& list = policy.properties();
        bool found = false;
        for (auto it = list.begin(); it != list.end(); ++it) {
            if (it->name() == name) {
                found = true;
                if (value.empty()) {
                    list.erase(it);
                } else {
                    it->value() = value;
                }
                break;
            }
        }
        if (!found && !value.empty()) {
            list.emplace_back(name, value);
        }
        return qordds::security_file_problems(policy);
    }

    static std::string pki_;
};

std::string SecurityFiles::pki_;

TEST_F(SecurityFiles, TheTestPkiAndPropertiesWithoutSecurityHaveNoProblem) {
    EXPECT_EQ(qordds::security_file_problems(alice()), Lines{});
    // Its governance signs whole messages, which Fast DDS 2.9.1 cannot always do.
    EXPECT_EQ(qordds::security_file_warnings(alice()),
              Lines{"property " + ACCESS + "governance: file " + path("governance.p7s") +
                    " sets rtps_protection_kind SIGN: Fast DDS 2.9.1 aborts a participant whose "
                    "protected message fills its send buffer, as reliable bursts do (assertion "
                    "in add_statistics_submessage); NONE keeps discovery, liveliness and data "
                    "protected per submessage and payload"});
    EXPECT_EQ(qordds::security_file_problems(fr::PropertyPolicy()), Lines{});
    // A locked key with its password.
    fr::PropertyPolicy locked = alice();
    locked.properties()[3].value() = uri("alice-locked.key");
    locked.properties().emplace_back(AUTH + "password", "secret");
    EXPECT_EQ(qordds::security_file_problems(locked), Lines{});
}

TEST_F(SecurityFiles, EachFaultNamesThePropertyAndTheFile) {
    const std::string certificate = "property " + AUTH + "identity_certificate: ";
    const std::string key = "property " + AUTH + "private_key: ";
    const std::string governance = "property " + ACCESS + "governance: ";
    EXPECT_EQ(problemsWith(AUTH + "identity_certificate", uri("nosuch.pem")),
              Lines{certificate + "file " + path("nosuch.pem") +
                    " cannot be read: No such file or directory"});
    EXPECT_EQ(problemsWith(AUTH + "identity_certificate", uri("")),
              Lines{certificate + "file " + pki_ + "/ is not a regular file"});
    EXPECT_EQ(problemsWith(AUTH + "identity_certificate", uri("broken.pem")),
              Lines{certificate + "file " + path("broken.pem") +
                    " is not a PEM X.509 certificate (bad end line)"});
    EXPECT_EQ(problemsWith(AUTH + "identity_certificate", uri("bob.pem")),
              Lines{key + "file " + path("alice.key") + " is not the key of the certificate of " +
                    AUTH + "identity_certificate (file " + path("bob.pem") + ")"});
    EXPECT_EQ(problemsWith(AUTH + "identity_ca", uri("rogue-ca.pem")),
              Lines{certificate + "file " + path("alice.pem") + " is not accepted by the CA of " +
                    AUTH + "identity_ca (file " + path("rogue-ca.pem") +
                    "): unable to get local issuer certificate"});
    EXPECT_EQ(problemsWith(AUTH + "private_key", uri("alice-locked.key")),
              Lines{key + "file " + path("alice-locked.key") +
                    " is not a PEM private key (or it is encrypted and property " + AUTH +
                    "password is missing) (bad password read)"});
    EXPECT_EQ(problemsWith(ACCESS + "governance", uri("governance.xml")),
              Lines{governance + "file " + path("governance.xml") +
                    " is not an S/MIME signed document (no content type)"});
    EXPECT_EQ(
        problemsWith(ACCESS + "governance", uri("rogue-governance.p7s")),
        Lines{governance + "file " + path("rogue-governance.p7s") + " is not signed by the CA of " +
              ACCESS + "permissions_ca (file " + path("ca.pem") + ") (certificate verify error)"});
}

// Fast DDS 2.9 refuses such a participant without a word.
TEST_F(SecurityFiles, APermissionsDocumentWithoutAGrantForTheSubjectIsNamed) {
    EXPECT_EQ(problemsWith(ACCESS + "permissions", uri("forward-permissions.p7s")),
              Lines{"property " + ACCESS + "permissions: file " + path("forward-permissions.p7s") +
                    " has no grant whose subject_name is 'CN=alice,O=qorddsping test,C=ES', the "
                    "subject of the certificate of " +
                    AUTH + "identity_certificate (file " + path("alice.pem") +
                    "); Fast DDS compares the names part by part in this order"});
    // Bob's grant is there too, and his identity has it.
    EXPECT_EQ(problemsWith(AUTH + "identity_certificate", uri("bob.pem")).size(), 1u);
}

TEST_F(SecurityFiles, MissingPropertiesUnknownSchemesAndUnknownPluginsAreNamed) {
    EXPECT_EQ(problemsWith(AUTH + "private_key", ""),
              Lines{"property " + AUTH + "private_key is missing"});
    EXPECT_EQ(problemsWith(AUTH + "identity_ca", "file:" + path("ca.pem")),
              Lines{"property " + AUTH + "identity_ca: 'file:" + path("ca.pem") +
                    "' is not a file URI; Fast DDS reads only file://PATH (file:///etc/x.pem "
                    "for /etc/x.pem)"});
    // A key in a hardware module is not looked at.
    EXPECT_EQ(problemsWith(AUTH + "private_key", "pkcs11:object=alice"), Lines{});
    EXPECT_EQ(problemsWith("dds.sec.crypto.plugin", "builtin.AES-GCM"),
              Lines{"property dds.sec.crypto.plugin: 'builtin.AES-GCM' is no plugin of Fast DDS; "
                    "the built-in one is 'builtin.AES-GCM-GMAC'"});
    EXPECT_EQ(problemsWith("dds.sec.access.plugin", "Permissions"),
              Lines{"property dds.sec.access.plugin: 'Permissions' is no plugin of Fast DDS; the "
                    "built-in one is 'builtin.Access-Permissions'"});
}

}  // namespace
