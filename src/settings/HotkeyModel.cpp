#include "settings/HotkeyModel.h"

#include <array>
#include <cmath>
#include <limits>
#include <mutex>
#include <unordered_map>
#include <utility>

#include "core/Json.h"
#include "core/Utf8.h"

namespace tavi {
namespace {

// --- JSON ------------------------------------------------------------------

std::optional<std::uint32_t> unsigned32Member(const Json& object, const char* key) {
    auto it = object.find(key);
    if (it == object.end()) return std::nullopt;
    constexpr auto kMax = std::numeric_limits<std::uint32_t>::max();
    if (it->is_number_unsigned()) {
        const auto value = it->get<std::uint64_t>();
        if (value <= kMax) return static_cast<std::uint32_t>(value);
    } else if (it->is_number_integer()) {
        const auto value = it->get<std::int64_t>();
        if (value >= 0 && static_cast<std::uint64_t>(value) <= kMax) return static_cast<std::uint32_t>(value);
    } else if (it->is_number_float()) {
        // Another writer may spell a whole number as 17.0; a decoder that
        // converts exactly takes it, so do we.
        const double value = it->get<double>();
        if (std::isfinite(value) && value >= 0 && value <= kMax && std::floor(value) == value)
            return static_cast<std::uint32_t>(value);
    }
    return std::nullopt;
}

// --- Upper case ------------------------------------------------------------

// The letters a keyboard layout is likely to print, in their upper case.
// Writes the result into `out`; returns false when the character has none.
bool appendUpper(std::string& out, char32_t c) {
    char32_t upper = 0;
    if (c >= U'a' && c <= U'z') upper = c - 0x20;
    else if (c == 0x00DF) { out += "SS"; return true; }                      // ß
    else if (c == 0x00B5) upper = 0x039C;                                   // µ
    else if (c >= 0x00E0 && c <= 0x00FE && c != 0x00F7) upper = c - 0x20;  // à...þ
    else if (c == 0x00FF) upper = 0x0178;                                   // ÿ
    else if (c == 0x0131) upper = U'I';                                     // dotless i
    else if (c == 0x017F) upper = U'S';                                     // long s
    else if ((c >= 0x0100 && c <= 0x0137) || (c >= 0x014A && c <= 0x0177)) { if (c & 1) upper = c - 1; }
    else if ((c >= 0x0139 && c <= 0x0148) || (c >= 0x0179 && c <= 0x017E)) { if (!(c & 1)) upper = c - 1; }
    else if (c == 0x03C2) upper = 0x03A3;                                   // final sigma
    else if (c >= 0x03B1 && c <= 0x03CB) upper = c - 0x20;                  // α...ϋ
    else if (c == 0x03AC) upper = 0x0386;
    else if (c >= 0x03AD && c <= 0x03AF) upper = c - 0x25;
    else if (c == 0x03CC) upper = 0x038C;
    else if (c >= 0x03CD && c <= 0x03CE) upper = c - 0x3F;
    else if (c >= 0x0430 && c <= 0x044F) upper = c - 0x20;                  // а...я
    else if (c >= 0x0450 && c <= 0x045F) upper = c - 0x50;                  // ѐ...џ
    if (upper == 0) return false;
    appendUtf8(out, upper);
    return true;
}

std::string upperCased(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
        const Utf8Scalar scalar = decodeUtf8At(text, i);
        if (!scalar.valid || !appendUpper(out, scalar.value)) out.append(text.substr(i, scalar.length));
        i += scalar.length;
    }
    return out;
}

// --- Key names -------------------------------------------------------------

using KeyNameTable = std::unordered_map<std::uint32_t, std::string_view>;

const KeyNameTable& specialKeyNames() {
    static const KeyNameTable table{
        {36, "↩"},  {48, "⇥"},  {49, "Space"}, {51, "⌫"},  {53, "⎋"},  {117, "⌦"}, {123, "←"},
        {124, "→"}, {125, "↓"}, {126, "↑"},    {115, "↖"}, {119, "↘"}, {116, "⇞"}, {121, "⇟"},
        {122, "F1"}, {120, "F2"}, {99, "F3"},  {118, "F4"}, {96, "F5"},  {97, "F6"},  {98, "F7"},
        {100, "F8"}, {101, "F9"}, {109, "F10"}, {103, "F11"}, {111, "F12"},
    };
    return table;
}

// The ANSI positions, for when no keyboard layout can be asked.
const KeyNameTable& ansiKeyNames() {
    static const KeyNameTable table{
        {0, "A"},   {11, "B"},  {8, "C"},   {2, "D"},   {14, "E"},  {3, "F"},   {5, "G"},   {4, "H"},
        {34, "I"},  {38, "J"},  {40, "K"},  {37, "L"},  {46, "M"},  {45, "N"},  {31, "O"},  {35, "P"},
        {12, "Q"},  {15, "R"},  {1, "S"},   {17, "T"},  {32, "U"},  {9, "V"},   {13, "W"},  {7, "X"},
        {16, "Y"},  {6, "Z"},   {29, "0"},  {18, "1"},  {19, "2"},  {20, "3"},  {21, "4"},  {23, "5"},
        {22, "6"},  {26, "7"},  {28, "8"},  {25, "9"},  {27, "-"},  {24, "="},  {33, "["},  {30, "]"},
        {41, ";"},  {39, "'"},  {43, ","},  {47, "."},  {44, "/"},  {42, "\\"},
    };
    return table;
}

std::mutex& layoutHookMutex() {
    static std::mutex mutex;
    return mutex;
}

KeyboardLayoutKeyName& layoutHook() {
    static KeyboardLayoutKeyName hook;
    return hook;
}

std::optional<std::string> layoutKeyName(std::uint32_t keyCode) {
    KeyboardLayoutKeyName hook;
    {
        std::lock_guard lock(layoutHookMutex());
        hook = layoutHook();
    }
    if (!hook) return std::nullopt;
    std::optional<std::string> name = hook(keyCode);
    if (!name || name->empty()) return std::nullopt;
    return upperCased(*name);
}

}  // namespace

std::string encodeHotkeyJson(HotkeyShortcut shortcut) {
    // Members in this order, as the stored form has always been written.
    return R"({"keyCode":)" + std::to_string(shortcut.keyCode) + R"(,"modifiers":)" +
           std::to_string(shortcut.modifiers) + "}";
}

std::optional<HotkeyShortcut> decodeHotkeyJson(std::string_view json) {
    Result<Json> parsed = parseJsonBody(json);
    if (!parsed || !parsed->is_object()) return std::nullopt;
    const auto keyCode = unsigned32Member(parsed.value(), "keyCode");
    const auto modifiers = unsigned32Member(parsed.value(), "modifiers");
    if (!keyCode || !modifiers) return std::nullopt;
    return HotkeyShortcut{*keyCode, *modifiers};
}

std::string modifierDisplay(std::uint32_t modifiers) {
    std::string text;
    if (modifiers & HotkeyModifier::control) text += "⌃";
    if (modifiers & HotkeyModifier::option) text += "⌥";
    if (modifiers & HotkeyModifier::shift) text += "⇧";
    if (modifiers & HotkeyModifier::command) text += "⌘";
    return text;
}

std::string keyDisplay(std::uint32_t keyCode) {
    if (auto it = specialKeyNames().find(keyCode); it != specialKeyNames().end()) return std::string(it->second);
    if (auto name = layoutKeyName(keyCode)) return std::move(*name);
    if (auto it = ansiKeyNames().find(keyCode); it != ansiKeyNames().end()) return std::string(it->second);
    return "Key " + std::to_string(keyCode);
}

std::string shortcutDisplay(HotkeyShortcut shortcut) {
    return modifierDisplay(shortcut.modifiers) + keyDisplay(shortcut.keyCode);
}

void setKeyboardLayoutKeyName(KeyboardLayoutKeyName hook) {
    std::lock_guard lock(layoutHookMutex());
    layoutHook() = std::move(hook);
}

std::uint32_t hotkeyModifiers(std::uint64_t eventFlags) {
    std::uint32_t modifiers = 0;
    if (eventFlags & EventModifierFlag::control) modifiers |= HotkeyModifier::control;
    if (eventFlags & EventModifierFlag::option) modifiers |= HotkeyModifier::option;
    if (eventFlags & EventModifierFlag::shift) modifiers |= HotkeyModifier::shift;
    if (eventFlags & EventModifierFlag::command) modifiers |= HotkeyModifier::command;
    return modifiers;
}

}  // namespace tavi
