#pragma once

#include <optional>
#include <span>
#include <string_view>

namespace tavi {

// How each provider presents itself in the providers tab: its symbol (a
// symbol name the view maps to an icon of its own), accent colour, the line
// under its name, a hint for its configuration and where its keys are issued.
struct ProviderMetadata {
    std::string_view symbolName;
    std::string_view subtitle;
    std::string_view helper;
    std::string_view accentColor;  // a named colour: "green", "orange", ..., "gray"
    std::optional<std::string_view> learnMoreURL;
};

// The entry for `providerID`, compared exactly; any other id gets the gray
// "puzzlepiece" entry, which has no URL.
const ProviderMetadata& providerMetadata(std::string_view providerID);

enum class ProviderFieldKind { plain, secure, toggle };

// One credential or option field of a provider's configuration pane.
struct ProviderField {
    std::string_view title;      // shown above the control; names it for screen readers
    ProviderFieldKind kind;
    std::string_view text;       // a text field's placeholder, a toggle's own label
    std::string_view settingKey; // the AppSettings property it edits
};

// The fields of `providerID`'s pane in order; empty for an id outside the seven.
std::span<const ProviderField> providerFields(std::string_view providerID);

}  // namespace tavi
