#include <gtest/gtest.h>

#include "core/ChatResponseCheck.h"
#include "core/Error.h"
#include "core/Json.h"
#include "core/Language.h"
#include "core/Text.h"

namespace tavi {
namespace {

TEST(Language, RawValuesRoundTripInDeclarationOrder) {
    const char* expected[] = {"auto", "zh", "zh-TW", "en", "ja", "ko", "fr", "de",
                              "es", "pt", "it", "ru", "ar", "th", "vi"};
    ASSERT_EQ(allLanguages().size(), 15u);
    for (std::size_t i = 0; i < allLanguages().size(); ++i) {
        EXPECT_EQ(rawValue(allLanguages()[i]), expected[i]);
        EXPECT_EQ(languageFromRawValue(expected[i]), allLanguages()[i]);
    }
}

TEST(Language, UnknownRawValuesGiveNothing) {
    EXPECT_EQ(languageFromRawValue("zh-TW"), Language::chineseTraditional);
    for (const char* raw : {"zh-Hant", "ZH", "", "auto ", "EN", "zh_TW"}) {
        EXPECT_FALSE(languageFromRawValue(raw).has_value()) << raw;
    }
}

TEST(Language, DisplayNamesAndFlags) {
    EXPECT_EQ(displayName(Language::auto_), "自动检测");
    EXPECT_EQ(displayName(Language::chinese), "中文（简体）");
    EXPECT_EQ(displayName(Language::chineseTraditional), "中文（繁体）");
    EXPECT_EQ(displayName(Language::vietnamese), "越南语");
    EXPECT_EQ(flag(Language::auto_), "🌐");
    EXPECT_EQ(flag(Language::chineseTraditional), "🇹🇼");
    EXPECT_EQ(flag(Language::portuguese), "🇵🇹");
    EXPECT_EQ(flag(Language::arabic), "🇸🇦");
}

// The other errors' texts are pinned where they reach the user, in the providers' tests.
TEST(TranslationError, NetworkErrorText) {
    EXPECT_EQ(describe(Error(TranslationError::networkError("连接中断"))), "网络错误：连接中断");
}

Status check(long status, std::string body) { return validateChatResponse(HttpResponse{status, {}, std::move(body)}); }

// 429, a message, HTML and a plain-string error reach the user through the chat providers' tests.
TEST(ChatResponseCheck, StatusAndErrorBodyRules) {
    EXPECT_TRUE(check(200, "not json at all").ok());
    EXPECT_TRUE(check(299, R"({"error":{"message":"ignored"}})").ok());
    EXPECT_EQ(describe(check(400, R"({"error":{"message":42}})").error()), "HTTP 400");
    EXPECT_EQ(describe(check(500, R"([{"error":{"message":"x"}}])").error()), "HTTP 500");
    EXPECT_EQ(describe(check(300, "").error()), "HTTP 300");
    EXPECT_EQ(describe(check(503, std::string(100000, '[')).error()), "HTTP 503");
}

TEST(Json, HostileBodiesFailCleanly) {
    EXPECT_EQ(std::get<JsonError>(parseJsonBody(std::string(100000, '[')).error()).kind, JsonError::Kind::tooDeep);
    std::string deepButClosed = std::string(65, '[') + std::string(65, ']');
    EXPECT_EQ(std::get<JsonError>(parseJsonBody(deepButClosed).error()).kind, JsonError::Kind::tooDeep);
    std::string deepInsideString = "[\"" + std::string(1000, '[') + "\"]";
    EXPECT_TRUE(parseJsonBody(deepInsideString).ok());
    EXPECT_EQ(std::get<JsonError>(parseJsonBody("{\"a\":\"\xff\xfe\"}").error()).kind, JsonError::Kind::malformed);
    EXPECT_EQ(std::get<JsonError>(parseJsonBody("{\"a\":").error()).kind, JsonError::Kind::malformed);
    EXPECT_EQ(std::get<JsonError>(parseJsonBody("").error()).kind, JsonError::Kind::malformed);
    EXPECT_EQ(describe(parseJsonBody("<html>").error()), "服务器返回的内容不是有效的 JSON");
    // The parser would stop at a NUL and take what came before for the whole body.
    for (const std::string& withNul : {std::string("{\"a\":1}\0{\"b\":", 14), std::string("\0", 1),
                                       std::string("{\"a\":\"x\0y\"}", 12)}) {
        EXPECT_EQ(std::get<TranslationError>(parseJsonBody(withNul).error()), TranslationError::invalidResponse());
    }
    // A stray closer does not buy room for deeper nesting after it.
    EXPECT_EQ(std::get<JsonError>(parseJsonBody("]]]]" + std::string(66, '[')).error()).kind,
              JsonError::Kind::malformed);
    EXPECT_EQ(toJsonText(Json("a\xff")), "\"a\xEF\xBF\xBD\"");
}

}  // namespace
}  // namespace tavi
