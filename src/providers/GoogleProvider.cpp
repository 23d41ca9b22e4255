#include "providers/GoogleProvider.h"

#include <array>

#include "core/ChatResponseCheck.h"
#include "core/Json.h"
#include "core/Text.h"
#include "providers/PercentEncoding.h"

namespace tavi {
namespace {

// Google's codes, indexed by Language. `auto` is "en" so that an automatic
// target falls back to English; as a source it is never sent.
constexpr std::array<std::string_view, kLanguageCount> kCodes = {
    "en", "zh-CN", "zh-TW", "en", "ja", "ko", "fr", "de", "es", "pt", "it", "ru", "ar", "th", "vi",
};

constexpr const char* kName = "Google 翻译";
// Deliberately not the display name: the missing-key message has always said
// "Google Translate API Key 未设置".
constexpr const char* kKeyOwner = "Google Translate";

}  // namespace

bool GoogleProvider::isConfigured(const AppSettingsValues& settings) const { return !settings.googleAPIKey.empty(); }

std::string_view GoogleProvider::languageCode(Language language) { return kCodes[index(language)]; }

// `auto` comes first and shares "en" with English, so a reported "en" maps to
// `auto`. That is the behaviour users have; keep it.
std::optional<Language> GoogleProvider::languageForCode(std::string_view code) {
    for (Language language : allLanguages()) {
        if (languageCode(language) == code) return language;
    }
    return std::nullopt;
}

HttpRequest GoogleProvider::buildRequest(const std::string& text, Language from, Language to,
                                         const AppSettingsValues& settings) {
    QueryItems query = {
        {"key", settings.googleAPIKey},
        {"q", text},
        {"target", std::string(languageCode(to))},
        {"format", "text"},
    };
    if (from != Language::auto_) query.emplace_back("source", std::string(languageCode(from)));
    HttpRequest request;
    request.method = "POST";
    request.url = std::string(kEndpoint) + "?" + encodeQuery(query);
    request.headers = {{"Content-Type", "application/json"}};
    request.timeout = std::chrono::seconds(60);
    return request;
}

Result<TranslationResult> GoogleProvider::parseResponse(const HttpResponse& response, const std::string& text,
                                                        Language from, Language to) {
    if (Status check = validateChatResponse(response); !check) return check.error();
    auto parsed = parseJsonBody(response.body);
    if (!parsed) return parsed.error();
    const Json* data = memberObject(parsed.value(), "data");
    const Json* translations = data ? memberArray(*data, "translations") : nullptr;
    if (!translations || translations->empty()) return TranslationError::invalidResponse();
    const Json& first = translations->front();
    const std::string* translated = memberString(first, "translatedText");
    if (!translated) return TranslationError::invalidResponse();
    std::optional<Language> detected;
    if (const std::string* code = memberString(first, "detectedSourceLanguage")) detected = languageForCode(*code);
    // "format=text" means the text comes back without HTML entities to undo.
    return TranslationResult{text, trimWhitespaceAndNewlines(*translated), from, to, kName, detected};
}

Result<TranslationResult> GoogleProvider::translate(const std::string& text, Language from, Language to,
                                                    const ProviderContext& context) const {
    if (context.settings.googleAPIKey.empty()) return TranslationError::apiKeyMissing(kKeyOwner);
    auto response = context.http.send(buildRequest(text, from, to, context.settings));
    if (!response) return response.error();
    return parseResponse(response.value(), text, from, to);
}

}  // namespace tavi
