// Sets the window over which popups are shown.
#pragma once

#include "host/HostExport.h"

class QWidget;

namespace hostimpl {

// A popup without a parent is centred over `window` from now on. The same holds for a popup whose
// parent's window is not shown. Null for no window. Not owned; may be destroyed. Main thread.
CONSOLEHOST_EXPORT void SetPopupHost(QWidget* window);
CONSOLEHOST_EXPORT QWidget* PopupHost();

} // namespace hostimpl
