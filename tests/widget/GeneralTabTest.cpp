#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QSpinBox>

#include "TestFiles.h"
#include "WidgetFixture.h"
#include "app/GeneralTab.h"
#include "app/WindowStyle.h"

namespace tavi::test {
namespace {

class GeneralTabTest : public WidgetTest {
protected:
    template <typename T>
    static T& child(QWidget& tab, const char* name) {
        T* found = tab.findChild<T*>(QString::fromLatin1(name));
        if (!found) throw std::runtime_error(std::string("no control ") + name);
        return *found;
    }

    TempDir config{"tavi-general-tab"};
    Autostart autostart{config.path(), "/opt/tavi/bin/tavi"};
};

// What a control shows, and the user setting it, whatever kind it is.
QVariant shown(QWidget& control) {
    if (auto* picker = qobject_cast<QComboBox*>(&control)) return picker->currentData();
    if (auto* box = qobject_cast<QCheckBox*>(&control)) return box->isChecked();
    return qobject_cast<QSpinBox*>(&control)->value();
}

void edit(QWidget& control, const QVariant& value) {
    if (auto* picker = qobject_cast<QComboBox*>(&control)) {
        picker->setCurrentIndex(picker->findData(value));
    } else if (auto* box = qobject_cast<QCheckBox*>(&control)) {
        if (box->isChecked() != value.toBool()) box->click();
    } else {
        qobject_cast<QSpinBox*>(&control)->setValue(value.toInt());
    }
}

QVariant qt(std::string_view text) { return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())); }

TEST_F(GeneralTabTest, EachControlWritesItsSettingAloneAndFollowsChangesMadeElsewhere) {
    struct Case {
        const char* key;  // the settings key, and the control's object name
        QVariant byUser;
        QVariant fromElsewhere;
        std::function<QVariant(const AppSettings&)> stored;
        std::function<void(AppSettings&, const QVariant&)> store;
    };
    const auto language = [](const QVariant& raw) { return *languageFromRawValue(raw.toString().toStdString()); };
    const Case cases[] = {
        {"activeProviderID", "deepl", "baidu", [](auto& s) { return qt(s.activeProviderID()); },
         [](auto& s, auto& v) { s.setActiveProviderID(v.toString().toStdString()); }},
        {"sourceLanguage", "en", "ja", [](auto& s) { return qt(rawValue(s.sourceLanguage())); },
         [&](auto& s, auto& v) { s.setSourceLanguage(language(v)); }},
        // Detection is offered as a target too.
        {"targetLanguage", "auto", "fr", [](auto& s) { return qt(rawValue(s.targetLanguage())); },
         [&](auto& s, auto& v) { s.setTargetLanguage(language(v)); }},
        {"showPopupNearCursor", false, true, [](auto& s) { return QVariant(s.showPopupNearCursor()); },
         [](auto& s, auto& v) { s.setShowPopupNearCursor(v.toBool()); }},
        {"clipboardMonitorEnabled", true, false, [](auto& s) { return QVariant(s.clipboardMonitorEnabled()); },
         [](auto& s, auto& v) { s.setClipboardMonitorEnabled(v.toBool()); }},
        {"autoTranslateOnCopy", false, true, [](auto& s) { return QVariant(s.autoTranslateOnCopy()); },
         [](auto& s, auto& v) { s.setAutoTranslateOnCopy(v.toBool()); }},
        {"minTextLengthForAutoTranslate", 7, 12,
         [](auto& s) { return QVariant(static_cast<int>(s.minTextLengthForAutoTranslate())); },
         [](auto& s, auto& v) { s.setMinTextLengthForAutoTranslate(v.toInt()); }},
    };
    GeneralTab tab(services(), autostart);
    EXPECT_TRUE(harness.store.writes.empty()) << "showing the settings writes none";
    for (const Case& c : cases) {
        SCOPED_TRACE(c.key);
        QWidget& control = child<QWidget>(tab, c.key);
        harness.store.writes.clear();
        edit(control, c.byUser);
        EXPECT_EQ(c.stored(harness.settings), c.byUser);
        EXPECT_EQ(harness.store.writes, std::vector<std::string>{c.key});

        harness.store.writes.clear();
        c.store(harness.settings, c.fromElsewhere);
        EXPECT_EQ(shown(control), c.fromElsewhere);
        EXPECT_EQ(harness.store.writes, std::vector<std::string>{c.key}) << "following a change writes nothing more";
    }
}

TEST_F(GeneralTabTest, PickersListEveryLanguageWithItsFlagAndTheMinimumLengthNeedsAutoTranslate) {
    GeneralTab tab(services(), autostart);
    for (const char* name : {"sourceLanguage", "targetLanguage"}) {
        auto& picker = child<QComboBox>(tab, name);
        ASSERT_EQ(picker.count(), 15);
        EXPECT_EQ(picker.itemText(0), QStringLiteral("🌐 自动检测"));
        EXPECT_EQ(picker.itemText(3), QStringLiteral("🇺🇸 英语"));
    }
    auto& minimum = child<QSpinBox>(tab, "minTextLengthForAutoTranslate");
    EXPECT_TRUE(minimum.isEnabled());
    harness.settings.setAutoTranslateOnCopy(false);
    EXPECT_FALSE(minimum.isEnabled());
}

TEST_F(GeneralTabTest, AStoredMinimumLengthOutsideTheSpinBoxRangeIsShownAsItIsAndKept) {
    for (const std::int64_t stored : {std::int64_t{5000}, std::int64_t{-5}}) {
        SettingsHarness outside({{"minTextLengthForAutoTranslate", stored}});
        GeneralTab tab({outside.settings, translation, desktop, nullptr}, autostart);
        EXPECT_EQ(child<QSpinBox>(tab, "minTextLengthForAutoTranslate").value(), stored);
        EXPECT_TRUE(outside.store.writes.empty());
        EXPECT_EQ(outside.settings.minTextLengthForAutoTranslate(), stored);
    }
}

TEST_F(GeneralTabTest, TheAccessibilityRowSaysWhatCapturingCanDoInThisSession) {
    struct Case {
        CaptureAbilities abilities;
        const char* statement;
    };
    const Case cases[] = {
        {{true, true, false}, "在此 X11 会话中：可以读取选中文字，也可以模拟复制。"},
        {{true, false, false}, "在此 X11 会话中：可以读取选中文字，但 X 服务器缺少 XTest 扩展，无法模拟复制。"},
        {{true, true, true},
         "在此 Wayland 会话中：读取选中文字和模拟复制都只对 X11（XWayland）程序有效。"
         "要翻译其他程序中选中的文字，请在桌面的键盘设置中为命令 tavi selection 设置一个快捷键。"},
    };
    for (const Case& c : cases) {
        desktop.abilities = c.abilities;
        GeneralTab tab(services(), autostart);
        EXPECT_EQ(child<QLabel>(tab, "accessibilityPurpose").text(),
                  QStringLiteral("辅助功能权限用于读取选中文字和模拟复制操作"));
        EXPECT_EQ(child<QLabel>(tab, "captureStatement").text(), QString::fromUtf8(c.statement));
    }
}

TEST_F(GeneralTabTest, LaunchAtLoginWritesAndRemovesTheAutostartEntryAndShowsItWhenShown) {
    GeneralTab tab(services(), autostart);
    auto& box = child<QCheckBox>(tab, "launchAtLogin");
    EXPECT_FALSE(box.isChecked());

    box.click();
    EXPECT_TRUE(box.isChecked());
    EXPECT_NE(readFile(autostart.entryFile()).find("Exec=/opt/tavi/bin/tavi\n"), std::string::npos);
    box.click();
    EXPECT_FALSE(box.isChecked());
    EXPECT_FALSE(std::filesystem::exists(autostart.entryFile()));

    // Switched on elsewhere meanwhile: the tab shows it the next time it is shown.
    ASSERT_FALSE(autostart.setEnabled(true));
    tab.show();
    EXPECT_TRUE(box.isChecked());
    EXPECT_FALSE(child<QLabel>(tab, "autostartFailure").isVisible());
}

TEST_F(GeneralTabTest, AnAutostartEntryThatCannotBeWrittenSaysWhyAndStaysOff) {
    const Autostart withoutCommand(config.path(), {});
    GeneralTab tab(services(), withoutCommand);
    auto& box = child<QCheckBox>(tab, "launchAtLogin");
    box.click();
    EXPECT_FALSE(box.isChecked());
    auto& failure = child<QLabel>(tab, "autostartFailure");
    EXPECT_TRUE(failure.isVisibleTo(&tab));
    EXPECT_EQ(failure.text(), QStringLiteral("找不到 tavi 命令，无法设置登录时启动"));
    EXPECT_EQ(failure.palette().color(QPalette::WindowText), style::failure(tab.palette()));
    EXPECT_FALSE(std::filesystem::exists(withoutCommand.entryFile()));
}

}  // namespace
}  // namespace tavi::test
