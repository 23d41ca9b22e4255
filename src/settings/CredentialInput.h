#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tavi {

// Credentials and service addresses are pasted more often than typed, and a
// paste often brings a blank or a line break along. A line break inside one
// would split the request header it travels in, so such text is cleaned or
// refused before it is assigned, by every editor of the settings (the
// `tavi config` command and the settings window alike).

// API keys, secret keys, app and access-key IDs, the model names and the
// OpenAI base URL.
bool isCredentialSetting(std::string_view key);

struct CredentialInput {
    std::optional<std::string> value;  // what to assign, when the text is acceptable
    std::string refusal;               // otherwise why not, to follow the setting's name
};

// Trims Unicode white space and line breaks from both ends; refuses text that
// is not UTF-8 or still holds a control character (U+0000-U+001F,
// U+007F-U+009F) inside. Empty text stays empty.
CredentialInput cleanCredentialInput(std::string_view text);

}  // namespace tavi
