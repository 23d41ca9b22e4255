#pragma once

#include <cstdint>
#include <string>

namespace tavi {

// Which application is reporting. Linux builds have no bundle to read this
// from: the identity is fixed and the version is the project's.
struct StartupReportApp {
    std::string appId;
    std::string appName;
    std::string appVersion;

    // "org.morvel.tavi", "Tavi" and the version this build was configured with.
    static StartupReportApp thisBuild();
};

// The record sent at launch. Its JSON keys are the field names.
struct StartupReportPayload {
    std::string appId;
    std::string appName;
    std::string appVersion;
    std::string deviceId;
    std::string occurredAt;  // UTC, whole seconds, "2025-03-07T09:15:02Z"

    static StartupReportPayload make(const StartupReportApp& app, std::string deviceId, std::int64_t secondsSince1970);
};

// The bytes that are signed and sent: compact JSON, keys in ascending order,
// "/" left as it is (the service checks the signature over these very bytes,
// so they must come out the same on every platform). Never throws; invalid
// UTF-8 becomes U+FFFD.
std::string encodeStartupReportPayload(const StartupReportPayload& payload);

}  // namespace tavi
