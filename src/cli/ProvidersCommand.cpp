#include <cstdio>

#include "cli/Commands.h"
#include "core/TranslationService.h"
#include "settings/AppSettings.h"

namespace tavi::cli {

// One tab-separated line per provider: id, name, configured, current.
int runProviders(const Arguments& args) {
    if (!args.empty()) return usageError("providers 不接受参数");
    const AppSettingsValues& settings = AppSettings::shared().values();
    std::string out;
    for (const auto& provider : TranslationService::providers()) {
        out += provider->id() + "\t" + provider->name() + "\t" +
               (provider->isConfigured(settings) ? "已配置" : "未配置") + "\t" +
               (provider->id() == settings.activeProviderID ? "当前" : "-") + "\n";
    }
    std::fputs(out.c_str(), stdout);
    return std::fflush(stdout) == 0 ? kExitOk : kExitFailure;
}

}  // namespace tavi::cli
