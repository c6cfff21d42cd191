// A picture of the screen.
#pragma once

#include <QtGui/QImage>

class QWidget;

namespace tour {

// The console's window with the popups over it, one pixel of the picture each pixel of the screen.
// Thread: main.
QImage Picture(QWidget& window);

} // namespace tour
