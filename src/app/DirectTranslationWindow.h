#pragma once

#include <QIcon>
#include <QString>
#include <QWidget>

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "app/WindowServices.h"
#include "core/Language.h"
#include "core/Result.h"
#include "core/Subscription.h"
#include "core/TranslationResult.h"

class QComboBox;
class QLabel;
class QPlainTextEdit;
class QPushButton;
class QTimer;
class QToolButton;

namespace tavi {

// "Tavi · 直接翻译": text typed or pasted here is translated in place, after a
// pause in typing or at once with Ctrl+Return. The languages are the user's
// default pair: the pickers show and write AppSettings' source and target.
//
// Top to bottom: the source text, a bar with the pickers and the translate
// button, and the output with the service's name and a copy button.
class DirectTranslationWindow final : public QWidget {
public:
    // How long typing must pause before the text is sent. A fast typist's
    // keystrokes come 100-200 ms apart and an input method commits a phrase
    // at a time, so 600 ms is clearly a pause, not the gap between two keys;
    // and it is short enough that, with the service's own round trip on top,
    // the translation still seems to follow the typing rather than lag it.
    static constexpr std::chrono::milliseconds kTypingPause{600};
    static constexpr std::chrono::milliseconds kCopiedConfirmation{2000};

    // Loading is this window's own request in flight, not the service's
    // isTranslating(), which is also true while the popup's translations run.
    // A result or error stays in view underneath it.
    enum class OutputState { empty, loading, result, error };

    explicit DirectTranslationWindow(WindowServices services);
    ~DirectTranslationWindow() override;

    OutputState outputState() const;

    // Translates the text now, whatever it was last translated as (Ctrl+Return
    // and the translate button).
    void translateNow();

    QSize sizeHint() const override;

protected:
    void changeEvent(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    // What a translation is for: the trimmed text and the two languages.
    struct Query {
        std::string text;
        Language from = Language::auto_;
        Language to = Language::chinese;
        friend bool operator==(const Query&, const Query&) = default;
    };
    enum class Shown { nothing, result, error };

    Query currentQuery() const;
    void textEdited();
    void pickerChosen();
    void swapLanguages();
    void settingsChanged(std::string_view key);
    void showSettingsLanguages();
    void send(Query query);
    void finished(std::uint64_t generation, Query query, Result<TranslationResult> outcome);
    void showEmpty();
    void refresh();
    void copy();
    void setCopied(bool copied);
    void applyTheme();

    WindowServices services_;

    QPlainTextEdit* source_;
    QComboBox* sourcePicker_;
    QToolButton* swap_;
    QComboBox* targetPicker_;
    QLabel* hint_;
    QPushButton* translate_;
    QLabel* status_;
    QPushButton* copy_;
    QPlainTextEdit* output_;
    QTimer* typingPause_;
    QIcon copyIcon_;
    QIcon copiedIcon_;

    // Every request gets the next generation; an answer counts only while
    // its generation is still the latest, so a slow older request can never
    // replace a newer one's result.
    std::uint64_t generation_ = 0;
    std::optional<Query> inFlight_;
    Shown shown_ = Shown::nothing;
    Query shownFor_;
    std::string shownTranslation_;
    QString resultLine_;  // "OpenAI · 检测为英语"
    int copyGeneration_ = 0;
    bool copied_ = false;
    bool applyingTheme_ = false;
    bool darkTheme_ = false;
    QSize preferredSize_;

    Subscription settingsObservation_;
};

}  // namespace tavi
