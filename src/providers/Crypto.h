#pragma once

#include <string>
#include <string_view>

namespace tavi {

// Digests and MACs for the signed providers. Every function returns the raw
// bytes; callers pick the text form the service wants (lowerHex, base64).
std::string md5(std::string_view data);
std::string sha256(std::string_view data);
std::string hmacSha256(std::string_view key, std::string_view message);
std::string hmacSha1(std::string_view key, std::string_view message);

// Standard alphabet, "=" padding, no line breaks.
std::string base64(std::string_view bytes);

}  // namespace tavi
