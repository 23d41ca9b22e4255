#include "TestCertificates.h"

#include "CliRunner.h"

namespace tavi::test {

const TestCertificates& TestCertificates::instance() {
    static const TestCertificates certificates;
    return certificates;
}

// P-256 keys and certificates valid for a week: long enough for any test run,
// short enough to be obviously disposable.
TestCertificates::TestCertificates() {
    const auto at = [&](const char* name) { return (directory_ / name).string(); };
    caPath_ = at("ca.pem");
    certPath_ = at("server-cert.pem");
    keyPath_ = at("server-key.pem");
    untrustedCertPath_ = at("untrusted-cert.pem");
    untrustedKeyPath_ = at("untrusted-key.pem");

    std::string names = "subjectAltName=";
    for (const char* host : {"api.openai.com", "api.anthropic.com", "translation.googleapis.com", "api-free.deepl.com",
                             "api.deepl.com", "fanyi-api.baidu.com", "translate.volcengineapi.com",
                             "mt.cn-hangzhou.aliyuncs.com", "localhost"})
        names += std::string("DNS:") + host + ",";
    const std::vector<std::string> serverExtensions = {"basicConstraints=critical,CA:FALSE",
                                                       "keyUsage=critical,digitalSignature",
                                                       "extendedKeyUsage=serverAuth", names + "IP:127.0.0.1"};
    const auto newCertificate = [&](const std::string& name, const std::string& key, const std::string& out,
                                    std::vector<std::string> rest) {
        std::vector<std::string> args = {"req", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes",
                                         "-subj", "/O=Tavi tests/CN=" + name, "-keyout", key, "-out", out};
        args.insert(args.end(), rest.begin(), rest.end());
        openssl(args);
    };
    const auto selfSigned = [&](const std::vector<std::string>& extensions) {
        std::vector<std::string> args = {"-x509", "-days", "7"};
        for (const std::string& extension : extensions) args.insert(args.end(), {"-addext", extension});
        return args;
    };

    newCertificate("Tavi Test CA", at("ca-key.pem"), caPath_,
                   selfSigned({"basicConstraints=critical,CA:TRUE,pathlen:0", "keyUsage=critical,keyCertSign,cRLSign"}));
    newCertificate("Tavi test server", keyPath_, at("server.csr"), {"-new"});
    std::string extensionFile;
    for (const std::string& extension : serverExtensions) extensionFile += extension + "\n";
    writeFile(at("server.ext"), extensionFile);
    openssl({"x509", "-req", "-in", at("server.csr"), "-CA", caPath_, "-CAkey", at("ca-key.pem"), "-days", "7",
             "-extfile", at("server.ext"), "-out", certPath_});
    // The same names, vouched for by nobody: a man in the middle.
    newCertificate("Tavi untrusted server", untrustedKeyPath_, untrustedCertPath_, selfSigned(serverExtensions));
}

}  // namespace tavi::test
