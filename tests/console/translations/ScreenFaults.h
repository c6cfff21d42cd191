// Finds texts that a screen does not show in full, small letters and small touch targets.
#pragma once

#include <QtCore/QSize>
#include <QtCore/QString>

class QWidget;

// Texts have their size on this display from now on. Returns the size of a window that fills it.
QSize SetDisplay(const QSize& pixels, double textFactor = 1.0);

// A line for each cut text, and for each button, row or scroll bar below 9 mm; empty if there is
// none. Thread: main.
QString Faults(QWidget& widget);
