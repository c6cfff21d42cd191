#include "core/TKelvoInterface.h"

#include <QtCore/QReadLocker>
#include <QtCore/QWriteLocker>

TKelvoInterface* KelvoInterface = nullptr;

TKelvoInterface::TKelvoInterface() = default;

// ---- Requests. They read m_loggedIn without the lock: only this thread writes it.

void TKelvoInterface::OnLoginToKelvoRequested()
{
    RevertCancelCurrentOperation();
    if (m_loggedIn) {
        Q_EMIT KelvoLoggedIn();
    } else {
        Q_EMIT KelvoLoginRequested();
    }
}

void TKelvoInterface::OnCancelLoginToKelvoRequested()
{
    Q_EMIT KelvoCancelLoginRequested();
}

void TKelvoInterface::OnLogoutFromKelvoRequested()
{
    if (m_loggedIn) {
        Q_EMIT KelvoLogoutRequested();
    } else {
        Q_EMIT KelvoLoggedOut();
    }
}

void TKelvoInterface::OnUploadToKelvoRequested(EKelvoProjects project, const QStringList& names)
{
    BeginFileOperation();
    Q_EMIT KelvoFileOperationInProgress();
    Q_EMIT KelvoUploadRequested(project, names);
}

void TKelvoInterface::OnDownloadFromKelvoRequested(EKelvoProjects project, const QStringList& names)
{
    BeginFileOperation();
    const KelvoFileInfoList reference = m_projectFiles[project];
    Q_EMIT KelvoFileOperationInProgress();
    Q_EMIT KelvoDownloadRequested(project, names, reference);
}

void TKelvoInterface::OnDeleteFilesRequested(EKelvoProjects project, const QStringList& names)
{
    BeginFileOperation();
    Q_EMIT KelvoFileOperationInProgress();
    const KelvoFileInfoList reference = m_projectFiles[project];
    Q_EMIT KelvoDeleteFilesRequested(project, names, reference);
}

void TKelvoInterface::OnCancelCurrentOperationRequested()
{
    SetFlag(m_cancelRequested, true);
}

// ---- State.

bool TKelvoInterface::IsKelvoLoggedIn()
{
    return ReadFlag(m_loggedIn);
}

bool TKelvoInterface::IsKelvoLoginInProgress()
{
    return ReadFlag(m_loginInProgress);
}

bool TKelvoInterface::IsKelvoFileOperationInProgress()
{
    return ReadFlag(m_fileOperationInProgress);
}

bool TKelvoInterface::IsCancelCurrentOperationRequested()
{
    return ReadFlag(m_cancelRequested);
}

void TKelvoInterface::RevertCancelCurrentOperation()
{
    SetFlag(m_cancelRequested, false);
}

KelvoFileInfoList TKelvoInterface::GetKelvoProjectFilesList(EKelvoProjects project)
{
    const QReadLocker locker(&m_lock);
    return m_projectFiles[project];
}

// ---- Reports from the worker.

void TKelvoInterface::OnLoggingIntoKelvo()
{
    SetFlag(m_loginInProgress, true);
    Q_EMIT KelvoLoginInProgress();
}

void TKelvoInterface::OnLoggedIntoKelvo()
{
    {
        const QWriteLocker locker(&m_lock);
        m_loggedIn = true;
        m_loginInProgress = false;
    }
    Q_EMIT KelvoLoggedIn();
}

void TKelvoInterface::OnLoggedOutOfKelvo()
{
    SetFlag(m_loggedIn, false);
    Q_EMIT KelvoLoggedOut();
    // A running operation of the worker stops at its next poll.
    OnCancelCurrentOperationRequested();
}

void TKelvoInterface::OnLoginToKelvoFailed(QString errorMsg)
{
    {
        const QWriteLocker locker(&m_lock);
        m_loggedIn = false;
        m_loginInProgress = false;
    }
    Q_EMIT KelvoLoginFailed(errorMsg);
}

void TKelvoInterface::OnKelvoUploadComplete(int project,
                                            KelvoFileTransferErrorDetailsList errorList)
{
    SetFlag(m_fileOperationInProgress, false);
    Q_EMIT KelvoUploadComplete(project, errorList);
    Q_EMIT KelvoFileOperationComplete();
}

void TKelvoInterface::OnKelvoDownloadComplete(int project,
                                              KelvoFileTransferErrorDetailsList errorList)
{
    SetFlag(m_fileOperationInProgress, false);
    Q_EMIT KelvoDownloadComplete(project, errorList);
    Q_EMIT KelvoFileOperationComplete();
}

void TKelvoInterface::OnNewKelvoProjectFilesList(int project, KelvoFileInfoList newFileList)
{
    {
        const QWriteLocker locker(&m_lock);
        m_projectFiles[project] = newFileList;
    }
    Q_EMIT NewKelvoProjectFilesList(project, newFileList);
}

void TKelvoInterface::OnKelvoDeleteComplete(int project,
                                            KelvoFileTransferErrorDetailsList errorList)
{
    SetFlag(m_fileOperationInProgress, false);
    Q_EMIT KelvoDeleteComplete(project, errorList);
    Q_EMIT KelvoFileOperationComplete();
}

void TKelvoInterface::OnPostLoginChecksInProgress()
{
    SetFlag(m_fileOperationInProgress, true);
    Q_EMIT KelvoFileOperationInProgress();
}

void TKelvoInterface::OnPostLoginChecksComplete()
{
    SetFlag(m_fileOperationInProgress, false);
    Q_EMIT KelvoFileOperationComplete();
}

void TKelvoInterface::OnKelvoUserInboxSetupInProgress(int progress)
{
    BeginFileOperation();
    Q_EMIT KelvoFileOperationInProgress();
    Q_EMIT KelvoUserInboxSetupInProgress(progress);
}

void TKelvoInterface::OnKelvoUserInboxSetupComplete(
    KelvoFileTransferErrorDetailsList userInboxSetupErrors)
{
    SetFlag(m_fileOperationInProgress, false);
    // Transfers emit the two signals in the other order. Here the second signal makes the login
    // panel log out, so the file operation has to be complete before.
    Q_EMIT KelvoFileOperationComplete();
    Q_EMIT KelvoUserInboxSetupComplete(userInboxSetupErrors);
}

// ---- Flags.

bool TKelvoInterface::ReadFlag(const bool& flag)
{
    const QReadLocker locker(&m_lock);
    return flag;
}

void TKelvoInterface::SetFlag(bool& flag, bool value)
{
    const QWriteLocker locker(&m_lock);
    flag = value;
}

// A new operation clears a cancel request of the previous operation.
void TKelvoInterface::BeginFileOperation()
{
    RevertCancelCurrentOperation();
    SetFlag(m_fileOperationInProgress, true);
}
