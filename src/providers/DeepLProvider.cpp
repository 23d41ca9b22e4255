#include "providers/DeepLProvider.h"

#include <array>

#include "core/Json.h"
#include "core/Text.h"

namespace tavi {
namespace {

// DeepL's codes, indexed by Language, used as source and target alike.
// `auto` is "EN" so that an automatic target falls back to English.
constexpr std::array<std::string_view, kLanguageCount> kCodes = {
    "EN", "ZH", "ZH-HANT", "EN-US", "JA", "KO", "FR", "DE", "ES", "PT-BR", "IT", "RU", "AR", "TH", "VI",
};

constexpr const char* kName = "DeepL";

}  // namespace

bool DeepLProvider::isConfigured(const AppSettingsValues& settings) const { return !settings.deepLAPIKey.empty(); }

std::string_view DeepLProvider::languageCode(Language language) { return kCodes[index(language)]; }

// DeepL reports bare codes: "EN" finds `auto` (first in order) and "PT" finds
// nothing, since the table holds "PT-BR".
std::optional<Language> DeepLProvider::languageForCode(std::string_view code) {
    for (Language language : allLanguages()) {
        if (languageCode(language) == code) return language;
    }
    return std::nullopt;
}

HttpRequest DeepLProvider::buildRequest(const std::string& text, Language from, Language to,
                                        const AppSettingsValues& settings) {
    Json body = {
        {"text", Json::array({text})},
        {"target_lang", std::string(languageCode(to))},
    };
    if (from != Language::auto_) body["source_lang"] = std::string(languageCode(from));
    HttpRequest request;
    request.method = "POST";
    request.url = std::string(settings.deepLIsPro ? kProEndpoint : kFreeEndpoint);
    request.headers = {{"Authorization", "DeepL-Auth-Key " + settings.deepLAPIKey},
                       {"Content-Type", "application/json"}};
    request.body = toJsonText(body);
    request.timeout = std::chrono::seconds(60);
    return request;
}

Status DeepLProvider::validateResponse(const HttpResponse& response) {
    if (response.status >= 200 && response.status <= 299) return Done{};
    if (response.status == 429) return TranslationError::rateLimited();
    auto parsed = parseJsonBody(response.body);
    if (parsed.ok()) {
        if (const std::string* message = memberString(parsed.value(), "message")) {
            return TranslationError::apiError(*message);
        }
    }
    return TranslationError::apiError("HTTP " + std::to_string(response.status));
}

Result<TranslationResult> DeepLProvider::parseResponse(const HttpResponse& response, const std::string& text,
                                                       Language from, Language to) {
    if (Status check = validateResponse(response); !check) return check.error();
    auto parsed = parseJsonBody(response.body);
    if (!parsed) return parsed.error();
    const Json* translations = memberArray(parsed.value(), "translations");
    if (!translations || translations->empty()) return TranslationError::invalidResponse();
    const Json& first = translations->front();
    const std::string* translated = memberString(first, "text");
    if (!translated) return TranslationError::invalidResponse();
    std::optional<Language> detected;
    if (const std::string* code = memberString(first, "detected_source_language")) detected = languageForCode(*code);
    return TranslationResult{text, trimWhitespaceAndNewlines(*translated), from, to, kName, detected};
}

Result<TranslationResult> DeepLProvider::translate(const std::string& text, Language from, Language to,
                                                   const ProviderContext& context) const {
    if (context.settings.deepLAPIKey.empty()) return TranslationError::apiKeyMissing(name());
    auto response = context.http.send(buildRequest(text, from, to, context.settings));
    if (!response) return response.error();
    return parseResponse(response.value(), text, from, to);
}

}  // namespace tavi
