#include "ReportKeyPair.h"

#include <atomic>
#include <stdexcept>
#include <vector>

#include "CliRunner.h"

namespace tavi::test {
namespace {

constexpr const char* kOpenssl = "/usr/bin/openssl";

std::string freshName(const char* stem) {
    static std::atomic<int> counter{0};
    return stem + std::to_string(++counter);
}

}  // namespace

const ReportKeyPair& ReportKeyPair::instance() {
    static const ReportKeyPair keys;
    return keys;
}

ReportKeyPair::ReportKeyPair() {
    const auto at = [&](const char* name) { return (directory_ / name).string(); };

    openssl({"genpkey", "-algorithm", "RSA", "-pkeyopt", "rsa_keygen_bits:2048", "-out", at("key.pem")});
    openssl({"pkey", "-in", at("key.pem"), "-pubout", "-out", at("pub.pem")});
    // pkey -outform DER would write the bare PKCS#1 form; pkcs8 -topk8 wraps it.
    openssl({"pkcs8", "-topk8", "-nocrypt", "-in", at("key.pem"), "-outform", "DER", "-out", at("key.p8.der")});
    openssl({"base64", "-A", "-in", at("key.p8.der"), "-out", at("key.p8.b64")});
    openssl({"rsa", "-in", at("key.pem"), "-traditional", "-outform", "DER", "-out", at("key.p1.der")});
    openssl({"genpkey", "-algorithm", "EC", "-pkeyopt", "ec_paramgen_curve:P-256", "-out", at("ec.pem")});
    openssl({"pkcs8", "-topk8", "-nocrypt", "-in", at("ec.pem"), "-outform", "DER", "-out", at("ec.p8.der")});

    pkcs8Base64_ = readFile(at("key.p8.b64"));
    while (!pkcs8Base64_.empty() && pkcs8Base64_.back() == '\n') pkcs8Base64_.pop_back();
    pkcs8Der_ = readFile(at("key.p8.der"));
    pkcs1Der_ = readFile(at("key.p1.der"));
    ecPkcs8Der_ = readFile(at("ec.p8.der"));
    if (pkcs8Base64_.empty() || pkcs1Der_.empty() || ecPkcs8Der_.empty()) {
        throw std::runtime_error("openssl made no key");
    }
}

std::filesystem::path ReportKeyPair::writeFile(const std::string& name, std::string_view content) const {
    const auto path = directory_ / name;
    test::writeFile(path, content);
    return path;
}

std::string ReportKeyPair::opensslSignature(std::string_view message) const {
    const auto body = writeFile(freshName("body"), message).string();
    const auto signature = (directory_ / freshName("sig")).string();
    openssl({"dgst", "-sha256", "-sign", (directory_ / "key.pem").string(), "-out", signature, body});
    std::string text = openssl({"base64", "-A", "-in", signature});
    while (!text.empty() && text.back() == '\n') text.pop_back();
    return text;
}

bool ReportKeyPair::opensslVerifies(std::string_view message, std::string_view signatureBase64) const {
    const auto body = writeFile(freshName("body"), message).string();
    const auto encoded = writeFile(freshName("sig.b64"), signatureBase64).string();
    const auto signature = (directory_ / freshName("sig.bin")).string();
    // -A: the whole signature on one line, as the header carries it.
    if (runProgram(kOpenssl, {"base64", "-d", "-A", "-in", encoded, "-out", signature}).exitCode != 0) return false;
    const CliResult r = runProgram(kOpenssl, {"dgst", "-sha256", "-verify", (directory_ / "pub.pem").string(),
                                              "-signature", signature, body});
    return r.exitCode == 0 && r.out == "Verified OK\n";
}

}  // namespace tavi::test
