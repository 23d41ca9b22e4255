#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "ScopedEnv.h"
#include "TestFiles.h"
#include "capture/tesseract/RecognizedText.h"
#include "capture/tesseract/TesseractModels.h"

namespace tavi {
namespace {

TEST(TesseractHelpers, RemovesBlanksOnlyBetweenChineseAndJapaneseCharacters) {
    const struct {
        const char* line;
        const char* expected;
    } cases[] = {
        {"今天 天气 很 好 。", "今天天气很好。"},
        {"「 こんにちは 」 世界   です", "「こんにちは」世界です"},
        {"中文 ， 标点 ！", "中文，标点！"},
        {"打开 Settings 设置 窗口", "打开 Settings 设置窗口"},
        {"价格 100 元", "价格 100 元"},
        {"Hello  world , again", "Hello  world , again"},
        {"한국어 문장 입니다", "한국어 문장 입니다"},
        {" 前后 ", " 前后 "},
        {"坏\xff 字节", "坏\xff 字节"},
    };
    for (const auto& c : cases) EXPECT_EQ(removeBlanksBetweenCjk(c.line), c.expected) << c.line;
}

TEST(TesseractHelpers, RegionOfInterestBecomesPixelsCutToTheImage) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const struct {
        std::optional<NormalizedRect> region;
        PixelRect expected;
    } cases[] = {
        {std::nullopt, {0, 0, 200, 100}},
        {NormalizedRect{0.25, 0.5, 0.5, 0.25}, {50, 50, 100, 25}},
        {NormalizedRect{0.5, -0.5, 1, 1}, {100, 0, 100, 50}},
        {NormalizedRect{1.2, 0, 0.5, 1}, {200, 0, 0, 0}},
        {NormalizedRect{nan, 0, 0.5, 1}, {200, 0, 0, 0}},
    };
    for (const auto& c : cases) EXPECT_EQ(pixelRegion(c.region, 200, 100), c.expected);
}

TEST(TesseractHelpers, ModelsLoadedTogetherAsTesseractReadsThemBest) {
    using Locales = std::vector<std::string>;
    const std::pair<Locales, Locales> cases[] = {
        {{"zh-Hans", "zh-Hant", "en-US"}, {"eng", "chi_sim"}},
        {{"zh-Hant", "ja-JP", "zh-Hans", "ko-KR", "fr-FR"}, {"kor", "fra", "chi_tra", "jpn"}},
        {{"th-TH", "xx-XX", "ar", "vi-VN"}, {"ara", "vie", "tha"}},
        {{"xx-XX"}, {}},
    };
    for (const auto& [locales, models] : cases) EXPECT_EQ(tesseractLanguages(locales), models);
}

TEST(TesseractHelpers, SupportedLocalesAreTheInstalledModelsOfTheKnownLanguages) {
    test::TempDir models("tavi-tessdata");
    for (const char* file : {"osd.traineddata", "eng.traineddata", "xyz.traineddata", "ara.traineddata",
                             "chi_sim.traineddata", "fra.traineddata.part", "README"})
        test::writeFile(models / file, "");
    EXPECT_EQ(installedRecognitionLocales(models.path()), (std::vector<std::string>{"zh-Hans", "en-US", "ar"}));
    EXPECT_EQ(installedRecognitionLocales(models / "missing"), std::nullopt);

    {
        test::ScopedEnv prefix("TESSDATA_PREFIX", models.path().string());
        EXPECT_EQ(tessdataDirectory(), models.path());
    }
    test::ScopedEnv unset("TESSDATA_PREFIX", std::nullopt);
    EXPECT_EQ(tessdataDirectory(), "/usr/share/tesseract-ocr/5/tessdata");
}

}  // namespace
}  // namespace tavi
