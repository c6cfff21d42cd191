// States of the console with the longest texts, for tests that look for cut texts.
#pragma once

#include "console/window/THomePage.h"
#include "console/window/TransferTexts.h"

#include <QtCore/QList>

namespace kelvo::test {

// States with the longest texts.
QList<console::TPositionState> Positions();

// Every session, and every problem on a day before today.
QList<kesdkimpl::LinkStatus> Links();

// 100 files of a download. The last file has this name.
console::TFileCount Files(const QString& lastName = {});

// A moving, a waiting and a checked transfer, with the longest words.
QList<kesdkimpl::LinkStatus> Transfers();

// The home page logged out, before the listing, with large figures, and without an answer.
QList<console::THomeState> HomeStates();

} // namespace kelvo::test
