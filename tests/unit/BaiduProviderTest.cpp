#include "ProviderTestRig.h"
#include "SignatureVerifiers.h"
#include "providers/BaiduProvider.h"

namespace tavi::test {

using BaiduProviderTest = ProviderTest<BaiduProvider>;

// The query as the service decodes it.
static verify::Params query(const HttpRequest& request) {
    return verify::parseUrlEncoded(request.url.substr(request.url.find('?') + 1), true).value_or(verify::Params{});
}

TEST_F(BaiduProviderTest, RequestIsAPlainSignedGet) {
    // salt 10000 + 2345; sign = md5("2015063000000001hello world1234512345678") by md5sum.
    EXPECT_EQ(wire(sent("hello world")),
              "GET https://fanyi-api.baidu.com/api/trans/vip/translate?q=hello%20world&from=en&to=zh"
              "&appid=2015063000000001&salt=12345&sign=d2453a3c76350ce165582d246715abcc (60000 ms)\n\n");
    EXPECT_EQ(pinned.lastUpperBound, 90000u);
    const auto verdict = verify::verifyBaidu(query(transport.lastRequest()), "2015063000000001", "12345678");
    EXPECT_TRUE(verdict) << verdict.reason;
    EXPECT_NE(sent("x", Language::auto_, Language::chineseTraditional).url.find("from=auto&to=cht"), std::string::npos);
    EXPECT_NE(sent("x", Language::vietnamese, Language::japanese).url.find("from=vie&to=jp&"), std::string::npos);

    settings.baiduSecretKey = "s3cr+t&=%";
    pinned.random = 0;
    for (const std::string text : {"a+b&c=d#e%f/g?h", "  blanks\r\n", "你好，世界 😀👨‍👩‍👧", "q=1&sign=forged", ""}) {
        const auto received = query(sent(text));
        ASSERT_EQ(received.size(), 6u) << text;
        EXPECT_EQ(received[0].second, text);
        EXPECT_EQ(received[4].second, "10000");
        const auto hostile = verify::verifyBaidu(received, "2015063000000001", "s3cr+t&=%");
        EXPECT_TRUE(hostile) << text << ": " << hostile.reason;
    }
}

TEST_F(BaiduProviderTest, LinesComeBackJoinedSkippingElementsWithoutText) {
    transport.respond(200, R"({"error_code":52000.5,"trans_result":[{"dst":"a"},{"src":"?"},{"dst":null},3,)"
                           R"({"dst":"b"},{"dst":""}]})");
    auto result = translate("甲\n乙", Language::auto_, Language::english);
    ASSERT_TRUE(result.ok()) << describe(result.error());
    EXPECT_EQ(result.value(), (TranslationResult{"甲\n乙", "a\nb\n", Language::auto_, Language::english, "百度翻译", {}}));
}

TEST_F(BaiduProviderTest, Failures) {
    expectCredentialRule({&AppSettingsValues::baiduAppID, &AppSettingsValues::baiduSecretKey}, "百度翻译 API Key 未设置");
    expectFailures({
        {{200, {}, R"({"error_code":"54001","error_msg":"Invalid Sign"})"}, "百度翻译错误 54001: Invalid Sign"},
        {{200, {}, R"({"error_code":"52003"})"}, "百度翻译错误 52003: "},
        {{200, {}, R"({"error_code":"54003","error_msg":42})"}, "百度翻译错误 54003: "},
        {{401, {}, R"({"error_code":"52001","error_msg":"TIMEOUT"})"}, "HTTP 401"},
        {{200, {}, R"({"error_code":54001})"}, kInvalid},
        {{200, {}, R"({"trans_result":[{"src":"a"},{"dst":"b"}]})"}, kInvalid},
        {{200, {}, R"({"trans_result":[]})"}, kInvalid},
        {{200, {}, "<html>Bad gateway</html>"}, kNotJson},
        {{200, {}, withNul(R"({"trans_result":[{"dst":"hi"}]})")}, kInvalid},
        {{200, {}, std::string(100000, '[') + std::string(100000, ']')}, kTooDeep},
    });
}

}  // namespace tavi::test
