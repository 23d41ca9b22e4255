#pragma once

#include <QColor>
#include <QIcon>
#include <QRectF>

#include <string_view>

class QPainter;

namespace tavi {

// Our own drawings for the provider catalog's symbol names
// ("sparkles.rectangle.stack", "text.bubble", "globe.europe.africa", "globe",
// "character.book.closed", "cloud", "flame", "puzzlepiece") and the secret
// fields' "eye" / "eye.slash". Painted as paths, so they are sharp at any
// scale; an unknown name paints the puzzle piece.
void paintProviderSymbol(QPainter& painter, const QRectF& square, std::string_view symbolName, const QColor& color);

// The same drawing as an icon of `size` logical pixels, with pixmaps for
// single- and double-density screens.
QIcon providerSymbolIcon(std::string_view symbolName, const QColor& color, int size);

}  // namespace tavi
