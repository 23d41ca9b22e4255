#pragma once

#include <cstdint>
#include <string>

namespace tavi {

// Calendar texts of a moment given as whole seconds since 1970-01-01 UTC.
// Always UTC and independent of the process locale and TZ. Moments outside
// years 0000-9999 are pinned to the nearest end of that range, so the texts
// keep their fixed width.
std::string utcCompactDate(std::int64_t secondsSince1970);      // yyyyMMdd
std::string utcCompactDateTime(std::int64_t secondsSince1970);  // yyyyMMdd'T'HHmmss'Z'
std::string utcIso8601(std::int64_t secondsSince1970);          // yyyy-MM-dd'T'HH:mm:ss'Z'

}  // namespace tavi
