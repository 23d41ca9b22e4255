#include "TestCertificates.h"

#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <memory>
#include <stdexcept>

namespace tavi::test {
namespace {

struct KeyFree { void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); } };
struct CertFree { void operator()(X509* cert) const { X509_free(cert); } };
struct BioFree { void operator()(BIO* bio) const { BIO_free(bio); } };
struct BignumFree { void operator()(BIGNUM* bn) const { BN_free(bn); } };
struct ExtensionFree { void operator()(X509_EXTENSION* ext) const { X509_EXTENSION_free(ext); } };
using Key = std::unique_ptr<EVP_PKEY, KeyFree>;
using Cert = std::unique_ptr<X509, CertFree>;

[[noreturn]] void fail(const std::string& what) {
    std::string text = "test certificates: " + what;
    if (unsigned long code = ERR_get_error()) {
        char buffer[256];
        ERR_error_string_n(code, buffer, sizeof buffer);
        text += ": ";
        text += buffer;
    }
    throw std::runtime_error(text);
}

void check(bool ok, const char* what) {
    if (!ok) fail(what);
}

Key newKey() {
    Key key(EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", "P-256"));
    check(key != nullptr, "EC key generation");
    return key;
}

std::string subjectAltNames() {
    std::string names;
    for (const auto& host : TestCertificates::hostNames()) names += "DNS:" + host + ",";
    return names + "IP:127.0.0.1";
}

void addExtension(X509* cert, X509* issuer, int nid, const std::string& value) {
    X509V3_CTX context;
    X509V3_set_ctx_nodb(&context);
    X509V3_set_ctx(&context, issuer, cert, nullptr, nullptr, 0);
    std::unique_ptr<X509_EXTENSION, ExtensionFree> extension(
        X509V3_EXT_conf_nid(nullptr, &context, nid, value.c_str()));
    check(extension != nullptr, "building a certificate extension");
    check(X509_add_ext(cert, extension.get(), -1) == 1, "adding a certificate extension");
}

// A certificate for `subjectKey` named `commonName`, issued by `issuer` (or by
// itself when `issuer` is null) and signed with `issuerKey`. Valid from an hour
// ago for a week: long enough for any test run, short enough to be obviously
// disposable.
Cert newCertificate(EVP_PKEY* subjectKey, const std::string& commonName, X509* issuer, EVP_PKEY* issuerKey,
                    bool isAuthority) {
    Cert cert(X509_new());
    check(cert != nullptr, "X509_new");
    check(X509_set_version(cert.get(), X509_VERSION_3) == 1, "setting the version");

    unsigned char serialBytes[16];
    check(RAND_bytes(serialBytes, sizeof serialBytes) == 1, "random serial");
    serialBytes[0] &= 0x7f;  // a positive serial
    std::unique_ptr<BIGNUM, BignumFree> serial(BN_bin2bn(serialBytes, sizeof serialBytes, nullptr));
    check(serial && BN_to_ASN1_INTEGER(serial.get(), X509_get_serialNumber(cert.get())), "setting the serial");

    check(X509_gmtime_adj(X509_getm_notBefore(cert.get()), -3600) != nullptr, "setting notBefore");
    check(X509_gmtime_adj(X509_getm_notAfter(cert.get()), 7L * 24 * 3600) != nullptr, "setting notAfter");

    X509_NAME* subject = X509_get_subject_name(cert.get());
    check(X509_NAME_add_entry_by_txt(subject, "O", MBSTRING_ASC,
                                     reinterpret_cast<const unsigned char*>("Tavi tests"), -1, -1, 0) == 1,
          "naming the organisation");
    check(X509_NAME_add_entry_by_txt(subject, "CN", MBSTRING_ASC,
                                     reinterpret_cast<const unsigned char*>(commonName.c_str()), -1, -1, 0) == 1,
          "naming the subject");
    X509* signer = issuer != nullptr ? issuer : cert.get();
    check(X509_set_issuer_name(cert.get(), X509_get_subject_name(signer)) == 1, "setting the issuer");
    check(X509_set_pubkey(cert.get(), subjectKey) == 1, "setting the public key");

    addExtension(cert.get(), signer, NID_subject_key_identifier, "hash");
    if (isAuthority) {
        addExtension(cert.get(), signer, NID_basic_constraints, "critical,CA:TRUE,pathlen:0");
        addExtension(cert.get(), signer, NID_key_usage, "critical,keyCertSign,cRLSign");
    } else {
        addExtension(cert.get(), signer, NID_basic_constraints, "critical,CA:FALSE");
        addExtension(cert.get(), signer, NID_key_usage, "critical,digitalSignature");
        addExtension(cert.get(), signer, NID_ext_key_usage, "serverAuth");
        addExtension(cert.get(), signer, NID_subject_alt_name, subjectAltNames());
    }
    if (issuer != nullptr) addExtension(cert.get(), issuer, NID_authority_key_identifier, "keyid:always");

    check(X509_sign(cert.get(), issuerKey, EVP_sha256()) > 0, "signing");
    return cert;
}

void writeCertificate(X509* cert, const std::string& path) {
    std::unique_ptr<BIO, BioFree> file(BIO_new_file(path.c_str(), "w"));
    check(file != nullptr, "opening a certificate file");
    check(PEM_write_bio_X509(file.get(), cert) == 1, "writing a certificate");
}

void writeKey(EVP_PKEY* key, const std::string& path) {
    std::unique_ptr<BIO, BioFree> file(BIO_new_file(path.c_str(), "w"));
    check(file != nullptr, "opening a key file");
    check(PEM_write_bio_PrivateKey(file.get(), key, nullptr, nullptr, 0, nullptr, nullptr) == 1, "writing a key");
}

}  // namespace

const std::vector<std::string>& TestCertificates::hostNames() {
    static const std::vector<std::string> names = {
        "api.openai.com",        "api.anthropic.com",           "translation.googleapis.com",
        "api-free.deepl.com",    "api.deepl.com",               "fanyi-api.baidu.com",
        "translate.volcengineapi.com", "mt.cn-hangzhou.aliyuncs.com", "localhost",
    };
    return names;
}

const TestCertificates& TestCertificates::instance() {
    static const TestCertificates certificates;
    return certificates;
}

TestCertificates::TestCertificates() {
    caPath_ = (directory_ / "ca.pem").string();
    certPath_ = (directory_ / "server-cert.pem").string();
    keyPath_ = (directory_ / "server-key.pem").string();
    untrustedCertPath_ = (directory_ / "untrusted-cert.pem").string();
    untrustedKeyPath_ = (directory_ / "untrusted-key.pem").string();

    Key caKey = newKey();
    Cert ca = newCertificate(caKey.get(), "Tavi Test CA", nullptr, caKey.get(), true);
    Key serverKey = newKey();
    Cert server = newCertificate(serverKey.get(), "Tavi test server", ca.get(), caKey.get(), false);
    Key strangerKey = newKey();
    Cert stranger = newCertificate(strangerKey.get(), "Tavi untrusted server", nullptr, strangerKey.get(), false);

    writeCertificate(ca.get(), caPath_);
    writeCertificate(server.get(), certPath_);
    writeKey(serverKey.get(), keyPath_);
    writeCertificate(stranger.get(), untrustedCertPath_);
    writeKey(strangerKey.get(), untrustedKeyPath_);
}

}  // namespace tavi::test
