// The position as the console shows it.
#pragma once

#include "console/position/nmea/TFixValidity.h"
#include "console/position/nmea/TNmeaReader.h"

#include <QtCore/QMetaType>

#include <cstdint>

namespace console {

enum class EPositionState : std::uint8_t {
    eNone, // there was no fix yet
    eFix,
    eLost,
};

enum class ESourceState : std::uint8_t {
    eOff,        // there is no source
    eConnecting, // also: before the next attempt, or before the first sentence
    eRunning,    // sentences come
    eEnded,      // the end of a log
};

// Why there is no fix.
enum class ELossReason : std::uint8_t {
    eNone,
    eVoid,        // the receiver reports that there is no fix
    eSilent,      // no sentence confirmed the fix for TPositionFeed::silenceMs
    eSourceEnded, // the log or the connection has ended
};

struct TPositionState
{
    EPositionState state = EPositionState::eNone;
    ESourceState source = ESourceState::eOff;
    ELossReason reason = ELossReason::eNone;
    TReceivedFix fix;        // the last fix; no meaning before the first fix
    std::int64_t ageMs = -1; // since the last fix was received; negative before the first fix
    std::uint64_t fixes = 0;
    int gained = 0; // changes to eFix, the first included
    int lost = 0;   // changes to eLost
    TNmeaCounts counts;
};

// A change and the state after the change.
struct TPositionEvent
{
    enum class EChange : std::uint8_t { eFix, eGained, eLost, eSource };

    EChange change = EChange::eFix;
    TPositionState state;
};

} // namespace console

Q_DECLARE_METATYPE(console::TPositionEvent)
