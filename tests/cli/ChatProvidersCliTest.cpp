#include <gtest/gtest.h>

#include "CliRunner.h"
#include "FakeChatServices.h"
#include "TestCertificates.h"

// `tavi translate` against the loopback fakes of Claude, Google and DeepL:
// the whole path from settings file to stdout or "翻译失败：" on stderr.
namespace tavi::test {
namespace {

const char* const kClaudeKey = "sk-ant-api03-cli";
const char* const kGoogleKey = "AIza+cli/key=&";
const char* const kDeepLFreeKey = "deepl-free-key:fx";
const char* const kDeepLProKey = "deepl-pro-key";

const std::string kHostile = "a+b&c=d#e%f/g?h i\nj 中文 😀";

class ChatProvidersCliTest : public ::testing::Test {
protected:
    void configure(const std::string& key, const std::string& value) {
        const CliResult r = sandbox.run({"config", "set", key, value});
        ASSERT_EQ(r.exitCode, 0) << r.err;
    }
    void SetUp() override {
        configure("claudeAPIKey", kClaudeKey);
        configure("googleAPIKey", kGoogleKey);
        configure("deepLAPIKey", kDeepLFreeKey);
    }
    CliResult translate(const std::string& provider, const std::vector<std::string>& words,
                        const std::string& input = "") {
        std::vector<std::string> args = {"translate", "--provider", provider};
        args.insert(args.end(), words.begin(), words.end());
        const EnvVars env = {
            {"TAVI_CONNECT_TO",
             claude.connectTo() + "," + google.connectTo() + "," + deeplFree.connectTo() + "," + deeplPro.connectTo()},
            {"TAVI_CA_BUNDLE", TestCertificates::instance().caPath()},
        };
        return sandbox.run(args, input, env);
    }
    void expectFailure(const CliResult& r, const std::string& text) {
        EXPECT_EQ(r.exitCode, 1) << r.err;
        EXPECT_EQ(r.out, "");
        EXPECT_EQ(r.err, "翻译失败：" + text + "\n");
    }

    CliSandbox sandbox;
    FakeClaudeService claude{kClaudeKey};
    FakeGoogleService google{kGoogleKey};
    FakeDeepLService deeplFree{kDeepLFreeKey, FakeDeepLService::Plan::free};
    FakeDeepLService deeplPro{kDeepLProKey, FakeDeepLService::Plan::pro};
};

TEST_F(ChatProvidersCliTest, HostileTextTranslatesThroughEachService) {
    for (const char* provider : {"claude", "google", "deepl"}) {
        const CliResult r = translate(provider, {"--from", "auto", "--to", "zh", kHostile});
        EXPECT_EQ(r.exitCode, 0) << provider << ": " << r.err;
        EXPECT_EQ(r.out, FakeService::translationOf(kHostile) + "\n") << provider;
        EXPECT_EQ(r.err, "") << provider;
    }
    // Each service decoded exactly the text that was typed.
    for (FakeService* fake : std::initializer_list<FakeService*>{&claude, &google, &deeplFree}) {
        EXPECT_EQ(fake->rejections(), std::vector<std::string>{}) << fake->host();
        EXPECT_EQ(fake->texts(), std::vector<std::string>{kHostile}) << fake->host();
    }
}

TEST_F(ChatProvidersCliTest, DetectedLanguagesAndProviderNamesInJson) {
    CliResult r = translate("google", {"--json", "--to", "en", "你好"});
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_NE(r.out.find(R"("provider":"Google 翻译")"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find(R"("detectedLanguage":"zh")"), std::string::npos) << r.out;

    r = translate("deepl", {"--json", "--to", "en", "你好"});
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_NE(r.out.find(R"("provider":"DeepL")"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find(R"("detectedLanguage":"zh")"), std::string::npos) << r.out;

    r = translate("claude", {"--json", "--from", "en", "--to", "ja", "hello"});
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.out, R"({"sourceText":"hello","translatedText":"译：hello","sourceLanguage":"en",)"
                     R"("targetLanguage":"ja","provider":"Claude","detectedLanguage":null})"
                     "\n");
}

TEST_F(ChatProvidersCliTest, DeepLProPlanGoesToTheProHost) {
    configure("deepLIsPro", "true");
    configure("deepLAPIKey", kDeepLProKey);
    const CliResult r = translate("deepl", {"-"}, "line one\nline two\n");
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.out, "译：line one\nline two\n");
    EXPECT_EQ(deeplPro.acceptedCount(), 1u);
    EXPECT_EQ(deeplFree.server().requestCount(), 0u);

    // A Free key left in place after switching to Pro: DeepL's own words.
    configure("deepLAPIKey", kDeepLFreeKey);
    expectFailure(translate("deepl", {"hello"}), "Wrong endpoint. Use https://api-free.deepl.com");
}

TEST_F(ChatProvidersCliTest, ServiceRefusalsAndHostileRepliesBecomeTheirOwnTexts) {
    configure("claudeAPIKey", "sk-ant-revoked");
    expectFailure(translate("claude", {"hello"}), "invalid x-api-key");
    configure("googleAPIKey", "AIza-revoked");
    expectFailure(translate("google", {"hello"}), "API key not valid. Please pass a valid API key.");
    expectFailure(translate("deepl", {"--from", "en", "hello"}), "Value for 'source_lang' not supported.");
    configure("claudeAPIKey", kClaudeKey);
    configure("googleAPIKey", kGoogleKey);

    claude.scriptReply(529, R"({"type":"error","error":{"type":"overloaded_error","message":"Overloaded"}})");
    expectFailure(translate("claude", {"hello"}), "Overloaded");
    claude.scriptReply(429, R"({"type":"error","error":{"type":"rate_limit_error","message":"slow down"}})");
    expectFailure(translate("claude", {"hello"}), "请求过于频繁，请稍后再试");
    claude.scriptReply(200, R"({"content":[{"type":"tool_use","id":"x"},{"type":"text","text":"late"}]})");
    expectFailure(translate("claude", {"hello"}), "服务器返回了无效的响应");

    google.scriptReply(403, R"({"error":{"code":403,"message":"Cloud Translation API has not been used in project 1"}})");
    expectFailure(translate("google", {"hello"}), "Cloud Translation API has not been used in project 1");
    google.scriptReply(502, "<html>Bad Gateway</html>", "text/html");
    expectFailure(translate("google", {"hello"}), "HTTP 502");
    google.scriptReply(200, "not json at all", "text/plain");
    expectFailure(translate("google", {"hello"}), "服务器返回的内容不是有效的 JSON");

    deeplFree.scriptReply(456, R"({"message":"Quota exceeded"})");
    expectFailure(translate("deepl", {"hello"}), "Quota exceeded");
    deeplFree.scriptReply(429, "");
    expectFailure(translate("deepl", {"hello"}), "请求过于频繁，请稍后再试");
    deeplFree.scriptReply(200, R"({"translations":[{"text":")" + FakeHttpsServer::invalidUtf8Text() + "\"}]}");
    expectFailure(translate("deepl", {"hello"}), "服务器返回的内容不是有效的 JSON");
    deeplFree.scriptReply(200, FakeHttpsServer::nestedJson(100000));
    expectFailure(translate("deepl", {"hello"}), "服务器返回的 JSON 嵌套层数过多");
}

TEST_F(ChatProvidersCliTest, MissingKeysSendNothing) {
    configure("claudeAPIKey", "");
    configure("googleAPIKey", "");
    configure("deepLAPIKey", "");
    expectFailure(translate("claude", {"hello"}), "Claude API Key 未设置");
    // The service refuses before the provider runs, so it names the provider
    // by its display name.
    expectFailure(translate("google", {"hello"}), "Google 翻译 API Key 未设置");
    expectFailure(translate("deepl", {"hello"}), "DeepL API Key 未设置");
    EXPECT_EQ(claude.server().requestCount() + google.server().requestCount() + deeplFree.server().requestCount() +
                  deeplPro.server().requestCount(),
              0u);
}

}  // namespace
}  // namespace tavi::test
