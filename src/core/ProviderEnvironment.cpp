#include "core/ProviderEnvironment.h"

#include <cctype>
#include <chrono>
#include <random>

#include <uuid/uuid.h>

namespace tavi {
namespace {

std::int64_t systemNow() {
    using namespace std::chrono;
    return duration_cast<seconds>(system_clock::now().time_since_epoch()).count();
}

std::uint32_t systemRandomBelow(std::uint32_t upperBound) {
    thread_local std::mt19937 engine{std::random_device{}()};
    return std::uniform_int_distribution<std::uint32_t>(0, upperBound - 1)(engine);
}

std::string systemUuid() {
    uuid_t raw;
    uuid_generate_random(raw);
    char text[37];
    uuid_unparse_upper(raw, text);
    return text;
}

}  // namespace

const ProviderEnvironment& ProviderEnvironment::system() {
    static const ProviderEnvironment kSystem{systemNow, systemRandomBelow, systemUuid};
    return kSystem;
}

}  // namespace tavi
