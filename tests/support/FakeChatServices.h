#pragma once

#include <string>

#include "FakeService.h"

namespace tavi::test {

// Loopback stand-ins for the services that authenticate with a plain API key:
// OpenAI's Chat Completions, Anthropic's Messages API, Google Translation v2
// and DeepL v2 (Free or Pro). Each refuses a wrong key in the real service's
// own words and error shape, and a request it cannot read with a plain 400.
// The fields of a request are pinned byte for byte by the providers' unit
// tests; these fakes judge what curl delivered and decode the user's text.

// Given a key, it refuses every other one; given none, it takes any, for a
// Tavi whose key is changed while it runs. The user's text is the content of
// the last "user" message.
class FakeOpenAIService final : public FakeService {
public:
    explicit FakeOpenAIService(std::string apiKey = {});

    // A Chat Completions reply whose one choice carries `content`.
    static std::string replyBody(const std::string& content, const std::string& model = "gpt-4o-mini");

private:
    Verdict examine(const RecordedRequest& request) override;
    Reply translation(const RecordedRequest& request, const Verdict& accepted) override;

    std::string apiKey_;
};

class FakeClaudeService final : public FakeService {
public:
    explicit FakeClaudeService(std::string apiKey);

private:
    Verdict examine(const RecordedRequest& request) override;
    Reply translation(const RecordedRequest& request, const Verdict& accepted) override;

    std::string apiKey_;
};

// Reports "zh-CN" or "en" as the detected language when no source was given.
class FakeGoogleService final : public FakeService {
public:
    explicit FakeGoogleService(std::string apiKey);

private:
    Verdict examine(const RecordedRequest& request) override;
    Reply translation(const RecordedRequest& request, const Verdict& accepted) override;

    std::string apiKey_;
};

// Serves the Free or the Pro host. Any other key ending in ":fx" (a Free-plan
// key) is sent to the Free host and any other key without it to the Pro host,
// as the real service does; a key of the right plan that is not `apiKey` is
// unknown. Source codes must be bare ("EN", not "EN-US"), as on the real
// service. Reports the source that was sent, else "ZH" or "EN", as detected.
class FakeDeepLService final : public FakeService {
public:
    enum class Plan { free, pro };

    FakeDeepLService(std::string apiKey, Plan plan);

private:
    Verdict examine(const RecordedRequest& request) override;
    Reply translation(const RecordedRequest& request, const Verdict& accepted) override;

    std::string apiKey_;
    Plan plan_;
};

}  // namespace tavi::test
