#pragma once

#include <cstddef>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "CliRunner.h"
#include "FakeHttpsServer.h"

namespace tavi::test {

// A loopback stand-in for one translation service under its production host
// name. Each request is examined the way the real service examines it and
// either refused with the service's own error shape or answered at once with
// translationOf(text), so a benchmark measures the client, not the fake.
class FakeService {
public:
    static constexpr const char* kTranslationPrefix = "译：";

    virtual ~FakeService() = default;
    FakeService(const FakeService&) = delete;
    FakeService& operator=(const FakeService&) = delete;

    const std::string& host() const { return host_; }
    // The TAVI_CONNECT_TO entry that routes the production host here.
    std::string connectTo() const { return server_.connectTo(host_); }
    // TAVI_CONNECT_TO and TAVI_CA_BUNDLE for a tavi process that uses it.
    EnvVars environment() const { return routedTo({connectTo()}); }
    FakeHttpsServer& server() { return server_; }

    // One entry per refused request: why it was refused.
    std::vector<std::string> rejections() const;
    // The texts of accepted requests, decoded as the service decodes them.
    std::vector<std::string> texts() const;

    static std::string translationOf(const std::string& text) { return kTranslationPrefix + text; }

protected:
    struct Reply {
        int status = 200;
        std::string body;  // JSON
    };
    // Either a refusal (with the reason for the log) or what was understood.
    struct Verdict {
        std::optional<Reply> refusal;
        std::string reason;
        std::string text;
        std::string sourceCode;  // what the request named as the source language; empty when none
        std::string model;       // the model the request asked for, where there is one
    };

    FakeService(std::string host, std::string method, std::string path);

    // Called on the fake's worker threads, possibly several at once.
    virtual Verdict examine(const RecordedRequest& request) = 0;
    virtual Reply translation(const RecordedRequest& request, const Verdict& accepted) = 0;

    static Verdict refuse(std::string reason, Reply reply) {
        Verdict verdict;
        verdict.refusal = std::move(reply);
        verdict.reason = std::move(reason);
        return verdict;
    }

private:
    void handle(const RecordedRequest& request, httplib::Response& response);

    std::string host_;
    FakeHttpsServer server_;
    mutable std::mutex mutex_;
    std::vector<std::string> rejections_;
    std::vector<std::string> texts_;
};

}  // namespace tavi::test
