#include <gtest/gtest.h>

#include "CliRunner.h"
#include "FakeSignedServices.h"
#include "TestCertificates.h"

// `tavi translate` against the loopback fakes of the signed services: the
// whole path from settings file to stdout or "翻译失败：" on stderr.
namespace tavi::test {
namespace {

const char* const kBaiduAppID = "20240101000000001";
const char* const kBaiduSecret = "baidu+secret/=&";
const char* const kVolcanoKeyID = "AKLTvolcanoexample";
const char* const kVolcanoSecret = "volcano/secret+==";
const char* const kAliyunKeyID = "LTAI5tAliyunExample";
const char* const kAliyunSecret = "aliyun&secret%2B";

class SignedProvidersCliTest : public ::testing::Test {
protected:
    void configure(const std::string& key, const std::string& value) {
        const CliResult r = sandbox.run({"config", "set", key, value});
        ASSERT_EQ(r.exitCode, 0) << r.err;
    }
    void SetUp() override {
        configure("baiduAppID", kBaiduAppID);
        configure("baiduSecretKey", kBaiduSecret);
        configure("volcanoAccessKeyID", kVolcanoKeyID);
        configure("volcanoSecretAccessKey", kVolcanoSecret);
        configure("aliyunAccessKeyID", kAliyunKeyID);
        configure("aliyunAccessKeySecret", kAliyunSecret);
    }
    CliResult translate(const std::string& provider, const std::vector<std::string>& words,
                        const std::string& input = "") {
        std::vector<std::string> args = {"translate", "--provider", provider};
        args.insert(args.end(), words.begin(), words.end());
        const EnvVars env = {
            {"TAVI_CONNECT_TO", baidu.connectTo() + "," + volcano.connectTo() + "," + aliyun.connectTo()},
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
    FakeBaiduService baidu{kBaiduAppID, kBaiduSecret};
    FakeVolcanoService volcano{kVolcanoKeyID, kVolcanoSecret};
    FakeAliyunService aliyun{kAliyunKeyID, kAliyunSecret};
};

TEST_F(SignedProvidersCliTest, HostileTextTranslatesThroughEverySignedService) {
    const std::string hostile = "a+b&c=d#e%f/g?h 100% 你好 😀👨‍👩‍👧 ~*'\"";
    for (const char* provider : {"baidu", "volcano", "aliyun"}) {
        const CliResult r = translate(provider, {"--from", "auto", "--to", "zh", hostile});
        EXPECT_EQ(r.exitCode, 0) << provider << ": " << r.err;
        EXPECT_EQ(r.out, FakeSignedService::translationOf(hostile) + "\n") << provider;
        EXPECT_EQ(r.err, "") << provider;
    }
    EXPECT_EQ(baidu.rejections(), std::vector<std::string>{});
    EXPECT_EQ(volcano.rejections(), std::vector<std::string>{});
    EXPECT_EQ(aliyun.rejections(), std::vector<std::string>{});
    EXPECT_EQ(baidu.acceptedCount() + volcano.acceptedCount() + aliyun.acceptedCount(), 3u);
}

TEST_F(SignedProvidersCliTest, AliyunReportsTheDetectedLanguage) {
    const CliResult r = translate("aliyun", {"--json", "--from", "auto", "--to", "zh-TW", "hello"});
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_NE(r.out.find(R"("translatedText":"译：hello")"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find(R"("provider":"阿里翻译")"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find(R"("detectedLanguage":"en")"), std::string::npos) << r.out;
}

TEST_F(SignedProvidersCliTest, MultiLineStandardInputKeepsItsLines) {
    const std::string input = "first line & more\nsecond = line\r\n第三行\n";
    const std::string text = "first line & more\nsecond = line\r\n第三行";  // the command trims the ends
    CliResult r = translate("baidu", {}, input);
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.out, "译：first line & more\n译：second = line\r\n译：第三行\n");
    for (const char* provider : {"volcano", "aliyun"}) {
        r = translate(provider, {"-"}, input);
        EXPECT_EQ(r.exitCode, 0) << provider << ": " << r.err;
        EXPECT_EQ(r.out, FakeSignedService::translationOf(text) + "\n") << provider;
    }
}

TEST_F(SignedProvidersCliTest, CorruptedSecretsReachTheUserAsTheServicesError) {
    configure("baiduSecretKey", std::string(kBaiduSecret) + "x");
    configure("volcanoSecretAccessKey", "volcano/secret+=-");
    configure("aliyunAccessKeySecret", "aliyun&secret%2b");
    expectFailure(translate("baidu", {"hello"}), "百度翻译错误 54001: Invalid Sign");
    expectFailure(translate("volcano", {"hello"}), "HTTP 401");
    const CliResult r = translate("aliyun", {"--to", "en", "hello"});
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(r.err.rfind("翻译失败：阿里翻译：Specified signature is not matched with our calculation. "
                          "server string to sign is:POST&%2F&AccessKeyId%3D" + std::string(kAliyunKeyID),
                          0),
              0u)
        << r.err;
    EXPECT_NE(r.err.find("（SignatureDoesNotMatch）\n"), std::string::npos) << r.err;
}

TEST_F(SignedProvidersCliTest, HostileRepliesBecomeTheirOwnTexts) {
    baidu.scriptReply(200, R"({"error_code":"52003","error_msg":"UNAUTHORIZED USER"})");
    expectFailure(translate("baidu", {"hello"}), "百度翻译错误 52003: UNAUTHORIZED USER");
    baidu.scriptReply(200, R"({"trans_result":[]})");
    expectFailure(translate("baidu", {"hello"}), "服务器返回了无效的响应");
    baidu.scriptReply(200, "<html>maintenance</html>", "text/html");
    expectFailure(translate("baidu", {"hello"}), "服务器返回的内容不是有效的 JSON");

    volcano.scriptReply(403, R"({"ResponseMetadata":{"Error":{"Code":"AccessDenied"}}})");
    expectFailure(translate("volcano", {"hello"}), "HTTP 403");
    volcano.scriptReply(200, FakeHttpsServer::nestedJson(100000));
    expectFailure(translate("volcano", {"hello"}), "服务器返回的 JSON 嵌套层数过多");
    volcano.scriptReply(200, R"({"TranslationList":[{"Translation":")" + FakeHttpsServer::invalidUtf8Text() + "\"}]}");
    expectFailure(translate("volcano", {"hello"}), "服务器返回的内容不是有效的 JSON");

    aliyun.scriptReply(503, "Service Unavailable", "text/plain");
    expectFailure(translate("aliyun", {"hello"}), "阿里翻译 HTTP 503");
    aliyun.scriptReply(200, R"({"Code":"InvalidAccessKeyId.NotFound","Message":"Specified access key is not found."})");
    expectFailure(translate("aliyun", {"hello"}),
                  "阿里翻译：Specified access key is not found.（InvalidAccessKeyId.NotFound）");
    aliyun.scriptReply(200, R"({"Code":200,"Data":{"Translated":"\u0000\n译文\t"}})");
    const CliResult r = translate("aliyun", {"hello"});
    EXPECT_EQ(r.exitCode, 0) << r.err;
    EXPECT_EQ(r.out, std::string("\0\n译文\t\n", 10));
}

TEST_F(SignedProvidersCliTest, RefusalsSendNothing) {
    expectFailure(translate("aliyun", {"--to", "auto", "hello"}), "不支持的语言组合");
    expectFailure(translate("aliyun", {std::string(5001, 'x')}), "阿里翻译单次最多支持 5,000 字符，请缩短原文后重试");
    configure("aliyunAccessKeySecret", "   ");
    expectFailure(translate("aliyun", {"hello"}), "阿里翻译 API Key 未设置");
    configure("volcanoAccessKeyID", "");
    expectFailure(translate("volcano", {"hello"}), "火山翻译 API Key 未设置");
    configure("baiduAppID", "");
    expectFailure(translate("baidu", {"hello"}), "百度翻译 API Key 未设置");
    EXPECT_EQ(aliyun.server().requestCount() + volcano.server().requestCount() + baidu.server().requestCount(), 0u);
}

}  // namespace
}  // namespace tavi::test
