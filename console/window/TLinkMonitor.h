// The state of the link to the service.
#pragma once

#include "console/session/HubEvent.h"

#include <QtCore/QObject>
#include <QtCore/QString>

#include <cstdint>

namespace console {

enum class ELinkState : std::uint8_t {
    eNone,       // no plug-in runs
    eLoggedOut,  // before a login, or after the operator's logout
    eConnecting, // a login is running
    eUp,
    eFailed, // a login failed
    eLost,   // the session ended without the operator's logout
};

// Derives the state from the hub's signals; sends nothing to the network.
//
//   none → SetAvailable → logged out ⇄ connecting → up
//                             ↑            ↓         ↓ session lost
//                             │          failed    lost
//                             └── operator's logout ─┘
//
// Thread: main.
class TLinkMonitor : public QObject
{
    Q_OBJECT

public:
    ELinkState State() const { return m_state; }
    // The plug-in's reason of a failed login, simple HTML; empty in other states.
    const QString& Reason() const { return m_reason; }

    // Whether a plug-in runs.
    void SetAvailable(bool isAvailable);
    void OnHubEvent(const THubEvent& event);

Q_SIGNALS:
    void Changed();

private:
    void Set(ELinkState state, const QString& reason = {});

    ELinkState m_state = ELinkState::eNone;
    QString m_reason;
    bool m_isEndRequested = false; // the operator logged out or cancelled the login
};

} // namespace console
