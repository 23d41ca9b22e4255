#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tavi {

// Decodes standard base64 strictly: only A-Z a-z 0-9 + /, a length that is a
// multiple of four, and "=" only as the padding at the very end. Anything
// else, line breaks and blanks included, fails. The empty text is the empty
// byte string.
std::optional<std::string> decodeStrictBase64(std::string_view text);

}  // namespace tavi
