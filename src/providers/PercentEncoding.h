#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tavi {

// RFC 3986 encoding: every byte outside A-Z a-z 0-9 - _ . ~ becomes "%XX"
// with upper-case hex. A blank is %20, never "+", so any server decodes the
// value back to exactly the bytes that were signed.
std::string percentEncode(std::string_view text);

using QueryItems = std::vector<std::pair<std::string, std::string>>;

// name=value pairs joined with "&", both sides percent-encoded, in the given order.
std::string encodeQuery(const QueryItems& items);

}  // namespace tavi
