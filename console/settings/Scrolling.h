// Areas that the operator scrolls with a finger.
#pragma once

#include <cstdint>

class QScrollArea;
class QWidget;

namespace console {

// The scroll bar of an area. eTarget: wide enough for a hand in a glove. eSign: narrow, only shows
// the position; a finger moves the content.
enum class EBar : std::uint8_t { eTarget, eSign };

// A frameless area that owns `content`. The area scrolls vertically, so that a low window cuts
// nothing off.
QScrollArea* MakeScrollArea(QWidget* content, EBar bar = EBar::eTarget);

// Scrolls all areas around `widget` until the widget is visible. `widget` may be null.
void ScrollTo(QWidget* widget);

} // namespace console
