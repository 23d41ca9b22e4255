#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tavi {

// Removes Unicode white space and line breaks (the Z categories, U+0009-U+000D
// and U+0085) from both ends of UTF-8 text. Invalid bytes are kept.
std::string trimWhitespaceAndNewlines(std::string_view text);

// Number of Unicode scalar values in UTF-8 text; an invalid byte counts as one.
std::size_t countScalarValues(std::string_view text);

// Number of user-perceived characters (extended grapheme clusters, as
// Unicode's text segmentation rules define them, emoji ZWJ sequences and
// flag pairs included): "e" + U+0301 is one, "\r\n" is one. An invalid byte
// is a cluster of its own. Counting stops at `enough`, for callers that only
// need to know whether a text is at least that long.
std::size_t countGraphemeClusters(std::string_view utf8, std::size_t enough = SIZE_MAX);

// A size for people, rounded up: "980 字节", "300 KB", "8.0 MB" (powers of 1024).
std::string describeByteSize(std::uint64_t bytes);

std::string toLowerAscii(std::string_view text);

// Lower-case hexadecimal, two digits a byte, no separator.
std::string lowerHex(std::string_view bytes);

}  // namespace tavi
