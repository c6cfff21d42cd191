#include "console/headless/TOperation.h"

#include "console/headless/OneLine.h"

#include <array>

namespace {

using console::EHubSignal;
using console::EVerb;

// The service lists no job reports: they are only uploaded.
constexpr int listedProjectCount = KELVO_PROJECT_COUNT - 1;

struct TCompletion
{
    EVerb verb;
    EHubSignal signal;
};

constexpr std::array<TCompletion, 4> completionTable = {{
    {EVerb::eLogout, EHubSignal::eLoggedOut},
    {EVerb::eUpload, EHubSignal::eUploadComplete},
    {EVerb::eDownload, EHubSignal::eDownloadComplete},
    {EVerb::eDelete, EHubSignal::eDeleteComplete},
}};

} // namespace

namespace console {

TOperation::TOperation(const TCommand& command, bool wasLoggedIn)
    : m_verb(command.verb), m_wasLoggedIn(wasLoggedIn)
{}

bool TOperation::IsOnFiles() const
{
    return m_verb == EVerb::eUpload || m_verb == EVerb::eDownload || m_verb == EVerb::eDelete;
}

void TOperation::Follow(const THubEvent& event)
{
    if (m_hasEnded) {
        return;
    }
    if (m_verb == EVerb::eLogin) {
        FollowLogin(event);
        return;
    }
    for (const TCompletion& row : completionTable) {
        if (row.verb == m_verb && row.signal == event.signal) {
            End(event.errors.value_or(KelvoFileTransferErrorDetailsList()));
        }
    }
}

void TOperation::FollowLogin(const THubEvent& event)
{
    if (event.signal == EHubSignal::eLoginFailed) {
        const QString text = event.message.value_or(QString());
        End(text.isEmpty() ? QStringLiteral("login failed") : OneLine(text));
    } else if (event.signal == EHubSignal::eLoggedIn) {
        m_isLoggedIn = true;
        if (m_wasLoggedIn) {
            End(QString());
        }
    } else if (!m_isLoggedIn) {
        return; // a signal of an earlier session
    } else if (event.signal == EHubSignal::eLoggedOut) {
        End(QStringLiteral("the session ended during the login"));
    } else if (event.signal == EHubSignal::eUserInboxSetupComplete) {
        End(event.errors.value_or(KelvoFileTransferErrorDetailsList()));
    } else if (event.signal == EHubSignal::eNewProjectFilesList) {
        m_listedProjects.insert(event.project.value_or(-1));
        if (m_listedProjects.size() == listedProjectCount) {
            End(QString());
        }
    }
}

QString TOperation::Missing() const
{
    if (m_verb == EVerb::eLogin && m_isLoggedIn) {
        return QStringLiteral("logged in, but only %1 of %2 lists came")
            .arg(m_listedProjects.size())
            .arg(listedProjectCount);
    }
    return QStringLiteral("no end was reported");
}

void TOperation::End(const QString& failure)
{
    m_hasEnded = true;
    m_failure = failure;
}

void TOperation::End(const KelvoFileTransferErrorDetailsList& errors)
{
    End(errors.isEmpty() ? QString() : OneLine(errors));
}

} // namespace console
