// The worker's table of connections: the effect of each connection between the threads.
#include "support/GuiTestMain.h"
#include "tests/fakes/Declarations.h"
#include "tests/worker/TRunningWorker.h"

#include <QtTest/QtTest>

using fakes::FakeOperation;

using fakes::Lines;

class tst_WorkerReports : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void workerReportsReachTheHub();
    void progressIsRelayedSignalToSignal();
    void aReportArrivesOnTheHubsThread();
    void hubRequestsReachTheWorker();
    void sdkStatesReachTheWorker();
    void sdkChangesReachTheWorker();
};

void tst_WorkerReports::workerReportsReachTheHub()
{
    TRunningWorker f;
    QVERIFY(f.Run());
    TOpenWorker* const worker = f.worker.get();
    const KelvoFileTransferErrorDetailsList errors{
        {QStringLiteral("a.zip"), QStringLiteral("lost")}};
    KelvoFileInfoList files;
    files.fileIds = {7L};
    files.fileNames = QStringList{QStringLiteral("a.zip")};
    // Emitted on the worker's thread, as the worker does.
    QMetaObject::invokeMethod(worker, [=] {
        Q_EMIT worker->KelvoLoginInProgress();
        Q_EMIT worker->KelvoLoginFailed(QStringLiteral("why"));
        Q_EMIT worker->KelvoLoggedIn();
        Q_EMIT worker->PostLoginChecksInProgress();
        Q_EMIT worker->PostLoginChecksComplete();
        Q_EMIT worker->KelvoUserInboxSetupInProgress(14);
        Q_EMIT worker->KelvoUserInboxSetupComplete(errors);
        Q_EMIT worker->KelvoUploadComplete(1, errors);
        Q_EMIT worker->KelvoDownloadComplete(2, errors);
        Q_EMIT worker->KelvoDeleteComplete(3, errors);
        Q_EMIT worker->NewKelvoProjectFilesList(4, files);
        Q_EMIT worker->KelvoLoggedOut();
    });
    QVERIFY(f.hubLog.WaitFor(QStringLiteral("KelvoLoggedOut")));
    QCOMPARE(f.hubLog.Texts(), Lines(R"(
KelvoLoginInProgress()
KelvoLoginFailed(why)
KelvoLoggedIn()
KelvoFileOperationInProgress()
KelvoFileOperationComplete()
KelvoFileOperationInProgress()
KelvoUserInboxSetupInProgress(14)
KelvoFileOperationComplete()
KelvoUserInboxSetupComplete([a.zip:lost])
KelvoUploadComplete(1,[a.zip:lost])
KelvoFileOperationComplete()
KelvoDownloadComplete(2,[a.zip:lost])
KelvoFileOperationComplete()
KelvoDeleteComplete(3,[a.zip:lost])
KelvoFileOperationComplete()
NewKelvoProjectFilesList(4,[7:a.zip])
KelvoLoggedOut()
)"));
}

void tst_WorkerReports::progressIsRelayedSignalToSignal()
{
    TRunningWorker f;
    QVERIFY(f.Run());
    TOpenWorker* const worker = f.worker.get();
    QMetaObject::invokeMethod(worker, [worker] {
        Q_EMIT worker->KelvoUploadingFile(1, QStringLiteral("up.zip"));
        Q_EMIT worker->KelvoDownloadingFile(2, QStringLiteral("down.zip"));
        Q_EMIT worker->KelvoDeletingFile(3, QStringLiteral("gone.zip"));
    });
    QVERIFY(f.hubLog.WaitFor(QStringLiteral("KelvoDeletingFile")));
    QCOMPARE(f.hubLog.Texts(), Lines(R"(
KelvoUploadingFile(1,up.zip)
KelvoDownloadingFile(2,down.zip)
KelvoDeletingFile(3,gone.zip)
)"));
}

void tst_WorkerReports::aReportArrivesOnTheHubsThread()
{
    TRunningWorker f;
    QVERIFY(f.Run());
    QVERIFY(f.LogIn());
    const auto signalsOfHub = f.hubLog.All();
    QVERIFY(signalsOfHub.size() > 6);
    for (const fakes::LoggedSignal& signal : signalsOfHub)
        QCOMPARE(signal.thread, thread());
    for (const fakes::LoggedSignal& signal : f.workerLog.All())
        QVERIFY(signal.thread != thread() || signal.name == QLatin1String("KelvoLoginInProgress"));
}

void tst_WorkerReports::hubRequestsReachTheWorker()
{
    TRunningWorker f;
    f.Farm().AddFile(f.Inbox(ePivots), L"pivot.zip", "not an archive");
    f.Farm().AddFile(f.Inbox(eABLines), L"line.zip", "not an archive");
    QVERIFY(f.Run());
    QVERIFY(f.LogIn());
    TWorkerFixture::WriteFile(TWorkerFixture::UploadFolder(eCurves) + QStringLiteral("curve.zip"),
                              "content");
    f.hub->OnUploadToKelvoRequested(eCurves, {QStringLiteral("curve.zip")});
    QVERIFY(f.hubLog.WaitFor(QStringLiteral("KelvoUploadComplete")));
    f.hub->OnDownloadFromKelvoRequested(ePivots, {QStringLiteral("pivot.zip")});
    QVERIFY(f.hubLog.WaitFor(QStringLiteral("KelvoDownloadComplete")));
    f.hub->OnDeleteFilesRequested(eABLines, {QStringLiteral("line.zip")});
    QVERIFY(f.hubLog.WaitFor(QStringLiteral("KelvoDeleteComplete")));
    f.hub->OnLogoutFromKelvoRequested();
    QVERIFY(f.hubLog.WaitFor(QStringLiteral("KelvoLoggedOut")));
    for (const FakeOperation operation :
         {FakeOperation::eLogin, FakeOperation::eUpload, FakeOperation::eDownload,
          FakeOperation::eDelete, FakeOperation::eLogout})
        QCOMPARE(f.Script().Count(operation), std::size_t(1));
}

void tst_WorkerReports::sdkStatesReachTheWorker()
{
    TRunningWorker f;
    f.Sdk().StartLoggedInAs(f.userId);
    QVERIFY(f.Run());
    fakes::FakeEnterpriseConnection* const connection = f.Sdk().Live();
    connection->PostState(1);
    QVERIFY(f.hubLog.WaitFor(QStringLiteral("KelvoLoginInProgress")));
    connection->PostState(4);
    QVERIFY(f.hubLog.WaitFor(QStringLiteral("KelvoLoginFailed")));
    connection->PostState(3);
    QVERIFY(f.hubLog.WaitFor(QStringLiteral("NewKelvoProjectFilesList"), 6));
    connection->PostState(2);
    connection->PostState(0);
    QVERIFY(f.hubLog.WaitFor(QStringLiteral("KelvoLoggedOut")));
}

void tst_WorkerReports::sdkChangesReachTheWorker()
{
    TRunningWorker f;
    f.Sdk().StartLoggedInAs(f.userId);
    QVERIFY(f.Run());
    fakes::FakeEnterpriseConnection::ResourceChange change;
    change.containerId = static_cast<unsigned long>(f.Inbox(eCurves));
    f.Sdk().Live()->PostChange(change);
    QVERIFY(f.hubLog.WaitFor(QStringLiteral("NewKelvoProjectFilesList")));
    change.containerKind = 1;
    change.containerId = static_cast<unsigned long>(f.Farm().ProjectId(L"Pivots"));
    f.Sdk().Live()->PostChange(change);
    QVERIFY(f.hubLog.WaitFor(QStringLiteral("NewKelvoProjectFilesList"), 2));
    QCOMPARE(f.hubLog.Texts(), Lines(R"(
NewKelvoProjectFilesList(3,[])
NewKelvoProjectFilesList(4,[])
)"));
}

KELVO_GUI_TEST_MAIN(tst_WorkerReports)
#include "tst_WorkerReports.moc"
