#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <variant>

#include "core/CurlHttpClient.h"
#include "core/HttpTransport.h"
#include "core/ProviderEnvironment.h"
#include "report/StartupReportDeployment.h"
#include "report/StartupReportError.h"
#include "report/StartupReportPayload.h"
#include "settings/SettingsStore.h"

namespace tavi {

// The signed record Tavi sends once per launch, in two steps, because the
// settings store belongs to one thread and that thread must never wait for
// the network:
//
//   // At launch, on the thread that owns the settings store:
//   PreparedStartupReport prepared = prepareStartupReport(store);
//   if (auto* error = std::get_if<StartupReportError>(&prepared))
//       log("Startup report failed: " + error->errorDescription());
//   if (auto* report = std::get_if<HttpRequest>(&prepared))
//       background.post([report = *report] {  // later, on any other thread
//           if (auto failure = sendStartupReport(report)) log("Startup report failed: " + *failure);
//       });
//
// A build and environment that do not name both an endpoint and a key give
// NoStartupReport: nothing is sent and nothing needs to be said. (`tavi
// report` tells an operator which of the two is missing.) No retry, no queue.

struct NoStartupReport {};

// The report as a request ready to send, the reason there is none, or nothing to do.
using PreparedStartupReport = std::variant<NoStartupReport, HttpRequest, StartupReportError>;

inline constexpr std::chrono::seconds kStartupReportTimeout{60};

// Owning thread of `store`. Resolves the deployment from the build and the
// environment, then as the overload below with the system clock and UUIDs.
PreparedStartupReport prepareStartupReport(SettingsStore& store);

// Owning thread of `store`. Reads the device id from the store, creating and
// storing one when there is none; builds the payload for `environment.now()`,
// signs its JSON and wraps both in a POST to the deployment's report URL with
// exactly two headers of its own: "content-type: application/json" and
// "x-signature: <base64 signature>", and a 60-second time-out. An incomplete
// deployment touches nothing and gives NoStartupReport.
PreparedStartupReport prepareStartupReport(const StartupReportDeployment& deployment, SettingsStore& store,
                                           const ProviderEnvironment& environment,
                                           const StartupReportApp& app = StartupReportApp::thisBuild());

// Any thread; blocks until the endpoint answers or the request's time-out.
// Nothing when the endpoint accepted the report (any 2xx); otherwise the
// failure's text: "启动上报接口返回异常状态码：<status>" for another status,
// or the HTTP client's own description of a transport failure. The reply's
// body is ignored.
std::optional<std::string> sendStartupReport(const HttpRequest& report,
                                             HttpTransport& transport = CurlHttpClient::shared());

}  // namespace tavi
