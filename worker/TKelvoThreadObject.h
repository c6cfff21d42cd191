// The worker: the only object that talks to the service.
#pragma once

#include "core/KelvoRecords.h"
#include "host/TThreadedObject.h"

#include <QtCore/QList>
#include <QtCore/QStringList>

#include <memory>
#include <optional>
#include <utility>

class QTimer;
class TAppFeatures;
class TGPSCoordinator;
class TKESDKNotificationMgr;
class TReferenceIndex;

namespace kesdk::api {
class IEnterpriseConnection;
struct EnterpriseResourceWithContent;
} // namespace kesdk::api

// Performs login, post-login checks, inbox set-up, listing, upload, download with unpacking and
// deletion, by synchronous calls of the SDK.
//
// Thread: constructed on the main thread. Then it lives on its thread "KelvoThread", where all its
// slots run one after the other. Signals start its operations: from the hub, the SDK's listener,
// the GPS coordinator and the timer. It reads the hub's logged-in flag and cancel request directly.
// Ownership: the root object owns the worker. The worker owns the SDK connection and the
// notification manager, and deletes the hub in Finalize().
// Errors: if no SDK connection can be created, the worker connects no signals and every slot
// returns at once.
// Each duty has a .cpp file: TKelvoThreadObject (life and connections), Session, Inboxes, Listing,
// Upload, Download, Delete, Location. The order of signals and slots is part of the contract.
class TKelvoThreadObject : public TThreadedObject
{
    Q_OBJECT

public:
    // The coordinator and the features are not owned and must outlive the worker.
    TKelvoThreadObject(const TGPSCoordinator* gpsCoordinator, const TAppFeatures& features,
                       const QString& hostString);
    ~TKelvoThreadObject() override;

    // Logs in if both credentials are stored. Worker thread.
    void AutoLogin();

Q_SIGNALS:
    void KelvoLoginInProgress();
    void KelvoLoggedIn();
    void KelvoLoginFailed(QString errorMsg);
    void KelvoLoggedOut();
    void PostLoginChecksInProgress();
    void PostLoginChecksComplete();
    void KelvoUserInboxSetupInProgress(int progress);
    void KelvoUserInboxSetupComplete(KelvoFileTransferErrorDetailsList createInboxFolderErrorList);
    void KelvoUploadingFile(int project, QString filename);
    void KelvoUploadComplete(int, KelvoFileTransferErrorDetailsList);
    void KelvoDownloadingFile(int project, QString filename);
    void KelvoDownloadComplete(int, KelvoFileTransferErrorDetailsList);
    void NewKelvoProjectFilesList(int, KelvoFileInfoList);
    void KelvoDeletingFile(int project, QString filename);
    void KelvoDeleteComplete(int project, KelvoFileTransferErrorDetailsList);

protected:
    // Whether an id was found, and the id (0 if not).
    using TFoundId = std::pair<bool, qint64>;

    void Initialize() override;
    void Finalize() override;

    void MakeInterfaceConnections();
    void MakeKESDKConnections();
    void RecreateKESDKInstance(QString url);
    void CleanupKESDK();

    // The id of the kind's project on the service. It is also the id of the project inbox.
    TFoundId GetProjectInboxId(EKelvoProjects project);
    // The id of the logged-in user's inbox in the kind's project, for every kind.
    TFoundId GetToConsoleProjectUserInboxId(EKelvoProjects project);
    // True if the user's inbox exists afterwards.
    bool CreateUserInbox(EKelvoProjects project);
    // Starts location sharing if there is a fix and the hub's logged-in flag is set.
    void PrepareForLocationSharing();
    // Stops location sharing. Removes the receiver from the service in any case.
    void EndLocationSharing();

    // Appends every kind whose user inbox does not exist.
    void CheckKelvoAccountSetup(QList<EKelvoProjects>& missing);
    void SetupKelvoUserInboxes(QList<EKelvoProjects> missing);

    // Reads an inbox and emits its listing. Looks the inbox up if its id is not given.
    void RefreshToConsoleFileList(EKelvoProjects project, bool useGivenInboxId, long inboxId);
    // Whether the first occurrence of an archive suffix is at the end of the name.
    bool IsFileNameDownloadable(const wchar_t* fileName) const;

    // Unpacks and removes every archive of the temporary download folder. Returns true if all were
    // unpacked. Appends a record for each archive that was not.
    bool ManageKelvoDownloads(EKelvoProjects project,
                              QList<KelvoFileTransferErrorDetails>& errorList);

private Q_SLOTS:
    void OnLoginToKelvo();
    void OnCancelLoginToKelvo();
    void OnLogoutFromKelvo();
    void OnUploadToKelvo(int toProject, QStringList fileNamesToUpload);
    void OnDownloadFromKelvo(int fromProject, QStringList fileNamesToDownload,
                             KelvoFileInfoList referenceFileInfoList);
    void OnDeleteFromKelvo(int fromProject, QStringList filesToDelete,
                           KelvoFileInfoList referenceFileInfoList);
    void OnGPSLost(bool isLost);
    void OnShareCurrentLocationWithKelvo();
    void KelvoNotLoggedIn();
    void KelvoLoginSuccessful();
    void OnKelvoLoginFailed();
    void OnFileModifiedInUserInbox(long fileId, unsigned long userInboxId);
    void OnFileModifiedInProjectInbox(long fileId, unsigned long projectInboxId);

private:
    struct TConnection;
    using TErrors = QList<KelvoFileTransferErrorDetails>;
    using TResource = kesdk::api::EnterpriseResourceWithContent;

    // Reads and drops the SDK's error records, after a failure that the operator is not shown.
    void DropLastErrors();
    QString UserFolderCreationFailed(EKelvoProjects project) const;
    std::optional<qint64> FindOrCreateUserFolder(EKelvoProjects project, TErrors& errors);
    void UploadOne(EKelvoProjects project, qint64 folderId, const QString& name, TErrors& errors);
    void AppendSdkError(const QString& name, TErrors& errors);
    bool FindRemoteFile(const TReferenceIndex& reference, const QString& name,
                        const QString& notListedText, TResource& found, TErrors& errors);
    void DownloadOne(EKelvoProjects project, const TResource& file, const QString& name,
                     const QString& folder, TErrors& errors);

    QString m_apiBaseUrl; // the URL of the current SDK connection
    QTimer* m_locationTimer = nullptr;
    bool m_gpsValid = false;
    const TGPSCoordinator* m_gpsCoordinator;
    const TAppFeatures* m_features;
    kesdk::api::IEnterpriseConnection* m_connection = nullptr;
    TKESDKNotificationMgr* m_notificationMgr = nullptr;
    std::unique_ptr<wchar_t[]> m_zipExtension;
    std::unique_ptr<wchar_t[]> m_zip2Extension;
    std::unique_ptr<wchar_t[]> m_hostString;
};
