#include "report/Base64Decoding.h"

#include <cstdint>

namespace tavi {
namespace {

int sextet(char c) {
    if (c >= 'A' && c <= 'Z') return c - 'A';
    if (c >= 'a' && c <= 'z') return c - 'a' + 26;
    if (c >= '0' && c <= '9') return c - '0' + 52;
    if (c == '+') return 62;
    if (c == '/') return 63;
    return -1;
}

}  // namespace

std::optional<std::string> decodeStrictBase64(std::string_view text) {
    if (text.size() % 4 != 0) return std::nullopt;
    std::size_t padding = 0;
    if (text.ends_with("==")) padding = 2;
    else if (text.ends_with('=')) padding = 1;

    std::string bytes;
    bytes.reserve(text.size() / 4 * 3);
    for (std::size_t i = 0; i < text.size(); i += 4) {
        const bool last = i + 4 == text.size();
        const std::size_t digits = last ? 4 - padding : 4;
        std::uint32_t group = 0;
        for (std::size_t k = 0; k < 4; ++k) {
            int value = 0;
            if (k < digits) {
                value = sextet(text[i + k]);
                if (value < 0) return std::nullopt;
            }
            group = (group << 6) | static_cast<std::uint32_t>(value);
        }
        bytes.push_back(static_cast<char>(group >> 16));
        if (digits > 2) bytes.push_back(static_cast<char>(group >> 8));
        if (digits > 3) bytes.push_back(static_cast<char>(group));
    }
    return bytes;
}

}  // namespace tavi
