#include <gtest/gtest.h>

#include "FakeChatServices.h"
#include "ServiceHarness.h"
#include "core/Json.h"

namespace tavi {
namespace {

using test::FakeOpenAIService;
using test::ServiceHarness;

class TranslationServiceTest : public ::testing::Test {
protected:
    TranslationServiceTest() { harness.settings.openAIAPIKey = "sk-test"; }
    ServiceHarness harness;
};

TEST_F(TranslationServiceTest, UnknownProviderFailsWithoutBecomingBusy) {
    for (const char* id : {"foo", "", "OpenAI", " openai", "tencent"}) {  // ids are matched exactly
        harness.settings.activeProviderID = id;
        int changes = 0;
        auto handle = harness.service().observe([&] { ++changes; });
        auto result = harness.translateAndWait("hello");
        EXPECT_EQ(describe(result.error()), std::string("未找到翻译服务：") + id);
        EXPECT_EQ(changes, 0);
        EXPECT_FALSE(harness.service().isTranslating());
    }
    EXPECT_EQ(harness.transport.requestCount(), 0u);
}

TEST_F(TranslationServiceTest, TextThatIsNotUtf8OrTooLongNeverReachesAService) {
    const std::pair<std::string, std::string> refused[] = {
        {"caf\xe9", "要翻译的文本不是有效的 UTF-8 文本"},
        {"\xed\xa0\x80", "要翻译的文本不是有效的 UTF-8 文本"},
        {"ok\xc0\xa0", "要翻译的文本不是有效的 UTF-8 文本"},
        {std::string(TranslationService::kMaximumTextBytes + 1, 'a'),
         "文本太长（513 KB），超过了单次翻译的上限 512 KB，请选择较短的一段文字"},
        {std::string(3u << 20, 'a'), "文本太长（3.0 MB），超过了单次翻译的上限 512 KB，请选择较短的一段文字"},
    };
    for (const auto& [text, message] : refused) EXPECT_EQ(describe(harness.translateAndWait(text).error()), message);
    EXPECT_EQ(harness.transport.requestCount(), 0u);
    harness.translateAndWait(std::string(TranslationService::kMaximumTextBytes, 'a'));
    EXPECT_EQ(harness.transport.requestCount(), 1u);  // the longest text allowed goes out
}

TEST_F(TranslationServiceTest, SuccessPublishesResultThenClearsBusy) {
    harness.settings.sourceLanguage = Language::english;
    harness.settings.targetLanguage = Language::japanese;
    harness.transport.respond(200, FakeOpenAIService::replyBody("こんにちは"));
    std::vector<std::pair<bool, bool>> seen;  // (isTranslating, hasResult) at each change
    auto handle = harness.service().observe([&] {
        seen.emplace_back(harness.service().isTranslating(), harness.service().lastResult().has_value());
    });
    bool busyAtCompletion = true;
    std::optional<Result<TranslationResult>> outcome;
    harness.service().translate("hello", [&](Result<TranslationResult> r) {
        busyAtCompletion = harness.service().isTranslating();
        outcome.emplace(std::move(r));
        harness.loop.quit();
    });
    EXPECT_TRUE(harness.service().isTranslating());
    harness.loop.run();
    ASSERT_TRUE(outcome->ok());
    EXPECT_EQ(outcome->value().sourceLanguage, Language::english);
    EXPECT_EQ(outcome->value().targetLanguage, Language::japanese);
    EXPECT_FALSE(busyAtCompletion);
    EXPECT_EQ(seen, (std::vector<std::pair<bool, bool>>{{true, false}, {true, true}, {false, true}}));
    EXPECT_EQ(harness.service().lastResult(), outcome->value());
}

TEST_F(TranslationServiceTest, FailuresKeepTheEarlierResultAndPassUnchanged) {
    harness.transport.respond(200, FakeOpenAIService::replyBody("好"));
    ASSERT_TRUE(harness.translateAndWait("good").ok());
    harness.transport.respond(401, R"({"error":{"message":"invalid key"}})");
    auto result = harness.translateAndWait("bad");
    EXPECT_EQ(std::get<TranslationError>(result.error()), TranslationError::apiError("invalid key"));
    EXPECT_EQ(harness.service().lastResult()->translatedText, "好");
    EXPECT_FALSE(harness.service().isTranslating());

    // Unconfigured: refused before the service ever looks busy, and nothing is sent.
    harness.settings.openAIAPIKey.clear();
    bool sawBusy = false;
    auto handle = harness.service().observe([&] { sawBusy |= harness.service().isTranslating(); });
    result = harness.translateAndWait("second");
    EXPECT_EQ(describe(result.error()), "OpenAI API Key 未设置");
    EXPECT_FALSE(sawBusy);
    EXPECT_EQ(harness.service().lastResult()->translatedText, "好");
    EXPECT_EQ(harness.transport.requestCount(), 2u);
}

TEST_F(TranslationServiceTest, TextReachesProviderUntrimmed) {
    harness.transport.respond(200, FakeOpenAIService::replyBody("x"));
    harness.translateAndWait("  \n ");
    const Json body = Json::parse(harness.transport.lastRequest().body);
    EXPECT_EQ(body["messages"][1]["content"], "  \n ");
}

TEST_F(TranslationServiceTest, LanguagesAreReadWhenTheRequestStarts) {
    harness.settings.targetLanguage = Language::french;
    harness.transport.respond(200, FakeOpenAIService::replyBody("bonjour"));
    std::optional<Result<TranslationResult>> outcome;
    harness.service().translate("hello", [&](Result<TranslationResult> r) {
        outcome.emplace(std::move(r));
        harness.loop.quit();
    });
    harness.settings.targetLanguage = Language::german;  // too late for this request
    harness.loop.run();
    EXPECT_EQ(outcome->ok() ? outcome->value().targetLanguage : Language::auto_, Language::french);
}

TEST_F(TranslationServiceTest, OverlappingRequestsBothComplete) {
    harness.transport.respond(200, FakeOpenAIService::replyBody("one"));
    harness.transport.respond(200, FakeOpenAIService::replyBody("two"));
    int done = 0;
    auto finish = [&](Result<TranslationResult> r) {
        EXPECT_TRUE(r.ok());
        if (++done == 2) harness.loop.quit();
    };
    harness.service().translate("1", finish);
    harness.service().translate("2", finish);
    harness.loop.run();
    EXPECT_FALSE(harness.service().isTranslating());
    EXPECT_TRUE(harness.service().lastResult().has_value());
}

TEST_F(TranslationServiceTest, CompletionNeverRunsInsideTheCall) {
    harness.settings.activeProviderID = "nope";
    bool called = false;
    harness.service().translate("x", [&](Result<TranslationResult>) {
        called = true;
        harness.loop.quit();
    });
    EXPECT_FALSE(called);
    harness.loop.run();
    EXPECT_TRUE(called);
}

}  // namespace
}  // namespace tavi
