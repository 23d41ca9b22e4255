#include "platform/x11/KeyPositions.h"

#include <array>
#include <utility>

namespace tavi::x11 {
namespace {

// Stored position -> Linux input event code.
constexpr std::pair<std::uint32_t, std::uint16_t> kPositions[] = {
    // Letters
    {0, 30}, {11, 48}, {8, 46}, {2, 32}, {14, 18}, {3, 33}, {5, 34}, {4, 35}, {34, 23}, {38, 36},
    {40, 37}, {37, 38}, {46, 50}, {45, 49}, {31, 24}, {35, 25}, {12, 16}, {15, 19}, {1, 31}, {17, 20},
    {32, 22}, {9, 47}, {13, 17}, {7, 45}, {16, 21}, {6, 44},
    // Digits of the main block
    {29, 11}, {18, 2}, {19, 3}, {20, 4}, {21, 5}, {23, 6}, {22, 7}, {26, 8}, {28, 9}, {25, 10},
    // Punctuation
    {27, 12}, {24, 13}, {33, 26}, {30, 27}, {41, 39}, {39, 40}, {43, 51}, {47, 52}, {44, 53}, {42, 43},
    {50, 41}, {10, 86},
    // Editing and navigation
    {36, 28}, {48, 15}, {49, 57}, {51, 14}, {53, 1}, {117, 111}, {115, 102}, {119, 107}, {116, 104},
    {121, 109}, {123, 105}, {124, 106}, {125, 108}, {126, 103}, {114, 110},
    // Function keys
    {122, 59}, {120, 60}, {99, 61}, {118, 62}, {96, 63}, {97, 64}, {98, 65}, {100, 66}, {101, 67},
    {109, 68}, {103, 87}, {111, 88}, {105, 183}, {107, 184}, {113, 185}, {106, 186}, {64, 187},
    {79, 188}, {80, 189}, {90, 190},
    // Keypad
    {82, 82}, {83, 79}, {84, 80}, {85, 81}, {86, 75}, {87, 76}, {88, 77}, {89, 71}, {91, 72}, {92, 73},
    {65, 83}, {67, 55}, {69, 78}, {75, 98}, {76, 96}, {78, 74}, {81, 117}, {71, 69},
    // Media keys
    {72, 115}, {73, 114}, {74, 113},
};

constexpr std::uint8_t kEvdevOffset = 8;

}  // namespace

std::optional<std::uint8_t> xKeyCodeForPosition(std::uint32_t position) {
    for (const auto& [stored, input] : kPositions)
        if (stored == position) return static_cast<std::uint8_t>(input + kEvdevOffset);
    return std::nullopt;
}


std::optional<std::uint32_t> positionForXKeyCode(std::uint32_t xKeyCode) {
    for (const auto& [stored, input] : kPositions)
        if (static_cast<std::uint32_t>(input + kEvdevOffset) == xKeyCode) return stored;
    return std::nullopt;
}

}  // namespace tavi::x11
