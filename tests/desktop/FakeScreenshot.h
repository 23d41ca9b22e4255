#pragma once

#include <QString>
#include <QStringList>

#include "FakePortal.h"

namespace tavi::test {

// org.freedesktop.portal.Screenshot as a desktop whose user picks a region
// in its own picker: the picture of it, dark text on white, is saved as a
// new PNG in `folder` and its file:// URI given in the answer. Controls for
// the tests (kFakePortalControl):
//   SetPick(s text, u response)   the next picks show `text` (lines split by
//                                 "\n") and end with `response` (0 picked,
//                                 1 cancelled, 2 failed)
class FakeScreenshot final : public FakePortalInterface {
public:
    explicit FakeScreenshot(QString folder);

    QString name() const override { return QStringLiteral("org.freedesktop.portal.Screenshot"); }
    unsigned version() const override { return 2; }
    void call(const QDBusMessage& message, FakePortal& portal) override;
    bool control(const QDBusMessage& message, FakePortal& portal) override;

private:
    QString savePicture();

    QString folder_;
    QStringList lines_{QStringLiteral("Picked by the desktop")};
    unsigned response_ = 0;
    int saved_ = 0;
};

}  // namespace tavi::test
