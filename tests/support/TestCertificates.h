#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "TestFiles.h"

namespace tavi::test {

// A throwaway certificate authority and a server certificate it signed, made
// fresh for each test process so that no key material lives in the tree.
// The server certificate names every production host Tavi talks to (so a
// request keeps its real URL, Host and SNI while being routed to a loopback
// fake), plus localhost and 127.0.0.1.
//
// A second, self-signed certificate with the same names is trusted by no one:
// it stands in for a man in the middle.
//
// The files live in a private temporary directory that is removed at exit.
class TestCertificates {
public:
    static const TestCertificates& instance();

    // PEM files. caPath() is what a client should trust.
    const std::string& caPath() const { return caPath_; }
    const std::string& certPath() const { return certPath_; }
    const std::string& keyPath() const { return keyPath_; }

    const std::string& untrustedCertPath() const { return untrustedCertPath_; }
    const std::string& untrustedKeyPath() const { return untrustedKeyPath_; }

    TestCertificates(const TestCertificates&) = delete;
    TestCertificates& operator=(const TestCertificates&) = delete;

private:
    TestCertificates();

    TempDir directory_{"tavi-test-certs"};
    std::string caPath_;
    std::string certPath_;
    std::string keyPath_;
    std::string untrustedCertPath_;
    std::string untrustedKeyPath_;
};

}  // namespace tavi::test
