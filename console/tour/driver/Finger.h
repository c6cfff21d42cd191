// Touches the screen as an operator does.
#pragma once

#include <QtCore/QString>

class QWidget;

namespace tour {

// Each function sends real events to the middle of the widget. It throws std::runtime_error if an
// operator could not touch the widget: the widget is missing, disabled or covered, or a dialog
// waits for an answer. Thread: main.

void PressButton(const QWidget& window, const QString& name);
void PressRow(const QWidget& window, const QString& name);
// Replaces the text of the row.
void TypeInto(const QWidget& window, const QString& rowName, const QString& text);
// Scrolls to the name first.
void TouchName(const QWidget& window, const QString& name);

// A key of the wheel at the widget with the focus: "Down", "Up", "Return" or "Escape". Throws for
// any other key.
void PressKey(QWidget& window, const QString& key);
// Replaces the text that is being edited. Throws if no text is.
void EnterText(const QString& text);

} // namespace tour
