#include <algorithm>

#include "core/GraphemeBreakProperty.h"
#include "core/Text.h"
#include "core/Utf8.h"

namespace tavi {
namespace {

constexpr char32_t kHangulFirst = 0xAC00;
constexpr char32_t kHangulLast = 0xD7A3;
constexpr char32_t kHangulTrailingCount = 28;  // a syllable without a trailing consonant starts each run

bool isControlLike(GraphemeBreak p) {
    return p == GraphemeBreak::control || p == GraphemeBreak::cr || p == GraphemeBreak::lf;
}

// What has been seen so far that the rules about emoji sequences and
// regional-indicator pairs look back at.
struct Context {
    GraphemeBreak previous = GraphemeBreak::control;
    bool afterPictographicRun = false;  // ... Extended_Pictographic Extend*
    bool zwjAfterPictographic = false;  // ... Extended_Pictographic Extend* ZWJ
    std::size_t regionalIndicatorRun = 0;
};

bool breaksBefore(const Context& seen, GraphemeBreakProperties next) {
    using G = GraphemeBreak;
    const G p = seen.previous;
    const G c = next.property;
    if (p == G::cr && c == G::lf) return false;                                                  // GB3
    if (isControlLike(p) || isControlLike(c)) return true;                                       // GB4, GB5
    if (p == G::l && (c == G::l || c == G::v || c == G::lv || c == G::lvt)) return false;       // GB6
    if ((p == G::lv || p == G::v) && (c == G::v || c == G::t)) return false;                    // GB7
    if ((p == G::lvt || p == G::t) && c == G::t) return false;                                   // GB8
    if (c == G::extend || c == G::zwj || c == G::spacingMark) return false;                     // GB9, GB9a
    if (p == G::prepend) return false;                                                           // GB9b
    if (seen.zwjAfterPictographic && next.extendedPictographic) return false;                   // GB11
    if (p == G::regionalIndicator && c == G::regionalIndicator) return seen.regionalIndicatorRun % 2 == 0;  // GB12, GB13
    return true;                                                                                 // GB999
}

void advance(Context& seen, GraphemeBreakProperties next) {
    const bool pictographicBefore = seen.afterPictographicRun;
    seen.afterPictographicRun =
        next.extendedPictographic || (pictographicBefore && next.property == GraphemeBreak::extend);
    seen.zwjAfterPictographic = pictographicBefore && next.property == GraphemeBreak::zwj;
    seen.regionalIndicatorRun =
        next.property == GraphemeBreak::regionalIndicator ? seen.regionalIndicatorRun + 1 : 0;
    seen.previous = next.property;
}

}  // namespace

GraphemeBreakProperties graphemeBreakProperties(char32_t codePoint) {
    if (codePoint >= kHangulFirst && codePoint <= kHangulLast) {
        const bool lv = (codePoint - kHangulFirst) % kHangulTrailingCount == 0;
        return {lv ? GraphemeBreak::lv : GraphemeBreak::lvt, false};
    }
    const GraphemeBreakRange* end = kGraphemeBreakRanges + kGraphemeBreakRangeCount;
    const GraphemeBreakRange* found = std::upper_bound(
        kGraphemeBreakRanges, end, codePoint, [](char32_t c, const GraphemeBreakRange& range) { return c < range.first; });
    if (found == kGraphemeBreakRanges) return {};
    --found;
    if (codePoint > found->last) return {};
    return {found->property, found->extendedPictographic};
}

std::size_t countGraphemeClusters(std::string_view utf8, std::size_t enough) {
    std::size_t clusters = 0;
    Context seen;
    for (std::size_t pos = 0; pos < utf8.size();) {
        const Utf8Scalar scalar = decodeUtf8At(utf8, pos);
        // An invalid byte stands alone, as a control character does.
        const GraphemeBreakProperties next =
            scalar.valid ? graphemeBreakProperties(scalar.value) : GraphemeBreakProperties{GraphemeBreak::control, false};
        if (pos == 0 || breaksBefore(seen, next)) {
            // The cluster now starting is the one past `enough`.
            if (clusters == enough) return clusters;
            ++clusters;
        }
        advance(seen, next);
        pos += scalar.length;
    }
    return clusters;
}

}  // namespace tavi
