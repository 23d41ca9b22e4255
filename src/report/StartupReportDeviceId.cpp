#include "report/StartupReportDeviceId.h"

#include "settings/SettingsLookup.h"

namespace tavi {

std::string storedStartupReportDeviceId(const SettingsStore& store) {
    return stringLookup(store.value(kStartupReportDeviceIdKey)).value_or(std::string());
}

std::string startupReportDeviceId(SettingsStore& store, const ProviderEnvironment& environment) {
    std::string deviceId = storedStartupReportDeviceId(store);
    if (deviceId.empty()) {
        deviceId = environment.uuid();
        store.setValue(kStartupReportDeviceIdKey, deviceId);
    }
    return deviceId;
}

}  // namespace tavi
