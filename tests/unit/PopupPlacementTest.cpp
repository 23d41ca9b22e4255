#include <gtest/gtest.h>

#include "GeometryPrinters.h"
#include "app/PopupPlacement.h"

namespace tavi {
namespace {

constexpr Size kPopup{400, 300};

// Two monitors side by side; the left one has a 32 px panel at its top and the
// right one a 48 px panel at its bottom.
const std::vector<ScreenInfo> kTwoScreens = {
    {{0, 0, 1920, 1080}, {0, 32, 1920, 1048}, true},
    {{1920, 0, 1280, 1024}, {1920, 0, 1280, 976}, false},
};

TEST(PopupPlacement, EveryEdgeOnTwoScreens) {
    struct Case {
        const char* what;
        Point pointer;
        Point origin;
    };
    const Case cases[] = {
        {"room everywhere: right of and below the pointer", {500, 400}, {512, 412}},
        {"right edge exactly reached: no flip", {1508, 400}, {1520, 412}},
        {"one pixel past the right edge: flips left", {1509, 400}, {1509 - 412, 412}},
        {"bottom edge exactly reached: no flip", {500, 768}, {512, 780}},
        {"one pixel past the bottom: flips above", {500, 769}, {512, 769 - 312}},
        {"bottom-right corner: both flips", {1900, 1070}, {1488, 758}},
        {"near the top: below the pointer, panel or not", {500, 5}, {512, 17}},
        {"second screen uses its own free area", {3000, 970}, {2588, 658}},
        {"second screen, left edge", {1925, 100}, {1937, 112}},
        {"first pixel of the second screen", {1920, 0}, {1932, 12}},
        {"pointer outside every screen: the primary one", {5000, 5000}, {5000 - 412, 5000 - 312}},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(popupOrigin(c.pointer, kPopup, kTwoScreens), c.origin) << c.what;
    }
}

TEST(PopupPlacement, NarrowShortAndScaledScreens) {
    // A screen narrower than the popup and the gaps on both sides: flipped
    // left past its left edge, it stays eight pixels inside.
    const std::vector<ScreenInfo> narrow = {{{100, 0, 600, 800}, {110, 0, 590, 800}, true}};
    EXPECT_EQ(popupOrigin({300, 100}, kPopup, narrow), (Point{118, 112}));
    // The top edge is not checked.
    const std::vector<ScreenInfo> shortScreen = {{{0, 0, 1000, 320}, {0, 0, 1000, 320}, true}};
    EXPECT_EQ(popupOrigin({10, 100}, kPopup, shortScreen), (Point{22, -212}));
    // Gaps and margin grow with the scale: on a 1.5x panel the popup is 600x450, 18 px from the pointer.
    EXPECT_EQ(popupOrigin({500, 400}, {600, 450}, kTwoScreens, 1.5), (Point{518, 418}));
    EXPECT_EQ(popupOrigin({1900, 1000}, {600, 450}, kTwoScreens, 1.5), (Point{1282, 532}));
    EXPECT_EQ(popupOrigin({300, 100}, {800, 600}, narrow, 2), (Point{126, 124}));
}

TEST(PopupPlacement, ScreenUnderThePointerAndNoScreenAtAll) {
    EXPECT_EQ(screenUnder({2000, 10}, kTwoScreens)->frame.x, 1920);
    EXPECT_EQ(screenUnder({-1, 10}, kTwoScreens)->frame.x, 0);
    const std::vector<ScreenInfo> noPrimary = {kTwoScreens[1], {{0, 0, 1920, 1080}, {0, 0, 1920, 1080}, false}};
    EXPECT_EQ(screenUnder({-1, -1}, noPrimary)->frame.x, 1920);
    EXPECT_EQ(popupOrigin({10, 10}, kPopup, {}), std::nullopt);
}

}  // namespace
}  // namespace tavi
