#include "core/Json.h"

namespace tavi {
namespace {

// Bracket depth outside string literals. Cheap, and it keeps hostile bodies
// away from the recursive parts of the JSON library.
bool nestsTooDeep(std::string_view text) {
    int depth = 0;
    bool inString = false;
    bool escaped = false;
    for (char c : text) {
        if (inString) {
            if (escaped) escaped = false;
            else if (c == '\\') escaped = true;
            else if (c == '"') inString = false;
            continue;
        }
        switch (c) {
        case '"': inString = true; break;
        case '[': case '{':
            if (++depth > kMaxJsonDepth) return true;
            break;
        case ']': case '}':
            // A closer with nothing open is where the parser stops with an
            // error; nothing after it can reach the parser.
            if (--depth < 0) return false;
            break;
        default: break;
        }
    }
    return false;
}

}  // namespace

Result<Json> parseJsonBody(std::string_view body) {
    // The parser takes a NUL byte for the end of the input, so "{...}\0junk"
    // would pass as its first part. JSON text never holds a raw NUL.
    if (body.find('\0') != std::string_view::npos) return TranslationError::invalidResponse();
    if (nestsTooDeep(body)) return JsonError{JsonError::Kind::tooDeep, "nesting deeper than limit"};
    try {
        return Json::parse(body);
    } catch (const Json::exception& e) {
        return JsonError{JsonError::Kind::malformed, e.what()};
    }
}

std::string toJsonText(const Json& value) {
    return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

const Json* memberObject(const Json& object, const char* key) {
    if (!object.is_object()) return nullptr;
    auto it = object.find(key);
    return it != object.end() && it->is_object() ? &*it : nullptr;
}

const Json* memberArray(const Json& object, const char* key) {
    if (!object.is_object()) return nullptr;
    auto it = object.find(key);
    return it != object.end() && it->is_array() ? &*it : nullptr;
}

const std::string* memberString(const Json& object, const char* key) {
    if (!object.is_object()) return nullptr;
    auto it = object.find(key);
    return it != object.end() && it->is_string() ? it->get_ptr<const std::string*>() : nullptr;
}

}  // namespace tavi
