// Follows one of the plug-in's operations through the hub's signals.
#pragma once

#include "console/headless/CommandParser.h"
#include "console/session/HubEvent.h"

#include <QtCore/QSet>
#include <QtCore/QString>

namespace console {

// Knows from the signals when a login, a logout, a transfer or a deletion has ended, and how.
//
//   login    → LoginFailed: failed
//            → LoggedIn → a list of every kind but job reports: succeeded
//                       → UserInboxSetupComplete: succeeded without errors, else failed
//                       → LoggedOut: failed
//   logout   → LoggedOut: succeeded
//   transfer → its completion: succeeded without errors, else failed
class TOperation
{
public:
    // `wasLoggedIn`: a login is then complete as soon as the hub says so.
    TOperation(const TCommand& command, bool wasLoggedIn);

    void Follow(const THubEvent& event);

    EVerb Verb() const { return m_verb; }
    // A transfer or a deletion: each has an end of its own, however long it takes. (A login or
    // logout that is asked for again is the same one.)
    bool IsOnFiles() const;
    bool HasEnded() const { return m_hasEnded; }
    // Why it failed, on one line; empty if it has succeeded.
    QString Failure() const { return m_failure; }
    // What it is still waiting for, on one line.
    QString Missing() const;

private:
    void FollowLogin(const THubEvent& event);
    void End(const QString& failure);
    void End(const KelvoFileTransferErrorDetailsList& errors);

    EVerb m_verb;
    bool m_wasLoggedIn;
    bool m_isLoggedIn = false;
    QSet<int> m_listedProjects;
    bool m_hasEnded = false;
    QString m_failure;
};

} // namespace console
