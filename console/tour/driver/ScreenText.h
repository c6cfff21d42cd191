// What an operator reads on the screen, as values.
#pragma once

#include <QtCore/QJsonObject>

class QWidget;

namespace tour {

// The windows that are open, the console's own first:
//   {"windows": [{"kind": "console" | "message" | "progress" | "choice", "title": .., "text": ..,
//                 "progress": .., "buttons": [{"text", "enabled", "checked"}],
//                 "rows": [{"name", "value", "enabled"}], "names": [{"text", "selected"}],
//                 "labels": [..]}]}
// Only what is visible. Thread: main.
QJsonObject ScreenText(const QWidget& window);

// What a button is called: its text, or its accessible name if it has none.
QString ButtonName(const QWidget& button);

// Open popups, the one to be answered first last.
QList<QWidget*> OpenPopups();

} // namespace tour
