#pragma once

#include <QColor>
#include <QIcon>

namespace tavi {

// The popup's button symbols, drawn in the text colour of the current theme.
enum class PopupSymbol { copy, checkmark, close, pin, pinned };
inline constexpr PopupSymbol kPopupSymbols[] = {PopupSymbol::copy, PopupSymbol::checkmark, PopupSymbol::close,
                                                PopupSymbol::pin, PopupSymbol::pinned};

QIcon popupIcon(PopupSymbol symbol, const QColor& color);

}  // namespace tavi
