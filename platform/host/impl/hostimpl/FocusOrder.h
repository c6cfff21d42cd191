// The order in which the wheel visits the widgets of a screen.
#pragma once

#include "host/HostExport.h"

#include <QtCore/QVector>

class QWidget;

namespace hostimpl {

// The widgets in `area` that can take the focus now, in the order of the tab key.
CONSOLEHOST_EXPORT QVector<QWidget*> FocusOrder(const QWidget& area);

// Moves the focus by `steps` widgets in this order. Returns false if the focus did not move;
// without `wraps` the focus does not move beyond either end. A focus outside of the order moves to
// the first widget, or with negative `steps` to the last.
CONSOLEHOST_EXPORT bool MoveFocus(const QWidget& area, int steps, bool wraps);

// True if `widget` or a widget around it is locked against changes.
CONSOLEHOST_EXPORT bool IsLockedAround(const QWidget& widget);

} // namespace hostimpl
