// The worker's session: login, post-login checks, logout.
#include "core/TKelvoInterface.h"
#include "host/ConfigManager.h"
#include "kesdk/api/IEnterpriseConnection.h"
#include "worker/DeviceReport.h"
#include "worker/SdkBoundary.h"
#include "worker/ServiceProjects.h"
#include "worker/TKelvoThreadObject.h"

#include <vector>

namespace {

enum ECredentialItem : int {
    eUserNameItem = 24289,
    ePasswordItem = 24290,
};

QString StoredCredential(ECredentialItem item)
{
    return ConfigManager::Instance().GetItem(item).toString();
}

std::wstring WideString(const QString& text)
{
    std::vector<wchar_t> buffer(static_cast<std::size_t>(text.length()) + 1);
    QStringToTCHAR(text, buffer.data(), static_cast<int>(buffer.size()));
    return std::wstring(buffer.data());
}

} // namespace

// Passes empty credentials to the SDK unchanged. If the SDK accepts the login, a notification
// brings its result.
void TKelvoThreadObject::OnLoginToKelvo()
{
    if (m_connection == nullptr) {
        return;
    }
    const std::wstring userName = WideString(StoredCredential(eUserNameItem));
    const std::wstring password = WideString(StoredCredential(ePasswordItem));
    if (!m_connection->Login(userName, password, nullptr, 0)) {
        OnKelvoLoginFailed();
    }
}

// Does nothing: a started login is not cancelled.
void TKelvoThreadObject::OnCancelLoginToKelvo() {}

void TKelvoThreadObject::AutoLogin()
{
    if (!StoredCredential(eUserNameItem).isEmpty() && !StoredCredential(ePasswordItem).isEmpty()) {
        OnLoginToKelvo();
    }
}

void TKelvoThreadObject::OnKelvoLoginFailed()
{
    if (m_connection == nullptr) {
        return;
    }
    Q_EMIT KelvoLoginFailed(GetLastErrorMsg(m_connection->GetLastLoginErrors()));
}

// Runs the post-login checks. If the environment report fails, no other check runs. The hub's
// logged-in flag, not the SDK's, tells whether this notification is a repeat.
void TKelvoThreadObject::KelvoLoginSuccessful()
{
    if (m_connection == nullptr || KelvoInterface->IsKelvoLoggedIn()) {
        return;
    }
    Q_EMIT KelvoLoggedIn();
    Q_EMIT PostLoginChecksInProgress();

    if (!TestProcEnvironment(m_connection, m_hostString.get(), *m_features)) {
        Q_EMIT PostLoginChecksComplete();
        DropLastErrors();
        return;
    }
    QList<EKelvoProjects> missing;
    CheckKelvoAccountSetup(missing);
    Q_EMIT PostLoginChecksComplete();

    if (!missing.isEmpty()) {
        SetupKelvoUserInboxes(missing);
        return;
    }
    PrepareForLocationSharing();
    for (const EKelvoProjects project : LISTED_PROJECTS) {
        RefreshToConsoleFileList(project, false, 0);
    }
}

// Ignores a notification that was queued before the SDK connection was deleted.
void TKelvoThreadObject::KelvoNotLoggedIn()
{
    if (m_connection != nullptr && KelvoInterface->IsKelvoLoggedIn()) {
        Q_EMIT KelvoLoggedOut();
        EndLocationSharing();
    }
}

// After a logout, the SDK's notification of the ended session leads to KelvoLoggedOut(). If the SDK
// refuses the logout, no signal is emitted.
void TKelvoThreadObject::OnLogoutFromKelvo()
{
    if (m_connection == nullptr) {
        return;
    }
    EndLocationSharing();
    if (!m_connection->IsLoggedIn()) {
        Q_EMIT KelvoLoggedOut();
        return;
    }
    if (!TestProcLogout(m_connection)) {
        DropLastErrors();
    }
}

void TKelvoThreadObject::DropLastErrors()
{
    static_cast<void>(GetLastErrorMsg(m_connection->GetLastErrors()));
}
