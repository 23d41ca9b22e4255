#include "settings/SettingsLookup.h"

#include <charconv>
#include <type_traits>

#include "core/Text.h"

namespace tavi {

std::optional<std::int64_t> parseWholeDecimal(std::string_view text) {
    const std::string_view digits = !text.empty() && text.front() == '-' ? text.substr(1) : text;
    if (digits.empty()) return std::nullopt;
    for (char c : digits)
        if (c < '0' || c > '9') return std::nullopt;
    std::int64_t result = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), result);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return result;
}

std::optional<std::string> stringLookup(const std::optional<StoredValue>& stored) {
    if (!stored) return std::nullopt;
    return std::visit(
        [](const auto& v) -> std::optional<std::string> {
            using T = std::decay_t<decltype(v)>;
            if constexpr (std::is_same_v<T, std::string>) {
                return v;
            } else if constexpr (std::is_same_v<T, bool>) {
                return std::string(v ? "1" : "0");
            } else if constexpr (std::is_same_v<T, std::int64_t>) {
                return std::to_string(v);
            } else if constexpr (std::is_same_v<T, double>) {
                char buffer[64];
                const auto result = std::to_chars(buffer, buffer + sizeof buffer, v);
                return std::string(buffer, result.ptr);
            } else {
                return std::nullopt;
            }
        },
        *stored);
}

bool booleanLookup(const std::optional<StoredValue>& stored) {
    if (!stored) return false;
    return std::visit(
        [](const auto& v) -> bool {
            using T = std::decay_t<decltype(v)>;
            if constexpr (std::is_same_v<T, bool>) {
                return v;
            } else if constexpr (std::is_same_v<T, std::int64_t> || std::is_same_v<T, double>) {
                return v != 0;
            } else if constexpr (std::is_same_v<T, std::string>) {
                const std::string lower = toLowerAscii(v);
                return lower == "true" || lower == "yes" || lower == "1";
            } else {
                return false;
            }
        },
        *stored);
}

std::optional<bool> booleanCast(const std::optional<StoredValue>& stored) {
    if (!stored) return std::nullopt;
    if (const bool* b = std::get_if<bool>(&*stored)) return *b;
    if (const std::string* s = std::get_if<std::string>(&*stored)) {
        if (*s == "true") return true;
        if (*s == "false") return false;
    }
    return std::nullopt;
}

std::optional<std::int64_t> integerCast(const std::optional<StoredValue>& stored) {
    if (!stored) return std::nullopt;
    if (const std::int64_t* i = std::get_if<std::int64_t>(&*stored)) return *i;
    if (const std::string* s = std::get_if<std::string>(&*stored)) return parseWholeDecimal(*s);
    return std::nullopt;
}

std::optional<std::string> dataLookup(const std::optional<StoredValue>& stored) {
    if (!stored) return std::nullopt;
    if (const StoredBytes* bytes = std::get_if<StoredBytes>(&*stored)) return bytes->bytes;
    return std::nullopt;
}

}  // namespace tavi
