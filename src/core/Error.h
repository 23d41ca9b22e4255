#pragma once

#include <string>
#include <variant>

#include "core/TranslationError.h"

namespace tavi {

// A request that never produced a complete HTTP response.
struct TransportError {
    enum class Kind {
        timedOut,
        hostNotFound,
        connectionRefused,
        connectionLost,
        tlsFailure,
        responseTooLarge,
        invalidUrl,
        unsafeHeader,  // refused before sending; detail names the header
        other,
    };

    Kind kind = Kind::other;
    std::string host;    // the host the request was for, when known
    std::string detail;  // the library's own words, for logs; never shown alone

    std::string description() const;

    friend bool operator==(const TransportError&, const TransportError&) = default;
};

// A reply body that is not JSON we are willing to read.
struct JsonError {
    enum class Kind { malformed, tooDeep };

    Kind kind = Kind::malformed;
    std::string detail;

    std::string description() const;

    friend bool operator==(const JsonError&, const JsonError&) = default;
};

// Everything a translation can fail with. Transport and JSON failures travel
// as themselves, not wrapped in a TranslationError.
using Error = std::variant<TranslationError, TransportError, JsonError>;

// The text shown to the user, unchanged from the failing layer.
std::string describe(const Error& error);

}  // namespace tavi
