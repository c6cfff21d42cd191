// Areas that the operator scrolls with a finger.
#pragma once

#include <cstdint>

class QScrollArea;
class QWidget;

namespace console {

// Of an area: a hand in a glove can hold a bar that is a target. Where a screen has no room for it,
// the bar is a sign of the place: a finger moves the content itself.
enum class EBar : std::uint8_t { eTarget, eSign };

// A frameless area that owns `content`. The area scrolls vertically, so that a low window cuts
// nothing off.
QScrollArea* MakeScrollArea(QWidget* content, EBar bar = EBar::eTarget);

// Scrolls all areas around `widget` until the widget is visible. `widget` may be null.
void ScrollTo(QWidget* widget);

} // namespace console
