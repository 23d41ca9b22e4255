#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace tavi {

// The clock and the randomness that signed requests depend on. Production
// uses systemEnvironment(); tests pin them.
struct ProviderEnvironment {
    // Whole seconds since 1970-01-01 UTC.
    std::function<std::int64_t()> now;
    // Uniformly random in [0, upperBound).
    std::function<std::uint32_t(std::uint32_t upperBound)> randomBelow;
    // A fresh version-4 UUID, 36 characters, upper-case hexadecimal.
    std::function<std::string()> uuid;

    static const ProviderEnvironment& system();
};

}  // namespace tavi
