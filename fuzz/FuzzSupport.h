#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace tavi::fuzz {

// An invariant that failed is a finding: stop here so that libFuzzer saves
// the input.
inline void require(bool holds, const char* invariant) {
    if (holds) return;
    std::fprintf(stderr, "invariant broken: %s\n", invariant);
    std::abort();
}

// Reads the fuzzer's bytes from the front: a few selector bytes, then the rest.
class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : rest_(reinterpret_cast<const char*>(data), size) {}

    std::uint8_t byte() {
        if (rest_.empty()) return 0;
        const auto value = static_cast<std::uint8_t>(rest_.front());
        rest_.remove_prefix(1);
        return value;
    }
    // Up to the next `separator` (or the end), which is consumed.
    std::string_view until(char separator) {
        const std::size_t end = rest_.find(separator);
        const std::string_view part = rest_.substr(0, end);
        rest_.remove_prefix(end == std::string_view::npos ? rest_.size() : end + 1);
        return part;
    }
    std::string_view rest() {
        const std::string_view all = rest_;
        rest_ = {};
        return all;
    }
    bool empty() const { return rest_.empty(); }

private:
    std::string_view rest_;
};

}  // namespace tavi::fuzz
