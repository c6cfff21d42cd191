// Areas that the operator scrolls with a finger.
#pragma once

#include <cstdint>

class QScrollArea;
class QWidget;

namespace console {

// Of an area: a hand in a glove can hold a wide bar. A narrow bar only shows the place.
enum class EBar : std::uint8_t { eWide, eNarrow };

// A frameless area that owns `content`. The area scrolls vertically, so that a low window cuts
// nothing off.
QScrollArea* MakeScrollArea(QWidget* content, EBar bar = EBar::eWide);

// Scrolls all areas around `widget` until the widget is visible. `widget` may be null.
void ScrollTo(QWidget* widget);

} // namespace console
