#include "security/security_files.h"

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/pkcs7.h>
#include <openssl/x509.h>
#include <openssl/x509_vfy.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <utility>

#include <tinyxml2.h>

#include "log/log.h"

namespace fr = eprosima::fastrtps::rtps;

namespace qordds {

namespace {

const std::string kAuthPlugin = "dds.sec.auth.plugin";
const std::string kAuthBuiltin = "builtin.PKI-DH";
const std::string kAuth = "dds.sec.auth.builtin.PKI-DH.";
const std::string kAccessPlugin = "dds.sec.access.plugin";
const std::string kAccessBuiltin = "builtin.Access-Permissions";
const std::string kAccess = "dds.sec.access.builtin.Access-Permissions.";
const std::string kCryptoPlugin = "dds.sec.crypto.plugin";
const std::string kCryptoBuiltin = "builtin.AES-GCM-GMAC";
const std::string kFileScheme = "file://";

struct OpenSslFree {
    void operator()(BIO* p) const { BIO_free(p); }
    void operator()(X509* p) const { X509_free(p); }
    void operator()(X509_CRL* p) const { X509_CRL_free(p); }
    void operator()(EVP_PKEY* p) const { EVP_PKEY_free(p); }
    void operator()(PKCS7* p) const { PKCS7_free(p); }
    void operator()(X509_STORE* p) const { X509_STORE_free(p); }
    void operator()(X509_STORE_CTX* p) const { X509_STORE_CTX_free(p); }
};
template <class T>
using Owned = std::unique_ptr<T, OpenSslFree>;

// A property that names a file; `path` is empty when it names none (a problem already noted,
// or another scheme that is not checked).
struct FileRef {
    std::string property;
    std::string path;
    bool usable() const { return !path.empty(); }
};

// OpenSSL's reason for the last failure of this thread, and an empty queue.
std::string openssl_reason() {
    unsigned long code = ERR_peek_last_error();
    const char* reason = code != 0 ? ERR_reason_error_string(code) : nullptr;
    ERR_clear_error();
    return reason != nullptr ? std::string(" (") + reason + ")" : std::string();
}

// Hands OpenSSL the key's password, or refuses (OpenSSL would otherwise ask on the terminal).
int give_password(char* buffer, int size, int, void* password) {
    if (password == nullptr) {
        return -1;
    }
    const std::string& text = *static_cast<const std::string*>(password);
    if (text.size() > static_cast<size_t>(size)) {
        return -1;
    }
    std::copy(text.begin(), text.end(), buffer);
    return static_cast<int>(text.size());
}

class Checker {
  public:
    explicit Checker(const fr::PropertyPolicy& properties) : properties_(properties) {}

    const std::string* value(const std::string& name) const {
        for (const fr::Property& property : properties_.properties()) {
            if (property.name() == name) {
                return &property.value();
            }
        }
        return nullptr;
    }

    void note(const std::string& problem) { problems_.push_back(problem); }
    void warn(const FileRef& file, const std::string& text) {
        warnings_.push_back("property " + file.property + ": file " + file.path + " " + text);
    }
    std::vector<std::string> warnings() const { return warnings_; }
    void note(const FileRef& file, const std::string& fault) {
        note("property " + file.property + ": file " + file.path + " " + fault);
    }
    std::vector<std::string> problems() const { return problems_; }

    // The file `name` names; a missing required property, or a value that is no file:// URI
    // (other than one of `other_schemes`), is a problem.
    FileRef file(const std::string& name, bool required, const char* other_scheme = nullptr) {
        FileRef file{name, std::string()};
        const std::string* uri = value(name);
        if (uri == nullptr) {
            if (required) {
                note("property " + name + " is missing");
            }
        } else if (uri->compare(0, kFileScheme.size(), kFileScheme) == 0 &&
                   uri->size() > kFileScheme.size()) {
            file.path = uri->substr(kFileScheme.size());
        } else if (other_scheme == nullptr ||
                   uri->compare(0, std::strlen(other_scheme), other_scheme) != 0) {
            note("property " + name + ": '" + *uri +
                 "' is not a file URI; Fast DDS reads only file://PATH (file:///etc/x.pem "
                 "for /etc/x.pem)");
        }
        return file;
    }

    Owned<BIO> open(const FileRef& file) {
        struct stat status;
        if (stat(file.path.c_str(), &status) != 0) {
            note(file, std::string("cannot be read: ") + std::strerror(errno));
            return nullptr;
        }
        if (!S_ISREG(status.st_mode)) {
            note(file, "is not a regular file");
            return nullptr;
        }
        errno = 0;
        Owned<BIO> bio(BIO_new_file(file.path.c_str(), "r"));
        if (bio == nullptr) {
            int error = errno;
            ERR_clear_error();
            note(file, std::string("cannot be read: ") +
                           (error != 0 ? std::strerror(error) : "unknown error"));
        }
        return bio;
    }

    Owned<X509> certificate(const FileRef& file) {
        Owned<BIO> bio = file.usable() ? open(file) : nullptr;
        if (bio == nullptr) {
            return nullptr;
        }
        Owned<X509> certificate(PEM_read_bio_X509(bio.get(), nullptr, nullptr, nullptr));
        if (certificate == nullptr) {
            note(file, "is not a PEM X.509 certificate" + openssl_reason());
        }
        return certificate;
    }

    Owned<X509_CRL> crl(const FileRef& file) {
        Owned<BIO> bio = file.usable() ? open(file) : nullptr;
        if (bio == nullptr) {
            return nullptr;
        }
        Owned<X509_CRL> crl(PEM_read_bio_X509_CRL(bio.get(), nullptr, nullptr, nullptr));
        if (crl == nullptr) {
            note(file, "is not a PEM certificate revocation list" + openssl_reason());
        }
        return crl;
    }

    Owned<EVP_PKEY> private_key(const FileRef& file, const std::string* password) {
        Owned<BIO> bio = file.usable() ? open(file) : nullptr;
        if (bio == nullptr) {
            return nullptr;
        }
        Owned<EVP_PKEY> key(PEM_read_bio_PrivateKey(bio.get(), nullptr, give_password,
                                                    const_cast<std::string*>(password)));
        if (key == nullptr) {
            note(file, std::string("is not a PEM private key") +
                           (password == nullptr ? " (or it is encrypted and property " + kAuth +
                                                      "password is missing)"
                                                : " that the password opens") +
                           openssl_reason());
        }
        return key;
    }

  private:
    const fr::PropertyPolicy& properties_;
    std::vector<std::string> problems_;
    std::vector<std::string> warnings_;
};

// A store that trusts `ca` (and checks against `crl` when there is one).
Owned<X509_STORE> trusting(X509* ca, X509_CRL* crl) {
    Owned<X509_STORE> store(X509_STORE_new());
    if (store == nullptr || X509_STORE_add_cert(store.get(), ca) != 1) {
        return nullptr;
    }
    if (crl != nullptr && X509_STORE_add_crl(store.get(), crl) == 1) {
        X509_STORE_set_flags(store.get(), X509_V_FLAG_CRL_CHECK);
    }
    return store;
}

void verify_identity(Checker& checker, const FileRef& certificate_file, X509* certificate,
                     const FileRef& ca_file, X509* ca, X509_CRL* crl) {
    Owned<X509_STORE> store = trusting(ca, crl);
    Owned<X509_STORE_CTX> context(X509_STORE_CTX_new());
    if (store == nullptr || context == nullptr ||
        X509_STORE_CTX_init(context.get(), store.get(), certificate, nullptr) != 1) {
        checker.note(certificate_file, "cannot be verified" + openssl_reason());
        return;
    }
    if (X509_verify_cert(context.get()) != 1) {
        int error = X509_STORE_CTX_get_error(context.get());
        ERR_clear_error();
        checker.note(certificate_file, "is not accepted by the CA of " + ca_file.property +
                                           " (file " + ca_file.path +
                                           "): " + X509_verify_cert_error_string(error));
    }
}

// The identity certificate, when it could be read, for the check of the permissions.
struct Identity {
    FileRef file;
    Owned<X509> certificate;
};

Identity check_authentication(Checker& checker) {
    FileRef ca_file = checker.file(kAuth + "identity_ca", true);
    FileRef certificate_file = checker.file(kAuth + "identity_certificate", true);
    FileRef key_file = checker.file(kAuth + "private_key", true, "pkcs11:");
    FileRef crl_file = checker.file(kAuth + "identity_crl", false);
    Owned<X509> ca = checker.certificate(ca_file);
    Owned<X509> certificate = checker.certificate(certificate_file);
    Owned<EVP_PKEY> key = checker.private_key(key_file, checker.value(kAuth + "password"));
    Owned<X509_CRL> crl = crl_file.usable() ? checker.crl(crl_file) : nullptr;
    if (ca != nullptr && certificate != nullptr) {
        verify_identity(checker, certificate_file, certificate.get(), ca_file, ca.get(), crl.get());
    }
    if (certificate != nullptr && key != nullptr &&
        X509_check_private_key(certificate.get(), key.get()) != 1) {
        ERR_clear_error();
        checker.note(key_file, "is not the key of the certificate of " + certificate_file.property +
                                   " (file " + certificate_file.path + ")");
    }
    return {certificate_file, std::move(certificate)};
}

// A document signed (S/MIME) by the CA of `ca_file`, as Fast DDS reads it; its content once
// verified, else empty.
std::string verify_signed(Checker& checker, const FileRef& document, const FileRef& ca_file,
                          X509_STORE* store) {
    Owned<BIO> bio = document.usable() ? checker.open(document) : nullptr;
    if (bio == nullptr) {
        return std::string();
    }
    BIO* content = nullptr;
    Owned<PKCS7> signature(SMIME_read_PKCS7(bio.get(), &content));
    Owned<BIO> content_owner(content);
    if (signature == nullptr) {
        checker.note(document, "is not an S/MIME signed document" + openssl_reason());
        return std::string();
    }
    if (store == nullptr) {
        return std::string();
    }
    Owned<BIO> out(BIO_new(BIO_s_mem()));
    if (PKCS7_verify(signature.get(), nullptr, store, content, out.get(), PKCS7_TEXT) != 1) {
        checker.note(document, "is not signed by the CA of " + ca_file.property + " (file " +
                                   ca_file.path + ")" + openssl_reason());
        return std::string();
    }
    char* data = nullptr;
    long size = BIO_get_mem_data(out.get(), &data);
    return size > 0 ? std::string(data, static_cast<size_t>(size)) : std::string();
}

// The parts of a distinguished name between its commas, trimmed of blanks: Fast DDS 2.9
// compares a grant's subject name with the certificate's (in RFC 2253 form, most specific
// first) part by part, in order.
std::vector<std::string> name_parts(const std::string& name) {
    std::vector<std::string> parts;
    size_t start = 0;
    for (;;) {
        size_t end = name.find(',', start);
        std::string part = name.substr(start, end == std::string::npos ? end : end - start);
        size_t first = part.find_first_not_of(' ');
        size_t last = part.find_last_not_of(' ');
        parts.push_back(first == std::string::npos ? "" : part.substr(first, last - first + 1));
        if (end == std::string::npos) {
            return parts;
        }
        start = end + 1;
    }
}

std::string rfc2253_subject(X509* certificate) {
    Owned<BIO> out(BIO_new(BIO_s_mem()));
    X509_NAME_print_ex(out.get(), X509_get_subject_name(certificate), 0, XN_FLAG_RFC2253);
    char* data = nullptr;
    long size = BIO_get_mem_data(out.get(), &data);
    return size > 0 ? std::string(data, static_cast<size_t>(size)) : std::string();
}

// The permissions grant the identity: without a grant for its subject, Fast DDS refuses the
// participant without a word.
void check_grant(Checker& checker, const FileRef& permissions, const std::string& content,
                 const Identity& identity) {
    tinyxml2::XMLDocument document;
    if (document.Parse(content.c_str(), content.size()) != tinyxml2::XML_SUCCESS) {
        checker.note(permissions, "is not an XML document: " + std::string(document.ErrorStr()));
        return;
    }
    std::string subject = rfc2253_subject(identity.certificate.get());
    std::vector<std::string> wanted = name_parts(subject);
    const tinyxml2::XMLElement* root = document.FirstChildElement("dds");
    const tinyxml2::XMLElement* list =
        root != nullptr ? root->FirstChildElement("permissions") : nullptr;
    for (const tinyxml2::XMLElement* grant = list != nullptr ? list->FirstChildElement("grant")
                                                             : nullptr;
         grant != nullptr; grant = grant->NextSiblingElement("grant")) {
        const tinyxml2::XMLElement* name = grant->FirstChildElement("subject_name");
        if (name != nullptr && name->GetText() != nullptr &&
            name_parts(name->GetText()) == wanted) {
            return;
        }
    }
    checker.note(permissions, "has no grant whose subject_name is '" + subject +
                                  "', the subject of the certificate of " + identity.file.property +
                                  " (file " + identity.file.path +
                                  "); Fast DDS compares the names part by part in this order");
}

// Whole-message protection: Fast DDS 2.9.1 protects a message once it is full and then finds
// no room for its statistics submessage, an assertion that aborts the process (measured: two
// reliable bursts in three, with rtps_protection_kind SIGN).
void check_governance(Checker& checker, const FileRef& governance, const std::string& content) {
    tinyxml2::XMLDocument document;
    if (document.Parse(content.c_str(), content.size()) != tinyxml2::XML_SUCCESS) {
        checker.note(governance, "is not an XML document: " + std::string(document.ErrorStr()));
        return;
    }
    const tinyxml2::XMLElement* root = document.FirstChildElement("dds");
    const tinyxml2::XMLElement* rules =
        root != nullptr ? root->FirstChildElement("domain_access_rules") : nullptr;
    for (const tinyxml2::XMLElement* rule =
             rules != nullptr ? rules->FirstChildElement("domain_rule") : nullptr;
         rule != nullptr; rule = rule->NextSiblingElement("domain_rule")) {
        const tinyxml2::XMLElement* kind = rule->FirstChildElement("rtps_protection_kind");
        std::string text = kind != nullptr && kind->GetText() != nullptr ? kind->GetText() : "";
        if (!text.empty() && text != "NONE") {
            checker.warn(governance,
                         "sets rtps_protection_kind " + text +
                             ": Fast DDS 2.9.1 aborts a participant whose protected message fills "
                             "its send buffer, as reliable bursts do (assertion in "
                             "add_statistics_submessage); NONE keeps discovery, liveliness and "
                             "data protected per submessage and payload");
            return;
        }
    }
}

void check_access_control(Checker& checker, const Identity& identity) {
    FileRef ca_file = checker.file(kAccess + "permissions_ca", true);
    FileRef governance = checker.file(kAccess + "governance", true);
    FileRef permissions = checker.file(kAccess + "permissions", true);
    Owned<X509> ca = checker.certificate(ca_file);
    Owned<X509_STORE> store = ca != nullptr ? trusting(ca.get(), nullptr) : nullptr;
    std::string rules = verify_signed(checker, governance, ca_file, store.get());
    if (!rules.empty()) {
        check_governance(checker, governance, rules);
    }
    std::string content = verify_signed(checker, permissions, ca_file, store.get());
    if (!content.empty() && identity.certificate != nullptr) {
        check_grant(checker, permissions, content, identity);
    }
}

// A plugin name that Fast DDS does not know leaves that part of security off without a word.
bool known_plugin(Checker& checker, const std::string& property, const std::string& builtin) {
    const std::string* name = checker.value(property);
    if (name == nullptr) {
        return false;
    }
    if (*name != builtin) {
        checker.note("property " + property + ": '" + *name +
                     "' is no plugin of Fast DDS; the built-in one is '" + builtin + "'");
        return false;
    }
    return true;
}

void run_checks(Checker& checker) {
    Identity identity;
    if (known_plugin(checker, kAuthPlugin, kAuthBuiltin)) {
        identity = check_authentication(checker);
    }
    if (known_plugin(checker, kAccessPlugin, kAccessBuiltin)) {
        check_access_control(checker, identity);
    }
    known_plugin(checker, kCryptoPlugin, kCryptoBuiltin);
    ERR_clear_error();
}

}  // namespace

std::vector<std::string> security_file_problems(const fr::PropertyPolicy& properties) {
    Checker checker(properties);
    run_checks(checker);
    return checker.problems();
}

std::vector<std::string> security_file_warnings(const fr::PropertyPolicy& properties) {
    Checker checker(properties);
    run_checks(checker);
    return checker.warnings();
}

bool security_files_usable(const fr::PropertyPolicy& properties, const char* context) {
    Checker checker(properties);
    run_checks(checker);
    for (const std::string& problem : checker.problems()) {
        log(LogKind::Error, context, "%s", problem.c_str());
    }
    for (const std::string& warning : checker.warnings()) {
        log(LogKind::Warning, context, "%s", warning.c_str());
    }
    return checker.problems().empty();
}

}  // namespace qordds
