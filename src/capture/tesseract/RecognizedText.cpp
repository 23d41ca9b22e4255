#include "capture/tesseract/RecognizedText.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "core/Utf8.h"

namespace tavi {
namespace {

// Han ideographs, kana, and the punctuation set between them.
bool isCjk(char32_t c) {
    return (c >= 0x2E80 && c <= 0x2FDF)       // radicals
           || (c >= 0x3000 && c <= 0x303F)    // CJK symbols and punctuation (、。「」)
           || (c >= 0x3040 && c <= 0x30FF)    // hiragana, katakana
           || (c >= 0x31F0 && c <= 0x31FF)    // katakana phonetic extensions
           || (c >= 0x3400 && c <= 0x4DBF)    // extension A
           || (c >= 0x4E00 && c <= 0x9FFF)    // unified ideographs
           || (c >= 0xF900 && c <= 0xFAFF)    // compatibility ideographs
           || (c >= 0xFE30 && c <= 0xFE4F)    // compatibility forms
           || (c >= 0xFF01 && c <= 0xFF0F)    // fullwidth ！＂＃…／
           || (c >= 0xFF1A && c <= 0xFF20)    // fullwidth ：；＜＝＞？＠
           || (c >= 0xFF3B && c <= 0xFF40)    // fullwidth ［＼］＾＿｀
           || (c >= 0xFF5B && c <= 0xFF9F)    // fullwidth ｛｜｝～, halfwidth punctuation and katakana
           || (c >= 0x20000 && c <= 0x3FFFF);  // extensions B and later
}

}  // namespace

std::string removeBlanksBetweenCjk(std::string_view line) {
    struct Scalar {
        char32_t value;
        std::string_view bytes;
    };
    std::vector<Scalar> scalars;
    for (std::size_t pos = 0; pos < line.size();) {
        const Utf8Scalar scalar = decodeUtf8At(line, pos);
        // An invalid byte is never CJK, so blanks next to it stay.
        scalars.push_back({scalar.valid ? scalar.value : U'\uFFFD', line.substr(pos, scalar.length)});
        pos += scalar.length;
    }

    std::string out;
    out.reserve(line.size());
    for (std::size_t i = 0; i < scalars.size();) {
        if (scalars[i].value != U' ') {
            out += scalars[i++].bytes;
            continue;
        }
        std::size_t end = i;
        while (end < scalars.size() && scalars[end].value == U' ') ++end;
        const bool betweenCjk = i > 0 && end < scalars.size() && isCjk(scalars[i - 1].value) && isCjk(scalars[end].value);
        if (!betweenCjk)
            for (std::size_t k = i; k < end; ++k) out += scalars[k].bytes;
        i = end;
    }
    return out;
}

PixelRect pixelRegion(const std::optional<NormalizedRect>& region, int width, int height) {
    if (!region) return {0, 0, std::max(width, 0), std::max(height, 0)};
    // fmin/fmax rather than std::clamp: a NaN edge lands on the image's
    // border instead of becoming an undefined integer.
    const auto edge = [](double fraction, int extent) {
        return static_cast<int>(std::lround(std::fmax(0.0, std::fmin(1.0, fraction)) * std::max(extent, 0)));
    };
    const int left = edge(region->x, width);
    const int top = edge(region->y, height);
    const int right = edge(region->x + region->width, width);
    const int bottom = edge(region->y + region->height, height);
    if (right <= left || bottom <= top) return {left, top, 0, 0};
    return {left, top, right - left, bottom - top};
}

}  // namespace tavi
