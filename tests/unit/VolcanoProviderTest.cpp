#include "ProviderTestRig.h"
#include "SignatureVerifiers.h"
#include "core/Json.h"
#include "providers/VolcanoProvider.h"

namespace tavi::test {

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

}  // namespace tavi::test
