// Areas that the operator scrolls with a finger.
#pragma once

class QScrollArea;
class QWidget;

namespace console {

// A frameless area that owns `content`. The area has at least the minimum width of the content and
// scrolls vertically, so that a low window cuts nothing off.
QScrollArea* MakeScrollArea(QWidget* content);

// Scrolls all areas around `widget` until the widget is visible. `widget` may be null.
void ScrollTo(QWidget* widget);

} // namespace console
