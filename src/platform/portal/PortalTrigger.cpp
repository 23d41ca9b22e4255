#include "platform/portal/PortalTrigger.h"

#include <xkbcommon/xkbcommon.h>

#include <string_view>
#include <utility>

#include "core/Utf8.h"
#include "settings/HotkeyShortcut.h"

namespace tavi::portal {
namespace {

// Keys that print nothing, by stored position.
constexpr std::pair<std::uint32_t, std::string_view> kNamedKeys[] = {
    {36, "Return"}, {48, "Tab"}, {49, "space"}, {51, "BackSpace"}, {53, "Escape"}, {117, "Delete"},
    {114, "Insert"}, {115, "Home"}, {119, "End"}, {116, "Prior"}, {121, "Next"}, {123, "Left"},
    {124, "Right"}, {125, "Down"}, {126, "Up"}, {122, "F1"}, {120, "F2"}, {99, "F3"}, {118, "F4"},
    {96, "F5"}, {97, "F6"}, {98, "F7"}, {100, "F8"}, {101, "F9"}, {109, "F10"}, {103, "F11"},
    {111, "F12"}, {105, "F13"}, {107, "F14"}, {113, "F15"}, {106, "F16"}, {64, "F17"}, {79, "F18"},
    {80, "F19"}, {90, "F20"}, {82, "KP_0"}, {83, "KP_1"}, {84, "KP_2"}, {85, "KP_3"}, {86, "KP_4"},
    {87, "KP_5"}, {88, "KP_6"}, {89, "KP_7"}, {91, "KP_8"}, {92, "KP_9"}, {65, "KP_Decimal"},
    {67, "KP_Multiply"}, {69, "KP_Add"}, {75, "KP_Divide"}, {76, "KP_Enter"}, {78, "KP_Subtract"},
    {81, "KP_Equal"}, {71, "Num_Lock"}, {72, "XF86AudioRaiseVolume"}, {73, "XF86AudioLowerVolume"},
    {74, "XF86AudioMute"},
};

// What the US layout prints on the other keys, by stored position.
constexpr std::pair<std::uint32_t, char> kUsKeys[] = {
    {0, 'a'}, {11, 'b'}, {8, 'c'}, {2, 'd'}, {14, 'e'}, {3, 'f'}, {5, 'g'}, {4, 'h'}, {34, 'i'},
    {38, 'j'}, {40, 'k'}, {37, 'l'}, {46, 'm'}, {45, 'n'}, {31, 'o'}, {35, 'p'}, {12, 'q'}, {15, 'r'},
    {1, 's'}, {17, 't'}, {32, 'u'}, {9, 'v'}, {13, 'w'}, {7, 'x'}, {16, 'y'}, {6, 'z'}, {29, '0'},
    {18, '1'}, {19, '2'}, {20, '3'}, {21, '4'}, {23, '5'}, {22, '6'}, {26, '7'}, {28, '8'}, {25, '9'},
    {27, '-'}, {24, '='}, {33, '['}, {30, ']'}, {41, ';'}, {39, '\''}, {43, ','}, {47, '.'}, {44, '/'},
    {42, '\\'}, {50, '`'}, {10, '<'},
};

// The keysym name of the one character `text` is; nothing for other text.
std::optional<std::string> keysymNameOf(std::string_view text) {
    if (text.empty()) return std::nullopt;
    const Utf8Scalar character = decodeUtf8At(text, 0);
    if (!character.valid || character.length != text.size()) return std::nullopt;
    const xkb_keysym_t keysym = xkb_utf32_to_keysym(static_cast<std::uint32_t>(character.value));
    if (keysym == XKB_KEY_NoSymbol) return std::nullopt;
    char name[64];
    const int length = xkb_keysym_get_name(keysym, name, sizeof name);
    if (length <= 0 || static_cast<std::size_t>(length) >= sizeof name) return std::nullopt;
    return std::string(name, static_cast<std::size_t>(length));
}

std::optional<std::string> keyName(std::uint32_t keyCode, const PrintedKey& printed) {
    for (const auto& [position, name] : kNamedKeys)
        if (position == keyCode) return std::string(name);
    if (printed) {
        if (std::optional<std::string> text = printed(keyCode))
            if (std::optional<std::string> name = keysymNameOf(*text)) return name;
    }
    for (const auto& [position, character] : kUsKeys)
        if (position == keyCode) return keysymNameOf(std::string_view(&character, 1));
    return std::nullopt;
}

}  // namespace

std::optional<std::string> portalTrigger(std::uint32_t keyCode, std::uint32_t modifiers, const PrintedKey& printed) {
    if (modifiers == 0) return std::nullopt;
    std::optional<std::string> key = keyName(keyCode, printed);
    if (!key) return std::nullopt;
    std::string trigger;
    for (const auto& [bit, name] : {std::pair{HotkeyModifier::control, "CTRL+"}, std::pair{HotkeyModifier::option, "ALT+"},
                                    std::pair{HotkeyModifier::shift, "SHIFT+"},
                                    std::pair{HotkeyModifier::command, "LOGO+"}})
        if (modifiers & bit) trigger += name;
    return trigger + *key;
}

}  // namespace tavi::portal
