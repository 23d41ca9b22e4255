#include "app/StatusMenu.h"

#include "settings/HotkeyModel.h"

namespace tavi {

std::string hotkeyText(HotkeyShortcut shortcut, const std::optional<std::string>& desktopTrigger) {
    if (desktopTrigger && !desktopTrigger->empty()) return *desktopTrigger;
    return shortcut.modifiers == 0 ? std::string("未设置") : shortcutDisplay(shortcut);
}

std::string titleWithHotkey(std::string_view title, HotkeyShortcut shortcut,
                            const std::optional<std::string>& desktopTrigger) {
    const std::string display = hotkeyText(shortcut, desktopTrigger);
    if (display.empty()) return std::string(title);
    return std::string(title) + "\t" + display;
}

std::vector<MenuEntry> statusMenuEntries(const AppSettingsValues& settings, const DesktopTrigger& desktop) {
    using A = HotkeyAction;
    const auto hotkeyTitle = [&](std::string_view title, A action) {
        return titleWithHotkey(title, shortcutFor(settings, action), desktop ? desktop(action) : std::nullopt);
    };
    return {
        {false, hotkeyTitle("打开翻译窗口", A::openTranslationWindow), MenuCommand::openDirectTranslation, 0},
        MenuEntry::line(),
        {false, hotkeyTitle("翻译选中文字", A::translateSelectedText), MenuCommand::translateSelectedText, 0},
        {false, hotkeyTitle("截图翻译", A::screenshotTranslation), MenuCommand::startScreenshot, 0},
        MenuEntry::line(),
        {false,
         hotkeyTitle(settings.clipboardMonitorEnabled ? "关闭剪贴板监听" : "开启剪贴板监听", A::toggleClipboardMonitor),
         MenuCommand::toggleClipboardMonitor, 0},
        MenuEntry::line(),
        {false, "偏好设置...", MenuCommand::openSettings, ','},
        MenuEntry::line(),
        {false, "退出Tavi", MenuCommand::terminate, 'q'},
    };
}

}  // namespace tavi
