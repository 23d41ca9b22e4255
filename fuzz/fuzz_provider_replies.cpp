// Every provider's reply parsing: first byte picks the provider, the next one
// the HTTP status, the rest is the body.
#include <array>
#include <string>

#include "FuzzSupport.h"
#include "core/Text.h"
#include "providers/AliyunProvider.h"
#include "providers/BaiduProvider.h"
#include "providers/ClaudeProvider.h"
#include "providers/DeepLProvider.h"
#include "providers/GoogleProvider.h"
#include "providers/OpenAIProvider.h"
#include "providers/VolcanoProvider.h"

using namespace tavi;

namespace {

constexpr std::array<long, 12> kStatuses = {200, 201, 299, 100, 300, 400, 401, 403, 429, 456, 500, 502};

using Parser = Result<TranslationResult> (*)(const HttpResponse&, const std::string&, Language, Language);

struct Provider {
    Parser parse;
    const char* name;
    bool trimsResult;
};

const std::array<Provider, 7> kProviders = {{
    {&OpenAIProvider::parseResponse, "OpenAI", true},
    {&ClaudeProvider::parseResponse, "Claude", true},
    {&DeepLProvider::parseResponse, "DeepL", true},
    {&GoogleProvider::parseResponse, "Google 翻译", true},
    {&BaiduProvider::parseResponse, "百度翻译", false},
    {&AliyunProvider::parseResponse, "阿里翻译", false},
    {&VolcanoProvider::parseResponse, "火山翻译", false},
}};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const Provider& provider = kProviders[input.byte() % kProviders.size()];
    const long status = kStatuses[input.byte() % kStatuses.size()];
    const std::string body(input.rest());
    const std::string text = "hello";

    const Result<TranslationResult> result =
        provider.parse(HttpResponse{status, {}, body}, text, Language::english, Language::chinese);
    if (!result.ok()) {
        // Only a service's own (empty) message may leave the text empty: it is shown unchanged.
        const auto* own = std::get_if<TranslationError>(&result.error());
        fuzz::require(!describe(result.error()).empty() || (own && own->kind() == TranslationError::Kind::apiError),
                      "every failure of our own has a text to show");
        return 0;
    }
    const TranslationResult& translation = result.value();
    fuzz::require(status >= 200 && status <= 299, "only a 2xx reply translates");
    fuzz::require(body.find('\0') == std::string::npos, "a reply with a NUL byte never translates");
    fuzz::require(translation.provider == provider.name, "the result names its provider");
    fuzz::require(translation.sourceText == text, "the source text comes back unchanged");
    if (provider.trimsResult) {
        fuzz::require(trimWhitespaceAndNewlines(translation.translatedText) == translation.translatedText,
                      "the translation is trimmed");
    }
    return 0;
}
