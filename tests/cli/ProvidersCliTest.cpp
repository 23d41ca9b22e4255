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

TEST_F(ProvidersCliTest, JsonNamesTheProviderAndTheDetectedLanguage) {
    const std::tuple<const char*, std::vector<std::string>, std::string> cases[] = {
        {"google", {"--to", "en", "你好"}, R"("provider":"Google 翻译","detectedLanguage":"zh"})"},
        {"deepl", {"--to", "en", "你好"}, R"("provider":"DeepL","detectedLanguage":"zh"})"},
        {"aliyun", {"--from", "auto", "--to", "zh-TW", "hello"}, R"("provider":"阿里翻译","detectedLanguage":"en"})"},
    };
    for (auto [provider, words, ending] : cases) {
        words.insert(words.begin(), "--json");
        const CliResult r = translate(provider, words);
        EXPECT_EQ(r.exitCode, 0) << r.err;
        EXPECT_NE(r.out.find(R"("translatedText":"译：)"), std::string::npos) << r.out;
        EXPECT_NE(r.out.find(ending + "\n"), std::string::npos) << r.out;
    }
    const CliResult r = translate("claude", {"--json", "--from", "en", "--to", "ja", "hello"});
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.out, R"({"sourceText":"hello","translatedText":"译：hello","sourceLanguage":"en",)"
                     R"("targetLanguage":"ja","provider":"Claude","detectedLanguage":null})"
                     "\n");
}

TEST_F(ProvidersCliTest, MultiLineStandardInputKeepsItsLines) {
    const std::string input = "first line & more\nsecond = line\r\n第三行\n";
    const std::string text = "first line & more\nsecond = line\r\n第三行";  // the command trims the ends
    CliResult r = translate("baidu", {}, input);
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.out, "译：first line & more\n译：second = line\r\n译：第三行\n");
    for (const char* provider : {"volcano", "aliyun"}) {
        r = translate(provider, {"-"}, input);
        EXPECT_EQ(r.exitCode, 0) << provider << ": " << r.err;
        EXPECT_EQ(r.out, FakeService::translationOf(text) + "\n") << provider;
    }
}

TEST_F(ProvidersCliTest, DeepLProPlanGoesToTheProHost) {
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

// A revoked key or a corrupted secret is refused by the service, in its own
// words, and the secret itself is never shown.
TEST_F(ProvidersCliTest, ServiceRefusalsReachTheUserInTheServicesOwnWords) {
    struct Case {
        const char* key;
        std::string value;
        const char* provider;
        std::vector<std::string> words;
        std::string expected;
    };
    const Case cases[] = {
        {"openAIAPIKey", "sk-revoked", "openai", {"hello"},
         "Incorrect API key provided. You can find your API key at https://platform.openai.com/account/api-keys."},
        {"claudeAPIKey", "sk-ant-revoked", "claude", {"hello"}, "invalid x-api-key"},
        {"googleAPIKey", "AIza-revoked", "google", {"hello"}, "API key not valid. Please pass a valid API key."},
        {"deepLAPIKey", kDeepLFreeKey, "deepl", {"--from", "en", "hello"}, "Value for 'source_lang' not supported."},
        {"baiduSecretKey", std::string(kBaiduSecret) + "x", "baidu", {"hello"}, "百度翻译错误 54001: Invalid Sign"},
        {"volcanoSecretAccessKey", "volcano/secret+=-", "volcano", {"hello"}, "HTTP 401"},
    };
    for (const Case& c : cases) {
        configure(c.key, c.value);
        const CliResult r = translate(c.provider, c.words);
        expectFailure(r, c.expected);
        EXPECT_EQ(r.err.find(c.value), std::string::npos) << c.key;
    }
    configure("aliyunAccessKeySecret", "aliyun&secret%2b");
    const CliResult r = translate("aliyun", {"--to", "en", "hello"});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.err.rfind("翻译失败：阿里翻译：Specified signature is not matched with our calculation. "
                          "server string to sign is:POST&%2F&AccessKeyId%3D" + std::string(kAliyunKeyID),
                          0),
              0u)
        << r.err;
    EXPECT_NE(r.err.find("（SignatureDoesNotMatch）\n"), std::string::npos) << r.err;
    EXPECT_EQ(r.err.find("aliyun&secret"), std::string::npos);
}

// Every reply's text is pinned by the providers' own tests; here a few go the
// whole way over HTTP, in content types other than JSON too.
TEST_F(ProvidersCliTest, HostileRepliesBecomeTheirOwnTexts) {
    google.scriptReply(502, "<html>Bad Gateway</html>", "text/html");
    expectFailure(translate("google", {"hello"}), "HTTP 502");
    deeplFree.scriptReply(429, "");
    expectFailure(translate("deepl", {"hello"}), "请求过于频繁，请稍后再试");
    volcano.scriptReply(200, R"({"TranslationList":[{"Translation":")" + FakeHttpsServer::invalidUtf8Text() + "\"}]}");
    expectFailure(translate("volcano", {"hello"}), "服务器返回的内容不是有效的 JSON");
    aliyun.scriptReply(503, "Service Unavailable", "text/plain");
    expectFailure(translate("aliyun", {"hello"}), "阿里翻译 HTTP 503");
    aliyun.scriptReply(200, R"({"Code":200,"Data":{"Translated":"\u0000\n译文\t"}})");
    const CliResult r = translate("aliyun", {"hello"});
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.out, std::string("\0\n译文\t\n", 10));
}

TEST_F(ProvidersCliTest, MissingKeysAndRefusedTextsSendNothing) {
    expectFailure(translate("aliyun", {"--to", "auto", "hello"}), "不支持的语言组合");
    expectFailure(translate("aliyun", {std::string(5001, 'x')}), "阿里翻译单次最多支持 5,000 字符，请缩短原文后重试");
    const std::tuple<const char*, const char*, const char*, const char*> missing[] = {
        {"claudeAPIKey", "", "claude", "Claude API Key 未设置"},
        // The service refuses before the provider runs, so it names the provider by its display name.
        {"googleAPIKey", "", "google", "Google 翻译 API Key 未设置"},
        {"deepLAPIKey", "", "deepl", "DeepL API Key 未设置"},
        {"aliyunAccessKeySecret", "   ", "aliyun", "阿里翻译 API Key 未设置"},
        {"volcanoAccessKeyID", "", "volcano", "火山翻译 API Key 未设置"},
        {"baiduAppID", "", "baidu", "百度翻译 API Key 未设置"},
    };
    for (const auto& [key, value, provider, expected] : missing) {
        configure(key, value);
        expectFailure(translate(provider, {"hello"}), expected);
    }
    expectNothingSent();
}

}  // namespace
}  // namespace tavi::test
