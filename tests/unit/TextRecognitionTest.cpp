#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "capture/TextRecognition.h"

namespace tavi {
namespace {

using Tags = std::vector<std::string>;

TEST(TextRecognition, ChoosesLanguagesFromTheUsersAndTheDefaultsAsFarAsSupported) {
    const Tags everything{"zh-Hans", "zh-Hant", "en-US", "ja-JP", "ko-KR", "fr-FR", "de-DE",
                          "es-ES",   "pt-BR",   "it-IT", "ru-RU", "ar",    "th-TH", "vi-VN"};
    const Tags tenDefaults{"zh-Hans", "zh-Hant", "en-US", "ja-JP", "ko-KR",
                           "fr-FR",   "de-DE",   "es-ES", "pt-BR", "it-IT"};
    struct Case {
        const char* what;
        Language source;
        std::optional<Language> target;
        std::optional<Tags> supported;
        Tags chosen;
    };
    const Case cases[] = {
        {"auto without a target: the defaults, in their order, where supported", Language::auto_, std::nullopt,
         Tags{"ar", "en-US", "vi-VN", "zh-Hans"}, {"zh-Hans", "en-US"}},
        {"Japanese to Chinese lead, the defaults follow without repeats", Language::japanese, Language::chinese,
         everything, {"ja-JP", "zh-Hans", "zh-Hant", "en-US", "ko-KR", "fr-FR", "de-DE", "es-ES", "pt-BR", "it-IT"}},
        {"Arabic leads when supported", Language::arabic, Language::english, Tags{"en-US", "ar", "fr-FR"},
         {"ar", "en-US", "fr-FR"}},
        {"Arabic unsupported is dropped", Language::arabic, Language::english, Tags{"en-US", "fr-FR"},
         {"en-US", "fr-FR"}},
        {"a target of auto adds nothing", Language::russian, Language::auto_, Tags{"de-DE", "ru-RU", "th-TH"},
         {"ru-RU", "de-DE"}},
        {"no candidate supported: the whole list as reported", Language::english, Language::german,
         Tags{"th-TH", "ru-RU"}, {"th-TH", "ru-RU"}},
        {"the supported query failed: the ten defaults, unfiltered", Language::japanese, Language::arabic,
         std::nullopt, tenDefaults},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(chooseRecognitionLocales(c.source, c.target, c.supported), c.chosen) << c.what;
    }
}

}  // namespace
}  // namespace tavi
