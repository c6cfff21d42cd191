// Shows the progress of a transfer in the dialogs of running operations, and tells of their cancel.
#pragma once

#include "host/HostExport.h"

#include <QtCore/QString>

#include <functional>
#include <optional>

namespace hostimpl {

struct TTransferState
{
    std::optional<int> percent; // 0 to 100; empty: no bar
    QString text;               // in the operator's language
    bool isMoving = true;       // false: no busy indicator, because nothing moves
    bool isResult = false;      // shown after the operation's end, not while it runs
};

// Each dialog of the type TMessageDialog::eOperation shows `progress` while its operation runs, or
// a result once the operation has ended, until the next call. Empty: the dialogs show a busy
// indicator only. Main thread.
CONSOLEHOST_EXPORT void SetTransferProgress(const std::optional<TTransferState>& progress);

// Each press of "Cancel" in such a dialog calls `observer`, before the dialog emits its signal. An
// empty observer ends these calls. Main thread.
CONSOLEHOST_EXPORT void ObserveCancel(std::function<void()> observer);

} // namespace hostimpl
