#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "GeometryPrinters.h"
#include "capture/ScreenshotTranslation.h"

namespace tavi {
namespace {

// Answers only when the test says so, as the real one answers later.
class FakeRecognizer final : public TextRecognizer {
public:
    std::optional<std::vector<std::string>> supportedLocales() override { return std::nullopt; }
    void recognizeText(RecognitionImage image, std::optional<NormalizedRect> region, Language source,
                       std::optional<Language> target, std::function<void(RecognitionOutcome)> done) override {
        calls.push_back({std::move(image), region, source, target, std::move(done)});
    }
    struct Call {
        RecognitionImage image;
        std::optional<NormalizedRect> region;
        Language source;
        std::optional<Language> target;
        std::function<void(RecognitionOutcome)> done;
    };
    std::vector<Call> calls;
};

// A monitor whose every pixel tells where it is: 0xFF, then x, then y.
ScreenImage monitor(Rect frame) {
    ScreenImage image{{frame, frame, false}, frame.width, frame.height, frame.width * 4, {}};
    image.pixels.resize(static_cast<std::size_t>(image.bytesPerLine) * image.height);
    auto* pixel = reinterpret_cast<std::uint32_t*>(image.pixels.data());
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x) pixel[y * image.width + x] = 0xFF000000u | x << 8 | y;
    return image;
}

// Which part of the monitor a picture shows, read back from its pixels.
Rect shownPart(const RecognitionImage& image) {
    const auto* pixel = reinterpret_cast<const std::uint32_t*>(image.pixels.data());
    const std::uint32_t first = pixel[0], last = pixel[image.width * image.height - 1];
    EXPECT_EQ(image.bytesPerLine, image.width * 4);
    EXPECT_EQ((last >> 8 & 0xFF) - (first >> 8 & 0xFF) + 1, std::uint32_t(image.width));
    EXPECT_EQ((last & 0xFF) - (first & 0xFF) + 1, std::uint32_t(image.height));
    return {int(first >> 8 & 0xFF), int(first & 0xFF), image.width, image.height};
}

TEST(ScreenshotTranslationTest, SelectionIsCutToItsMonitorReadAndTrimmedOrTold) {
    const std::vector<ScreenImage> captures = {monitor({0, 0, 200, 100}), monitor({200, 0, 120, 90})};
    const Rect second{200, 0, 120, 90};
    struct Case {
        const char* what;
        Rect screen;
        Rect selection;
        std::optional<Rect> read;  // the part handed to the recogniser, if any
        RecognitionOutcome answer;
        ScreenshotOutcome expected;
    };
    const std::vector<Case> cases = {
        {"inside", second, {10, 20, 30, 40}, Rect{10, 20, 30, 40}, {" \n Hello\nworld\u3000\n", ""},
         {"Hello\nworld", ""}},
        {"past the top-left corner", second, {-5, -8, 20, 30}, Rect{0, 0, 15, 22}, {"x", ""}, {"x", ""}},
        {"past the bottom-right corner", second, {100, 80, 50, 50}, Rect{100, 80, 20, 10}, {"y", ""}, {"y", ""}},
        {"wholly outside", second, {120, 10, 40, 40}, std::nullopt, {}, {std::nullopt, "选区超出屏幕范围"}},
        {"an unknown monitor", {0, 0, 1920, 1080}, {1, 1, 9, 9}, std::nullopt, {}, {std::nullopt, "未找到屏幕"}},
        {"no text", captures[0].screen.frame, {0, 0, 8, 8}, Rect{0, 0, 8, 8}, {"", ""},
         {std::nullopt, "未识别到文字，请重新框选含清晰文字的区域"}},
        {"blanks", captures[0].screen.frame, {0, 0, 8, 8}, Rect{0, 0, 8, 8}, {" \n\t ", ""},
         {std::nullopt, "未识别到文字，请重新框选含清晰文字的区域"}},
        {"a failed recognition", captures[0].screen.frame, {0, 0, 8, 8}, Rect{0, 0, 8, 8},
         {std::nullopt, "模型缺失"}, {std::nullopt, "截图翻译失败：模型缺失"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        FakeRecognizer recognizer;
        std::vector<ScreenshotOutcome> outcomes;
        recognizeScreenshot(recognizer, captures, c.screen, c.selection, Language::japanese, Language::chinese,
                            [&](ScreenshotOutcome outcome) { outcomes.push_back(std::move(outcome)); });
        ASSERT_EQ(recognizer.calls.size(), c.read ? 1u : 0u);
        if (c.read) {
            const FakeRecognizer::Call& call = recognizer.calls[0];
            EXPECT_EQ(shownPart(call.image), *c.read);
            EXPECT_FALSE(call.region.has_value());
            EXPECT_EQ(call.source, Language::japanese);
            EXPECT_EQ(call.target, Language::chinese);
            EXPECT_TRUE(outcomes.empty());  // not before the recogniser answers
            call.done(c.answer);
        }
        ASSERT_EQ(outcomes.size(), 1u);
        EXPECT_EQ(outcomes[0].text, c.expected.text);
        EXPECT_EQ(outcomes[0].message, c.expected.message);
    }
}

TEST(ScreenshotTranslationTest, FailureWithoutAReasonIsTheTitleAlone) {
    EXPECT_EQ(screenshotFailure(""), "截图翻译失败");
    EXPECT_EQ(screenshotFailure("此会话不允许截屏"), "截图翻译失败：此会话不允许截屏");
}

}  // namespace
}  // namespace tavi
