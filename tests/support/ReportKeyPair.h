#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "TestFiles.h"

namespace tavi::test {

// A throwaway RSA key pair made by the openssl command line for this test
// process, and signature checks done by that same command line, so that the
// startup report is judged by code that shares nothing with Tavi's. The files
// live in a private temporary directory removed at exit.
class ReportKeyPair {
public:
    static const ReportKeyPair& instance();

    // The private key as an operator ships it: base64 of PKCS#8 DER, one line.
    const std::string& pkcs8Base64() const { return pkcs8Base64_; }
    // The same key as DER bytes: wrapped in PKCS#8, and bare (PKCS#1).
    const std::string& pkcs8Der() const { return pkcs8Der_; }
    const std::string& pkcs1Der() const { return pkcs1Der_; }
    // A P-256 key in PKCS#8: well formed, but not RSA.
    const std::string& ecPkcs8Der() const { return ecPkcs8Der_; }

    // `openssl dgst -sha256 -sign` of the message, in base64 on one line:
    // RSA PKCS#1 v1.5 signatures are deterministic, so Tavi's must equal it.
    std::string opensslSignature(std::string_view message) const;
    // `openssl dgst -sha256 -verify pub.pem -signature sig.bin body.bin`
    // with the base64 signature decoded by `openssl base64 -d`.
    bool opensslVerifies(std::string_view message, std::string_view signatureBase64) const;

    // A file holding `content`, inside the private directory.
    std::filesystem::path writeFile(const std::string& name, std::string_view content) const;

    ReportKeyPair(const ReportKeyPair&) = delete;
    ReportKeyPair& operator=(const ReportKeyPair&) = delete;

private:
    ReportKeyPair();

    TempDir directory_{"tavi-report-keys"};
    std::string pkcs8Base64_;
    std::string pkcs8Der_;
    std::string pkcs1Der_;
    std::string ecPkcs8Der_;
};

}  // namespace tavi::test
