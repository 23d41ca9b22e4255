#include "report/StartupReportPayload.h"

#include "core/Json.h"
#include "providers/UtcTime.h"
#include "report/StartupReportBuild.h"

namespace tavi {

StartupReportApp StartupReportApp::thisBuild() {
    return {"org.morvel.tavi", "Tavi", std::string(startupReportBuild().appVersion)};
}

StartupReportPayload StartupReportPayload::make(const StartupReportApp& app, std::string deviceId,
                                                std::int64_t secondsSince1970) {
    return {app.appId, app.appName, app.appVersion, std::move(deviceId), utcIso8601(secondsSince1970)};
}

std::string encodeStartupReportPayload(const StartupReportPayload& payload) {
    // Json objects keep their keys sorted, and the serialiser never escapes "/".
    const Json object = {
        {"appId", payload.appId},
        {"appName", payload.appName},
        {"appVersion", payload.appVersion},
        {"deviceId", payload.deviceId},
        {"occurredAt", payload.occurredAt},
    };
    return toJsonText(object);
}

}  // namespace tavi
