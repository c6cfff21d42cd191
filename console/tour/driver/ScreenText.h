// The texts on the screen as JSON.
#pragma once

#include <QtCore/QJsonObject>

class QWidget;

namespace tour {

// The main window without its popups, then the visible popups:
//   {"windows": [{"kind": "console" | "message" | "progress" | "choice", "title": .., "text": ..,
//                 "progress": .., "buttons": [{"text", "enabled", "checked"}],
//                 "rows": [{"name", "value", "enabled"}], "names": [{"text", "selected"}],
//                 "labels": [..]}]}
// Only visible parts. Thread: main.
QJsonObject ScreenText(const QWidget& window);

// The name of a button: its text or, without a text, its accessible name.
QString ButtonName(const QWidget& button);

// The popup that holds the widget, or the widget's window.
const QWidget* PlaceOf(const QWidget& widget);

} // namespace tour
