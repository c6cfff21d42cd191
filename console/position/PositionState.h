// What there is to show of the position.
#pragma once

#include "console/position/nmea/TFixJudge.h"
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
    eConnecting, // or waiting to try again, or for the first sentence
    eRunning,    // sentences come
    eEnded,      // a log's end
};

// Why there is no fix.
enum class ELossReason : std::uint8_t {
    eNone,
    eVoid,        // the receiver says so
    eSilent,      // nothing that holds a fix came for too long
    eSourceEnded, // the log's end, or the connection's
};

struct TPositionState
{
    EPositionState state = EPositionState::eNone;
    ESourceState source = ESourceState::eOff;
    ELossReason reason = ELossReason::eNone;
    TReceivedFix fix;        // the last one; meaningless before the first
    std::int64_t ageMs = -1; // since it was received; negative before the first
    std::uint64_t fixes = 0;
    int gained = 0; // changes to eFix, the first included
    int lost = 0;   // changes to eLost
    TNmeaCounts counts;
};

// What has just changed, and what is the case since.
struct TPositionEvent
{
    enum class EChange : std::uint8_t { eFix, eGained, eLost, eSource };

    EChange change = EChange::eFix;
    TPositionState state;
};

} // namespace console

Q_DECLARE_METATYPE(console::TPositionEvent)
