#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "FakeHttpsServer.h"

namespace tavi::test {

// Loopback stand-ins for the services that authenticate with a plain API key:
// Anthropic's Messages API, Google Translation v2 and DeepL v2 (Free or Pro).
// Each checks what actually arrived the way the real service does and
// refuses it with the real service's error shape:
//   Claude  401 {"type":"error","error":{"type":"authentication_error","message":"invalid x-api-key"}}
//           400 invalid_request_error for a missing anthropic-version or a malformed body
//   Google  400 {"error":{"code":400,"message":"API key not valid. Please pass a valid API key.",...}}
//           411 (HTML) for a POST without Content-Length, like Google's front end
//   DeepL   403 {"message":"Wrong endpoint. Use https://api.deepl.com"} for a key of the other plan
//           403 with an empty body for an unknown key
//           400 {"message":"Value for 'source_lang' not supported."} for a regional source code
// An accepted request gets its translation at once (translationOf(text)), so
// a benchmark measures the client, not the fake.
class FakeChatService {
public:
    static constexpr const char* kTranslationPrefix = "译：";

    virtual ~FakeChatService() = default;
    FakeChatService(const FakeChatService&) = delete;
    FakeChatService& operator=(const FakeChatService&) = delete;

    const std::string& host() const { return host_; }
    // The TAVI_CONNECT_TO entry that routes the production host here.
    std::string connectTo() const { return server_.connectTo(host_); }
    FakeHttpsServer& server() { return server_; }

    // Accepted requests get this reply instead of a translation (for hostile
    // replies); refused ones are still refused.
    void scriptReply(int status, std::string body, std::string contentType = "application/json");
    void clearScript();

    // One entry per refused request: why it was refused.
    std::vector<std::string> rejections() const;
    std::size_t acceptedCount() const;
    // The texts of accepted requests, decoded as the service decodes them.
    std::vector<std::string> receivedTexts() const;

    static std::string translationOf(const std::string& text) { return kTranslationPrefix + text; }

protected:
    struct Reply {
        int status = 200;
        std::string body;
        std::string contentType = "application/json";
    };
    // Either a refusal (with the reason for the log) or the text to translate.
    struct Verdict {
        std::optional<Reply> refusal;
        std::string reason;
        std::string text;
        std::string sourceCode;  // what the request named as the source language; empty when none
        std::string model;       // the model the request asked for, where there is one
    };

    FakeChatService(std::string host, std::string method, std::string path);

    virtual Verdict examine(const RecordedRequest& request) const = 0;
    virtual Reply translation(const Verdict& accepted) const = 0;

    static Verdict refuse(std::string reason, Reply reply) {
        Verdict verdict;
        verdict.refusal = std::move(reply);
        verdict.reason = std::move(reason);
        return verdict;
    }
    // True when the text holds a character from the CJK blocks.
    static bool looksChinese(const std::string& text);

private:
    void handle(const RecordedRequest& request, httplib::Response& response);

    std::string host_;
    FakeHttpsServer server_;
    mutable std::mutex mutex_;
    std::optional<Reply> script_;
    std::vector<std::string> rejections_;
    std::vector<std::string> receivedTexts_;
};

class FakeClaudeService final : public FakeChatService {
public:
    explicit FakeClaudeService(std::string apiKey);

private:
    Verdict examine(const RecordedRequest& request) const override;
    Reply translation(const Verdict& accepted) const override;

    std::string apiKey_;
};

// Reports "zh-CN" or "en" as the detected language when no source was given.
class FakeGoogleService final : public FakeChatService {
public:
    explicit FakeGoogleService(std::string apiKey);

private:
    Verdict examine(const RecordedRequest& request) const override;
    Reply translation(const Verdict& accepted) const override;

    std::string apiKey_;
};

// Serves the Free or the Pro host. Any other key ending in ":fx" (a Free-plan
// key) is sent to the Free host and any other key without it to the Pro host,
// as the real service does; a key of the right plan that is not `apiKey` is
// unknown. Source codes must be bare ("EN", not "EN-US"), as on the real
// service. Reports the source that was sent, else "ZH" or "EN", as detected.
class FakeDeepLService final : public FakeChatService {
public:
    enum class Plan { free, pro };

    FakeDeepLService(std::string apiKey, Plan plan);

private:
    Verdict examine(const RecordedRequest& request) const override;
    Reply translation(const Verdict& accepted) const override;

    std::string apiKey_;
    Plan plan_;
};

}  // namespace tavi::test
