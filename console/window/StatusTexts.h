// How the status bar words what it shows.
#pragma once

#include "console/position/PositionState.h"
#include "console/window/TLinkMonitor.h"

#include <QtCore/QString>

namespace console {

struct TStatusWords
{
    QString iconName; // of the host's theme
    QString text;
};

TStatusWords PositionWords(const TPositionState& state);
TStatusWords LinkWords(ELinkState state);

} // namespace console
