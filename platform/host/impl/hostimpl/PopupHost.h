// Says which window popups come up over.
#pragma once

#include "host/HostExport.h"

class QWidget;

namespace hostimpl {

// Popups without a parent are centred over `window` from now on, and so are those whose parent's
// window is not shown; null for none. Not owned; may be destroyed. Main thread.
CONSOLEHOST_EXPORT void SetPopupHost(QWidget* window);
CONSOLEHOST_EXPORT QWidget* PopupHost();

} // namespace hostimpl
