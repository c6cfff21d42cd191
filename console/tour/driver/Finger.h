// Touches what is on the screen as an operator would.
#pragma once

#include <QtCore/QString>

class QWidget;

namespace tour {

// Each does it by real events at the middle of what is meant, and throws std::runtime_error if an
// operator could not: it is not there, it is off, something covers it, or a dialog is to be
// answered first. Thread: main.

void PressButton(const QWidget& window, const QString& name);
void PressRow(const QWidget& window, const QString& name);
// Replaces what stands in the row.
void TypeInto(const QWidget& window, const QString& rowName, const QString& text);
// Scrolls there first.
void TouchName(const QWidget& window, const QString& name);

} // namespace tour
