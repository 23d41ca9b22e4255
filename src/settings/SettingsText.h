#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tavi {

class AppSettings;

// Text forms of the settings for the `tavi config` command.

// The 25 settings keys in declaration order.
const std::vector<std::string_view>& settingKeys();
bool isSettingKey(std::string_view key);

// The API keys and secret keys. App and access-key IDs are not secrets (they
// identify an account, like a user name, and are needed to tell accounts
// apart) and are shown in full.
bool isSecretSetting(std::string_view key);

// The value as text: strings as they are, booleans "true"/"false", the
// integer in decimal, languages as raw values, hotkeys in their stored JSON
// form ({"keyCode":17,"modifiers":2048}). Empty for an unknown key.
std::string settingText(const AppSettings& settings, std::string_view key);

// A secret fit to show: "(未设置)" when empty; shorter than 12 characters
// fully masked; otherwise masked but for its last 4 characters. Counts
// Unicode characters, never splits one.
std::string maskedSecret(std::string_view secret);

struct AssignOutcome {
    enum class Kind {
        assigned,   // parsed and assigned (persisted and announced)
        malformed,  // the text is not a value of the key's type; nothing changed
        refused,    // a valid hotkey that the acceptance rules turned down
    };
    Kind kind;
    std::string message;  // empty when assigned
};

// Parses `text` for the key's type and assigns it through the property's
// setter. Credentials are cleaned first (see CredentialInput.h); hotkeys also
// go through the acceptance rules.
AssignOutcome assignSettingText(AppSettings& settings, std::string_view key, std::string_view text);

}  // namespace tavi
