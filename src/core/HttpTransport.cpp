#include "core/HttpTransport.h"

#include <algorithm>
#include <cctype>

namespace tavi {
namespace {

bool isTokenCharacter(char c) {
    if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9')) return true;
    return std::string_view("!#$%&'*+-.^_`|~").find(c) != std::string_view::npos;
}

// The name as it may be shown: anything outside printable ASCII as \xHH.
std::string printableName(std::string_view name) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    std::string shown;
    for (char c : name) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte >= 0x21 && byte <= 0x7E) {
            shown += c;
        } else {
            shown += "\\x";
            shown += kDigits[byte >> 4];
            shown += kDigits[byte & 0x0F];
        }
    }
    return shown;
}

}  // namespace

std::optional<TransportError> unsafeHeader(const HttpRequest& request) {
    for (const HttpHeader& header : request.headers) {
        const bool nameIsToken =
            !header.name.empty() && std::all_of(header.name.begin(), header.name.end(), isTokenCharacter);
        const bool valueIsOneLine = header.value.find_first_of(std::string_view("\r\n\0", 3)) == std::string::npos;
        if (!nameIsToken || !valueIsOneLine) {
            return TransportError{TransportError::Kind::unsafeHeader, {}, printableName(header.name)};
        }
    }
    return std::nullopt;
}

std::string_view HttpResponse::header(std::string_view name) const {
    const auto equalsIgnoringCase = [](std::string_view a, std::string_view b) {
        return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
                   return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
               });
    };
    for (const auto& h : headers) {
        if (equalsIgnoringCase(h.name, name)) return h.value;
    }
    return {};
}

}  // namespace tavi
