// Brings a hub into any of its states and tells which one it is in.
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

// `number` from 0 to 15, a bit a flag.
inline HubState HubStateOf(int number)
{
    return {(number & 1) != 0, (number & 2) != 0, (number & 4) != 0, (number & 8) != 0};
}

inline HubState HubStateOf(TKelvoInterface& hub)
{
    return {hub.IsKelvoLoggedIn(), hub.IsKelvoLoginInProgress(),
            hub.IsKelvoFileOperationInProgress(), hub.IsCancelCurrentOperationRequested()};
}

// Only from the state that a hub is made in.
inline void BringInto(TKelvoInterface& hub, const HubState& state)
{
    if (state.loggedIn)
        hub.OnLoggedIntoKelvo(); // first: it ends a login in progress
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
