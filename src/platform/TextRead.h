#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tavi {

// Text as another program handed it over.
struct TextRead {
    // The text as UTF-8 (bytes that are not become U+FFFD); nothing when the
    // program offered no text, refused, or stopped answering.
    std::optional<std::string> text;
    // Set, with `text` empty, when the program offered more than Tavi reads:
    // at least this many bytes.
    std::optional<std::uint64_t> tooLarge;

    static TextRead of(std::string text) { return {std::move(text), std::nullopt}; }
    static TextRead nothing() { return {}; }
    static TextRead oversized(std::uint64_t bytes) { return {std::nullopt, bytes}; }
};

}  // namespace tavi
