#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "report/StartupReportBuild.h"
#include "report/StartupReportError.h"

namespace tavi {

// Where reports go and the key that signs them: the analytics operator's
// deployment data, never part of the source tree. A build names them (CMake
// cache variables TAVI_REPORT_URL and TAVI_REPORT_KEY_FILE); the environment
// variables of the same names override the build's values for one process.
struct StartupReportDeployment {
    // The analytics service's address, e.g. "https://analytics.example.com";
    // reports go to its path "/api/report". Empty when none is named.
    std::string endpoint;
    // Base64 text of the PKCS#8 RSA private key; absent when no key is named.
    std::optional<std::string> privateKeyText;

    bool isComplete() const { return !endpoint.empty() && privateKeyText.has_value(); }
    bool namesNothing() const { return endpoint.empty() && !privateKeyText.has_value(); }

    // The endpoint's "/api/report" (a "/" ending the address is not doubled).
    std::string reportUrl() const;

    // The build's values, each replaced by its environment variable when that
    // is set; a variable set to the empty text names nothing, which turns the
    // report off. TAVI_REPORT_KEY_FILE names a file holding the key text. A
    // key file that cannot be read fails with signingFailed naming the file.
    static std::variant<StartupReportDeployment, StartupReportError> resolve(const StartupReportBuild& build);
    static std::variant<StartupReportDeployment, StartupReportError> fromBuildAndEnvironment();
};

// A key file's text: one line break (LF or CRLF) at its end, as editors add,
// is not part of the key.
std::string_view withoutFinalLineBreak(std::string_view text);

}  // namespace tavi
