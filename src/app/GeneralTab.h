#pragma once

#include <QString>
#include <QWidget>

#include "app/Autostart.h"
#include "app/WindowServices.h"
#include "core/Subscription.h"
#include "platform/DesktopPlatform.h"

class QCheckBox;
class QComboBox;
class QLabel;
class QSpinBox;

namespace tavi {

class ToneLabel;

// "通用": the translation service and language pair, the popup and clipboard
// behaviour, what capturing selected text can do in this session, and
// starting at login. Every edit is written at once; changes made elsewhere
// (the tray menu, tavi config) show at once.
class GeneralTab final : public QWidget {
public:
    explicit GeneralTab(WindowServices services, QWidget* parent = nullptr);
    // With the autostart entry of `autostart` instead of the current user's.
    GeneralTab(WindowServices services, Autostart autostart, QWidget* parent = nullptr);
    ~GeneralTab() override;

protected:
    bool event(QEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void buildLayout();
    void followSettings();
    void showCaptureAbilities();
    void showAutostart();
    void setAutostart(bool enabled);

    WindowServices services_;
    Autostart autostart_;
    QComboBox* provider_ = nullptr;
    QComboBox* sourceLanguage_ = nullptr;
    QComboBox* targetLanguage_ = nullptr;
    QCheckBox* popupNearCursor_ = nullptr;
    QCheckBox* clipboardMonitor_ = nullptr;
    QCheckBox* autoTranslate_ = nullptr;
    QLabel* minLengthLabel_ = nullptr;
    QSpinBox* minLength_ = nullptr;
    QLabel* captureStatement_ = nullptr;
    QCheckBox* launchAtLogin_ = nullptr;
    ToneLabel* autostartFailure_ = nullptr;
    Subscription settingsChanges_;
};

// What reading the selection and sending the copy shortcut can do in this
// session, in one or two sentences for the user.
QString captureAbilitiesStatement(const CaptureAbilities& abilities);

}  // namespace tavi
