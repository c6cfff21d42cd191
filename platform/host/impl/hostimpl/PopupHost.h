// Where popups are shown, and which popups are open.
#pragma once

#include "host/HostExport.h"

#include <QtCore/QList>

class QWidget;
class TPopupWindow;

namespace hostimpl {

// A popup without a parent is shown in `window` from now on. The same holds for a popup whose
// parent's window is not shown. Null for no window. If there is room above `bottomBar` of the
// window, no popup of the window covers the bar. Not owned; may be destroyed. Main thread.
CONSOLEHOST_EXPORT void SetPopupHost(QWidget* window, const QWidget* bottomBar = nullptr);
CONSOLEHOST_EXPORT QWidget* PopupHost();

// A popup whose parent is inside `area` is shown in the area and blocks no more than the area. It
// is hidden and shown together with the area. Main thread.
CONSOLEHOST_EXPORT void SetPopupArea(QWidget& area);

// The open popups that are visible inside a window. The last popup is on top.
CONSOLEHOST_EXPORT QList<TPopupWindow*> OpenPopups();
// True if a modal popup lies over `widget`: the operator has to answer the popup first.
CONSOLEHOST_EXPORT bool IsBlocked(const QWidget& widget);

} // namespace hostimpl
