#include "app/WindowStyle.h"

namespace tavi::style {

bool isDark(const QPalette& palette) { return palette.color(QPalette::Window).lightness() < 128; }

QColor text(const QPalette& palette) { return isDark(palette) ? QColor(0xEE, 0xEE, 0xF0) : QColor(0x1D, 0x1D, 0x1F); }

QColor secondaryText(const QPalette& palette) {
    return isDark(palette) ? QColor(0xA1, 0xA1, 0xA6) : QColor(0x6E, 0x6E, 0x73);
}

QColor hairline(const QPalette& palette) { return isDark(palette) ? QColor(255, 255, 255, 36) : QColor(0, 0, 0, 28); }

QColor cardBackground(const QPalette& palette) {
    return isDark(palette) ? QColor(0x2C, 0x2C, 0x30) : QColor(0xFF, 0xFF, 0xFF);
}

QColor selectedBackground(const QPalette& palette) {
    return isDark(palette) ? QColor(0x5E, 0x9B, 0xFF, 48) : QColor(0x2F, 0x6F, 0xE4, 28);
}

QColor accent(const QPalette& palette) { return isDark(palette) ? QColor(0x5E, 0x9B, 0xFF) : QColor(0x2F, 0x6F, 0xE4); }

QColor success(const QPalette& palette) { return isDark(palette) ? QColor(0x4C, 0xD9, 0x64) : QColor(0x1E, 0x9E, 0x46); }

QColor failure(const QPalette& palette) { return isDark(palette) ? QColor(0xFF, 0x6B, 0x63) : QColor(0xD7, 0x30, 0x2A); }

QColor namedColor(const QString& name, const QPalette& palette) {
    const bool dark = isDark(palette);
    struct Named {
        const char* name;
        QColor light, dark;
    };
    static const Named kNamed[] = {
        {"green", QColor(0x1E, 0x9E, 0x46), QColor(0x4C, 0xD9, 0x64)},
        {"orange", QColor(0xE0, 0x7A, 0x10), QColor(0xFF, 0x9F, 0x0A)},
        {"blue", QColor(0x2F, 0x6F, 0xE4), QColor(0x5E, 0x9B, 0xFF)},
        {"red", QColor(0xD7, 0x30, 0x2A), QColor(0xFF, 0x6B, 0x63)},
        {"purple", QColor(0x8E, 0x44, 0xCF), QColor(0xBF, 0x5A, 0xF2)},
        {"pink", QColor(0xD6, 0x33, 0x7A), QColor(0xFF, 0x5C, 0x9E)},
    };
    for (const Named& named : kNamed)
        if (name == QLatin1String(named.name)) return dark ? named.dark : named.light;
    return secondaryText(palette);
}

}  // namespace tavi::style
