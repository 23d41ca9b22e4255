#include "providers/AliyunProvider.h"

#include <algorithm>
#include <cmath>

#include "core/Json.h"
#include "core/Text.h"
#include "providers/Crypto.h"
#include "providers/UtcTime.h"

namespace tavi {
namespace {

constexpr const char* kName = "阿里翻译";

bool isSuccessStatus(long status) { return status >= 200 && status <= 299; }

// "Code" arrives as text from the real service, but a number is read the same way.
std::optional<std::string> codeText(const Json& body) {
    const auto it = body.find("Code");
    if (it == body.end()) return std::nullopt;
    if (it->is_string()) return it->get<std::string>();
    if (it->is_number_unsigned()) return std::to_string(it->get<std::uint64_t>());
    if (it->is_number_integer()) return std::to_string(it->get<std::int64_t>());
    if (it->is_number_float()) {
        const double value = it->get<double>();
        if (std::trunc(value) == value && std::abs(value) < 1e15) {
            return std::to_string(static_cast<std::int64_t>(value));
        }
        return it->dump();
    }
    return std::nullopt;
}

std::optional<Language> detectedLanguage(const Json& data) {
    const std::string* reported = memberString(data, "DetectedLanguage");
    if (!reported) return std::nullopt;
    const std::string wanted = toLowerAscii(*reported);
    for (Language language : allLanguages()) {
        if (language != Language::auto_ && AliyunProvider::languageCode(language) == wanted) return language;
    }
    return std::nullopt;
}

}  // namespace

bool AliyunProvider::isConfigured(const AppSettingsValues& settings) const {
    return !trimWhitespaceAndNewlines(settings.aliyunAccessKeyID).empty() &&
           !trimWhitespaceAndNewlines(settings.aliyunAccessKeySecret).empty();
}

std::string AliyunProvider::languageCode(Language language) { return toLowerAscii(rawValue(language)); }

std::string AliyunProvider::canonicalQuery(QueryItems parameters) {
    std::sort(parameters.begin(), parameters.end(),
              [](const auto& a, const auto& b) { return a.first < b.first; });
    return encodeQuery(parameters);
}

std::string AliyunProvider::rpcSignature(std::string_view method, const QueryItems& parameters,
                                         std::string_view accessKeySecret) {
    std::string stringToSign(method);
    stringToSign += "&%2F&";
    stringToSign += percentEncode(canonicalQuery(parameters));
    std::string key(accessKeySecret);
    key.push_back('&');
    return base64(hmacSha1(key, stringToSign));
}

Status AliyunProvider::checkRequest(const std::string& text, Language to, const std::string& accessKeyID,
                                    const std::string& accessKeySecret) {
    if (accessKeyID.empty() || accessKeySecret.empty()) return TranslationError::apiKeyMissing(kName);
    if (to == Language::auto_) return TranslationError::unsupportedLanguage();
    if (countScalarValues(text) > kMaxScalarValues) {
        return TranslationError::apiError("阿里翻译单次最多支持 5,000 字符，请缩短原文后重试");
    }
    return Done{};
}

Result<HttpRequest> AliyunProvider::buildRequest(const std::string& text, Language from, Language to,
                                                 const AppSettingsValues& settings, const std::string& nonce,
                                                 std::int64_t secondsSince1970) {
    // Pasted credentials often carry a stray blank or line break.
    const std::string accessKeyID = trimWhitespaceAndNewlines(settings.aliyunAccessKeyID);
    const std::string accessKeySecret = trimWhitespaceAndNewlines(settings.aliyunAccessKeySecret);
    if (Status check = checkRequest(text, to, accessKeyID, accessKeySecret); !check) return check.error();

    QueryItems parameters = {
        {"Action", "TranslateGeneral"},
        {"Version", "2018-10-12"},
        {"Format", "JSON"},
        {"AccessKeyId", accessKeyID},
        {"SignatureMethod", "HMAC-SHA1"},
        {"SignatureVersion", "1.0"},
        {"SignatureNonce", nonce},
        {"Timestamp", utcIso8601(secondsSince1970)},
        {"FormatType", "text"},
        {"Scene", "general"},
        {"SourceText", text},
        {"SourceLanguage", languageCode(from)},
        {"TargetLanguage", languageCode(to)},
    };
    std::string signature = rpcSignature("POST", parameters, accessKeySecret);
    parameters.emplace_back("Signature", std::move(signature));

    HttpRequest request;
    request.method = "POST";
    request.url = std::string(kEndpoint);
    request.headers = {{"Content-Type", "application/x-www-form-urlencoded; charset=utf-8"}};
    request.body = canonicalQuery(std::move(parameters));
    request.timeout = std::chrono::seconds(30);
    return request;
}

Result<TranslationResult> AliyunProvider::parseResponse(const HttpResponse& response, const std::string& text,
                                                        Language from, Language to) {
    const long status = response.status;
    auto parsed = parseJsonBody(response.body);
    if (!parsed || !parsed.value().is_object()) {
        // The parser's own complaint is not worth showing; the status says more.
        if (isSuccessStatus(status)) return TranslationError::invalidResponse();
        return TranslationError::apiError("阿里翻译 HTTP " + std::to_string(status));
    }
    const Json& body = parsed.value();
    const std::optional<std::string> code = codeText(body);
    if (isSuccessStatus(status) && code == "200") {
        const Json* data = memberObject(body, "Data");
        const std::string* translated = data ? memberString(*data, "Translated") : nullptr;
        if (!translated) return TranslationError::invalidResponse();
        return TranslationResult{text, *translated, from, to, kName, detectedLanguage(*data)};
    }
    const std::string* message = memberString(body, "Message");
    return TranslationError::apiError("阿里翻译：" + (message ? *message : std::string("请求失败")) + "（" +
                                      code.value_or(std::to_string(status)) + "）");
}

Result<TranslationResult> AliyunProvider::translate(const std::string& text, Language from, Language to,
                                                    const ProviderContext& context) const {
    const std::string accessKeyID = trimWhitespaceAndNewlines(context.settings.aliyunAccessKeyID);
    const std::string accessKeySecret = trimWhitespaceAndNewlines(context.settings.aliyunAccessKeySecret);
    // Checked before the nonce and clock are drawn: a refused request costs nothing.
    if (Status check = checkRequest(text, to, accessKeyID, accessKeySecret); !check) return check.error();
    const std::string nonce = context.environment.uuid();
    auto request = buildRequest(text, from, to, context.settings, nonce, context.environment.now());
    if (!request) return request.error();
    auto response = context.http.send(request.value());
    if (!response) return response.error();
    return parseResponse(response.value(), text, from, to);
}

}  // namespace tavi
