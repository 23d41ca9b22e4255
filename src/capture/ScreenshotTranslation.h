#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "capture/TextRecognition.h"
#include "core/Language.h"
#include "platform/Geometry.h"
#include "platform/ScreenCapture.h"

namespace tavi {

// What the user is told when a screenshot gives nothing to translate.
inline constexpr std::string_view kScreenshotFailed = "截图翻译失败";
inline constexpr std::string_view kNoTextRecognized = "未识别到文字，请重新框选含清晰文字的区域";
inline constexpr std::string_view kSelectionOutsideScreen = "选区超出屏幕范围";
inline constexpr std::string_view kScreenNotFound = "未找到屏幕";

// "截图翻译失败：" and the reason (the bare title when there is none).
std::string screenshotFailure(std::string_view reason);

// Where a screenshot translation ends: the text read, trimmed and never
// empty, to be translated; or, in its place, the message for the popup.
struct ScreenshotOutcome {
    std::optional<std::string> text;
    std::string message;
};

// The part of the picture of `screen` (a monitor's frame, as the capture
// has it) that `selection` covers, in that monitor's device pixels from its
// top-left corner. A selection reaching past the monitor's edges is cut at
// them; one wholly outside, or a monitor not among `captures`, gives the
// message instead.
std::variant<RecognitionImage, std::string> cropSelection(const std::vector<ScreenImage>& captures, const Rect& screen,
                                                          const Rect& selection);

// Crops the selection and has `recognizer` read it in the user's languages;
// `done` hears the outcome once: from inside the call when the selection
// cannot be read at all, else when recognition answers. Nothing goes to a
// translation service from here.
void recognizeScreenshot(TextRecognizer& recognizer, const std::vector<ScreenImage>& captures, const Rect& screen,
                         const Rect& selection, Language source, Language target,
                         std::function<void(ScreenshotOutcome)> done);

}  // namespace tavi
