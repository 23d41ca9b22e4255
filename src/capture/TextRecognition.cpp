#include "capture/TextRecognition.h"

#include <algorithm>
#include <array>

namespace tavi {
namespace {

// Indexed by Language; auto has none.
constexpr std::array<std::string_view, kLanguageCount> kLocales{
    "",      "zh-Hans", "zh-Hant", "en-US", "ja-JP", "ko-KR", "fr-FR", "de-DE",
    "es-ES", "pt-BR",   "it-IT",   "ru-RU", "ar",    "th-TH", "vi-VN",
};

}  // namespace

std::optional<std::string_view> recognitionLocale(Language language) {
    const std::string_view tag = kLocales[index(language)];
    if (tag.empty()) return std::nullopt;
    return tag;
}

const std::vector<std::string_view>& defaultRecognitionLocales() {
    static const std::vector<std::string_view> kDefaults{"zh-Hans", "zh-Hant", "en-US", "ja-JP", "ko-KR",
                                                         "fr-FR",   "de-DE",   "es-ES", "pt-BR", "it-IT"};
    return kDefaults;
}

std::vector<std::string> chooseRecognitionLocales(Language source, std::optional<Language> target,
                                                  const std::optional<std::vector<std::string>>& supported) {
    if (!supported) return {defaultRecognitionLocales().begin(), defaultRecognitionLocales().end()};

    std::vector<std::string> candidates;
    const auto add = [&candidates](std::string_view tag) {
        if (std::find(candidates.begin(), candidates.end(), tag) == candidates.end()) candidates.emplace_back(tag);
    };
    if (auto tag = recognitionLocale(source)) add(*tag);
    if (target) {
        if (auto tag = recognitionLocale(*target)) add(*tag);
    }
    for (std::string_view tag : defaultRecognitionLocales()) add(tag);

    std::erase_if(candidates, [&supported](const std::string& tag) {
        return std::find(supported->begin(), supported->end(), tag) == supported->end();
    });
    if (candidates.empty()) return *supported;
    return candidates;
}

}  // namespace tavi
