#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/Result.h"

namespace tavi {

struct HttpHeader {
    std::string name;
    std::string value;

    friend bool operator==(const HttpHeader&, const HttpHeader&) = default;
};

// What URLSession-style clients wait for when a request names no time-out.
inline constexpr std::chrono::seconds kDefaultRequestTimeout{60};

struct HttpRequest {
    std::string method = "GET";
    std::string url;  // absolute https URL, already percent-encoded
    std::vector<HttpHeader> headers;  // sent in this order
    std::string body;
    std::chrono::milliseconds timeout = kDefaultRequestTimeout;
};

struct HttpResponse {
    long status = 0;
    std::vector<HttpHeader> headers;
    std::string body;

    // Case-insensitive lookup of the first header with this name; empty if absent.
    std::string_view header(std::string_view name) const;
};

// Why the request must not go out: a header whose name is not an HTTP token,
// or whose value holds CR, LF or NUL, would end the field early and let the
// rest pass as fields of its own (a credential pasted with a line break does
// exactly that). The error names the first such header, never its value.
std::optional<TransportError> unsafeHeader(const HttpRequest& request);

// Sends one request and blocks until the whole response or a failure.
// Implementations are safe to call from several threads at once.
class HttpTransport {
public:
    virtual ~HttpTransport() = default;
    virtual Result<HttpResponse> send(const HttpRequest& request) = 0;
};

}  // namespace tavi
