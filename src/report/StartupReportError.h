#pragma once

#include <string>

namespace tavi {

// The startup report's own failures. Transport failures are not among them:
// they reach the caller as the HTTP client's TransportError.
class StartupReportError {
public:
    enum class Kind {
        signingFailed,            // the key could not be used, or signing failed
        invalidResponse,          // the endpoint answered outside 200-299 (or not over HTTP: -1)
        invalidPrivateKey,        // the key text is not base64
        invalidPrivateKeyFormat,  // the decoded key is not a PKCS#8 structure
    };

    static StartupReportError signingFailed(std::string detail);
    static StartupReportError invalidResponse(long status);
    static StartupReportError invalidPrivateKey();
    static StartupReportError invalidPrivateKeyFormat();

    Kind kind() const { return kind_; }
    const std::string& detail() const { return detail_; }  // signingFailed only
    long status() const { return status_; }                // invalidResponse only

    // The text written to the log and printed by `tavi report`.
    std::string errorDescription() const;

    friend bool operator==(const StartupReportError&, const StartupReportError&) = default;

private:
    StartupReportError(Kind kind, std::string detail, long status)
        : kind_(kind), detail_(std::move(detail)), status_(status) {}

    Kind kind_;
    std::string detail_;
    long status_;
};

}  // namespace tavi
