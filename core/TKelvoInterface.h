// The hub between the screens, the host and the worker.
#pragma once

#include "core/KelvoExport.h"
#include "core/KelvoRecords.h"

#include <QtCore/QObject>
#include <QtCore/QReadWriteLock>

// Keeps the state flags and the latest remote file lists. Turns requests into signals for the
// worker, and the worker's reports into signals for the screens.
//
// Thread: main. The worker's thread reads the flags and reverts a cancel request, under the lock.
// Signals are emitted without the lock.
// Ownership: the root object creates the hub; the worker deletes it in Finalize(). No parent.
// Errors: none. Project numbers have to be 0 to 6; the hub does not check them.
//
//   flag                        set by                              cleared by
//   loggedIn                    logged in                           login failed, logged out
//   loginInProgress             login in progress                   logged in, login failed
//   fileOperationInProgress     transfer or deletion requested,     their completions, checks
//                               checks or inbox set-up running      complete, set-up complete
//   cancelRequested             cancel requested, logged out        login or new operation, worker
//
// The order of the virtual operations and of the signals and slots is part of the contract.
class TKelvoInterface : public QObject
{
    Q_OBJECT

public:
    TKelvoInterface();

    // Requests. Main thread, not blocking. The answer is a signal.
    virtual void OnLoginToKelvoRequested();
    virtual void OnCancelLoginToKelvoRequested();
    virtual void OnLogoutFromKelvoRequested();
    virtual void OnUploadToKelvoRequested(EKelvoProjects project, const QStringList& names);
    virtual void OnDownloadFromKelvoRequested(EKelvoProjects project, const QStringList& names);
    virtual void OnDeleteFilesRequested(EKelvoProjects project, const QStringList& names);
    // The running operation finishes its current file and stops before the next file.
    virtual void OnCancelCurrentOperationRequested();

    // State. Any thread.
    virtual bool IsKelvoLoggedIn();
    virtual bool IsKelvoLoginInProgress();
    virtual bool IsKelvoFileOperationInProgress();
    virtual bool IsCancelCurrentOperationRequested();
    virtual void RevertCancelCurrentOperation();
    virtual KelvoFileInfoList GetKelvoProjectFilesList(EKelvoProjects project);

Q_SIGNALS:
    void KelvoLoginRequested();
    void KelvoCancelLoginRequested();
    void KelvoLogoutRequested();
    void KelvoUploadRequested(int toProject, QStringList fileNamesToUpload);
    void KelvoDownloadRequested(int fromProject, QStringList fileNamesToDownload,
                                KelvoFileInfoList referenceFileInfoList);
    void KelvoDeleteFilesRequested(int fromProject, QStringList fileNamesToDelete,
                                   KelvoFileInfoList referenceFileInfoList);
    void KelvoLoginInProgress();
    void KelvoLoggedIn();
    void KelvoLoggedOut();
    void KelvoLoginFailed(QString errorMsg);
    void KelvoUploadingFile(int project, QString filename);
    void KelvoUploadComplete(int project, KelvoFileTransferErrorDetailsList);
    void KelvoDownloadingFile(int project, QString filename);
    void KelvoDownloadComplete(int project, KelvoFileTransferErrorDetailsList);
    void KelvoFileOperationInProgress();
    void KelvoFileOperationComplete();
    void NewKelvoProjectFilesList(int project, KelvoFileInfoList newFileList);
    void KelvoDeletingFile(int project, QString filename);
    void KelvoDeleteComplete(int project, KelvoFileTransferErrorDetailsList);
    void KelvoUserInboxSetupInProgress(int progress);
    void KelvoUserInboxSetupComplete(KelvoFileTransferErrorDetailsList userInboxSetupErrors);

public Q_SLOTS:
    // Reports from the worker.
    void OnLoggingIntoKelvo();
    void OnLoggedIntoKelvo();
    void OnLoggedOutOfKelvo();
    void OnLoginToKelvoFailed(QString errorMsg);
    void OnKelvoUploadComplete(int project, KelvoFileTransferErrorDetailsList errorList);
    void OnKelvoDownloadComplete(int project, KelvoFileTransferErrorDetailsList errorList);
    void OnNewKelvoProjectFilesList(int project, KelvoFileInfoList newFileList);
    void OnKelvoDeleteComplete(int project, KelvoFileTransferErrorDetailsList errorList);
    void OnPostLoginChecksInProgress();
    void OnPostLoginChecksComplete();
    void OnKelvoUserInboxSetupInProgress(int progress);
    void OnKelvoUserInboxSetupComplete(KelvoFileTransferErrorDetailsList userInboxSetupErrors);

private:
    bool ReadFlag(const bool& flag);
    void SetFlag(bool& flag, bool value);
    void BeginFileOperation();

    bool m_loggedIn = false;
    bool m_loginInProgress = false;
    bool m_fileOperationInProgress = false;
    bool m_cancelRequested = false;
    KelvoFileInfoList m_projectFiles[KELVO_PROJECT_COUNT];
    QReadWriteLock m_lock; // guards the four flags and m_projectFiles
};

// The process-wide hub; null before the plug-in is initialised and after it is finalised.
extern "C" KELVO_EXPORT TKelvoInterface* KelvoInterface;
