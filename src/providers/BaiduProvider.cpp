#include "providers/BaiduProvider.h"

#include <array>

#include "core/Json.h"
#include "core/Text.h"
#include "providers/Crypto.h"
#include "providers/HttpStatusCheck.h"
#include "providers/PercentEncoding.h"

namespace tavi {
namespace {

// Baidu's own codes, indexed by Language.
constexpr std::array<std::string_view, kLanguageCount> kCodes = {
    "auto", "zh", "cht", "en", "jp", "kor", "fra", "de", "spa", "pt", "it", "ru", "ara", "th", "vie",
};

constexpr const char* kName = "百度翻译";

}  // namespace

bool BaiduProvider::isConfigured(const AppSettingsValues& settings) const {
    return !settings.baiduAppID.empty() && !settings.baiduSecretKey.empty();
}

std::string_view BaiduProvider::languageCode(Language language) { return kCodes[index(language)]; }

std::string BaiduProvider::sign(std::string_view appID, std::string_view text, std::string_view salt,
                                std::string_view secretKey) {
    std::string input;
    input.reserve(appID.size() + text.size() + salt.size() + secretKey.size());
    input.append(appID).append(text).append(salt).append(secretKey);
    return lowerHex(md5(input));
}

HttpRequest BaiduProvider::buildRequest(const std::string& text, Language from, Language to,
                                        const AppSettingsValues& settings, std::uint32_t salt) {
    const std::string saltText = std::to_string(salt);
    const QueryItems query = {
        {"q", text},
        {"from", std::string(languageCode(from))},
        {"to", std::string(languageCode(to))},
        {"appid", settings.baiduAppID},
        {"salt", saltText},
        {"sign", sign(settings.baiduAppID, text, saltText, settings.baiduSecretKey)},
    };
    HttpRequest request;
    request.method = "GET";
    request.url = std::string(kEndpoint) + "?" + encodeQuery(query);
    // A plain GET: no headers or body of its own, the client's default time-out.
    request.timeout = kDefaultRequestTimeout;
    return request;
}

Result<TranslationResult> BaiduProvider::parseResponse(const HttpResponse& response, const std::string& text,
                                                       Language from, Language to) {
    if (Status check = checkHttpStatus(response); !check) return check.error();
    auto parsed = parseJsonBody(response.body);
    if (!parsed) return parsed.error();
    const Json& body = parsed.value();
    if (!body.is_object()) return TranslationError::invalidResponse();

    // Only a text error_code counts; the service never sends a numeric one.
    if (const std::string* code = memberString(body, "error_code")) {
        const std::string* message = memberString(body, "error_msg");
        return TranslationError::apiError("百度翻译错误 " + *code + ": " + (message ? *message : std::string()));
    }

    const Json* results = memberArray(body, "trans_result");
    if (!results || results->empty() || !memberString(results->front(), "dst")) {
        return TranslationError::invalidResponse();
    }
    // The service answers one element per source line; joining them keeps the lines.
    std::string translated;
    bool first = true;
    for (const Json& element : *results) {
        const std::string* dst = memberString(element, "dst");
        if (!dst) continue;
        if (!first) translated.push_back('\n');
        translated += *dst;
        first = false;
    }
    return TranslationResult{text, std::move(translated), from, to, kName, std::nullopt};
}

Result<TranslationResult> BaiduProvider::translate(const std::string& text, Language from, Language to,
                                                   const ProviderContext& context) const {
    if (!isConfigured(context.settings)) return TranslationError::apiKeyMissing(name());
    const std::uint32_t salt = 10000 + context.environment.randomBelow(90000);
    auto response = context.http.send(buildRequest(text, from, to, context.settings, salt));
    if (!response) return response.error();
    return parseResponse(response.value(), text, from, to);
}

}  // namespace tavi
