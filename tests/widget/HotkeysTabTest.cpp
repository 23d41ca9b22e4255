#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>

#include <memory>

#include "WidgetFixture.h"
#include "app/HotkeyRecorder.h"
#include "app/HotkeysTab.h"
#include "settings/HotkeyModel.h"

namespace tavi::test {
namespace {

// X key codes, as Qt's key events carry them, of keys with a stored position.
constexpr quint32 kXKeyA = 38, kXKeyS = 39, kXKeyT = 28, kXKeySpace = 65;
constexpr quint32 kXKeyWithoutPosition = 200;
constexpr HotkeyShortcut kOptionA{0, HotkeyModifier::option};

class HotkeysTabTest : public WidgetTest {
protected:
    HotkeysTabTest() { desktop.layoutBackend.positions = {{kXKeyA, 0}, {kXKeyS, 1}, {kXKeyT, 17}, {kXKeySpace, 49}}; }

    static HotkeyRecorder& recorder(QWidget& tab, HotkeyAction action) {
        const std::string_view name = rawValue(action);
        return *tab.findChild<HotkeyRecorder*>(QString::fromLatin1(name.data(), static_cast<qsizetype>(name.size())));
    }
    static QLabel& label(QWidget& tab, const char* name) { return *tab.findChild<QLabel*>(QString::fromLatin1(name)); }

    static void key(QWidget& target, QEvent::Type type, int key, Qt::KeyboardModifiers modifiers,
                    quint32 nativeScanCode = 0) {
        QKeyEvent event(type, key, modifiers, nativeScanCode, 0, 0);
        QApplication::sendEvent(&target, &event);
    }
    static void press(QWidget& target, int k, Qt::KeyboardModifiers modifiers, quint32 nativeScanCode = 0) {
        key(target, QEvent::KeyPress, k, modifiers, nativeScanCode);
    }

    HotkeyShortcut selectedTextHotkey() const { return harness.settings.hotkey(HotkeyAction::translateSelectedText); }
};

TEST_F(HotkeysTabTest, ARecordedKeyIsAcceptedOrRefusedWithItsReason) {
    struct Case {
        const char* pressed;
        int key;
        Qt::KeyboardModifiers modifiers;
        quint32 nativeScanCode;
        HotkeyShortcut result;  // the setting afterwards
        const char* message;
    };
    const Case cases[] = {
        {"T alone", Qt::Key_T, Qt::NoModifier, kXKeyT, kOptionA, "全局快捷键至少需要一个修饰键。"},
        {"Control+Shift+T", Qt::Key_T, Qt::ControlModifier | Qt::ShiftModifier, kXKeyT,
         {17, HotkeyModifier::control | HotkeyModifier::shift}, ""},
        {"Option+S, the screenshot's", Qt::Key_S, Qt::AltModifier, kXKeyS, kOptionA,
         "“⌥S” 已被“截图翻译”使用，请换一个组合。"},
        {"Meta+Alt+Space", Qt::Key_Space, Qt::MetaModifier | Qt::AltModifier | Qt::KeypadModifier, kXKeySpace,
         {49, HotkeyModifier::command | HotkeyModifier::option}, ""},
        {"a key without a position", Qt::Key_F35, Qt::ControlModifier, kXKeyWithoutPosition, kOptionA,
         "无法识别这个按键，请换一个。"},
        {"Option+A, its own", Qt::Key_A, Qt::AltModifier, kXKeyA, kOptionA, ""},
    };
    HotkeysTab tab(services());
    HotkeyRecorder& selected = recorder(tab, HotkeyAction::translateSelectedText);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.pressed);
        restoreDefaultHotkeys(harness.settings);
        const int posts = harness.posts;
        selected.click();
        press(selected, c.key, c.modifiers, c.nativeScanCode);
        EXPECT_FALSE(selected.isRecording());
        EXPECT_EQ(selectedTextHotkey(), c.result);
        EXPECT_EQ(label(tab, "hotkeyMessage").text(), QString::fromUtf8(c.message));
        EXPECT_EQ(label(tab, "hotkeyMessage").isVisibleTo(&tab), *c.message != '\0');
        // Accepted, even unchanged, is written and announced once; refused is neither.
        EXPECT_EQ(harness.posts - posts, *c.message ? 0 : 1);
        EXPECT_EQ(selected.text(), shortcutText(c.result));
    }
}

TEST_F(HotkeysTabTest, ModifiersHeldAloneKeepListeningAndShowWhatIsHeld) {
    HotkeysTab tab(services());
    HotkeyRecorder& selected = recorder(tab, HotkeyAction::translateSelectedText);
    selected.click();
    EXPECT_EQ(selected.text(), QStringLiteral("按下新快捷键"));
    press(selected, Qt::Key_Control, Qt::ControlModifier);
    EXPECT_EQ(selected.text(), QStringLiteral("⌃…"));
    press(selected, Qt::Key_Alt, Qt::ControlModifier);  // Qt may leave the key's own modifier out
    EXPECT_EQ(selected.text(), QStringLiteral("⌃⌥…"));
    key(selected, QEvent::KeyRelease, Qt::Key_Alt, Qt::ControlModifier | Qt::AltModifier);
    EXPECT_EQ(selected.text(), QStringLiteral("⌃…"));
    EXPECT_TRUE(selected.isRecording());
    press(selected, Qt::Key_T, Qt::ControlModifier, kXKeyT);
    EXPECT_EQ(selectedTextHotkey(), (HotkeyShortcut{17, HotkeyModifier::control}));
}

TEST_F(HotkeysTabTest, EscapeCancelsAndLeavesTheShortcut) {
    HotkeysTab tab(services());
    HotkeyRecorder& selected = recorder(tab, HotkeyAction::translateSelectedText);
    selected.click();
    press(selected, Qt::Key_Escape, Qt::NoModifier);
    EXPECT_FALSE(selected.isRecording());
    EXPECT_EQ(selectedTextHotkey(), kOptionA);
    EXPECT_EQ(harness.posts, 0);
    EXPECT_EQ(selected.text(), QStringLiteral("⌥A"));
    EXPECT_TRUE(label(tab, "hotkeyMessage").text().isEmpty());
}

TEST_F(HotkeysTabTest, HotkeysAreLetGoWhileListeningAndTakenBackHoweverListeningEnds) {
    struct Case {
        const char* ending;
        int startKey;  // 0: a click
        std::function<void(std::unique_ptr<HotkeysTab>& tab, HotkeyRecorder& recorder)> end;
    };
    const Case cases[] = {
        {"a recorded key", Qt::Key_Space,
         [](auto&, auto& r) { press(r, Qt::Key_T, Qt::ControlModifier, kXKeyT); }},
        {"Escape", Qt::Key_Return, [](auto&, auto& r) { press(r, Qt::Key_Escape, Qt::NoModifier); }},
        {"another click", Qt::Key_Enter, [](auto&, auto& r) { r.click(); }},
        {"lost focus", 0, [](std::unique_ptr<HotkeysTab>& tab, auto&) { tab->findChild<QPushButton*>("restoreDefaults")->setFocus(); }},
        {"hidden", 0, [](auto& tab, auto&) { tab->hide(); }},
        {"destroyed", 0, [](auto& tab, auto&) { tab.reset(); }},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.ending);
        suspensions.clear();
        auto tab = std::make_unique<HotkeysTab>(services());
        tab->show();
        tab->activateWindow();
        ASSERT_TRUE(runUntil([&] { return tab->isActiveWindow(); }));
        HotkeyRecorder& selected = recorder(*tab, HotkeyAction::translateSelectedText);
        if (c.startKey) press(selected, c.startKey, Qt::NoModifier);
        else selected.click();

        ASSERT_TRUE(selected.isRecording());
        EXPECT_EQ(suspensions, std::vector<bool>{true});
        EXPECT_EQ(QWidget::keyboardGrabber(), &selected);
        EXPECT_EQ(label(*tab, "recorderHint").text(), QString::fromUtf8(kHotkeyRecorderHint.data()));

        c.end(tab, selected);
        EXPECT_EQ(suspensions, (std::vector<bool>{true, false}));
        EXPECT_EQ(QWidget::keyboardGrabber(), nullptr);
        if (tab) {
            EXPECT_EQ(label(*tab, "recorderHint").text(), QStringLiteral("点击快捷键即可录制新的组合键，按 Esc 取消。"));
        }
    }
}

TEST_F(HotkeysTabTest, RestoringTheDefaultsAnnouncesEachAndClearsTheMessage) {
    HotkeysTab tab(services());
    harness.settings.setHotkey(HotkeyAction::screenshotTranslation, {17, HotkeyModifier::control});
    HotkeyRecorder& selected = recorder(tab, HotkeyAction::translateSelectedText);
    selected.click();
    press(selected, Qt::Key_T, Qt::NoModifier, kXKeyT);
    ASSERT_FALSE(label(tab, "hotkeyMessage").text().isEmpty());

    const int posts = harness.posts;
    tab.findChild<QPushButton*>("restoreDefaults")->click();
    EXPECT_EQ(harness.posts - posts, 4);
    for (HotkeyAction action : allHotkeyActions()) EXPECT_EQ(harness.settings.hotkey(action), defaultShortcut(action));
    EXPECT_EQ(recorder(tab, HotkeyAction::screenshotTranslation).text(), QStringLiteral("⌥S"));
    EXPECT_TRUE(label(tab, "hotkeyMessage").text().isEmpty());
    EXPECT_FALSE(label(tab, "hotkeyMessage").isVisibleTo(&tab));
}

TEST_F(HotkeysTabTest, EachRecorderIsNamedByItsActionAndShortcutAndFollowsChangesMadeElsewhere) {
    HotkeysTab tab(services());
    HotkeyRecorder& selected = recorder(tab, HotkeyAction::translateSelectedText);
    EXPECT_EQ(selected.accessibleName(), QStringLiteral("翻译选中文字：⌥A"));
    EXPECT_EQ(recorder(tab, HotkeyAction::openTranslationWindow).accessibleName(), QStringLiteral("打开翻译窗口：⌥T"));

    harness.settings.setHotkey(HotkeyAction::translateSelectedText, {49, 0x1A00});
    EXPECT_EQ(selected.text(), QStringLiteral("⌃⌥⇧Space"));
    EXPECT_EQ(selected.accessibleName(), QStringLiteral("翻译选中文字：⌃⌥⇧Space"));
    harness.settings.setHotkey(HotkeyAction::translateSelectedText, {0, 0});
    EXPECT_EQ(selected.text(), QStringLiteral("未设置"));
    EXPECT_EQ(selected.accessibleName(), QStringLiteral("翻译选中文字：未设置"));
}

TEST_F(HotkeysTabTest, WhereTheDesktopDecidesItsKeysAreShownAndTheTabSaysSo) {
    HotkeysTab tab(services());
    HotkeyRecorder& selected = recorder(tab, HotkeyAction::translateSelectedText);
    EXPECT_FALSE(label(tab, "desktopDecides").isVisibleTo(&tab));

    desktop.shortcutsBackend.desktopDecides = true;
    desktop.shortcutsBackend.triggers = {{"translate-selected-text", "Ctrl+Q"}};
    desktop.shortcutsBackend.desktopChanged();
    EXPECT_TRUE(label(tab, "desktopDecides").isVisibleTo(&tab));
    EXPECT_EQ(label(tab, "desktopDecides").text(), QStringLiteral("在这个桌面上，快捷键最终由系统设置决定。"));
    EXPECT_EQ(selected.text(), QStringLiteral("Ctrl+Q"));
    EXPECT_EQ(selected.accessibleName(), QStringLiteral("翻译选中文字：Ctrl+Q"));
    EXPECT_EQ(recorder(tab, HotkeyAction::openTranslationWindow).text(), QStringLiteral("⌥T"));  // none reported

    // Recording still proposes keys to the desktop.
    selected.click();
    press(selected, Qt::Key_T, Qt::ControlModifier, kXKeyT);
    EXPECT_EQ(selectedTextHotkey(), (HotkeyShortcut{17, HotkeyModifier::control}));
    EXPECT_EQ(selected.text(), QStringLiteral("Ctrl+Q"));
}

}  // namespace
}  // namespace tavi::test
