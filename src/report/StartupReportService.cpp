#include "report/StartupReportService.h"

#include "report/StartupReportDeviceId.h"
#include "report/StartupReportSigning.h"

namespace tavi {

PreparedStartupReport prepareStartupReport(SettingsStore& store) {
    auto deployment = StartupReportDeployment::fromBuildAndEnvironment();
    if (auto* error = std::get_if<StartupReportError>(&deployment)) return std::move(*error);
    return prepareStartupReport(std::get<StartupReportDeployment>(deployment), store, ProviderEnvironment::system());
}

PreparedStartupReport prepareStartupReport(const StartupReportDeployment& deployment, SettingsStore& store,
                                           const ProviderEnvironment& environment, const StartupReportApp& app) {
    if (!deployment.isComplete()) return NoStartupReport{};

    const auto payload = StartupReportPayload::make(app, startupReportDeviceId(store, environment), environment.now());
    std::string body = encodeStartupReportPayload(payload);
    auto signature = signWithPkcs8Key(*deployment.privateKeyText, body);
    if (auto* error = std::get_if<StartupReportError>(&signature)) return std::move(*error);

    HttpRequest request;
    request.method = "POST";
    request.url = deployment.reportUrl();
    request.headers = {
        {"content-type", "application/json"},
        {"x-signature", std::move(std::get<std::string>(signature))},
    };
    request.body = std::move(body);
    request.timeout = kStartupReportTimeout;
    return request;
}

std::optional<std::string> sendStartupReport(const HttpRequest& report, HttpTransport& transport) {
    const Result<HttpResponse> response = transport.send(report);
    if (!response) return describe(response.error());
    // A reply without an HTTP status line is no answer from the service.
    const long status = response->status > 0 ? response->status : -1;
    if (status < 200 || status > 299) return StartupReportError::invalidResponse(status).errorDescription();
    return std::nullopt;
}

}  // namespace tavi
