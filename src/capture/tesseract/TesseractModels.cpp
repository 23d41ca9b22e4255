#include "capture/tesseract/TesseractModels.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <system_error>
#include <utility>

namespace tavi {
namespace {

// Locale tag and model name, in the order the languages are listed.
constexpr std::array<std::pair<std::string_view, std::string_view>, 14> kModels{{
    {"zh-Hans", "chi_sim"},
    {"zh-Hant", "chi_tra"},
    {"en-US", "eng"},
    {"ja-JP", "jpn"},
    {"ko-KR", "kor"},
    {"fr-FR", "fra"},
    {"de-DE", "deu"},
    {"es-ES", "spa"},
    {"pt-BR", "por"},
    {"it-IT", "ita"},
    {"ru-RU", "rus"},
    {"ar", "ara"},
    {"th-TH", "tha"},
    {"vi-VN", "vie"},
}};

constexpr std::string_view kModelSuffix = ".traineddata";

}  // namespace

std::filesystem::path tessdataDirectory() {
    if (const char* prefix = std::getenv("TESSDATA_PREFIX"); prefix && *prefix) return prefix;
    return "/usr/share/tesseract-ocr/5/tessdata";
}

std::optional<std::string_view> tesseractModel(std::string_view locale) {
    for (const auto& [tag, model] : kModels)
        if (tag == locale) return model;
    return std::nullopt;
}

std::vector<std::string> tesseractLanguages(const std::vector<std::string>& locales) {
    constexpr std::array<std::string_view, 4> kWithoutBlanks{"chi_sim", "chi_tra", "jpn", "tha"};
    const auto writesBlanks = [&](const std::string& model) {
        return std::find(kWithoutBlanks.begin(), kWithoutBlanks.end(), model) == kWithoutBlanks.end();
    };
    std::vector<std::string> models;
    bool chinese = false;
    for (const std::string& locale : locales) {
        const std::optional<std::string_view> model = tesseractModel(locale);
        if (!model) continue;
        const bool isChinese = model->starts_with("chi_");
        if (isChinese && chinese) continue;
        chinese = chinese || isChinese;
        models.emplace_back(*model);
    }
    std::stable_partition(models.begin(), models.end(), writesBlanks);
    return models;
}

std::optional<std::vector<std::string>> installedRecognitionLocales(const std::filesystem::path& directory) {
    std::error_code error;
    std::vector<std::string> installed;  // model names
    for (std::filesystem::directory_iterator entry(directory, error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        if (name.size() > kModelSuffix.size() && name.ends_with(kModelSuffix))
            installed.push_back(name.substr(0, name.size() - kModelSuffix.size()));
    }
    if (error) return std::nullopt;
    std::vector<std::string> locales;
    for (const auto& [tag, model] : kModels)
        if (std::find(installed.begin(), installed.end(), model) != installed.end()) locales.emplace_back(tag);
    return locales;
}

}  // namespace tavi
