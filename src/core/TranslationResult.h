#pragma once

#include <optional>
#include <string>

#include "core/Language.h"

namespace tavi {

// One finished translation, as a provider built it.
struct TranslationResult {
    std::string sourceText;
    std::string translatedText;
    Language sourceLanguage = Language::auto_;
    Language targetLanguage = Language::chinese;
    std::string provider;
    std::optional<Language> detectedLanguage;

    friend bool operator==(const TranslationResult&, const TranslationResult&) = default;
};

}  // namespace tavi
