#pragma once

#include <string_view>

#include <nlohmann/json.hpp>

#include "core/Result.h"

namespace tavi {

using Json = nlohmann::json;

// No real reply nests deeper than a handful of levels; anything past this is
// refused before the parser sees it.
inline constexpr int kMaxJsonDepth = 64;

// Parses a reply body. Malformed text, invalid UTF-8 and over-deep nesting
// fail with a JsonError instead of throwing; a body holding a NUL byte
// anywhere is not a reply at all (TranslationError::invalidResponse).
Result<Json> parseJsonBody(std::string_view body);

// Compact serialisation that never throws: invalid UTF-8 becomes U+FFFD.
std::string toJsonText(const Json& value);

// Typed accessors that answer "absent" for a missing key or another type.
const Json* memberObject(const Json& object, const char* key);
const Json* memberArray(const Json& object, const char* key);
const std::string* memberString(const Json& object, const char* key);

}  // namespace tavi
