// Tells the dialogs how an operation has ended. They show a sign beside their text.
#pragma once

#include "host/HostExport.h"

namespace hostimpl {

enum class EOutcome : int {
    eNone = 0, // no sign
    eGood,     // a green tick
    eFailed,   // a red cross
};

enum class EOutcomeOf : int {
    eFiles = 0, // the dialogs of the type TMessageDialog::eOperation
    eSetUp,     // the progress dialogs
    eMessage,   // the next message of a dialog of the type TMessageDialog::eAcknowledge
};

// These dialogs show the sign once their operation has ended, until the next call. A message keeps
// its sign until its dialog closes; the message after it is a notice without a sign. Main thread.
CONSOLEHOST_EXPORT void SetOutcome(EOutcomeOf operation, EOutcome outcome);

} // namespace hostimpl
