// Draws the screen as a picture.
#pragma once

#include <QtGui/QImage>

class QWidget;

namespace tour {

// The console's window, pixel by pixel. Thread: main.
QImage Picture(QWidget& window);

} // namespace tour
