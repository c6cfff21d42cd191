// The order in which the wheel visits the widgets of a screen.
#pragma once

#include "host/HostExport.h"

#include <QtCore/QVector>

class QWidget;

namespace hostimpl {

// True if the wheel can visit `widget` now: it is visible, enabled, takes the focus by the tab key,
// and no popup blocks it.
CONSOLEHOST_EXPORT bool CanTakeFocus(const QWidget& widget);

// The widgets in `area` that can take the focus now, in the order of reading. Rows go from the top,
// and a row goes from the left. The parts of a panel stay together. If a widget with parts takes
// the focus itself, the tab order decides which comes first, the widget or its parts.
CONSOLEHOST_EXPORT QVector<QWidget*> FocusOrder(const QWidget& area);

// Moves the focus by `steps` widgets in this order and scrolls to it. Returns false if the focus
// did not move; without `wraps` the focus does not move beyond either end. A focus outside of the
// order moves to the nearest panel's first widget. If the focus is not in `area`, it moves to the
// first widget, or with negative `steps` to the last.
CONSOLEHOST_EXPORT bool MoveFocus(const QWidget& area, int steps, bool wraps);

// Sets the focus to `widget` or, if it cannot take the focus, to the first widget of the smallest
// panel around it. If nothing in `area` can take the focus, `area` takes it, so that the keys still
// reach the window. `widget` is `area` or inside of it.
CONSOLEHOST_EXPORT void FocusNear(QWidget& widget, QWidget& area);

// True if `widget` or a widget around it is locked against changes.
CONSOLEHOST_EXPORT bool IsLockedAround(const QWidget& widget);

} // namespace hostimpl
