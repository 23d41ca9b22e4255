// The Tesseract recogniser for real, on images drawn the way a screen shows
// text, answering on the Qt loop.
#include <QFont>
#include <QImage>
#include <QPainter>
#include <QString>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "CharacterAccuracy.h"
#include "TestFiles.h"
#include "WidgetFixture.h"
#include "capture/tesseract/TesseractRecognizer.h"

namespace tavi::test {
namespace {

struct TextLine {
    const char* text;
    const char* family;
    int pixelSize;
};

// Two English and two Chinese lines at the sizes screens use.
const TextLine kLines[] = {
    {"Screenshots are read on this computer.", "DejaVu Sans", 16},
    {"今天的天气很好，我们去公园散步。", "Noto Sans CJK SC", 18},
    {"Nothing is sent over the network.", "DejaVu Sans", 20},
    {"屏幕上的文字会被识别出来。", "Noto Sans CJK SC", 14},
};
constexpr int kLineHeight = 50;

std::string joinedLines(std::size_t from, std::size_t to) {
    std::string text;
    for (std::size_t i = from; i < to; ++i) text += std::string(i > from ? "\n" : "") + kLines[i].text;
    return text;
}

RecognitionImage drawn(bool dark, bool withText = true) {
    QImage image(720, kLineHeight * static_cast<int>(std::size(kLines)) + 20, QImage::Format_RGB32);
    image.fill(dark ? QColor(32, 33, 36) : QColor(Qt::white));
    if (withText) {
        QPainter painter(&image);
        painter.setPen(dark ? QColor(232, 234, 237) : QColor(32, 33, 36));
        int baseline = 40;
        for (const TextLine& line : kLines) {
            QFont font(QString::fromLatin1(line.family));
            font.setPixelSize(line.pixelSize);
            painter.setFont(font);
            painter.drawText(24, baseline, QString::fromUtf8(line.text));
            baseline += kLineHeight;
        }
    }
    RecognitionImage out{image.width(), image.height(), static_cast<int>(image.bytesPerLine()), {}};
    out.pixels.assign(image.constBits(), image.constBits() + image.sizeInBytes());
    return out;
}


class TextRecognitionTest : public WidgetTest {
protected:
    // Models of English and Simplified Chinese alone, whatever else the
    // machine has: one engine load per test, and the same one everywhere.
    TextRecognitionTest() {
        for (const char* model : {"eng.traineddata", "chi_sim.traineddata"})
            std::filesystem::create_symlink(tessdataDirectory() / model, models / model);
    }

    std::function<void(RecognitionOutcome)> into(std::vector<RecognitionOutcome>& outcomes) {
        return [&outcomes](RecognitionOutcome outcome) { outcomes.push_back(std::move(outcome)); };
    }

    TempDir models{"tavi-tessdata"};
};

TEST_F(TextRecognitionTest, ReadsEachImageInTurnLineByLine) {
    TesseractRecognizer recognizer(loop, TesseractRecognizer::kDefaultIdleRelease, models.path());
    std::vector<RecognitionOutcome> outcomes;
    recognizer.recognizeText(drawn(false), std::nullopt, Language::auto_, Language::chinese, into(outcomes));
    recognizer.recognizeText(drawn(true), std::nullopt, Language::english, Language::chinese, into(outcomes));
    // The middle two lines: the Chinese line at 18 px and the English at 20 px.
    recognizer.recognizeText(drawn(false), NormalizedRect{0, 50.0 / 220, 1, 100.0 / 220}, Language::auto_,
                             std::nullopt, into(outcomes));
    recognizer.recognizeText(drawn(false, false), std::nullopt, Language::auto_, std::nullopt, into(outcomes));
    EXPECT_TRUE(outcomes.empty()) << "answered inside the call";
    ASSERT_TRUE(runUntil([&] { return outcomes.size() == 4; }, 120s));

    const struct {
        const char* what;
        std::string expected;
    } reads[] = {
        {"light ground", joinedLines(0, 4)},
        {"dark ground", joinedLines(0, 4)},
        {"region of interest", joinedLines(1, 3)},
        {"no text", ""},
    };
    for (std::size_t i = 0; i < std::size(reads); ++i) {
        SCOPED_TRACE(reads[i].what);
        ASSERT_TRUE(outcomes[i].text.has_value()) << outcomes[i].failure;
        const std::string& text = *outcomes[i].text;
        if (reads[i].expected.empty()) {
            EXPECT_EQ(text, "");
            continue;
        }
        EXPECT_GE(characterAccuracy(text, reads[i].expected), 0.95) << text;
        EXPECT_EQ(std::count(text.begin(), text.end(), '\n'),
                  std::count(reads[i].expected.begin(), reads[i].expected.end(), '\n'))
            << text;
    }
    // Line by line in reading order; Chinese without the engine's blanks.
    const std::string& light = *outcomes[0].text;
    EXPECT_NE(light.find("Screenshots are read"), std::string::npos) << light;
    EXPECT_LT(light.find("今天的天气"), light.find("Nothing is sent")) << light;
    EXPECT_NE(light.find("识别出来。"), std::string::npos) << light;
    EXPECT_EQ(light.find('\n'), std::string(kLines[0].text).size()) << light;
    EXPECT_EQ(outcomes[2].text->find("Screenshots"), std::string::npos) << "read outside the region";
}

TEST_F(TextRecognitionTest, FailuresSayWhyInOneLine) {
    TempDir empty("tavi-tessdata");
    TempDir broken("tavi-tessdata");
    writeFile(broken / "eng.traineddata", "not a model");
    RecognitionImage torn = drawn(false, false);
    torn.pixels.resize(torn.pixels.size() / 2);
    const struct {
        std::filesystem::path data;
        RecognitionImage image;
        const char* failure;
    } cases[] = {
        {empty.path(), drawn(false, false), "没有安装文字识别的语言模型"},
        {broken.path(), drawn(false, false), "文字识别引擎无法加载语言模型（eng）"},
        // No list to filter by: the ten defaults, of which these are not there.
        {empty / "missing", drawn(false, false),
         "文字识别引擎无法加载语言模型（eng+kor+fra+deu+spa+por+ita+chi_sim+jpn）"},
        {models.path(), torn, "截图图像无效，无法识别文字"},
    };
    for (const auto& c : cases) {
        TesseractRecognizer recognizer(loop, TesseractRecognizer::kDefaultIdleRelease, c.data);
        std::vector<RecognitionOutcome> outcomes;
        recognizer.recognizeText(c.image, std::nullopt, Language::auto_, std::nullopt, into(outcomes));
        ASSERT_TRUE(runUntil([&] { return !outcomes.empty(); }, 30s));
        EXPECT_FALSE(outcomes[0].text.has_value());
        EXPECT_EQ(outcomes[0].failure, c.failure);
    }
}

TEST_F(TextRecognitionTest, LetsAnIdleEngineGoAndLoadsItAgain) {
    TesseractRecognizer recognizer(loop, 400ms, models.path());
    std::vector<RecognitionOutcome> outcomes;
    recognizer.recognizeText(drawn(false, false), std::nullopt, Language::english, std::nullopt, into(outcomes));
    ASSERT_TRUE(runUntil([&] { return outcomes.size() == 1; }, 60s));
    EXPECT_EQ(outcomes[0].text, "");
    EXPECT_TRUE(recognizer.engineLoaded()) << "kept for the next call";
    ASSERT_TRUE(runUntil([&] { return !recognizer.engineLoaded(); }));
    recognizer.recognizeText(drawn(false, false), std::nullopt, Language::english, std::nullopt, into(outcomes));
    ASSERT_TRUE(runUntil([&] { return outcomes.size() == 2; }, 60s));
    EXPECT_EQ(outcomes[1].text, "");
}

TEST_F(TextRecognitionTest, GoesWithoutAnsweringWhatIsUnderWay) {
    std::vector<RecognitionOutcome> outcomes;
    {
        TesseractRecognizer recognizer(loop, TesseractRecognizer::kDefaultIdleRelease, models.path());
        recognizer.recognizeText(drawn(false), std::nullopt, Language::auto_, std::nullopt, into(outcomes));
        recognizer.recognizeText(drawn(true), std::nullopt, Language::auto_, std::nullopt, into(outcomes));
        ASSERT_TRUE(runUntil([&] { return recognizer.engineLoaded(); }, 60s));
    }
    runUntil([] { return false; }, 200ms);
    EXPECT_TRUE(outcomes.empty());
}

}  // namespace
}  // namespace tavi::test
