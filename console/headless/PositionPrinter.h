// The lines that the headless console prints about the position.
#pragma once

#include "console/position/PositionState.h"
#include "console/session/ConsoleSettings.h"

#include <QtCore/QByteArray>

namespace console {

// "position {...}": state ("none", "fix", "lost"), source ("off", "connecting", "running",
// "ended"), gained and lost (how often), faulty (sentences); with or after a fix also latitude and
// longitude (degrees), time (hhmmss.ss of the receiver), quality and ageMs; without one the reason
// of the loss.
QByteArray PositionLine(const TPositionState& state);
// The same, with what has changed: "fix", "gained", "lost", "source".
QByteArray PositionLine(const TPositionEvent& event);

bool IsShown(const TPositionEvent& event, EShownPositions shown);

} // namespace console
