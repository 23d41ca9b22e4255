#include "ProviderTestRig.h"
#include "SignatureVerifiers.h"
#include "providers/AliyunProvider.h"

namespace tavi::test {

using AliyunProviderTest = ProviderTest<AliyunProvider>;

// The form as the service decodes it ("+" would be a blank there).
static verify::Params form(const HttpRequest& request) {
    return verify::parseUrlEncoded(request.body, true).value_or(verify::Params{});
}

TEST_F(AliyunProviderTest, FormMatchesAHandSignedExampleAndTheVerifier) {
    settings.aliyunAccessKeyID = "  AKTEST\n";  // credentials are trimmed before any use
    settings.aliyunAccessKeySecret = "\tSKTEST \r\n";
    transport.respond(200, R"({"Code":"200","Data":{"Translated":" 哈囉\n","WordCount":"13"},"RequestId":"x"})");
    auto result = translate("Hello world*~", Language::english, Language::chineseTraditional);
    ASSERT_TRUE(result.ok()) << describe(result.error());
    EXPECT_EQ(result.value(), (TranslationResult{"Hello world*~", " 哈囉\n", Language::english,
                                                 Language::chineseTraditional, "阿里翻译", {}}));
    // Signature by the openssl command-line tool over a string to sign holding the timestamp's colons as %253A.
    EXPECT_EQ(wire(transport.lastRequest()),
              "POST https://mt.cn-hangzhou.aliyuncs.com/ (30000 ms)\n"
              "Content-Type: application/x-www-form-urlencoded; charset=utf-8\n\n"
              "AccessKeyId=AKTEST&Action=TranslateGeneral&Format=JSON&FormatType=text&Scene=general"
              "&Signature=SFzO5UlIa0VQTmRPtFAAn7iTD8Y%3D&SignatureMethod=HMAC-SHA1"
              "&SignatureNonce=3EE8C1B8-83D3-44AF-A94F-4E0AD82FD6CF&SignatureVersion=1.0&SourceLanguage=en"
              "&SourceText=Hello%20world%2A~&TargetLanguage=zh-tw&Timestamp=2025-03-07T09%3A15%3A02Z"
              "&Version=2018-10-12");
    const auto verdict = verify::verifyAliyun("POST", form(transport.lastRequest()), "AKTEST", "SKTEST");
    EXPECT_TRUE(verdict) << verdict.reason;

    settings.aliyunAccessKeySecret = "s+/=&%k";
    const std::string texts[] = {"a+b&c=d#e%f/g?h", "  l1\nl2\r\n", "你好😀👨‍👩‍👧", "%2B already", ""};
    for (int round = 0; round < 40; ++round) {  // enough signatures to meet "+" and "/" in base64
        const std::string& text = texts[round % 5];
        pinned.uuid = "00000000-0000-4000-8000-0000000000" + std::to_string(10 + round);
        pinned.now += 3607;
        const verify::Params received = form(sent(text, Language::auto_, Language::english));
        ASSERT_EQ(received.size(), 14u);  // sorted, so SourceText is the eleventh
        EXPECT_EQ(received[10], (std::pair<std::string, std::string>{"SourceText", text}));
        const auto check = verify::verifyAliyun("POST", received, "AKTEST", "s+/=&%k");
        ASSERT_TRUE(check) << text << ": " << check.reason;
    }
}

TEST_F(AliyunProviderTest, DetectedLanguageIsMatchedWithoutRegardToCase) {
    const std::pair<std::string, std::optional<Language>> cases[] = {
        {R"("en")", Language::english}, {R"("ZH")", Language::chinese}, {R"("Zh-Tw")", Language::chineseTraditional},
        {R"("auto")", std::nullopt},    {R"("zh-cn")", std::nullopt},   {"42", std::nullopt},
    };
    const std::string body = R"({"Code":200,"Data":{"Translated":"hi","DetectedLanguage":)";  // numeric Code is fine
    for (const auto& [code, language] : cases) EXPECT_EQ(detectedFrom(body + code + "}}"), language) << code;
}

TEST_F(AliyunProviderTest, Failures) {
    auto refusal = [&](const std::string& text, Language to) {
        return describe(translate(text, Language::english, to).error());
    };
    settings.aliyunAccessKeySecret = " \u3000\n";  // blanks count as missing here
    EXPECT_FALSE(provider.isConfigured(settings));
    EXPECT_EQ(refusal("hello", Language::chinese), "阿里翻译 API Key 未设置");
    settings.aliyunAccessKeySecret = "SK";
    const std::string tooLong = "阿里翻译单次最多支持 5,000 字符，请缩短原文后重试";
    EXPECT_EQ(refusal("hello", Language::auto_), "不支持的语言组合");
    std::string families;  // five scalar values each
    for (int i = 0; i < 1000; ++i) families += "👨‍👩‍👧";
    EXPECT_EQ(refusal(" " + std::string(4999, 'a') + " ", Language::chinese), tooLong);  // counted untrimmed
    EXPECT_EQ(refusal(families + "👨‍👩‍👧", Language::chinese), tooLong);
    EXPECT_EQ(transport.requestCount(), 0u);
    EXPECT_EQ(pinned.draws, 0);
    EXPECT_EQ(describe(translate(families).error()), kInvalid);  // sent: the fake's empty reply was read

    expectFailures({
        {{200, {}, R"({"Code":"InvalidAccessKeyId.NotFound","Message":"Specified access key is not found."})"},
         "阿里翻译：Specified access key is not found.（InvalidAccessKeyId.NotFound）"},
        {{200, {}, R"({"Code":10001,"Message":"timeout"})"}, "阿里翻译：timeout（10001）"},
        {{200, {}, R"({"Data":{"Translated":"no code"}})"}, "阿里翻译：请求失败（200）"},
        {{403, {}, R"({"Message":"x"})"}, "阿里翻译：x（403）"},
        {{500, {}, R"({"Code":"200","Data":{"Translated":"hi"}})"}, "阿里翻译：请求失败（200）"},
        {{502, {}, "<html>bad gateway</html>"}, "阿里翻译 HTTP 502"},
        {{200, {}, "<html>ok?</html>"}, kInvalid},
        {{200, {}, std::string(5000, '{')}, kInvalid},
        {{200, {}, withNul(R"({"Code":"200","Data":{"Translated":"hi"}})")}, kInvalid},
        {{200, {}, R"({"Code":"200","Data":{"Translated":["hi"]}})"}, kInvalid},
    });
}

}  // namespace tavi::test
