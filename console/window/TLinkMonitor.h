// What is known of the link to the service.
#pragma once

#include "console/session/HubEvent.h"

#include <QtCore/QObject>
#include <QtCore/QString>

#include <cstdint>

namespace console {

enum class ELinkState : std::uint8_t {
    eNone,       // there is no plug-in that could have a link
    eLoggedOut,  // nobody asked for a link, or it was ended as asked
    eConnecting, // a login is going on
    eUp,
    eFailed, // a login failed
    eLost,   // the session ended without being asked to
};

// Follows the hub's signals; it asks nothing of the network.
//
//   none → SetAvailable → logged out ⇄ connecting → up
//                             ↑            ↓         ↓ ended unasked
//                             │          failed    lost
//                             └─ log-out asked for ──┘
//
// Thread: main.
class TLinkMonitor : public QObject
{
    Q_OBJECT

public:
    ELinkState State() const { return m_state; }
    // Why a login failed, as the plug-in says it; simple HTML. Empty otherwise.
    const QString& Reason() const { return m_reason; }

    // A plug-in runs, or none does any more.
    void SetAvailable(bool isAvailable);
    void OnHubEvent(const THubEvent& event);

Q_SIGNALS:
    void Changed();

private:
    void Set(ELinkState state, const QString& reason = {});

    ELinkState m_state = ELinkState::eNone;
    QString m_reason;
    bool m_isEndAsked = false; // by the operator: a log-out, or the end of a login
};

} // namespace console
