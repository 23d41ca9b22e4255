#include <gtest/gtest.h>

#include "FakeSignedServices.h"
#include "PinnedEnvironment.h"
#include "TestCertificates.h"
#include "core/CurlHttpClient.h"
#include "providers/AliyunProvider.h"
#include "providers/BaiduProvider.h"
#include "providers/VolcanoProvider.h"

// Real libcurl round trips to loopback fakes that check every signature as
// the services do, from the bytes that arrived.
namespace tavi {
namespace {

using test::FakeAliyunService;
using test::FakeBaiduService;
using test::FakeSignedService;
using test::FakeVolcanoService;

const std::vector<std::string> kHostileTexts = {
    "plain words",
    "a+b&c=d#e%f/g?h",
    "  blanks around  ",
    "line one\nline two\r\nline three",
    "你好，世界！",
    "😀👨‍👩‍👧 emoji",
    "100% sure; q=1&sign=forged&Signature=x",
    "%E4%BD%A0%2B already encoded",
    "tab\there ~tilde* 'single' \"double\" <tag> \\back",
};

// Baidu answers line by line; the provider joins the lines again.
std::string expectedTranslation(const std::string& text, bool lineByLine) {
    if (!lineByLine) return FakeSignedService::translationOf(text);
    std::string out;
    std::size_t start = 0;
    while (true) {
        const auto end = text.find('\n', start);
        if (start > 0) out += '\n';
        out += FakeSignedService::translationOf(text.substr(start, end - start));
        if (end == std::string::npos) return out;
        start = end + 1;
    }
}

class SignedProvidersTest : public ::testing::Test {
protected:
    SignedProvidersTest() {
        settings.baiduAppID = "20240101000000001";
        settings.baiduSecretKey = "baidu+secret/=&";
        settings.volcanoAccessKeyID = "AKLTvolcanoexample";
        settings.volcanoSecretAccessKey = "volcano/secret+==";
        settings.aliyunAccessKeyID = "LTAI5tAliyunExample";
        settings.aliyunAccessKeySecret = "aliyun&secret%2B";
    }

    CurlHttpClient& client() {
        if (!client_) {
            CurlHttpClient::Options options;
            options.connectTo = {baidu.connectTo(), volcano.connectTo(), aliyun.connectTo()};
            options.caBundle = test::TestCertificates::instance().caPath();
            client_.emplace(options);
        }
        return *client_;
    }
    Result<TranslationResult> translate(const TranslationProvider& provider, const std::string& text,
                                        Language from = Language::auto_, Language to = Language::chinese) {
        return provider.translate(text, from, to, ProviderContext{settings, client()});
    }
    void expectRoundTrips(const TranslationProvider& provider, FakeSignedService& fake, bool lineByLine) {
        for (const std::string& text : kHostileTexts) {
            auto result = translate(provider, text);
            ASSERT_TRUE(result.ok()) << text << ": " << describe(result.error());
            EXPECT_EQ(result->translatedText, expectedTranslation(text, lineByLine));
            EXPECT_EQ(result->sourceText, text);
        }
        EXPECT_EQ(fake.rejections(), std::vector<std::string>{});
        EXPECT_EQ(fake.acceptedCount(), kHostileTexts.size());
    }

    AppSettingsValues settings;
    FakeBaiduService baidu{"20240101000000001", "baidu+secret/=&"};
    FakeVolcanoService volcano{"AKLTvolcanoexample", "volcano/secret+=="};
    FakeAliyunService aliyun{"LTAI5tAliyunExample", "aliyun&secret%2B"};
    BaiduProvider baiduProvider;
    VolcanoProvider volcanoProvider;
    AliyunProvider aliyunProvider;

private:
    std::optional<CurlHttpClient> client_;
};

TEST_F(SignedProvidersTest, BaiduHostileTextIsSignedAsReceived) {
    expectRoundTrips(baiduProvider, baidu, true);
    const test::RecordedRequest request = baidu.server().lastRequest();
    EXPECT_EQ(request.method, "GET");
    EXPECT_EQ(request.path, "/api/trans/vip/translate");
    EXPECT_EQ(request.header("Host"), "fanyi-api.baidu.com");
    EXPECT_TRUE(request.body.empty());
    EXPECT_EQ(request.headerCount("Content-Type"), 0u);
}

TEST_F(SignedProvidersTest, VolcanoHostileTextIsSignedAsReceived) {
    expectRoundTrips(volcanoProvider, volcano, false);
    const test::RecordedRequest request = volcano.server().lastRequest();
    EXPECT_EQ(request.target, "/?Action=TranslateText&Version=2020-06-01");
    EXPECT_EQ(request.headerCount("Host"), 1u);
    EXPECT_EQ(request.header("Host"), "translate.volcengineapi.com");
    // curl writes Host where HTTP/1.1 puts it, first; the other four keep our order.
    std::vector<std::string> ours;
    for (const auto& header : request.headers) {
        for (const char* name : {"Content-Type", "X-Content-Sha256", "X-Date", "Authorization"}) {
            if (header.name == name) ours.push_back(header.name);
        }
    }
    EXPECT_EQ(ours, (std::vector<std::string>{"Content-Type", "X-Content-Sha256", "X-Date", "Authorization"}));
}

TEST_F(SignedProvidersTest, AliyunHostileTextIsSignedAsReceived) {
    expectRoundTrips(aliyunProvider, aliyun, false);
    const test::RecordedRequest request = aliyun.server().lastRequest();
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.target, "/");
    EXPECT_EQ(request.header("Content-Type"), "application/x-www-form-urlencoded; charset=utf-8");
    EXPECT_EQ(request.body.find('+'), std::string::npos);  // a form "+" would reach the service as a blank
}

TEST_F(SignedProvidersTest, AliyunDetectedLanguageComesBack) {
    auto result = translate(aliyunProvider, "hello", Language::english, Language::chineseTraditional);
    ASSERT_TRUE(result.ok()) << describe(result.error());
    EXPECT_EQ(result->detectedLanguage, Language::english);
}

TEST_F(SignedProvidersTest, CorruptedSecretsAreRefusedWithTheServicesOwnWords) {
    settings.baiduSecretKey += "x";
    settings.volcanoSecretAccessKey.back() = '-';
    settings.aliyunAccessKeySecret = "aliyun&secret%2b";

    auto baiduResult = translate(baiduProvider, "hello");
    ASSERT_FALSE(baiduResult.ok());
    EXPECT_EQ(describe(baiduResult.error()), "百度翻译错误 54001: Invalid Sign");

    auto volcanoResult = translate(volcanoProvider, "hello");
    ASSERT_FALSE(volcanoResult.ok());
    EXPECT_EQ(describe(volcanoResult.error()), "HTTP 401");

    auto aliyunResult = translate(aliyunProvider, "a b", Language::english, Language::chinese);
    ASSERT_FALSE(aliyunResult.ok());
    const std::string text = describe(aliyunResult.error());
    EXPECT_EQ(text.rfind("阿里翻译：Specified signature is not matched with our calculation. "
                         "server string to sign is:POST&%2F&AccessKeyId%3DLTAI5tAliyunExample%26",
                         0),
              0u)
        << text;
    EXPECT_NE(text.find("%26SourceText%3Da%2520b%26"), std::string::npos) << text;
    EXPECT_EQ(text.substr(text.size() - std::string("（SignatureDoesNotMatch）").size()), "（SignatureDoesNotMatch）");

    EXPECT_EQ(baidu.rejections().size(), 1u);
    EXPECT_EQ(volcano.rejections().size(), 1u);
    EXPECT_EQ(aliyun.rejections().size(), 1u);
}

TEST_F(SignedProvidersTest, WrongKeyIdsAreRefused) {
    settings.baiduAppID = "20240101000000002";
    settings.aliyunAccessKeyID = "LTAI5tSomeoneElse";
    EXPECT_EQ(describe(translate(baiduProvider, "hello").error()), "百度翻译错误 52003: UNAUTHORIZED USER");
    EXPECT_EQ(describe(translate(aliyunProvider, "hello").error()),
              "阿里翻译：Specified access key is not found.（InvalidAccessKeyId.NotFound）");
}

TEST_F(SignedProvidersTest, HostileRepliesOverTheWire) {
    baidu.scriptReply(200, R"({"trans_result":[{"dst":")" + test::FakeHttpsServer::invalidUtf8Text() + "\"}]}");
    EXPECT_EQ(describe(translate(baiduProvider, "hello").error()), "服务器返回的内容不是有效的 JSON");
    baidu.scriptReply(200, R"({"error_code":"54003","error_msg":"Invalid Access Limit"})");
    EXPECT_EQ(describe(translate(baiduProvider, "hello").error()), "百度翻译错误 54003: Invalid Access Limit");

    volcano.scriptReply(200, test::FakeHttpsServer::nestedJson(10000));
    EXPECT_EQ(describe(translate(volcanoProvider, "hello").error()), "服务器返回的 JSON 嵌套层数过多");
    volcano.scriptReply(500, R"({"TranslationList":[{"Translation":"ignored"}]})");
    EXPECT_EQ(describe(translate(volcanoProvider, "hello").error()), "HTTP 500");

    aliyun.scriptReply(502, "<html><body>502 Bad Gateway</body></html>", "text/html");
    EXPECT_EQ(describe(translate(aliyunProvider, "hello").error()), "阿里翻译 HTTP 502");
    aliyun.scriptReply(200, R"({"Code":"10007","Message":"The source text is too long"})");
    EXPECT_EQ(describe(translate(aliyunProvider, "hello").error()), "阿里翻译：The source text is too long（10007）");
    aliyun.scriptReply(200, R"({"Code":"200","Data":{"Translated":42}})");
    EXPECT_EQ(describe(translate(aliyunProvider, "hello").error()), "服务器返回了无效的响应");
}

TEST_F(SignedProvidersTest, StaleClocksAndReusedNoncesAreRefused) {
    // A clock off by an hour (a time-zone slip, say) is what the services reject first.
    test::PinnedEnvironment pinned;
    pinned.now = std::chrono::duration_cast<std::chrono::seconds>(
                     std::chrono::system_clock::now().time_since_epoch()).count() - 3600;
    const ProviderContext stale{settings, client(), pinned};
    EXPECT_EQ(describe(volcanoProvider.translate("hello", Language::auto_, Language::chinese, stale).error()),
              "HTTP 401");
    EXPECT_EQ(describe(aliyunProvider.translate("hello", Language::auto_, Language::chinese, stale).error()),
              "阿里翻译：Specified time stamp or date value is expired.（InvalidTimeStamp.Expired）");

    pinned.now += 3600;
    EXPECT_TRUE(aliyunProvider.translate("hello", Language::auto_, Language::chinese, stale).ok());
    EXPECT_EQ(describe(aliyunProvider.translate("hello", Language::auto_, Language::chinese, stale).error()),
              "阿里翻译：Specified signature nonce was used already.（SignatureNonceUsed）");
}

TEST_F(SignedProvidersTest, RefusedRequestsNeverReachTheWire) {
    settings.aliyunAccessKeySecret = " \n";
    EXPECT_EQ(describe(translate(aliyunProvider, "hello").error()), "阿里翻译 API Key 未设置");
    settings.aliyunAccessKeySecret = "aliyun&secret%2B";
    EXPECT_EQ(describe(translate(aliyunProvider, "hello", Language::english, Language::auto_).error()),
              "不支持的语言组合");
    EXPECT_EQ(describe(translate(aliyunProvider, std::string(5001, 'x')).error()),
              "阿里翻译单次最多支持 5,000 字符，请缩短原文后重试");
    EXPECT_EQ(aliyun.server().requestCount(), 0u);
    EXPECT_TRUE(translate(aliyunProvider, std::string(5000, 'x')).ok());
}

}  // namespace
}  // namespace tavi
