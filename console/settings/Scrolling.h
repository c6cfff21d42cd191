// Areas that scroll under a finger.
#pragma once

class QScrollArea;
class QWidget;

namespace console {

// A frameless area around `content`, which it owns. It is as wide as the content wants to be at
// least and scrolls upright, so that a low window cuts nothing off.
QScrollArea* MakeScrollArea(QWidget* content);

// Scrolls all areas around `widget`, which may be null, so that it is in view.
void ScrollTo(QWidget* widget);

} // namespace console
