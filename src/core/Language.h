#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace tavi {

// The fifteen languages, in the order pickers list them. Provider code tables
// are indexed by the same order, so never reorder the cases.
enum class Language {
    auto_,  // "auto" is a C++ keyword; this is automatic detection
    chinese,
    chineseTraditional,
    english,
    japanese,
    korean,
    french,
    german,
    spanish,
    portuguese,
    italian,
    russian,
    arabic,
    thai,
    vietnamese,
};

inline constexpr std::size_t kLanguageCount = 15;

// Every case in declaration order.
const std::array<Language, kLanguageCount>& allLanguages();

// The persisted form ("auto", "zh", "zh-TW", ...).
std::string_view rawValue(Language language);

// Exact, case-sensitive match against the raw values; anything else is empty.
std::optional<Language> languageFromRawValue(std::string_view raw);

std::string_view displayName(Language language);
std::string_view flag(Language language);

inline constexpr std::size_t index(Language language) { return static_cast<std::size_t>(language); }

}  // namespace tavi
