#pragma once

#include <cstdlib>
#include <optional>
#include <string>

namespace tavi::test {

// Sets (or, with no value, removes) one environment variable for the life of
// the object and puts the previous state back afterwards. The environment is
// process-wide: use it only while no other thread reads it.
class ScopedEnv {
public:
    ScopedEnv(std::string name, const std::optional<std::string>& value) : name_(std::move(name)) {
        if (const char* old = std::getenv(name_.c_str())) previous_ = old;
        apply(value);
    }
    ~ScopedEnv() { apply(previous_); }
    ScopedEnv(const ScopedEnv&) = delete;
    ScopedEnv& operator=(const ScopedEnv&) = delete;

private:
    void apply(const std::optional<std::string>& value) const {
        value ? ::setenv(name_.c_str(), value->c_str(), 1) : ::unsetenv(name_.c_str());
    }

    std::string name_;
    std::optional<std::string> previous_;
};

}  // namespace tavi::test
