// The worker's construction, start on its thread, connections and end.
#include "worker/TKelvoThreadObject.h"

#include "core/TKelvoInterface.h"
#include "host/TAppFeatures.h"
#include "host/TGPSCoordinator.h"
#include "host/TSystemSettings.h"
#include "kesdk/api/IEnterpriseConnection.h"
#include "worker/ApiBaseUrl.h"
#include "worker/SdkBoundary.h"
#include "worker/TKESDKNotificationMgr.h"

#include <QtCore/QThread>
#include <QtCore/QTimer>

namespace {

constexpr int LOCATION_INTERVAL_MS = 60000;

std::unique_ptr<wchar_t[]> WideCopy(const QString& text)
{
    const int size = text.length() + 1;
    std::unique_ptr<wchar_t[]> copy(new wchar_t[static_cast<std::size_t>(size)]);
    QStringToTCHAR(text, copy.get(), size);
    return copy;
}

} // namespace

struct TKelvoThreadObject::TConnection
{
    const QObject* sender;
    const char* signal;
    const QObject* receiver;
    const char* method;
};

TKelvoThreadObject::TKelvoThreadObject(const TGPSCoordinator* gpsCoordinator,
                                       const TAppFeatures& features, const QString& hostString)
    : TThreadedObject(QStringLiteral("KelvoThread")),
      m_apiBaseUrl(KELVO_API_BASE_URL),
      m_gpsCoordinator(gpsCoordinator),
      m_features(&features)
{
    // Qt drops a queued argument if its type is not registered under the name in the signature.
    qRegisterMetaType<QList<KelvoFileTransferErrorDetails>>("KelvoFileTransferErrorDetailsList");
    qRegisterMetaType<KelvoFileInfoList>("KelvoFileInfoList");

    m_zipExtension = WideCopy(TSystemSettings::ZIPExtension);
    m_zip2Extension = WideCopy(TSystemSettings::ZIP2Extension);
    m_hostString = WideCopy(hostString);
}

TKelvoThreadObject::~TKelvoThreadObject() = default;

void TKelvoThreadObject::Initialize()
{
    CleanupKESDK();
    if (!kesdk::api::CreateKESDKInstance(&m_connection,
                                         KELVO_API_BASE_URL.toLatin1().constData())) {
        m_connection = nullptr;
        return;
    }
    // A stop of the thread ends a running transfer.
    m_connection->SetAbortCheck([] { return QThread::currentThread()->isInterruptionRequested(); });
    m_apiBaseUrl = KELVO_API_BASE_URL;

    m_notificationMgr = new TKESDKNotificationMgr;
    m_connection->Subscribe(m_notificationMgr);

    if (m_locationTimer == nullptr) {
        m_locationTimer = new QTimer(this);
        m_locationTimer->setInterval(LOCATION_INTERVAL_MS);
    }
    MakeInterfaceConnections();
}

void TKelvoThreadObject::MakeInterfaceConnections()
{
    const TConnection connections[] = {
        {m_gpsCoordinator, SIGNAL(GPSLost(bool)), this, SLOT(OnGPSLost(bool))},
        {m_locationTimer, SIGNAL(timeout()), this, SLOT(OnShareCurrentLocationWithKelvo())},

        {KelvoInterface, SIGNAL(KelvoLoginRequested()), this, SLOT(OnLoginToKelvo())},
        {KelvoInterface, SIGNAL(KelvoCancelLoginRequested()), this, SLOT(OnCancelLoginToKelvo())},
        {KelvoInterface, SIGNAL(KelvoLogoutRequested()), this, SLOT(OnLogoutFromKelvo())},
        {KelvoInterface, SIGNAL(KelvoUploadRequested(int, QStringList)), this,
         SLOT(OnUploadToKelvo(int, QStringList))},
        {KelvoInterface, SIGNAL(KelvoDownloadRequested(int, QStringList, KelvoFileInfoList)), this,
         SLOT(OnDownloadFromKelvo(int, QStringList, KelvoFileInfoList))},
        {KelvoInterface, SIGNAL(KelvoDeleteFilesRequested(int, QStringList, KelvoFileInfoList)),
         this, SLOT(OnDeleteFromKelvo(int, QStringList, KelvoFileInfoList))},

        {this, SIGNAL(KelvoLoginInProgress()), KelvoInterface, SLOT(OnLoggingIntoKelvo())},
        {this, SIGNAL(KelvoLoggedIn()), KelvoInterface, SLOT(OnLoggedIntoKelvo())},
        {this, SIGNAL(KelvoLoggedOut()), KelvoInterface, SLOT(OnLoggedOutOfKelvo())},
        {this, SIGNAL(KelvoLoginFailed(QString)), KelvoInterface,
         SLOT(OnLoginToKelvoFailed(QString))},
        {this, SIGNAL(PostLoginChecksInProgress()), KelvoInterface,
         SLOT(OnPostLoginChecksInProgress())},
        {this, SIGNAL(PostLoginChecksComplete()), KelvoInterface,
         SLOT(OnPostLoginChecksComplete())},
        {this, SIGNAL(KelvoUserInboxSetupInProgress(int)), KelvoInterface,
         SLOT(OnKelvoUserInboxSetupInProgress(int))},
        {this, SIGNAL(KelvoUserInboxSetupComplete(KelvoFileTransferErrorDetailsList)),
         KelvoInterface, SLOT(OnKelvoUserInboxSetupComplete(KelvoFileTransferErrorDetailsList))},
        {this, SIGNAL(KelvoUploadingFile(int, QString)), KelvoInterface,
         SIGNAL(KelvoUploadingFile(int, QString))},
        {this, SIGNAL(KelvoUploadComplete(int, KelvoFileTransferErrorDetailsList)), KelvoInterface,
         SLOT(OnKelvoUploadComplete(int, KelvoFileTransferErrorDetailsList))},
        {this, SIGNAL(KelvoDownloadingFile(int, QString)), KelvoInterface,
         SIGNAL(KelvoDownloadingFile(int, QString))},
        {this, SIGNAL(KelvoDownloadComplete(int, KelvoFileTransferErrorDetailsList)),
         KelvoInterface, SLOT(OnKelvoDownloadComplete(int, KelvoFileTransferErrorDetailsList))},
        {this, SIGNAL(NewKelvoProjectFilesList(int, KelvoFileInfoList)), KelvoInterface,
         SLOT(OnNewKelvoProjectFilesList(int, KelvoFileInfoList))},
        {this, SIGNAL(KelvoDeletingFile(int, QString)), KelvoInterface,
         SIGNAL(KelvoDeletingFile(int, QString))},
        {this, SIGNAL(KelvoDeleteComplete(int, KelvoFileTransferErrorDetailsList)), KelvoInterface,
         SLOT(OnKelvoDeleteComplete(int, KelvoFileTransferErrorDetailsList))},
    };
    for (const TConnection& connection : connections) {
        connect(connection.sender, connection.signal, connection.receiver, connection.method);
    }
    MakeKESDKConnections();
}

void TKelvoThreadObject::MakeKESDKConnections()
{
    const TConnection connections[] = {
        {m_notificationMgr, SIGNAL(NotLoggedIn()), this, SLOT(KelvoNotLoggedIn())},
        {m_notificationMgr, SIGNAL(LoginInProgress()), this, SIGNAL(KelvoLoginInProgress())},
        {m_notificationMgr, SIGNAL(LoginSuccessful()), this, SLOT(KelvoLoginSuccessful())},
        {m_notificationMgr, SIGNAL(LoginFailed()), this, SLOT(OnKelvoLoginFailed())},
        {m_notificationMgr, SIGNAL(FileModifiedInUserInbox(long, unsigned long)), this,
         SLOT(OnFileModifiedInUserInbox(long, unsigned long))},
        {m_notificationMgr, SIGNAL(FileModifiedInProjectInbox(long, unsigned long)), this,
         SLOT(OnFileModifiedInProjectInbox(long, unsigned long))},
    };
    for (const TConnection& connection : connections) {
        connect(connection.sender, connection.signal, connection.receiver, connection.method);
    }
}

// Intended to replace the connection by a connection to another URL. Nothing calls it.
void TKelvoThreadObject::RecreateKESDKInstance(QString) {}

void TKelvoThreadObject::CleanupKESDK()
{
    if (m_connection == nullptr) {
        return;
    }
    m_notificationMgr->disconnect();
    m_connection->Unsubscribe(m_notificationMgr);
    delete m_connection;
    m_connection = nullptr;
    delete m_notificationMgr;
    m_notificationMgr = nullptr;
}

void TKelvoThreadObject::Finalize()
{
    if (m_locationTimer != nullptr) {
        m_locationTimer->stop();
    }
    OnLogoutFromKelvo();
    CleanupKESDK();

    // The worker, not the root object, deletes the hub. Nothing uses the hub afterwards.
    delete KelvoInterface;
    KelvoInterface = nullptr;

    m_zipExtension.reset();
    m_zip2Extension.reset();
    m_hostString.reset();
}
