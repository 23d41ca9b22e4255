#include "capture/ScreenshotTranslation.h"

#include <algorithm>
#include <cstring>

#include "core/Text.h"

namespace tavi {

std::string screenshotFailure(std::string_view reason) {
    std::string message(kScreenshotFailed);
    if (!reason.empty()) message.append("：").append(reason);
    return message;
}

std::variant<RecognitionImage, std::string> cropSelection(const std::vector<ScreenImage>& captures, const Rect& screen,
                                                          const Rect& selection) {
    const auto capture = std::find_if(captures.begin(), captures.end(),
                                      [&](const ScreenImage& image) { return image.screen.frame == screen; });
    if (capture == captures.end()) return std::string(kScreenNotFound);

    const int left = std::max(selection.x, 0), top = std::max(selection.y, 0);
    const int right = std::min(selection.right(), capture->width);
    const int bottom = std::min(selection.bottom(), capture->height);
    if (right <= left || bottom <= top) return std::string(kSelectionOutsideScreen);

    RecognitionImage image;
    image.width = right - left;
    image.height = bottom - top;
    image.bytesPerLine = image.width * 4;
    image.pixels.resize(static_cast<std::size_t>(image.bytesPerLine) * image.height);
    for (int row = 0; row < image.height; ++row) {
        const std::size_t from = static_cast<std::size_t>(top + row) * capture->bytesPerLine + std::size_t(left) * 4;
        std::memcpy(image.pixels.data() + static_cast<std::size_t>(row) * image.bytesPerLine,
                    capture->pixels.data() + from, static_cast<std::size_t>(image.bytesPerLine));
    }
    return image;
}

void recognizeScreenshot(TextRecognizer& recognizer, const std::vector<ScreenImage>& captures, const Rect& screen,
                         const Rect& selection, Language source, Language target,
                         std::function<void(ScreenshotOutcome)> done) {
    auto cropped = cropSelection(captures, screen, selection);
    if (auto* message = std::get_if<std::string>(&cropped)) return done({std::nullopt, std::move(*message)});
    // The picture is the selection alone: no region of it to single out.
    recognizer.recognizeText(std::move(std::get<RecognitionImage>(cropped)), std::nullopt, source, target,
                             [done = std::move(done)](RecognitionOutcome outcome) {
                                 if (!outcome.text) return done({std::nullopt, screenshotFailure(outcome.failure)});
                                 std::string text = trimWhitespaceAndNewlines(*outcome.text);
                                 if (text.empty()) return done({std::nullopt, std::string(kNoTextRecognized)});
                                 done({std::move(text), {}});
                             });
}

}  // namespace tavi
