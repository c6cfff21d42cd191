// The texts of the status bar.
#pragma once

#include "console/position/PositionState.h"
#include "kesdkimpl/LinkStatus.h"

#include <QtCore/QString>

namespace console {

struct TStatusWords
{
    QString iconName; // in the theme of the host framework
    QString text;
};

TStatusWords PositionWords(const TPositionState& state);
TStatusWords LinkWords(const kesdkimpl::LinkStatus& status);

} // namespace console
