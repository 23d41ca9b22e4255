#include "core/Language.h"

namespace tavi {
namespace {

struct LanguageInfo {
    std::string_view raw;
    std::string_view displayName;
    std::string_view flag;
};

constexpr std::array<LanguageInfo, kLanguageCount> kInfo{{
    {"auto", "自动检测", "🌐"},
    {"zh", "中文（简体）", "🇨🇳"},
    {"zh-TW", "中文（繁体）", "🇹🇼"},
    {"en", "英语", "🇺🇸"},
    {"ja", "日语", "🇯🇵"},
    {"ko", "韩语", "🇰🇷"},
    {"fr", "法语", "🇫🇷"},
    {"de", "德语", "🇩🇪"},
    {"es", "西班牙语", "🇪🇸"},
    {"pt", "葡萄牙语", "🇵🇹"},
    {"it", "意大利语", "🇮🇹"},
    {"ru", "俄语", "🇷🇺"},
    {"ar", "阿拉伯语", "🇸🇦"},
    {"th", "泰语", "🇹🇭"},
    {"vi", "越南语", "🇻🇳"},
}};

}  // namespace

const std::array<Language, kLanguageCount>& allLanguages() {
    static constexpr std::array<Language, kLanguageCount> kAll{
        Language::auto_,   Language::chinese, Language::chineseTraditional,
        Language::english, Language::japanese, Language::korean,
        Language::french,  Language::german,  Language::spanish,
        Language::portuguese, Language::italian, Language::russian,
        Language::arabic,  Language::thai,    Language::vietnamese,
    };
    return kAll;
}

std::string_view rawValue(Language language) { return kInfo[index(language)].raw; }

std::optional<Language> languageFromRawValue(std::string_view raw) {
    for (Language language : allLanguages()) {
        if (rawValue(language) == raw) return language;
    }
    return std::nullopt;
}

std::string_view displayName(Language language) { return kInfo[index(language)].displayName; }

std::string_view flag(Language language) { return kInfo[index(language)].flag; }

}  // namespace tavi
