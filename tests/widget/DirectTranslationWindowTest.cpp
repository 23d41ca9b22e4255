#include <QComboBox>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QToolButton>

#include "WidgetFixture.h"
#include "app/DirectTranslationWindow.h"
#include "app/WindowStyle.h"

// What QTest's key clicks use to offer a key press to the shortcut map first.
Q_GUI_EXPORT bool qt_sendShortcutOverrideEvent(QObject* o, ulong timestamp, int k, Qt::KeyboardModifiers mods,
                                               const QString& text = QString(), bool autorep = false,
                                               ushort count = 1);

namespace tavi::test {
namespace {

using State = DirectTranslationWindow::OutputState;

std::string googleReply(const std::string& translated, const std::string& detected = "ja") {
    return R"({"data":{"translations":[{"translatedText":")" + translated + R"(","detectedSourceLanguage":")" +
           detected + R"("}]}})";
}

// Holds each provider request until the test runs it, in any order.
struct HeldRunner final : BackgroundRunner {
    void run(Task task) override { tasks.push_back(std::move(task)); }
    std::vector<Task> tasks;
};

class DirectWindowTest : public WidgetTest {
protected:
    DirectWindowTest() {
        harness.settings.setActiveProviderID("google");
        harness.settings.setGoogleAPIKey("test-key");
    }

    template <class T>
    static T& part(DirectTranslationWindow& window, const char* name) {
        T* found = window.findChild<T*>(QLatin1String(name));
        if (!found) throw std::logic_error(name);
        return *found;
    }
    static QPlainTextEdit& source(DirectTranslationWindow& w) { return part<QPlainTextEdit>(w, "source"); }
    static QPlainTextEdit& output(DirectTranslationWindow& w) { return part<QPlainTextEdit>(w, "output"); }
    static QLabel& status(DirectTranslationWindow& w) { return part<QLabel>(w, "status"); }
    static QComboBox& picker(DirectTranslationWindow& w, const char* name) { return part<QComboBox>(w, name); }

    static void choose(QComboBox& picker, Language language) {
        picker.setCurrentIndex(static_cast<int>(index(language)));
        emit picker.activated(picker.currentIndex());
    }
    static QColor outputColor(DirectTranslationWindow& w) { return output(w).palette().color(QPalette::Text); }
};

TEST_F(DirectWindowTest, ShowsItsTextsAndStartsEmpty) {
    DirectTranslationWindow window(services());
    EXPECT_EQ(window.windowTitle(), QStringLiteral("Tavi · 直接翻译"));
    EXPECT_EQ(source(window).placeholderText(), QStringLiteral("在此输入或粘贴文本…"));
    EXPECT_EQ(part<QLabel>(window, "hint").text(), QStringLiteral("⌃↩ 快捷翻译"));
    EXPECT_EQ(picker(window, "targetLanguage").currentText(), QStringLiteral("🇨🇳  中文（简体）"));
    EXPECT_EQ(window.outputState(), State::empty);
    EXPECT_FALSE(part<QPushButton>(window, "copy").isEnabled());
    for (QWidget* control : window.findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
        EXPECT_FALSE(control->accessibleName().isEmpty()) << control->metaObject()->className();
    }
    QStringList tabChain;
    for (QWidget* at = &source(window); tabChain.size() < 7; at = at->nextInFocusChain())
        if (at->parentWidget() == &window && (at->focusPolicy() & Qt::TabFocus)) tabChain << at->objectName();
    EXPECT_EQ(tabChain.join(' '), QStringLiteral("source sourceLanguage swap targetLanguage translate output copy"));
}

TEST_F(DirectWindowTest, PickersAndSwapWriteTheLanguagesAndFollowOutsideChanges) {
    DirectTranslationWindow window(services());
    auto& swap = part<QToolButton>(window, "swap");
    EXPECT_FALSE(swap.isEnabled()) << "detection cannot become the target";

    choose(picker(window, "sourceLanguage"), Language::english);
    choose(picker(window, "targetLanguage"), Language::japanese);
    EXPECT_EQ(harness.settings.sourceLanguage(), Language::english);
    EXPECT_EQ(harness.settings.targetLanguage(), Language::japanese);
    ASSERT_TRUE(swap.isEnabled());

    swap.click();
    EXPECT_EQ(harness.settings.sourceLanguage(), Language::japanese);
    EXPECT_EQ(harness.settings.targetLanguage(), Language::english);
    EXPECT_EQ(picker(window, "sourceLanguage").currentIndex(), static_cast<int>(index(Language::japanese)));

    harness.settings.setSourceLanguage(Language::auto_);
    harness.settings.setTargetLanguage(Language::german);
    EXPECT_EQ(picker(window, "sourceLanguage").currentIndex(), 0);
    EXPECT_EQ(picker(window, "targetLanguage").currentIndex(), static_cast<int>(index(Language::german)));
    EXPECT_FALSE(swap.isEnabled());
    EXPECT_EQ(transport.requestCount(), 0u) << "nothing to translate yet";
}

TEST_F(DirectWindowTest, SwapTurnsTheTranslationInViewIntoTheTextToTranslate) {
    harness.settings.setSourceLanguage(Language::english);
    DirectTranslationWindow window(services());
    transport.respond(200, googleReply("你好"));
    source(window).setPlainText(QStringLiteral("hello"));
    window.translateNow();
    ASSERT_TRUE(runUntil([&] { return window.outputState() == State::result; }));

    part<QToolButton>(window, "swap").click();
    EXPECT_EQ(source(window).toPlainText(), QStringLiteral("你好"));
    EXPECT_EQ(window.outputState(), State::loading);
    ASSERT_TRUE(runUntil([&] { return transport.requestCount() == 2; }));
    const std::string url = transport.lastRequest().url;
    EXPECT_NE(url.find("target=en&"), std::string::npos) << url;
    EXPECT_NE(url.find("&source=zh-CN"), std::string::npos) << url;
}

TEST_F(DirectWindowTest, OutputGoesThroughLoadingToTheResultOrTheError) {
    struct Case {
        long status;
        std::string body;
        State state;
        QString output, status_;
    };
    const Case cases[] = {
        {200, googleReply("你好"), State::result, QStringLiteral("你好"), QStringLiteral("Google 翻译 · 检测为日语")},
        // Google's "en" maps back to detection itself, which tells nothing.
        {200, googleReply("你好", "en"), State::result, QStringLiteral("你好"), QStringLiteral("Google 翻译")},
        {403, R"({"error":{"message":"API key not valid"}})", State::error, QStringLiteral("API key not valid"), {}},
    };
    for (const Case& c : cases) {
        DirectTranslationWindow window(services());
        transport.respond(c.status, c.body);
        source(window).setPlainText(QStringLiteral("  hello\n"));
        part<QPushButton>(window, "translate").click();
        EXPECT_EQ(window.outputState(), State::loading);
        EXPECT_EQ(status(window).text(), QStringLiteral("正在翻译…"));

        ASSERT_TRUE(runUntil([&] { return window.outputState() != State::loading; }));
        EXPECT_EQ(window.outputState(), c.state);
        EXPECT_EQ(output(window).toPlainText(), c.output);
        EXPECT_EQ(status(window).text(), c.status_);
        EXPECT_NE(transport.lastRequest().url.find("q=hello&"), std::string::npos) << "sent trimmed";
        const QColor expected =
            c.state == State::error ? style::failure(window.palette()) : style::text(window.palette());
        EXPECT_EQ(outputColor(window), expected);
        EXPECT_EQ(part<QPushButton>(window, "copy").isEnabled(), c.state == State::result);

        // Text wiped away, or only blanks: the empty state at once, no request.
        const std::size_t sent = transport.requestCount();
        source(window).setPlainText(QStringLiteral(" \n\t "));
        EXPECT_EQ(window.outputState(), State::empty);
        EXPECT_TRUE(output(window).toPlainText().isEmpty());
        part<QPushButton>(window, "translate").click();
        runUntil([] { return false; }, DirectTranslationWindow::kTypingPause + 100ms);
        EXPECT_EQ(transport.requestCount(), sent);
        EXPECT_EQ(window.outputState(), State::empty);
    }
}

TEST_F(DirectWindowTest, TypingSendsOneRequestOnceItPauses) {
    DirectTranslationWindow window(services());
    transport.respond(200, googleReply("你好"));
    for (QChar letter : QStringLiteral("hello")) {
        source(window).insertPlainText(letter);
        runUntil([] { return false; }, 80ms);
        EXPECT_EQ(window.outputState(), State::empty) << "sent while typing";
    }
    runUntil([] { return false; }, DirectTranslationWindow::kTypingPause / 2);
    EXPECT_EQ(window.outputState(), State::empty) << "sent before the pause";
    ASSERT_TRUE(runUntil([&] { return window.outputState() == State::result; }));
    runUntil([] { return false; }, DirectTranslationWindow::kTypingPause + 100ms);
    EXPECT_EQ(transport.requestCount(), 1u);
    EXPECT_NE(transport.lastRequest().url.find("q=hello&"), std::string::npos);
}

TEST_F(DirectWindowTest, ControlReturnTranslatesAtOnce) {
    DirectTranslationWindow window(services());
    window.show();
    window.activateWindow();
    ASSERT_TRUE(runUntil([&] { return window.isActiveWindow(); }));
    transport.respond(200, googleReply("你好"));
    source(window).setPlainText(QStringLiteral("hello"));
    EXPECT_TRUE(qt_sendShortcutOverrideEvent(&source(window), 0, Qt::Key_Return, Qt::ControlModifier));
    EXPECT_EQ(window.outputState(), State::loading);
    ASSERT_TRUE(runUntil([&] { return window.outputState() == State::result; }));
    runUntil([] { return false; }, DirectTranslationWindow::kTypingPause + 100ms);
    EXPECT_EQ(transport.requestCount(), 1u) << "the pause's request was not sent as well";
}

TEST_F(DirectWindowTest, NewerResultWinsAndAnEditMarksTheResultAsNotCurrent) {
    HeldRunner held;
    TranslationService slowService{
        {[this]() -> const AppSettingsValues& { return harness.settings.values(); }, transport, loop, held}};
    DirectTranslationWindow window({harness.settings, slowService, desktop, {}});

    source(window).setPlainText(QStringLiteral("one"));
    window.translateNow();
    source(window).setPlainText(QStringLiteral("two"));
    window.translateNow();
    ASSERT_EQ(held.tasks.size(), 2u);
    // The newer request is answered first, the older one last.
    transport.respond(200, googleReply("二"));
    transport.respond(200, googleReply("一"));
    held.tasks[1]();
    held.tasks[0]();
    ASSERT_TRUE(runUntil([&] { return slowService.lastResult() && slowService.lastResult()->translatedText == "一"; }));
    EXPECT_EQ(output(window).toPlainText(), QStringLiteral("二"));
    EXPECT_EQ(window.outputState(), State::result);
    EXPECT_EQ(outputColor(window), style::text(window.palette()));

    source(window).insertPlainText(QStringLiteral("!"));
    EXPECT_EQ(output(window).toPlainText(), QStringLiteral("二"));
    EXPECT_EQ(outputColor(window), style::secondaryText(window.palette()));
}

TEST_F(DirectWindowTest, CopyPutsTheTranslationOnTheClipboardAndSaysSo) {
    DirectTranslationWindow window(services());
    transport.respond(200, googleReply("你好"));
    source(window).setPlainText(QStringLiteral("hello"));
    window.translateNow();
    ASSERT_TRUE(runUntil([&] { return window.outputState() == State::result; }));
    auto& copy = part<QPushButton>(window, "copy");
    desktop.clipboardBackend.writeText("earlier");
    copy.click();
    EXPECT_EQ(desktop.clipboardBackend.items(), (std::vector<ClipboardItem>{{{"UTF8_STRING", "你好"}}}));
    EXPECT_EQ(copy.text(), QStringLiteral("已复制"));
    ASSERT_TRUE(runUntil([&] { return copy.text() == QStringLiteral("复制(&C)"); },
                         DirectTranslationWindow::kCopiedConfirmation + 1s));
}

}  // namespace
}  // namespace tavi::test
