#include "core/Text.h"

#include "core/Utf8.h"

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

}  // namespace

std::string trimWhitespaceAndNewlines(std::string_view text) {
    // Forward only: the end of the last non-blank character is wherever the
    // decoder says it is, so an invalid byte is never mistaken for part of a
    // blank before it.
    std::size_t begin = text.size();
    std::size_t end = 0;
    for (std::size_t pos = 0; pos < text.size();) {
        const Utf8Scalar scalar = decodeUtf8At(text, pos);
        if (!scalar.valid || !isWhitespaceOrNewline(scalar.value)) {
            if (begin == text.size()) begin = pos;
            end = pos + scalar.length;
        }
        pos += scalar.length;
    }
    if (begin >= end) return {};
    return std::string(text.substr(begin, end - begin));
}

std::size_t countScalarValues(std::string_view text) {
    std::size_t count = 0;
    for (std::size_t pos = 0; pos < text.size(); ++count) pos += decodeUtf8At(text, pos).length;
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

std::string describeByteSize(std::uint64_t bytes) {
    constexpr std::uint64_t kKiB = 1024, kMiB = 1024 * 1024;
    if (bytes < kKiB) return std::to_string(bytes) + " 字节";
    // Rounded up: a text one byte over a limit of 512 KB is not "512 KB".
    if (bytes < kMiB) return std::to_string((bytes + kKiB - 1) / kKiB) + " KB";
    const std::uint64_t tenths = (bytes * 10 + kMiB - 1) / kMiB;
    return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " MB";
}

}  // namespace tavi
