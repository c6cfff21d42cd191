// Looks for widgets that a window cuts off.
#pragma once

#include <QtCore/QStringList>

class QWidget;

// A line for each visible widget below `window` that sticks out of its parent. What scrolls may be
// higher than what it scrolls in, but not wider.
QStringList CutOffWidgets(const QWidget& window);
