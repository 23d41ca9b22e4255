#pragma once

#include <cstdint>
#include <string_view>

#include "core/TranslationProvider.h"
#include "providers/PercentEncoding.h"

namespace tavi {

// Alibaba Cloud machine translation (TranslateGeneral), an RPC-style form POST
// signed with HMAC-SHA1 (signature version 1.0).
class AliyunProvider final : public TranslationProvider {
public:
    static constexpr std::string_view kEndpoint = "https://mt.cn-hangzhou.aliyuncs.com/";
    static constexpr std::size_t kMaxScalarValues = 5000;

    AliyunProvider() : TranslationProvider("aliyun", "阿里翻译") {}

    bool isConfigured(const AppSettingsValues& settings) const override;
    Result<TranslationResult> translate(const std::string& text, Language from, Language to,
                                        const ProviderContext& context) const override;

    // The shared raw code, lower-cased ("zh-TW" is sent as "zh-tw").
    static std::string languageCode(Language language);
    // Sorted by name, both sides percent-encoded, joined with "&".
    static std::string canonicalQuery(QueryItems parameters);
    // Base64 of HMAC-SHA1 over method + "&%2F&" + encode(canonical query), keyed with secret + "&".
    static std::string rpcSignature(std::string_view method, const QueryItems& parameters,
                                    std::string_view accessKeySecret);
    // Refuses before anything is sent: missing credentials, target auto, text too long.
    static Result<HttpRequest> buildRequest(const std::string& text, Language from, Language to,
                                            const AppSettingsValues& settings, const std::string& nonce,
                                            std::int64_t secondsSince1970);
    static Result<TranslationResult> parseResponse(const HttpResponse& response, const std::string& text,
                                                   Language from, Language to);

private:
    static Status checkRequest(const std::string& text, Language to, const std::string& accessKeyID,
                               const std::string& accessKeySecret);
};

}  // namespace tavi
