#include <cstdio>

#include "cli/Commands.h"
#include "report/StartupReportService.h"
#include "settings/AppSettings.h"

namespace tavi::cli {
namespace {

int fail(const std::string& text) {
    std::fprintf(stderr, "%s\n", text.c_str());
    return kExitFailure;
}

}  // namespace

// Sends the launch report now, as the tray application does, so that an
// operator can check a deployment: prints the JSON that the endpoint accepted,
// or why nothing was sent.
int runReport(const Arguments& args) {
    if (!args.empty()) return usageError("report 不接受参数");

    auto resolved = StartupReportDeployment::fromBuildAndEnvironment();
    if (auto* error = std::get_if<StartupReportError>(&resolved)) return fail(error->errorDescription());
    const auto& deployment = std::get<StartupReportDeployment>(resolved);
    if (!deployment.isComplete()) {
        if (deployment.endpoint.empty()) fail("未配置启动上报地址（TAVI_REPORT_URL）");
        if (!deployment.privateKeyText) fail("未配置启动上报私钥（TAVI_REPORT_KEY_FILE）");
        return kExitFailure;
    }

    AppSettings& settings = AppSettings::shared();
    PreparedStartupReport prepared = prepareStartupReport(deployment, settings.store(), ProviderEnvironment::system());
    if (auto* error = std::get_if<StartupReportError>(&prepared)) return fail(error->errorDescription());
    const HttpRequest& report = std::get<HttpRequest>(prepared);
    if (auto failure = sendStartupReport(report)) return fail(*failure);

    const std::string out = report.body + "\n";
    std::fwrite(out.data(), 1, out.size(), stdout);
    // Sent, but a device id that could not be kept will not be the next one.
    if (auto failure = settings.lastWriteFailure()) return fail("tavi: " + *failure);
    return std::fflush(stdout) == 0 ? kExitOk : kExitFailure;
}

}  // namespace tavi::cli
