#include "ProviderTestRig.h"
#include "SignatureVerifiers.h"
#include "core/Json.h"
#include "providers/AliyunProvider.h"
#include "providers/BaiduProvider.h"
#include "providers/VolcanoProvider.h"

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

using VolcanoProviderTest = ProviderTest<VolcanoProvider>;

// What the service sees: curl sends the request's headers as they are.
static verify::ReceivedRequest received(const HttpRequest& request) {
    verify::ReceivedRequest seen{request.method, "/", request.url.substr(request.url.find('?') + 1), {}, request.body};
    for (const auto& header : request.headers) seen.headers.emplace_back(header.name, header.value);
    return seen;
}

TEST_F(VolcanoProviderTest, RequestMatchesAHandSignedExampleAndTheVerifier) {
    transport.respond(200, R"({"TranslationList":[{"Translation":"  一\n","DetectedSourceLanguage":"en"},)"
                           R"({"Translation":"二"}],"Extra":1})");
    auto result = translate("hello", Language::auto_, Language::chinese);
    ASSERT_TRUE(result.ok());  // the first translation wins, untrimmed, and no detected language is read
    EXPECT_EQ(result.value(), (TranslationResult{"hello", "  一\n", Language::auto_, Language::chinese, "火山翻译", {}}));
    const HttpRequest request = transport.lastRequest();
    EXPECT_EQ(pinned.draws, 1);  // date and time come from one reading of the clock
    // Payload hash by sha256sum, signature by the openssl command-line tool.
    EXPECT_EQ(wire(request),
              "POST https://translate.volcengineapi.com/?Action=TranslateText&Version=2020-06-01 (60000 ms)\n"
              "Content-Type: application/json\nHost: translate.volcengineapi.com\n"
              "X-Content-Sha256: 99e002e3c17c3a8bb6bb416256796c2fe00165a997e8fbf955d796ae436fca46\n"
              "X-Date: 20250307T091502Z\n"
              "Authorization: HMAC-SHA256 Credential=AKTEST/20250307/cn-north-1/translate/request, "
              "SignedHeaders=content-type;host;x-content-sha256;x-date, "
              "Signature=735af1b8a632df3a3cdd535785cc2da529e5fd7d024c407cbc70a96c1dca0d5f\n\n"
              R"({"SourceLanguage":"auto","TargetLanguage":"zh","TextList":["hello"]})");
    const auto verdict = verify::verifyVolcano(received(request), "AKTEST", "SKTEST");
    EXPECT_TRUE(verdict) << verdict.reason;

    settings.volcanoSecretAccessKey = "s/k+=&\n ";
    for (const std::string text : {"a+b&c=d#e%f/g?h", " \n\t", "\"quote\" \\ \u2028", "你好😀👨‍👩‍👧", "", "ab\xff"}) {
        pinned.now += 86399;  // walk across days so the scope date changes too
        const HttpRequest hostile = sent(text, Language::chineseTraditional, Language::english);
        const auto check = verify::verifyVolcano(received(hostile), "AKTEST", "s/k+=&\n ");
        EXPECT_TRUE(check) << text << ": " << check.reason;
        EXPECT_EQ(Json::parse(hostile.body), (Json{{"SourceLanguage", "zh-Hant"}, {"TargetLanguage", "en"},
                                                   {"TextList", {text == "ab\xff" ? "ab\uFFFD" : text}}}));
    }
}

TEST_F(VolcanoProviderTest, Failures) {
    expectCredentialRule({&AppSettingsValues::volcanoAccessKeyID, &AppSettingsValues::volcanoSecretAccessKey},
                         "火山翻译 API Key 未设置");
    expectFailures({
        {{401, {}, R"({"ResponseMetadata":{"Error":{"Code":"SignatureDoesNotMatch","Message":"no"}}})"}, "HTTP 401"},
        {{200, {}, R"({"ResponseMetadata":{"Error":{"Code":"SignatureDoesNotMatch","Message":"no"}}})"}, kInvalid},
        {{200, {}, R"({"TranslationList":[]})"}, kInvalid},
        {{200, {}, "{\"TranslationList\":[{\"Translation\":\"\xed\xa0\x80\"}]}"}, kNotJson},
        {{200, {}, std::string(5000, '{')}, kTooDeep},
        {{200, {}, withNul(R"({"TranslationList":[{"Translation":"hi"}]})")}, kInvalid},
    });
}

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
