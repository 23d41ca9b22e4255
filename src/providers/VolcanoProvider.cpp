#include "providers/VolcanoProvider.h"

#include <array>

#include "core/Json.h"
#include "core/Text.h"
#include "providers/Crypto.h"
#include "providers/HttpStatusCheck.h"
#include "providers/UtcTime.h"

namespace tavi {
namespace {

constexpr std::array<std::string_view, kLanguageCount> kCodes = {
    "auto", "zh", "zh-Hant", "en", "ja", "ko", "fr", "de", "es", "pt", "it", "ru", "ar", "th", "vi",
};

constexpr const char* kName = "火山翻译";

std::string concat(std::initializer_list<std::string_view> parts) {
    std::size_t size = 0;
    for (auto part : parts) size += part.size();
    std::string joined;
    joined.reserve(size);
    for (auto part : parts) joined.append(part);
    return joined;
}

}  // namespace

bool VolcanoProvider::isConfigured(const AppSettingsValues& settings) const {
    return !settings.volcanoAccessKeyID.empty() && !settings.volcanoSecretAccessKey.empty();
}

std::string_view VolcanoProvider::languageCode(Language language) { return kCodes[index(language)]; }

std::string VolcanoProvider::requestBody(const std::string& text, Language from, Language to) {
    const Json body = {
        {"SourceLanguage", languageCode(from)},
        {"TargetLanguage", languageCode(to)},
        {"TextList", Json::array({text})},
    };
    return toJsonText(body);
}

std::string VolcanoProvider::canonicalRequest(std::string_view payloadHash, std::string_view requestTime) {
    return concat({"POST\n/\n", kQuery, "\ncontent-type:application/json\nhost:", kHost,
                   "\nx-content-sha256:", payloadHash, "\nx-date:", requestTime, "\n\n", kSignedHeaders, "\n",
                   payloadHash});
}

std::string VolcanoProvider::credentialScope(std::string_view shortDate) {
    return concat({shortDate, "/", kRegion, "/", kService, "/request"});
}

HttpRequest VolcanoProvider::buildRequest(const std::string& text, Language from, Language to,
                                          const AppSettingsValues& settings, std::int64_t secondsSince1970) {
    // Date and time come from the same instant, so the scope and X-Date agree.
    const std::string date = utcCompactDate(secondsSince1970);
    const std::string time = utcCompactDateTime(secondsSince1970);
    std::string body = requestBody(text, from, to);
    const std::string payloadHash = lowerHex(sha256(body));
    const std::string scope = credentialScope(date);
    const std::string stringToSign =
        concat({"HMAC-SHA256\n", time, "\n", scope, "\n", lowerHex(sha256(canonicalRequest(payloadHash, time)))});

    const std::string dateKey = hmacSha256(settings.volcanoSecretAccessKey, date);
    const std::string regionKey = hmacSha256(dateKey, kRegion);
    const std::string serviceKey = hmacSha256(regionKey, kService);
    const std::string signingKey = hmacSha256(serviceKey, "request");
    const std::string signature = lowerHex(hmacSha256(signingKey, stringToSign));

    HttpRequest request;
    request.method = "POST";
    request.url = concat({"https://", kHost, "/?", kQuery});
    request.headers = {
        {"Content-Type", "application/json"},
        {"Host", std::string(kHost)},
        {"X-Content-Sha256", payloadHash},
        {"X-Date", time},
        {"Authorization", concat({"HMAC-SHA256 Credential=", settings.volcanoAccessKeyID, "/", scope,
                                  ", SignedHeaders=", kSignedHeaders, ", Signature=", signature})},
    };
    request.body = std::move(body);
    request.timeout = std::chrono::seconds(60);
    return request;
}

Result<TranslationResult> VolcanoProvider::parseResponse(const HttpResponse& response, const std::string& text,
                                                         Language from, Language to) {
    if (Status check = checkHttpStatus(response); !check) return check.error();
    auto parsed = parseJsonBody(response.body);
    if (!parsed) return parsed.error();
    // A 200 carrying only ResponseMetadata.Error lands here too: no list, no translation.
    const Json* list = memberArray(parsed.value(), "TranslationList");
    if (!list || list->empty()) return TranslationError::invalidResponse();
    const std::string* translation = memberString(list->front(), "Translation");
    if (!translation) return TranslationError::invalidResponse();
    return TranslationResult{text, *translation, from, to, kName, std::nullopt};
}

Result<TranslationResult> VolcanoProvider::translate(const std::string& text, Language from, Language to,
                                                     const ProviderContext& context) const {
    if (!isConfigured(context.settings)) return TranslationError::apiKeyMissing(name());
    auto response = context.http.send(buildRequest(text, from, to, context.settings, context.environment.now()));
    if (!response) return response.error();
    return parseResponse(response.value(), text, from, to);
}

}  // namespace tavi
