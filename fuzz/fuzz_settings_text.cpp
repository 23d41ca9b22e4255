// The settings' text forms (tavi config set / get): the first byte picks the
// key, the rest is the text to assign.
#include "FuzzSupport.h"
#include "core/HttpTransport.h"
#include "core/NotificationCenter.h"
#include "core/Utf8.h"
#include "settings/AppSettings.h"
#include "settings/CredentialInput.h"
#include "settings/HotkeyModel.h"
#include "settings/MemorySettingsStore.h"
#include "settings/SettingsLookup.h"
#include "settings/SettingsText.h"

using namespace tavi;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const std::string_view key = settingKeys()[input.byte() % settingKeys().size()];
    const std::string_view text = input.rest();

    MemorySettingsStore store;
    NotificationCenter center;
    AppSettings settings(store, center);
    const AppSettingsValues before = settings.values();
    const AssignOutcome outcome = assignSettingText(settings, key, text);
    if (outcome.kind != AssignOutcome::Kind::assigned) {
        fuzz::require(!outcome.message.empty(), "a refusal says why");
        fuzz::require(settings.values() == before && store.contents().empty(), "a refused value changes nothing");
        return 0;
    }
    const std::string shown = settingText(settings, key);
    if (isCredentialSetting(key)) {
        const CredentialInput cleaned = cleanCredentialInput(text);
        fuzz::require(cleaned.value && shown == *cleaned.value, "a credential is stored as cleaned");
        // Whatever the user manages to store can never split a request.
        HttpRequest request;
        request.headers = {{"Authorization", "Bearer " + shown}, {"x-api-key", shown}};
        fuzz::require(!unsafeHeader(request), "a stored credential is a safe header value");
    } else if (key == "activeProviderID") {
        fuzz::require(shown == text, "other strings are stored as given");
    } else if (key.size() > 6 && key.substr(key.size() - 6) == "Hotkey") {
        fuzz::require(decodeHotkeyJson(shown) == decodeHotkeyJson(text), "a hotkey reads back as assigned");
    } else if (key == "minTextLengthForAutoTranslate") {
        fuzz::require(parseWholeDecimal(shown) == parseWholeDecimal(text), "the number reads back");
    } else {
        fuzz::require(shown == text, "booleans and languages read back as written");
    }
    fuzz::require(isValidUtf8(shown), "what is shown is UTF-8");

    // A second process sees the same value (but migrates the removed provider).
    if (key == "activeProviderID" && text == "tencent") return 0;
    MemorySettingsStore copy(store.contents());
    AppSettings reloaded(copy, center);
    fuzz::require(reloaded.values() == settings.values(), "the stored form loads back to the same settings");
    return 0;
}
