#include <gtest/gtest.h>

#include "FakeChatServices.h"
#include "FakeTransport.h"
#include "core/Json.h"
#include "core/RunLoop.h"
#include "core/ThreadPool.h"
#include "core/TranslationService.h"

namespace tavi {
namespace {

using test::FakeOpenAIService;

// The service on a recording transport, with the test thread as its owning thread.
class TranslationServiceTest : public ::testing::Test {
protected:
    TranslationServiceTest() { settings.openAIAPIKey = "sk-test"; }

    // Runs the loop until the completion arrives.
    Result<TranslationResult> translateAndWait(std::string text) {
        std::optional<Result<TranslationResult>> outcome;
        service.translate(std::move(text), [&](Result<TranslationResult> r) {
            outcome.emplace(std::move(r));
            loop.quit();
        });
        loop.run();
        return std::move(*outcome);
    }

    AppSettingsValues settings;
    test::FakeTransport transport;
    RunLoop loop;
    ThreadPool pool{1};
    TranslationService service{{[this]() -> const AppSettingsValues& { return settings; }, transport, loop, pool}};
};

TEST_F(TranslationServiceTest, UnknownProviderFailsWithoutBecomingBusy) {
    for (const char* id : {"foo", "", "OpenAI", " openai", "tencent"}) {  // ids are matched exactly
        settings.activeProviderID = id;
        int changes = 0;
        auto handle = service.observe([&] { ++changes; });
        auto result = translateAndWait("hello");
        EXPECT_EQ(describe(result.error()), std::string("未找到翻译服务：") + id);
        EXPECT_EQ(changes, 0);
        EXPECT_FALSE(service.isTranslating());
    }
    EXPECT_EQ(transport.requestCount(), 0u);
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
    for (const auto& [text, message] : refused) EXPECT_EQ(describe(translateAndWait(text).error()), message);
    EXPECT_EQ(transport.requestCount(), 0u);
    translateAndWait(std::string(TranslationService::kMaximumTextBytes, 'a'));
    EXPECT_EQ(transport.requestCount(), 1u);  // the longest text allowed goes out
}

TEST_F(TranslationServiceTest, SuccessPublishesResultThenClearsBusy) {
    settings.sourceLanguage = Language::english;
    settings.targetLanguage = Language::japanese;
    transport.respond(200, FakeOpenAIService::replyBody("こんにちは"));
    std::vector<std::pair<bool, bool>> seen;  // (isTranslating, hasResult) at each change
    auto handle = service.observe([&] {
        seen.emplace_back(service.isTranslating(), service.lastResult().has_value());
    });
    bool busyAtCompletion = true;
    std::optional<Result<TranslationResult>> outcome;
    service.translate("hello", [&](Result<TranslationResult> r) {
        busyAtCompletion = service.isTranslating();
        outcome.emplace(std::move(r));
        loop.quit();
    });
    EXPECT_TRUE(service.isTranslating());
    loop.run();
    ASSERT_TRUE(outcome->ok());
    EXPECT_EQ(outcome->value().sourceLanguage, Language::english);
    EXPECT_EQ(outcome->value().targetLanguage, Language::japanese);
    EXPECT_FALSE(busyAtCompletion);
    EXPECT_EQ(seen, (std::vector<std::pair<bool, bool>>{{true, false}, {true, true}, {false, true}}));
    EXPECT_EQ(service.lastResult(), outcome->value());
}

TEST_F(TranslationServiceTest, FailuresKeepTheEarlierResultAndPassUnchanged) {
    transport.respond(200, FakeOpenAIService::replyBody("好"));
    ASSERT_TRUE(translateAndWait("good").ok());
    transport.respond(401, R"({"error":{"message":"invalid key"}})");
    auto result = translateAndWait("bad");
    EXPECT_EQ(std::get<TranslationError>(result.error()), TranslationError::apiError("invalid key"));
    EXPECT_EQ(service.lastResult()->translatedText, "好");
    EXPECT_FALSE(service.isTranslating());

    // Unconfigured: refused before the service ever looks busy, and nothing is sent.
    settings.openAIAPIKey.clear();
    bool sawBusy = false;
    auto handle = service.observe([&] { sawBusy |= service.isTranslating(); });
    result = translateAndWait("second");
    EXPECT_EQ(describe(result.error()), "OpenAI API Key 未设置");
    EXPECT_FALSE(sawBusy);
    EXPECT_EQ(service.lastResult()->translatedText, "好");
    EXPECT_EQ(transport.requestCount(), 2u);
}

TEST_F(TranslationServiceTest, TextReachesProviderUntrimmed) {
    transport.respond(200, FakeOpenAIService::replyBody("x"));
    translateAndWait("  \n ");
    const Json body = Json::parse(transport.lastRequest().body);
    EXPECT_EQ(body["messages"][1]["content"], "  \n ");
}

TEST_F(TranslationServiceTest, LanguagesAreReadWhenTheRequestStarts) {
    settings.targetLanguage = Language::french;
    transport.respond(200, FakeOpenAIService::replyBody("bonjour"));
    std::optional<Result<TranslationResult>> outcome;
    service.translate("hello", [&](Result<TranslationResult> r) {
        outcome.emplace(std::move(r));
        loop.quit();
    });
    settings.targetLanguage = Language::german;  // too late for this request
    loop.run();
    EXPECT_EQ(outcome->ok() ? outcome->value().targetLanguage : Language::auto_, Language::french);
}

TEST_F(TranslationServiceTest, OverlappingRequestsBothComplete) {
    transport.respond(200, FakeOpenAIService::replyBody("one"));
    transport.respond(200, FakeOpenAIService::replyBody("two"));
    int done = 0;
    auto finish = [&](Result<TranslationResult> r) {
        EXPECT_TRUE(r.ok());
        if (++done == 2) loop.quit();
    };
    service.translate("1", finish);
    service.translate("2", finish);
    loop.run();
    EXPECT_FALSE(service.isTranslating());
    EXPECT_TRUE(service.lastResult().has_value());
}

TEST_F(TranslationServiceTest, CompletionNeverRunsInsideTheCall) {
    settings.activeProviderID = "nope";
    bool called = false;
    service.translate("x", [&](Result<TranslationResult>) {
        called = true;
        loop.quit();
    });
    EXPECT_FALSE(called);
    loop.run();
    EXPECT_TRUE(called);
}

}  // namespace
}  // namespace tavi
