// The lines that the headless console prints about the position.
#pragma once

#include "console/position/PositionState.h"
#include "console/session/ConsoleSettings.h"

#include <QtCore/QByteArray>

namespace console {

// "position {...}" with these members:
//   state           "none", "fix" or "lost"
//   source          "off", "connecting", "running" or "ended"
//   gained, lost    how often the fix was gained and lost
//   faulty          number of faulty sentences
// If there was a fix, also latitude and longitude (degrees), time (hhmmss.ss of the receiver),
// quality and ageMs. If the fix is lost, also the reason.
QByteArray PositionLine(const TPositionState& state);
// The same line with the member change: "fix", "gained", "lost" or "source".
QByteArray PositionLine(const TPositionEvent& event);

bool IsShown(const TPositionEvent& event, EShownPositions shown);

} // namespace console
