#pragma once

#include <string>

namespace tavi {

// The failures the translation core reports in its own words.
class TranslationError {
public:
    enum class Kind {
        apiKeyMissing,
        networkError,
        apiError,
        invalidResponse,
        rateLimited,
        unsupportedLanguage,
    };

    static TranslationError apiKeyMissing(std::string providerName);
    // Carries the underlying failure's own description.
    static TranslationError networkError(std::string underlyingDescription);
    static TranslationError apiError(std::string message);
    static TranslationError invalidResponse();
    static TranslationError rateLimited();
    static TranslationError unsupportedLanguage();

    Kind kind() const { return kind_; }
    // Provider name, underlying description or API message; empty otherwise.
    const std::string& payload() const { return payload_; }

    // The text shown to the user.
    std::string errorDescription() const;

    friend bool operator==(const TranslationError&, const TranslationError&) = default;

private:
    TranslationError(Kind kind, std::string payload) : kind_(kind), payload_(std::move(payload)) {}

    Kind kind_;
    std::string payload_;
};

}  // namespace tavi
