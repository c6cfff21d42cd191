// The order in which the wheel visits the widgets of a screen.
#pragma once

#include "host/HostExport.h"

#include <QtCore/QVector>

class QWidget;

namespace hostimpl {

// The widgets in `area` that can be worked with now, in the order of the tab key.
CONSOLEHOST_EXPORT QVector<QWidget*> FocusOrder(const QWidget& area);

// Moves the focus by `steps` among them. Without `wraps`, a step beyond either end is not taken:
// the answer is false then. The focus comes to the first or the last one if it is elsewhere.
CONSOLEHOST_EXPORT bool MoveFocus(const QWidget& area, int steps, bool wraps);

// Whether `widget` stands in something that is locked against changes.
CONSOLEHOST_EXPORT bool IsLockedAround(const QWidget& widget);

} // namespace hostimpl
