#pragma once

#include <QColor>
#include <QPalette>
#include <QString>

namespace tavi {

// The look the settings and translation windows share, following the
// desktop's light or dark palette. Metrics are in logical pixels: Qt scales
// them on high-density screens.
namespace style {

inline constexpr int kMargin = 20;        // around a tab's or window's content
inline constexpr int kSpacing = 12;       // between related controls
inline constexpr int kSectionSpacing = 24;
inline constexpr int kCornerRadius = 8;

bool isDark(const QPalette& palette);
QColor text(const QPalette& palette);
QColor secondaryText(const QPalette& palette);  // captions, hints, subtitles
QColor hairline(const QPalette& palette);       // borders and dividers
QColor cardBackground(const QPalette& palette); // a raised surface on the window
QColor selectedBackground(const QPalette& palette);
QColor accent(const QPalette& palette);         // links, focus, the current choice
QColor success(const QPalette& palette);        // "已配置"
QColor failure(const QPalette& palette);        // error texts

// A named accent colour of the provider catalog ("green", "orange", ...),
// tuned for the palette; gray for an unknown name.
QColor namedColor(const QString& name, const QPalette& palette);

}  // namespace style
}  // namespace tavi
