#include "providers/PercentEncoding.h"

namespace tavi {
namespace {

bool isUnreserved(unsigned char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' ||
           c == '_' || c == '.' || c == '~';
}

}  // namespace

std::string percentEncode(std::string_view text) {
    static constexpr char kHex[] = "0123456789ABCDEF";
    std::string encoded;
    encoded.reserve(text.size() * 3);
    for (unsigned char c : text) {
        if (isUnreserved(c)) {
            encoded.push_back(static_cast<char>(c));
        } else {
            encoded.push_back('%');
            encoded.push_back(kHex[c >> 4]);
            encoded.push_back(kHex[c & 0x0F]);
        }
    }
    return encoded;
}

std::string encodeQuery(const QueryItems& items) {
    std::string query;
    for (const auto& [name, value] : items) {
        if (!query.empty()) query.push_back('&');
        query += percentEncode(name);
        query.push_back('=');
        query += percentEncode(value);
    }
    return query;
}

}  // namespace tavi
