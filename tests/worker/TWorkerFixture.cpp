#include "tests/worker/TWorkerFixture.h"

#include "core/KelvoHelperFunctions.h"
#include "host/TSystemSettingsProxy.h"
#include "worker/ServiceProjects.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>

TWorkerFixture::TWorkerFixture() : features(hostimpl::TConfigStore::Process())
{
    SetCredentials(QStringLiteral("olga"), QStringLiteral("secret"));
    Sdk().Reset();
    userId = Farm().AddUser(L"olga", L"secret");
    Farm().AddTheSevenProjects();
    for (const wchar_t* name : SERVICE_PROJECT_NAMES)
        Farm().AddInbox(name, userId);
}

TWorkerFixture::~TWorkerFixture()
{
    if (worker && hub)
        Finish();
    worker.reset();
    delete hub;
    KelvoInterface = nullptr;
}

void TWorkerFixture::Make()
{
    hub = new TKelvoInterface;
    KelvoInterface = hub;
    worker = std::make_unique<TOpenWorker>(&gps, features, QStringLiteral("Host 1.0"));
    workerLog.Watch(worker.get());
    hubLog.Watch(hub);
}

void TWorkerFixture::Start(ESession session)
{
    if (session == ESession::eLoggedIn)
        Sdk().StartLoggedInAs(userId);
    Make();
    worker->Initialize();
    if (session == ESession::eLoggedIn)
        hub->OnLoggedIntoKelvo();
    hubLog.Clear();
    Script().ClearCalls();
}

void TWorkerFixture::Finish()
{
    worker->Finalize();
}

void TWorkerFixture::DeliverNotifications()
{
    if (auto* connection = Sdk().Live())
        connection->DrainNotifications();
    QCoreApplication::sendPostedEvents();
}

std::int64_t TWorkerFixture::Inbox(EKelvoProjects project)
{
    return Farm().InboxId(SERVICE_PROJECT_NAMES[project], userId);
}

QString TWorkerFixture::UploadFolder(EKelvoProjects project)
{
    return KelvoHelperFunctions::GetLocalKelvoUploadFolderPathForProject(project) +
           QLatin1Char('/');
}

QString TWorkerFixture::DownloadFolder(EKelvoProjects project)
{
    return KelvoHelperFunctions::GetLocalKelvoDownloadFolderPathForProject(project) +
           QLatin1Char('/');
}

QString TWorkerFixture::TempFolder()
{
    return TSystemSettingsProxy().GetKelvoTempDownloadFolderPath();
}

void TWorkerFixture::WriteFile(const QString& path, const QByteArray& content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("cannot write %s", qPrintable(path));
}

QByteArray TWorkerFixture::ReadFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void SetCredentials(const QVariant& user, const QVariant& password)
{
    auto& settings = hostimpl::TConfigStore::Process();
    settings.SetItem(USER_NAME_ITEM, user, false);
    settings.SetItem(PASSWORD_ITEM, password, false);
}

QStringList List(const char* text)
{
    return QString::fromLatin1(text).split(QLatin1Char('|'));
}

QStringList OneText(const char* text)
{
    return {QString::fromLatin1(text)};
}

QStringList Records(const KelvoFileTransferErrorDetailsList& errors)
{
    QStringList records;
    for (const KelvoFileTransferErrorDetails& error : errors)
        records << error.fileName + QStringLiteral(": ") + error.errorMsg;
    return records;
}
