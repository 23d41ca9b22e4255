#include "core/HttpTransport.h"

#include <algorithm>
#include <cctype>

namespace tavi {

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
