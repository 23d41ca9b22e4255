#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/Language.h"

namespace tavi {

// --- Languages ---------------------------------------------------------------

// The recogniser's locale tag of a language ("zh-Hans", "en-US", ..., "ar");
// nothing for auto.
std::optional<std::string_view> recognitionLocale(Language language);

// The ten tags tried when the user's languages say nothing more.
const std::vector<std::string_view>& defaultRecognitionLocales();

// The languages to recognise, in order: the source's tag, the target's,
// then the ten defaults, without repeats, kept only where `supported` has
// them; all of `supported` when none is; the ten defaults, unfiltered, when
// the supported list could not be had.
std::vector<std::string> chooseRecognitionLocales(Language source, std::optional<Language> target,
                                                  const std::optional<std::vector<std::string>>& supported);

// --- Images ------------------------------------------------------------------

// Pixels to read text from: 32-bit, 0xAARRGGBB in native byte order, rows of
// `bytesPerLine` bytes.
struct RecognitionImage {
    int width = 0;
    int height = 0;
    int bytesPerLine = 0;
    std::vector<std::uint8_t> pixels;
};

// A part of an image, each coordinate from 0 to 1 of the image's width or
// height, measured from its top-left corner.
struct NormalizedRect {
    double x = 0;
    double y = 0;
    double width = 1;
    double height = 1;
};

// What a recognition gave: the lines read, in reading order, joined by one
// line feed (empty when there was no text), or why it failed.
struct RecognitionOutcome {
    std::optional<std::string> text;
    std::string failure;  // set when text is empty
};

// On-device text recognition. Owning thread only; answers arrive there,
// never from inside the call.
class TextRecognizer {
public:
    virtual ~TextRecognizer() = default;

    // The locale tags of the languages it can read; nothing when it cannot
    // tell.
    virtual std::optional<std::vector<std::string>> supportedLocales() = 0;

    // Reads the text of `image` (of `region` only, when given) in the
    // languages chosen from `source` and `target`.
    virtual void recognizeText(RecognitionImage image, std::optional<NormalizedRect> region, Language source,
                               std::optional<Language> target, std::function<void(RecognitionOutcome)> done) = 0;
};

}  // namespace tavi
