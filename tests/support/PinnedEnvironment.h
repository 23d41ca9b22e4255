#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "core/ProviderEnvironment.h"

namespace tavi::test {

// A ProviderEnvironment with a fixed clock, randomness and UUID that counts
// how often each was drawn (a refused request should draw nothing).
class PinnedEnvironment {
public:
    std::int64_t now = 1741338902;  // 2025-03-07T09:15:02Z
    std::uint32_t random = 2345;
    std::string uuid = "3EE8C1B8-83D3-44AF-A94F-4E0AD82FD6CF";

    std::atomic<int> draws{0};
    std::atomic<std::uint32_t> lastUpperBound{0};

    PinnedEnvironment() = default;
    PinnedEnvironment(const PinnedEnvironment&) = delete;
    PinnedEnvironment& operator=(const PinnedEnvironment&) = delete;

    operator const ProviderEnvironment&() const { return environment_; }

private:
    ProviderEnvironment environment_{
        [this] { ++draws; return now; },
        [this](std::uint32_t upperBound) {
            ++draws;
            lastUpperBound = upperBound;
            return random;
        },
        [this] { ++draws; return uuid; },
    };
};

}  // namespace tavi::test
