#pragma once

#include <gtest/gtest.h>

#include "FakeTransport.h"
#include "PinnedEnvironment.h"
#include "core/TranslationProvider.h"

namespace tavi::test {

inline const std::string kInvalid = "服务器返回了无效的响应";
inline const std::string kNotJson = "服务器返回的内容不是有效的 JSON";
inline const std::string kTooDeep = "服务器返回的 JSON 嵌套层数过多";

// A good reply followed by a NUL byte and more: the parser alone would stop
// at the NUL and accept what came before.
inline std::string withNul(const std::string& reply) { return reply + std::string("\0{\"x\":1}", 8); }

// The whole request as one text, so that a wire test is a single comparison.
inline std::string wire(const HttpRequest& request) {
    std::string out = request.method + " " + request.url + " (" + std::to_string(request.timeout.count()) + " ms)\n";
    for (const auto& header : request.headers) out += header.name + ": " + header.value + "\n";
    return out + "\n" + request.body;
}

// One provider with every credential filled in, a recording transport and a pinned clock, nonce and salt.
template <class Provider>
class ProviderTest : public ::testing::Test {
protected:
    Result<TranslationResult> translate(const std::string& text, Language from = Language::english,
                                        Language to = Language::chinese) {
        return provider.translate(text, from, to, ProviderContext{settings, transport, pinned});
    }
    HttpRequest sent(const std::string& text, Language from = Language::english, Language to = Language::chinese) {
        translate(text, from, to);
        return transport.lastRequest();
    }
    std::optional<Language> detectedFrom(const std::string& body) {
        transport.respond(200, body);
        return translate("x")->detectedLanguage;  // throws if the reply was refused
    }
    // Every reply must fail with exactly its text, and a transport failure must come back as itself.
    void expectFailures(const std::vector<std::pair<HttpResponse, std::string>>& cases) {
        for (const auto& [reply, text] : cases) {
            transport.enqueue(reply);
            auto result = translate("hello");
            EXPECT_EQ(result.ok() ? "(succeeded)" : describe(result.error()), text) << reply.body.substr(0, 80);
        }
        const TransportError failure{TransportError::Kind::timedOut, "example.test", "stalled"};
        transport.fail(failure);
        EXPECT_EQ(std::get<TransportError>(translate("hello").error()), failure);  // throws if it was wrapped
    }
    // Credentials of blanks count as present (no trimming); with any one of them empty nothing is sent or drawn.
    void expectCredentialRule(std::initializer_list<std::string AppSettingsValues::*> keys, const std::string& text) {
        const AppSettingsValues configured = settings;
        for (auto key : keys) settings.*key = " ";
        EXPECT_TRUE(provider.isConfigured(settings));
        for (auto key : keys) {
            for (auto other : keys) settings.*other = "\n";
            (settings.*key).clear();
            EXPECT_FALSE(provider.isConfigured(settings));
            EXPECT_EQ(describe(translate("hello").error()), text);
        }
        EXPECT_EQ(transport.requestCount(), 0u);
        EXPECT_EQ(pinned.draws, 0);
        settings = configured;
    }

    Provider provider;
    AppSettingsValues settings{.openAIAPIKey = "sk-test", .claudeAPIKey = "sk-ant-test", .deepLAPIKey = "0000-test:fx",
                               .googleAPIKey = "AIza-test", .baiduAppID = "2015063000000001",
                               .baiduSecretKey = "12345678", .aliyunAccessKeyID = "AKTEST",
                               .aliyunAccessKeySecret = "SKTEST", .volcanoAccessKeyID = "AKTEST",
                               .volcanoSecretAccessKey = "SKTEST"};
    FakeTransport transport;
    PinnedEnvironment pinned;
};

}  // namespace tavi::test
