#pragma once

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "FakeHttpsServer.h"

namespace tavi::test {

// Loopback stand-ins for the three services that sign their requests. Each
// checks the signature of what actually arrived, with the independent
// verifiers, and refuses a bad one the way the real service does:
//   Baidu   200 {"error_code":"54001","error_msg":"Invalid Sign"}
//   Volcano 401 with a ResponseMetadata.Error of SignatureDoesNotMatch
//   Aliyun  400 {"Code":"SignatureDoesNotMatch","Message":"... server string to sign is:..."}
// A correctly signed request gets a translation at once: every line prefixed
// with kTranslationPrefix (Baidu answers line by line, like the real one).
class FakeSignedService {
public:
    static constexpr const char* kTranslationPrefix = "译：";

    virtual ~FakeSignedService() = default;
    FakeSignedService(const FakeSignedService&) = delete;
    FakeSignedService& operator=(const FakeSignedService&) = delete;

    const std::string& host() const { return host_; }
    // The TAVI_CONNECT_TO entry that routes the production host here.
    std::string connectTo() const { return server_.connectTo(host_); }
    FakeHttpsServer& server() { return server_; }

    // Correctly signed requests get this reply instead of a translation
    // (for hostile replies); badly signed ones are still refused.
    void scriptReply(int status, std::string body, std::string contentType = "application/json");
    void clearScript();

    // One entry per refused request: the verifier's reason.
    std::vector<std::string> rejections() const;
    std::size_t acceptedCount() const;

    // What the fake makes of a text.
    static std::string translationOf(const std::string& text);

protected:
    struct Reply {
        int status = 200;
        std::string body;
        std::string contentType = "application/json";
    };

    FakeSignedService(std::string host, std::string method, std::string path);

    // Checks the request; fills `reason` and returns the service's refusal
    // when it must be refused, or nothing when it is correctly signed.
    virtual std::optional<Reply> refusal(const RecordedRequest& request, std::string& reason) = 0;
    virtual Reply translation(const RecordedRequest& request) = 0;

    static std::string requestId();

private:
    void handle(const RecordedRequest& request, httplib::Response& response);

    std::string host_;
    FakeHttpsServer server_;
    mutable std::mutex mutex_;
    std::optional<Reply> script_;
    std::vector<std::string> rejections_;
    std::size_t accepted_ = 0;
};

class FakeBaiduService final : public FakeSignedService {
public:
    FakeBaiduService(std::string appID, std::string secretKey);

private:
    std::optional<Reply> refusal(const RecordedRequest& request, std::string& reason) override;
    Reply translation(const RecordedRequest& request) override;

    std::string appID_;
    std::string secretKey_;
};

class FakeVolcanoService final : public FakeSignedService {
public:
    FakeVolcanoService(std::string accessKeyID, std::string secretAccessKey);

private:
    std::optional<Reply> refusal(const RecordedRequest& request, std::string& reason) override;
    Reply translation(const RecordedRequest& request) override;

    std::string accessKeyID_;
    std::string secretAccessKey_;
};

class FakeAliyunService final : public FakeSignedService {
public:
    FakeAliyunService(std::string accessKeyID, std::string accessKeySecret);

private:
    std::optional<Reply> refusal(const RecordedRequest& request, std::string& reason) override;
    Reply translation(const RecordedRequest& request) override;

    std::string accessKeyID_;
    std::string accessKeySecret_;
    std::set<std::string> usedNonces_;  // the service refuses a nonce it has seen
    std::mutex nonceMutex_;
};

}  // namespace tavi::test
