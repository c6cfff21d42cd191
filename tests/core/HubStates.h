// Brings a hub into any of its states, and reads the state of a hub.
#pragma once

#include "core/TKelvoInterface.h"

#include <QtCore/QString>

// The four flags.
struct HubState
{
    bool loggedIn = false;
    bool loginInProgress = false;
    bool fileOperationInProgress = false;
    bool cancelRequested = false;
};

constexpr int HUB_STATE_COUNT = 16;

// `number` is 0 to 15, one bit for each flag.
inline HubState HubStateOf(int number)
{
    return {(number & 1) != 0, (number & 2) != 0, (number & 4) != 0, (number & 8) != 0};
}

inline HubState HubStateOf(TKelvoInterface& hub)
{
    return {hub.IsKelvoLoggedIn(), hub.IsKelvoLoginInProgress(),
            hub.IsKelvoFileOperationInProgress(), hub.IsCancelCurrentOperationRequested()};
}

// The hub has to be in its initial state.
inline void BringInto(TKelvoInterface& hub, const HubState& state)
{
    if (state.loggedIn)
        hub.OnLoggedIntoKelvo(); // first, because it clears a login in progress
    if (state.loginInProgress)
        hub.OnLoggingIntoKelvo();
    if (state.fileOperationInProgress)
        hub.OnPostLoginChecksInProgress();
    if (state.cancelRequested)
        hub.OnCancelCurrentOperationRequested();
}

inline QString TextOf(const HubState& state)
{
    return QStringLiteral("loggedIn=%1 loginInProgress=%2 fileOperation=%3 cancel=%4")
        .arg(state.loggedIn)
        .arg(state.loginInProgress)
        .arg(state.fileOperationInProgress)
        .arg(state.cancelRequested);
}
