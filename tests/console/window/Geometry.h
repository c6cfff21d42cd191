// Finds widgets that a window cuts off.
#pragma once

#include <QtCore/QStringList>

class QWidget;

// A line for each visible widget in `window` that extends beyond its parent. The content of a
// scroll area may be higher than the area, but not wider.
QStringList CutOffWidgets(const QWidget& window);
