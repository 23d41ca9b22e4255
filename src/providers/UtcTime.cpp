#include "providers/UtcTime.h"

#include <algorithm>
#include <cstdio>
#include <ctime>

namespace tavi {
namespace {

// 0000-01-01T00:00:00Z and 9999-12-31T23:59:59Z.
constexpr std::int64_t kEarliest = -62167219200;
constexpr std::int64_t kLatest = 253402300799;

std::tm utcFields(std::int64_t secondsSince1970) {
    const std::time_t clamped = static_cast<std::time_t>(std::clamp(secondsSince1970, kEarliest, kLatest));
    std::tm fields{};
    gmtime_r(&clamped, &fields);
    return fields;
}

// snprintf with plain %d conversions never consults the locale.
template <class... Args>
std::string format(const char* pattern, Args... args) {
    char buffer[32];
    const int length = std::snprintf(buffer, sizeof buffer, pattern, args...);
    return std::string(buffer, length > 0 ? static_cast<std::size_t>(length) : 0);
}

}  // namespace

std::string utcCompactDate(std::int64_t secondsSince1970) {
    const std::tm t = utcFields(secondsSince1970);
    return format("%04d%02d%02d", t.tm_year + 1900, t.tm_mon + 1, t.tm_mday);
}

std::string utcCompactDateTime(std::int64_t secondsSince1970) {
    const std::tm t = utcFields(secondsSince1970);
    return format("%04d%02d%02dT%02d%02d%02dZ", t.tm_year + 1900, t.tm_mon + 1, t.tm_mday, t.tm_hour, t.tm_min,
                  t.tm_sec);
}

std::string utcIso8601(std::int64_t secondsSince1970) {
    const std::tm t = utcFields(secondsSince1970);
    return format("%04d-%02d-%02dT%02d:%02d:%02dZ", t.tm_year + 1900, t.tm_mon + 1, t.tm_mday, t.tm_hour, t.tm_min,
                  t.tm_sec);
}

}  // namespace tavi
