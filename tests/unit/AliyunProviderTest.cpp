#include <cctype>

#include <gtest/gtest.h>

#include "FakeTransport.h"
#include "PinnedEnvironment.h"
#include "SignatureVerifiers.h"
#include "core/Json.h"
#include "providers/AliyunProvider.h"

namespace tavi {
namespace {

using test::FakeTransport;
using test::PinnedEnvironment;
using test::verify::Params;

std::string repeat(const std::string& piece, int times) {
    std::string out;
    for (int i = 0; i < times; ++i) out += piece;
    return out;
}

class AliyunProviderTest : public ::testing::Test {
protected:
    Result<TranslationResult> translate(const std::string& text, Language from = Language::english,
                                        Language to = Language::chinese) {
        return provider.translate(text, from, to, ProviderContext{settings, transport, pinned});
    }
    // The form as the service decodes it ("+" would be a blank there).
    static Params receivedForm(const HttpRequest& request) {
        return test::verify::parseUrlEncoded(request.body, true).value();
    }
    static std::string param(const Params& params, const std::string& name) {
        for (const auto& [key, value] : params) {
            if (key == name) return value;
        }
        return "<absent>";
    }
    void expectRefused(const std::string& text, Language to, const std::string& message) {
        auto result = translate(text, Language::english, to);
        ASSERT_FALSE(result.ok());
        EXPECT_EQ(describe(result.error()), message);
        EXPECT_EQ(transport.requestCount(), 0u);
        EXPECT_EQ(pinned.draws, 0);
    }

    AliyunProvider provider;
    AppSettingsValues settings = [] {
        AppSettingsValues s;
        s.aliyunAccessKeyID = "AKTEST";
        s.aliyunAccessKeySecret = "SKTEST";
        return s;
    }();
    FakeTransport transport;
    PinnedEnvironment pinned;
};

TEST_F(AliyunProviderTest, FormMatchesAHandSignedExample) {
    transport.respond(200, R"({"Code":"200","Data":{"Translated":"哈囉","WordCount":"13"},"RequestId":"x"})");
    auto result = translate("Hello world*~", Language::english, Language::chineseTraditional);
    ASSERT_TRUE(result.ok()) << describe(result.error());
    EXPECT_EQ(result.value(), (TranslationResult{"Hello world*~", "哈囉", Language::english,
                                                 Language::chineseTraditional, "阿里翻译", {}}));

    // Signature by the openssl command-line tool over the string to sign, in
    // which the timestamp's colons appear as %253A.
    const HttpRequest request = transport.lastRequest();
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.url, "https://mt.cn-hangzhou.aliyuncs.com/");
    EXPECT_EQ(request.timeout, std::chrono::seconds(30));
    EXPECT_EQ(request.headers,
              (std::vector<HttpHeader>{{"Content-Type", "application/x-www-form-urlencoded; charset=utf-8"}}));
    EXPECT_EQ(request.body,
              "AccessKeyId=AKTEST&Action=TranslateGeneral&Format=JSON&FormatType=text&Scene=general"
              "&Signature=SFzO5UlIa0VQTmRPtFAAn7iTD8Y%3D&SignatureMethod=HMAC-SHA1"
              "&SignatureNonce=3EE8C1B8-83D3-44AF-A94F-4E0AD82FD6CF&SignatureVersion=1.0&SourceLanguage=en"
              "&SourceText=Hello%20world%2A~&TargetLanguage=zh-tw&Timestamp=2025-03-07T09%3A15%3A02Z"
              "&Version=2018-10-12");
}

TEST_F(AliyunProviderTest, HostileTextAndFreshNoncesVerify) {
    settings.aliyunAccessKeySecret = "s+/=&%k";
    const std::string hostile[] = {"a+b&c=d#e%f/g?h", "  blanks  ", "l1\nl2\r\n", "你好😀👨‍👩‍👧", "%2B already", ""};
    int round = 0;
    for (const std::string& text : hostile) {
        for (int nonce = 0; nonce < 8; ++nonce) {  // enough signatures to hit "+" and "/" in base64
            pinned.uuid = "00000000-0000-4000-8000-00000000000" + std::to_string(nonce);
            pinned.now += 3607;
            translate(text);
            const Params form = receivedForm(transport.lastRequest());
            EXPECT_EQ(form.size(), 14u);
            EXPECT_EQ(param(form, "SourceText"), text);
            const auto verdict = test::verify::verifyAliyun("POST", form, "AKTEST", "s+/=&%k");
            ASSERT_TRUE(verdict) << text << ": " << verdict.reason;
            ++round;
        }
    }
    EXPECT_EQ(transport.requestCount(), static_cast<std::size_t>(round));
}

TEST_F(AliyunProviderTest, ParametersAreSortedByName) {
    translate("x");
    std::vector<std::string> names;
    for (const auto& [name, value] : receivedForm(transport.lastRequest())) names.push_back(name);
    EXPECT_EQ(names, (std::vector<std::string>{"AccessKeyId", "Action", "Format", "FormatType", "Scene", "Signature",
                                               "SignatureMethod", "SignatureNonce", "SignatureVersion",
                                               "SourceLanguage", "SourceText", "TargetLanguage", "Timestamp",
                                               "Version"}));
    EXPECT_EQ(AliyunProvider::canonicalQuery({{"b", "1 2"}, {"B", "*"}, {"a", "~"}}), "B=%2A&a=~&b=1%202");
}

TEST_F(AliyunProviderTest, CredentialsAreTrimmedBeforeUse) {
    settings.aliyunAccessKeyID = "  AKTEST\n";
    settings.aliyunAccessKeySecret = "\tSKTEST \r\n";
    translate("Hello world*~", Language::english, Language::chineseTraditional);
    EXPECT_NE(transport.lastRequest().body.find("&Signature=SFzO5UlIa0VQTmRPtFAAn7iTD8Y%3D&"), std::string::npos);

    for (auto [id, secret] : {std::pair{" \n", "SK"}, std::pair{"AK", "\u3000"}, std::pair{"", ""}}) {
        settings.aliyunAccessKeyID = id;
        settings.aliyunAccessKeySecret = secret;
        EXPECT_FALSE(provider.isConfigured(settings));
    }
}

TEST_F(AliyunProviderTest, RefusedRequestsSendNothing) {
    settings.aliyunAccessKeySecret = "  ";
    expectRefused("hello", Language::auto_, "阿里翻译 API Key 未设置");  // credentials are checked first
    settings.aliyunAccessKeySecret = "SK";
    expectRefused("hello", Language::auto_, "不支持的语言组合");
    expectRefused(std::string(5001, 'a'), Language::auto_, "不支持的语言组合");
    const std::string tooLong = "阿里翻译单次最多支持 5,000 字符，请缩短原文后重试";
    expectRefused(repeat("字", 5001), Language::chinese, tooLong);
    expectRefused(" " + repeat("a", 4999) + " ", Language::chinese, tooLong);  // counted untrimmed
    expectRefused(repeat("👨‍👩‍👧", 1001), Language::chinese, tooLong);  // 5 scalar values each
}

TEST_F(AliyunProviderTest, ExactlyTheLimitIsSent) {
    translate(repeat("字", 5000));
    translate(repeat("👨‍👩‍👧", 1000).substr(0, repeat("👨‍👩‍👧", 1000).size() - 7) + "ab");  // 4998 + 2
    EXPECT_EQ(transport.requestCount(), 2u);
    EXPECT_EQ(param(receivedForm(transport.requests()[0]), "SourceText"), repeat("字", 5000));
}

TEST_F(AliyunProviderTest, LanguageCodesAreLowerCased) {
    for (Language language : allLanguages()) {
        if (language == Language::auto_) continue;
        translate("x", language, language);
        const Params form = receivedForm(transport.lastRequest());
        std::string expected(rawValue(language));
        for (char& c : expected) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        EXPECT_EQ(param(form, "SourceLanguage"), expected);
        EXPECT_EQ(param(form, "TargetLanguage"), expected);
    }
    translate("x", Language::auto_, Language::english);
    EXPECT_EQ(param(receivedForm(transport.lastRequest()), "SourceLanguage"), "auto");
    EXPECT_EQ(AliyunProvider::languageCode(Language::chineseTraditional), "zh-tw");
}

TEST_F(AliyunProviderTest, DetectedLanguageIsMatchedWithoutRegardToCase) {
    const std::pair<Json, std::optional<Language>> cases[] = {
        {"en", Language::english}, {"ZH", Language::chinese}, {"zh-TW", Language::chineseTraditional},
        {"Zh-Tw", Language::chineseTraditional}, {"auto", std::nullopt}, {"zh-cn", std::nullopt},
        {"", std::nullopt}, {42, std::nullopt}, {nullptr, std::nullopt},
    };
    for (const auto& [reported, expected] : cases) {
        const Json data = {{"Translated", "hi"}, {"DetectedLanguage", reported}};
        transport.respond(200, Json{{"Code", 200}, {"Data", data}}.dump());
        auto result = translate("x");
        ASSERT_TRUE(result.ok()) << reported;
        EXPECT_EQ(result->translatedText, "hi");
        EXPECT_EQ(result->detectedLanguage, expected) << reported;
    }
}

TEST_F(AliyunProviderTest, ServiceRepliesReachTheUserAsTheirOwnTexts) {
    const std::string invalid = "服务器返回了无效的响应";
    const std::pair<HttpResponse, std::string> cases[] = {
        {{200, {}, R"({"Code":"InvalidAccessKeyId.NotFound","Message":"Specified access key is not found."})"},
         "阿里翻译：Specified access key is not found.（InvalidAccessKeyId.NotFound）"},
        {{400, {}, R"({"Code":"SignatureDoesNotMatch","Message":"Specified signature is not matched."})"},
         "阿里翻译：Specified signature is not matched.（SignatureDoesNotMatch）"},
        {{200, {}, R"({"Code":10001,"Message":"timeout"})"}, "阿里翻译：timeout（10001）"},
        {{200, {}, R"({"Code":"500"})"}, "阿里翻译：请求失败（500）"},
        {{200, {}, R"({"Data":{"Translated":"no code"}})"}, "阿里翻译：请求失败（200）"},
        {{200, {}, R"({"Code":true,"Message":7})"}, "阿里翻译：请求失败（200）"},
        {{403, {}, R"({"Message":"x"})"}, "阿里翻译：x（403）"},
        {{500, {}, R"({"Code":"200","Data":{"Translated":"hi"}})"}, "阿里翻译：请求失败（200）"},
        {{502, {}, "<html>bad gateway</html>"}, "阿里翻译 HTTP 502"},
        {{503, {}, R"(["Code"])"}, "阿里翻译 HTTP 503"},
        {{504, {}, std::string(5000, '[')}, "阿里翻译 HTTP 504"},
        {{200, {}, "<html>ok?</html>"}, invalid},
        {{200, {}, "{\"Code\":\"200\",\"Data\":{\"Translated\":\"\xc0\xaf\"}}"}, invalid},
        {{200, {}, std::string(5000, '{')}, invalid},
        {{200, {}, "[]"}, invalid},
        {{200, {}, R"({"Code":"200"})"}, invalid},
        {{200, {}, R"({"Code":"200","Data":"hi"})"}, invalid},
        {{200, {}, R"({"Code":"200","Data":{"Translated":["hi"]}})"}, invalid},
        {{200, {}, R"({"Code":" 200","Data":{"Translated":"hi"}})"}, "阿里翻译：请求失败（ 200）"},
    };
    for (const auto& [response, text] : cases) {
        transport.enqueue(response);
        auto result = translate("hello");
        ASSERT_FALSE(result.ok()) << text;
        EXPECT_EQ(describe(result.error()), text) << response.body.substr(0, 80);
    }
}

TEST_F(AliyunProviderTest, NumericSuccessCodeIsAcceptedAndTransportErrorsPassThrough) {
    transport.respond(200, R"({"Code":200,"Data":{"Translated":"  hi\n","DetectedLanguage":"en"}})");
    auto result = translate("hello", Language::auto_, Language::chinese);
    ASSERT_TRUE(result.ok()) << describe(result.error());
    EXPECT_EQ(result.value(),
              (TranslationResult{"hello", "  hi\n", Language::auto_, Language::chinese, "阿里翻译", Language::english}));

    const TransportError failure{TransportError::Kind::timedOut, "mt.cn-hangzhou.aliyuncs.com", "30 s"};
    transport.fail(failure);
    EXPECT_EQ(std::get<TransportError>(translate("hello").error()), failure);
}

}  // namespace
}  // namespace tavi
