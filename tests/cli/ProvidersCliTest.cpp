#include <gtest/gtest.h>

#include "CliRunner.h"
#include "FakeChatServices.h"
#include "FakeSignedServices.h"

// `tavi translate` against the loopback fakes of every service: the whole
// path from settings file to stdout or "翻译失败：" on stderr.
namespace tavi::test {
namespace {

const char* const kOpenAIKey = "sk-cli";
const char* const kClaudeKey = "sk-ant-api03-cli";
const char* const kGoogleKey = "AIza+cli/key=&";
const char* const kDeepLFreeKey = "deepl-free-key:fx";
const char* const kDeepLProKey = "deepl-pro-key";
const char* const kBaiduAppID = "20240101000000001";
const char* const kBaiduSecret = "baidu+secret/=&";
const char* const kVolcanoKeyID = "AKLTvolcanoexample";
const char* const kVolcanoSecret = "volcano/secret+==";
const char* const kAliyunKeyID = "LTAI5tAliyunExample";
const char* const kAliyunSecret = "aliyun&secret%2B";

class ProvidersCliTest : public ::testing::Test {
protected:
    void SetUp() override {
        for (const auto& [key, value] : std::initializer_list<std::pair<const char*, const char*>>{
                 {"openAIAPIKey", kOpenAIKey}, {"claudeAPIKey", kClaudeKey}, {"googleAPIKey", kGoogleKey},
                 {"deepLAPIKey", kDeepLFreeKey}, {"baiduAppID", kBaiduAppID}, {"baiduSecretKey", kBaiduSecret},
                 {"volcanoAccessKeyID", kVolcanoKeyID}, {"volcanoSecretAccessKey", kVolcanoSecret},
                 {"aliyunAccessKeyID", kAliyunKeyID}, {"aliyunAccessKeySecret", kAliyunSecret}}) {
            configure(key, value);
        }
    }
    void configure(const std::string& key, const std::string& value) {
        const CliResult r = sandbox.run({"config", "set", key, value});
        ASSERT_EQ(r.exitCode, 0) << r.err;
    }
    std::vector<FakeService*> fakes() {
        return {&openAI, &claude, &google, &deeplFree, &deeplPro, &baidu, &volcano, &aliyun};
    }
    EnvVars environment() {
        std::vector<std::string> entries;
        for (FakeService* fake : fakes()) entries.push_back(fake->connectTo());
        return routedTo(entries);
    }
    CliResult translate(const std::string& provider, const std::vector<std::string>& words,
                        const std::string& input = "") {
        std::vector<std::string> args = {"translate", "--provider", provider};
        args.insert(args.end(), words.begin(), words.end());
        return sandbox.run(args, input, environment());
    }
    void expectFailure(const CliResult& r, const std::string& text) {
        EXPECT_EQ(r.exitCode, 1) << r.err;
        EXPECT_EQ(r.out, "");
        EXPECT_EQ(r.err, "翻译失败：" + text + "\n");
    }
    void expectNothingSent() {
        for (FakeService* fake : fakes()) EXPECT_EQ(fake->server().requestCount(), 0u) << fake->host();
    }

    CliSandbox sandbox;
    FakeOpenAIService openAI{kOpenAIKey};
    FakeClaudeService claude{kClaudeKey};
    FakeGoogleService google{kGoogleKey};
    FakeDeepLService deeplFree{kDeepLFreeKey, FakeDeepLService::Plan::free};
    FakeDeepLService deeplPro{kDeepLProKey, FakeDeepLService::Plan::pro};
    FakeBaiduService baidu{kBaiduAppID, kBaiduSecret};
    FakeVolcanoService volcano{kVolcanoKeyID, kVolcanoSecret};
    FakeAliyunService aliyun{kAliyunKeyID, kAliyunSecret};
};

TEST_F(ProvidersCliTest, HostileTextTranslatesThroughEveryService) {
    const std::string hostile = "a+b&c=d#e%f/g?h i\nj 100% 中文 😀👨‍👩‍👧 ~*'\"";
    for (const std::string provider : {"openai", "claude", "google", "deepl", "baidu", "volcano", "aliyun"}) {
        const CliResult r = translate(provider, {"--from", "auto", "--to", "zh", hostile});
        EXPECT_EQ(r.exitCode, 0) << provider << ": " << r.err;
        // Baidu answers line by line.
        const std::string expected = provider == "baidu" ? "译：a+b&c=d#e%f/g?h i\n译：j 100% 中文 😀👨‍👩‍👧 ~*'\""
                                                         : FakeService::translationOf(hostile);
        EXPECT_EQ(r.out, expected + "\n") << provider;
        EXPECT_EQ(r.err, "") << provider;
    }
    // Each service decoded exactly the text that was typed (and the signed ones verified their signature over it).
    for (FakeService* fake : fakes()) {
        EXPECT_EQ(fake->rejections(), std::vector<std::string>{}) << fake->host();
        const std::vector<std::string> expected = fake == &deeplPro ? std::vector<std::string>{} : std::vector{hostile};
        EXPECT_EQ(fake->texts(), expected) << fake->host();
    }
}

TEST_F(ProvidersCliTest, OpenAITakesItsTextFromWordsOrStandardInput) {
    EXPECT_EQ(sandbox.run({"providers"}).out.rfind("openai\tOpenAI\t已配置\t当前\n", 0), 0u);
    CliResult r = sandbox.run({"translate", "Good", "morning"}, "", environment());
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.out, "译：Good morning\n");
    for (const std::vector<std::string>& args : {std::vector<std::string>{"translate"}, {"translate", "-"}}) {
        r = sandbox.run(args, " \n Good\n morning \r\n", environment());
        EXPECT_EQ(r.out, "译：Good\n morning\n");
    }
    EXPECT_EQ(openAI.texts(), (std::vector<std::string>{"Good morning", "Good\n morning", "Good\n morning"}));

    r = sandbox.run({"translate", "--json", "--from", "en", "--to=ja", "--", "--json"}, "", environment());
    EXPECT_EQ(r.out, R"({"sourceText":"--json","translatedText":"译：--json","sourceLanguage":"en",)"
                     R"("targetLanguage":"ja","provider":"OpenAI","detectedLanguage":null})"
                     "\n");
    EXPECT_EQ(sandbox.run({"config", "get", "targetLanguage"}).out, "zh\n");  // the override was not kept
}

TEST_F(ProvidersCliTest, TextThatIsNotUtf8IsRefusedBeforeAnyRequest) {
    const std::string expected =
        "tavi: 要翻译的文本不是有效的 UTF-8（第 4 个字节起），请先转换编码，例如 iconv -f GBK -t UTF-8\n"
        "用法见 tavi --help\n";
    CliResult r = sandbox.run({"translate", "caf\xe9"}, "", environment());
    EXPECT_EQ(r.exitCode, 2);
    EXPECT_EQ(r.err, expected);
    r = sandbox.run({"translate"}, "  caf\xe9 au lait\n", environment());  // from standard input, trimmed first
    EXPECT_EQ(r.exitCode, 2);
    EXPECT_EQ(r.err, expected);
    expectNothingSent();
}

// The providers' own tests pin each service's detected language and name.
TEST_F(ProvidersCliTest, JsonCarriesTheDetectedLanguage) {
    const CliResult r = translate("google", {"--json", "--to", "en", "你好"});
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.out, R"({"sourceText":"你好","translatedText":"译：你好","sourceLanguage":"auto",)"
                     R"("targetLanguage":"en","provider":"Google 翻译","detectedLanguage":"zh"})"
                     "\n");
}

TEST_F(ProvidersCliTest, DeepLProPlanGoesToTheProHost) {
    configure("deepLIsPro", "true");
    configure("deepLAPIKey", kDeepLProKey);
    const CliResult r = translate("deepl", {"-"}, "line one\nline two\n");
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.out, "译：line one\nline two\n");
    EXPECT_EQ(deeplPro.texts().size(), 1u);
    EXPECT_EQ(deeplFree.server().requestCount(), 0u);

    // A Free key left in place after switching to Pro: DeepL's own words.
    configure("deepLAPIKey", kDeepLFreeKey);
    expectFailure(translate("deepl", {"hello"}), "Wrong endpoint. Use https://api-free.deepl.com");
}

// Every reply's text is pinned by the providers' own tests, and OpenAIOverHttpsTest
// takes hostile replies over HTTPS; here a translation that holds a NUL reaches stdout whole.
TEST_F(ProvidersCliTest, TranslationIsWrittenOutByteForByte) {
    const std::string reply = R"({"Code":200,"Data":{"Translated":"\u0000\n译文\t"}})";
    aliyun.server().on("POST", "/", FakeHttpsServer::respond(200, reply));
    const CliResult r = translate("aliyun", {"hello"});
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.out, std::string("\0\n译文\t\n", 10));
}

// The providers' own tests pin what each refuses before sending; here, what
// the service refuses before a provider runs.
TEST_F(ProvidersCliTest, UnknownProvidersAndMissingKeysSendNothing) {
    expectFailure(translate("foo", {"hello"}), "未找到翻译服务：foo");
    expectFailure(translate("OpenAI", {"hello"}), "未找到翻译服务：OpenAI");
    // Named by its display name, not the provider's own "Google Translate".
    configure("googleAPIKey", "");
    expectFailure(translate("google", {"hello"}), "Google 翻译 API Key 未设置");
    expectNothingSent();
}

}  // namespace
}  // namespace tavi::test
