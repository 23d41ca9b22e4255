#include "core/Text.h"

namespace tavi {
namespace {

bool isWhitespaceOrNewline(char32_t c) {
    if (c >= 0x09 && c <= 0x0D) return true;
    switch (c) {
    case 0x20: case 0x85: case 0xA0: case 0x1680: case 0x2028: case 0x2029:
    case 0x202F: case 0x205F: case 0x3000:
        return true;
    default:
        return c >= 0x2000 && c <= 0x200A;
    }
}

// Decodes the scalar starting at `pos`; sets `length` to the bytes it takes.
// Malformed input decodes as an impossible value of length 1.
char32_t decodeAt(std::string_view text, std::size_t pos, std::size_t& length) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char lead = byte(pos);
    length = 1;
    if (lead < 0x80) return lead;
    std::size_t extra = 0;
    char32_t value = 0;
    if ((lead & 0xE0) == 0xC0) { extra = 1; value = lead & 0x1F; }
    else if ((lead & 0xF0) == 0xE0) { extra = 2; value = lead & 0x0F; }
    else if ((lead & 0xF8) == 0xF0) { extra = 3; value = lead & 0x07; }
    else return 0xFFFFFFFF;
    if (pos + extra >= text.size()) return 0xFFFFFFFF;
    for (std::size_t i = 1; i <= extra; ++i) {
        if ((byte(pos + i) & 0xC0) != 0x80) return 0xFFFFFFFF;
        value = (value << 6) | (byte(pos + i) & 0x3F);
    }
    length = extra + 1;
    return value;
}

// Start of the scalar that ends just before `end`.
std::size_t previousStart(std::string_view text, std::size_t end) {
    std::size_t start = end - 1;
    while (start > 0 && end - start < 4 && (static_cast<unsigned char>(text[start]) & 0xC0) == 0x80) --start;
    return start;
}

}  // namespace

std::string trimWhitespaceAndNewlines(std::string_view text) {
    std::size_t begin = 0;
    while (begin < text.size()) {
        std::size_t length = 0;
        if (!isWhitespaceOrNewline(decodeAt(text, begin, length))) break;
        begin += length;
    }
    std::size_t end = text.size();
    while (end > begin) {
        const std::size_t start = previousStart(text, end);
        std::size_t length = 0;
        const char32_t c = decodeAt(text, start, length);
        if (start + length != end || !isWhitespaceOrNewline(c)) break;
        end = start;
    }
    return std::string(text.substr(begin, end - begin));
}

std::size_t countScalarValues(std::string_view text) {
    std::size_t count = 0;
    for (std::size_t pos = 0; pos < text.size(); ++count) {
        std::size_t length = 0;
        decodeAt(text, pos, length);
        pos += length;
    }
    return count;
}

std::string toLowerAscii(std::string_view text) {
    std::string lower(text);
    for (char& c : lower) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return lower;
}

std::string lowerHex(std::string_view bytes) {
    static constexpr char kDigits[] = "0123456789abcdef";
    std::string hex;
    hex.reserve(bytes.size() * 2);
    for (unsigned char b : bytes) {
        hex.push_back(kDigits[b >> 4]);
        hex.push_back(kDigits[b & 0x0F]);
    }
    return hex;
}

}  // namespace tavi
