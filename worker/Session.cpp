// The worker's session: login, what follows it, logout.
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

// Empty credentials go to the SDK as they are. When the SDK takes them, the outcome comes as a
// notification.
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

// A login that is under way runs to its end.
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

// The post-login checks; without the equipment's report none of them follows. The hub's flag, not
// the SDK's, tells whether this is a repeated report.
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

// A report that was queued before the SDK was released is void.
void TKelvoThreadObject::KelvoNotLoggedIn()
{
    if (m_connection != nullptr && KelvoInterface->IsKelvoLoggedIn()) {
        Q_EMIT KelvoLoggedOut();
        EndLocationSharing();
    }
}

// When the SDK logs out, its report of the lost session leads to KelvoLoggedOut(); when it refuses,
// nobody is told.
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
