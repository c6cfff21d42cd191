// The focus on the screen as JSON.
#pragma once

#include <QtCore/QJsonObject>

class QWidget;

namespace tour {

// {"kind": "button" | "row" | "text" | "list" | "other" | "none", "name": .., "current": ..}.
// "text" is a row that is being edited. "current" is the entry of a list at which the wheel is.
// Thread: main.
QJsonObject FocusText(const QWidget& window);

} // namespace tour
