#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tavi {

// The one UTF-8 decoder of the project. Strict: overlong forms, surrogates
// (U+D800-U+DFFF), values above U+10FFFF, stray continuation bytes and
// truncated sequences are all invalid. An invalid sequence is never skipped
// as a unit: its first byte is reported alone, as one invalid "character", and
// decoding resumes at the next byte.
struct Utf8Scalar {
    char32_t value = 0;      // the scalar value; the byte itself when invalid
    std::size_t length = 1;  // bytes taken: 1 to 4, always 1 when invalid
    bool valid = true;
};

// Decodes the sequence that starts at `pos` (which must be < text.size()).
Utf8Scalar decodeUtf8At(std::string_view text, std::size_t pos);

bool isValidUtf8(std::string_view text);

// Where the first invalid byte is; text.size() when there is none.
std::size_t firstInvalidUtf8(std::string_view text);

// `text` with every invalid byte replaced by U+FFFD, as text from other
// programs is shown when it is not quite UTF-8.
std::string replacingInvalidUtf8(std::string_view text);

// Appends the UTF-8 form of a scalar value; surrogates and values above
// U+10FFFF are written as U+FFFD.
void appendUtf8(std::string& out, char32_t scalar);

}  // namespace tavi
