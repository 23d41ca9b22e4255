#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "capture/TextRecognition.h"

namespace tavi {

// `line` without the blanks Tesseract puts between Chinese and Japanese
// characters as if each were a word: a run of spaces goes when the
// characters on both sides are Han, kana or CJK punctuation. Blanks between
// Latin words, and between CJK and Latin text, stay as they are.
std::string removeBlanksBetweenCjk(std::string_view line);

// A rectangle of whole pixels, top-left origin.
struct PixelRect {
    int left = 0;
    int top = 0;
    int width = 0;
    int height = 0;

    bool empty() const { return width <= 0 || height <= 0; }
    bool operator==(const PixelRect&) const = default;
};

// The pixels of a `width` x `height` image that `region` covers (all of them
// without one), cut to the image; empty when the region lies outside it.
PixelRect pixelRegion(const std::optional<NormalizedRect>& region, int width, int height);

}  // namespace tavi
