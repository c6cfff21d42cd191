#include "console/session/THubListener.h"

#include "core/TKelvoInterface.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QMetaMethod>

#include <utility>

namespace {

using console::EHubSignal;

struct TConnection
{
    EHubSignal signal;
    const char* arguments;
    const char* slot;
};

// Every signal of the hub, in the order of EHubSignal.
const TConnection connectionTable[] = {
    {EHubSignal::eLoginRequested, "()", SLOT(OnPlain())},
    {EHubSignal::eCancelLoginRequested, "()", SLOT(OnPlain())},
    {EHubSignal::eLogoutRequested, "()", SLOT(OnPlain())},
    {EHubSignal::eUploadRequested, "(int,QStringList)", SLOT(OnFileNames(int, QStringList))},
    {EHubSignal::eDownloadRequested, "(int,QStringList,KelvoFileInfoList)",
     SLOT(OnFileNames(int, QStringList, KelvoFileInfoList))},
    {EHubSignal::eDeleteFilesRequested, "(int,QStringList,KelvoFileInfoList)",
     SLOT(OnFileNames(int, QStringList, KelvoFileInfoList))},
    {EHubSignal::eLoginInProgress, "()", SLOT(OnPlain())},
    {EHubSignal::eLoggedIn, "()", SLOT(OnPlain())},
    {EHubSignal::eLoggedOut, "()", SLOT(OnPlain())},
    {EHubSignal::eLoginFailed, "(QString)", SLOT(OnMessage(QString))},
    {EHubSignal::eUploadingFile, "(int,QString)", SLOT(OnFile(int, QString))},
    {EHubSignal::eUploadComplete, "(int,KelvoFileTransferErrorDetailsList)",
     SLOT(OnProjectErrors(int, KelvoFileTransferErrorDetailsList))},
    {EHubSignal::eDownloadingFile, "(int,QString)", SLOT(OnFile(int, QString))},
    {EHubSignal::eDownloadComplete, "(int,KelvoFileTransferErrorDetailsList)",
     SLOT(OnProjectErrors(int, KelvoFileTransferErrorDetailsList))},
    {EHubSignal::eFileOperationInProgress, "()", SLOT(OnPlain())},
    {EHubSignal::eFileOperationComplete, "()", SLOT(OnPlain())},
    {EHubSignal::eNewProjectFilesList, "(int,KelvoFileInfoList)",
     SLOT(OnFiles(int, KelvoFileInfoList))},
    {EHubSignal::eDeletingFile, "(int,QString)", SLOT(OnFile(int, QString))},
    {EHubSignal::eDeleteComplete, "(int,KelvoFileTransferErrorDetailsList)",
     SLOT(OnProjectErrors(int, KelvoFileTransferErrorDetailsList))},
    {EHubSignal::eUserInboxSetupInProgress, "(int)", SLOT(OnProgress(int))},
    {EHubSignal::eUserInboxSetupComplete, "(KelvoFileTransferErrorDetailsList)",
     SLOT(OnErrors(KelvoFileTransferErrorDetailsList))},
};

} // namespace

namespace console {

THubListener::THubListener(THandler handler) : m_handler(std::move(handler)) {}

bool THubListener::Attach(TKelvoInterface& hub, QString& errorText)
{
    for (const TConnection& row : connectionTable) {
        const QByteArray signature =
            QByteArray(SignalName(row.signal).latin1()) + QByteArray(row.arguments);
        const int index = hub.metaObject()->indexOfSignal(signature.constData());
        // The same string as SIGNAL() makes.
        const QByteArray signal = QByteArray::number(QSIGNAL_CODE) + signature;
        if (index < 0 || !connect(&hub, signal.constData(), this, row.slot)) {
            errorText = QCoreApplication::translate("PluginHost", "The hub has no signal %1.")
                            .arg(QString::fromLatin1(signature));
            return false;
        }
        m_signals.insert(index, row.signal);
    }
    return true;
}

THubEvent THubListener::Event() const
{
    THubEvent event;
    event.signal = m_signals.value(senderSignalIndex());
    return event;
}

void THubListener::OnPlain()
{
    m_handler(Event());
}

void THubListener::OnMessage(QString message)
{
    THubEvent event = Event();
    event.message = message;
    m_handler(event);
}

void THubListener::OnProgress(int progress)
{
    THubEvent event = Event();
    event.progress = progress;
    m_handler(event);
}

void THubListener::OnFile(int project, QString fileName)
{
    THubEvent event = Event();
    event.project = project;
    event.fileName = fileName;
    m_handler(event);
}

void THubListener::OnFileNames(int project, QStringList fileNames, KelvoFileInfoList files)
{
    THubEvent event = Event();
    event.project = project;
    event.fileNames = fileNames;
    event.files = files;
    m_handler(event);
}

void THubListener::OnFiles(int project, KelvoFileInfoList files)
{
    THubEvent event = Event();
    event.project = project;
    event.files = files;
    m_handler(event);
}

void THubListener::OnErrors(KelvoFileTransferErrorDetailsList errors)
{
    THubEvent event = Event();
    event.errors = errors;
    m_handler(event);
}

void THubListener::OnProjectErrors(int project, KelvoFileTransferErrorDetailsList errors)
{
    THubEvent event = Event();
    event.project = project;
    event.errors = errors;
    m_handler(event);
}

} // namespace console
