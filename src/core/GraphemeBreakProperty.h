#pragma once

#include <cstddef>
#include <cstdint>

namespace tavi {

// The Grapheme_Cluster_Break property of Unicode's text segmentation rules.
enum class GraphemeBreak : std::uint8_t {
    other,
    cr,
    lf,
    control,
    extend,
    zwj,
    regionalIndicator,
    prepend,
    spacingMark,
    l,
    v,
    t,
    lv,
    lvt,
};

struct GraphemeBreakProperties {
    GraphemeBreak property = GraphemeBreak::other;
    bool extendedPictographic = false;
};

// Code points first...last share their properties. Sorted, not overlapping;
// code points in no range are `other` and not pictographic. Hangul
// syllables are not listed (graphemeBreakProperties computes them).
struct GraphemeBreakRange {
    char32_t first;
    char32_t last;
    GraphemeBreak property;
    bool extendedPictographic;
};

// Generated from the Unicode data files (GraphemeBreakTable.cpp).
extern const GraphemeBreakRange kGraphemeBreakRanges[];
extern const std::size_t kGraphemeBreakRangeCount;

GraphemeBreakProperties graphemeBreakProperties(char32_t codePoint);

}  // namespace tavi
