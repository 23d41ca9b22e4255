#include <cstdio>

#include "cli/Commands.h"
#include "report/StartupReportDeviceId.h"
#include "settings/AppSettings.h"
#include "settings/SettingsText.h"

namespace tavi::cli {
namespace {

void print(const std::string& line) {
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::fputc('\n', stdout);
}

int finish() { return std::fflush(stdout) == 0 ? kExitOk : kExitFailure; }

// The value is set for this process either way; the user must hear that it
// will not be there next time.
int reportWrite(const AppSettings& settings) {
    if (auto failure = settings.lastWriteFailure()) {
        std::fprintf(stderr, "tavi: %s\n", failure->c_str());
        return kExitFailure;
    }
    return kExitOk;
}

// The device id is the startup report's, not a user setting: it can be
// looked at and removed (the next report makes a new one), never chosen.
int runDeviceIdConfig(const std::string& verb, AppSettings& settings) {
    if (verb == "get") {
        print(storedStartupReportDeviceId(settings.store()));
        return finish();
    }
    if (verb == "unset") {
        settings.store().remove(kStartupReportDeviceIdKey);
        return reportWrite(settings);
    }
    return usageError(std::string(kStartupReportDeviceIdKey) + " 由启动上报生成，只能查看（get）或删除（unset）");
}

}  // namespace

int runConfig(const Arguments& args) {
    if (args.empty()) return usageError("config 需要子命令：list、get、set 或 unset");
    const std::string& verb = args[0];
    const std::size_t expected = verb == "list" ? 1 : verb == "get" || verb == "unset" ? 2 : verb == "set" ? 3 : 0;
    if (expected == 0) return usageError("未知的 config 子命令：" + verb);
    if (args.size() != expected) return usageError("config " + verb + " 的参数个数不对");
    if (expected > 1 && args[1] == kStartupReportDeviceIdKey) return runDeviceIdConfig(verb, AppSettings::shared());
    if (expected > 1 && !isSettingKey(args[1])) return usageError("未知的设置项：" + args[1]);

    AppSettings& settings = AppSettings::shared();
    if (verb == "list") {
        for (std::string_view key : settingKeys()) {
            std::string value = settingText(settings, key);
            if (isSecretSetting(key)) value = maskedSecret(value);
            print(std::string(key) + "=" + value);
        }
        return finish();
    }
    if (verb == "get") {
        print(settingText(settings, args[1]));
        return finish();
    }
    if (verb == "unset") {
        settings.reset(args[1]);
        return reportWrite(settings);
    }
    const AssignOutcome outcome = assignSettingText(settings, args[1], args[2]);
    switch (outcome.kind) {
    case AssignOutcome::Kind::assigned: return reportWrite(settings);
    case AssignOutcome::Kind::malformed: return usageError(outcome.message);
    case AssignOutcome::Kind::refused:
        std::fprintf(stderr, "%s\n", outcome.message.c_str());
        return kExitFailure;
    }
    return kExitFailure;
}

}  // namespace tavi::cli
