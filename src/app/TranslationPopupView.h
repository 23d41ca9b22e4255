#pragma once

#include <QIcon>
#include <QWidget>

#include <array>
#include <functional>
#include <string>

#include "app/PopupIcons.h"
#include "core/TranslationResult.h"

class QLabel;
class QScrollArea;
class QToolButton;

namespace tavi {

// The popup's content: a header with the service, the languages and the
// buttons; below a divider the translation, large and selectable, then the
// source text. Long texts scroll.
class TranslationPopupView final : public QWidget {
public:
    struct Actions {
        std::function<void(bool pinned)> onPin;
        std::function<void()> onClose;
        // Puts the translated text on the clipboard.
        std::function<void(const std::string& text)> onCopy;
    };

    explicit TranslationPopupView(QWidget* parent = nullptr);

    // Shows `result`; the pin and the copy confirmation start afresh.
    void setResult(const TranslationResult& result, Actions actions);

    // How the languages read in the header: "英语 → 中文（简体）", with the
    // detected language for automatic detection: "自动检测（英语）→ 日语".
    static QString languageLine(const TranslationResult& result);

private:
    void applyTheme();
    void copy();
    void setCopied(bool copied);
    void togglePin();
    const QIcon& icon(PopupSymbol symbol) const { return icons_[static_cast<std::size_t>(symbol)]; }

    TranslationResult result_;
    Actions actions_;
    bool isPinned_ = false;
    bool copied_ = false;
    int copyGeneration_ = 0;

    QLabel* provider_;
    QLabel* languages_;
    QLabel* translated_;
    QLabel* sourceCaption_;
    QLabel* source_;
    QScrollArea* scroll_;
    QToolButton* pin_;
    QToolButton* copy_;
    QToolButton* close_;
    QColor textColor_;
    // Drawn once per theme and reused: Qt keeps every icon's pixmaps in its
    // process-wide pixmap cache under the icon's own key, so a fresh icon per
    // result would pile up there until the cache's 10 MiB limit.
    std::array<QIcon, std::size(kPopupSymbols)> icons_;
};

}  // namespace tavi
