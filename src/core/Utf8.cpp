#include "core/Utf8.h"

namespace tavi {
namespace {

constexpr char32_t kReplacementCharacter = 0xFFFD;

bool isContinuation(unsigned char byte) { return (byte & 0xC0) == 0x80; }

}  // namespace

Utf8Scalar decodeUtf8At(std::string_view text, std::size_t pos) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(pos);
    const Utf8Scalar invalid{lead, 1, false};
    if (lead < 0x80) return {lead, 1, true};

    // The lead byte alone rules out overlong two-byte forms (C0, C1) and
    // anything above U+10FFFF (F5-FF); the second byte's range rules out the
    // rest, as in the well-formed byte sequences table of the Unicode standard.
    std::size_t length = 0;
    char32_t value = 0;
    unsigned char secondMin = 0x80;
    unsigned char secondMax = 0xBF;
    if (lead >= 0xC2 && lead <= 0xDF) {
        length = 2;
        value = lead & 0x1F;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        length = 3;
        value = lead & 0x0F;
        if (lead == 0xE0) secondMin = 0xA0;  // overlong below U+0800
        if (lead == 0xED) secondMax = 0x9F;  // surrogates
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        length = 4;
        value = lead & 0x07;
        if (lead == 0xF0) secondMin = 0x90;  // overlong below U+10000
        if (lead == 0xF4) secondMax = 0x8F;  // above U+10FFFF
    } else {
        return invalid;
    }
    if (length > text.size() - pos) return invalid;
    const unsigned char second = byte(pos + 1);
    if (second < secondMin || second > secondMax) return invalid;
    for (std::size_t i = 1; i < length; ++i) {
        if (!isContinuation(byte(pos + i))) return invalid;
        value = (value << 6) | (byte(pos + i) & 0x3F);
    }
    return {value, length, true};
}

bool isValidUtf8(std::string_view text) { return firstInvalidUtf8(text) == text.size(); }

std::size_t firstInvalidUtf8(std::string_view text) {
    for (std::size_t pos = 0; pos < text.size();) {
        const Utf8Scalar scalar = decodeUtf8At(text, pos);
        if (!scalar.valid) return pos;
        pos += scalar.length;
    }
    return text.size();
}

std::string replacingInvalidUtf8(std::string_view text) {
    const std::size_t first = firstInvalidUtf8(text);
    if (first == text.size()) return std::string(text);
    std::string repaired(text.substr(0, first));
    for (std::size_t pos = first; pos < text.size();) {
        const Utf8Scalar scalar = decodeUtf8At(text, pos);
        if (scalar.valid) repaired.append(text.substr(pos, scalar.length));
        else appendUtf8(repaired, kReplacementCharacter);
        pos += scalar.length;
    }
    return repaired;
}

void appendUtf8(std::string& out, char32_t c) {
    if ((c >= 0xD800 && c <= 0xDFFF) || c > 0x10FFFF) c = kReplacementCharacter;
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (c >> 18));
        out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

}  // namespace tavi
