// Finds texts that a screen does not show in full.
#pragma once

#include <QtCore/QString>

class QWidget;

// A line for each cut text; empty if there is none. Thread: main.
QString Faults(QWidget& widget);
