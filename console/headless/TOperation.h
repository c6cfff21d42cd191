// Follows one operation of the plug-in by the hub's signals.
#pragma once

#include "console/headless/CommandParser.h"
#include "console/session/HubEvent.h"

#include <QtCore/QSet>
#include <QtCore/QString>

namespace console {

// Finds the end of a login, logout, transfer or deletion in the signals, and its result.
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
    // `wasLoggedIn`: the hub was logged in at the request. A login then ends with LoggedIn.
    TOperation(const TCommand& command, bool wasLoggedIn);

    void Follow(const THubEvent& event);

    EVerb Verb() const { return m_verb; }
    // Whether it is a transfer or a deletion. Each of these reports its own end, even after a
    // timeout. A repeated login or logout shares the end of the first.
    bool IsOnFiles() const;
    bool HasEnded() const { return m_hasEnded; }
    // The reason of the failure, on one line; empty after a success.
    QString Failure() const { return m_failure; }
    // The reports of the hub that are missing, on one line.
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
