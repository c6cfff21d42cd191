// The worker on KelvoThread: the thread of each call, and a stop at different moments.
#include "support/GuiTestMain.h"
#include "tests/worker/TRunningWorker.h"

#include <QtTest/QtTest>

using fakes::FakeCall;
using fakes::FakeGate;
using fakes::FakeOperation;

class tst_WorkerThread : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void theThreadIsNamedKelvoThread();
    void runsEverySdkCallOnItsThread();
    void runsASessionFromLoginToLogout();
    void aStopBeforeTheLoopStillInitialisesAndFinalises();
    void aStopDuringALoginEndsIt();
    void aStopEndsARunningUploadAndKeepsTheFile();
    void aStopEndsARunningDownloadAndLeavesNoPartOfIt();
    void aStopLogsOutOfASession();
    void theAbortCheckIsFalseUntilTheStop();
    void requestsRightBeforeTheStopDoNoHarm();
    void startsAndEndsManyTimes();
};

void tst_WorkerThread::theThreadIsNamedKelvoThread()
{
    TRunningWorker f;
    QVERIFY(f.Run());
    QVERIFY(f.worker->thread() != thread());
    QCOMPARE(f.worker->thread()->objectName(), QStringLiteral("KelvoThread"));
    QVERIFY(f.worker->isRunning());
    f.worker->Stop();
    f.worker->wait();
    QVERIFY(!f.worker->isRunning());
    QCOMPARE(f.worker->thread(), thread());
}

void tst_WorkerThread::runsEverySdkCallOnItsThread()
{
    TRunningWorker f;
    QVERIFY(f.Run());
    QVERIFY(f.LogIn());
    f.hub->OnUploadToKelvoRequested(eCurves, {QStringLiteral("missing.zip")});
    QVERIFY(f.hubLog.WaitFor(QStringLiteral("KelvoUploadComplete")));
    f.End();
    const std::vector<FakeCall> calls = f.Script().Calls();
    QVERIFY(calls.size() > 10);
    for (const FakeCall& call : calls) {
        QVERIFY(call.thread == calls.front().thread);
        QVERIFY(call.thread != std::this_thread::get_id());
    }
}

// All signals to the screens, in this order.
void tst_WorkerThread::runsASessionFromLoginToLogout()
{
    TRunningWorker f;
    f.Farm().AddFile(f.Inbox(ePivots), L"pivot.zip", "content");
    QVERIFY(f.Run());
    QVERIFY(f.LogIn());
    QVERIFY(f.hub->IsKelvoLoggedIn());
    QVERIFY(!f.hub->IsKelvoLoginInProgress());
    QVERIFY(!f.hub->IsKelvoFileOperationInProgress());
    QCOMPARE(f.hub->GetKelvoProjectFilesList(ePivots).fileNames,
             QStringList{QStringLiteral("pivot.zip")});
    f.hub->OnLogoutFromKelvoRequested();
    QVERIFY(f.hubLog.WaitFor(QStringLiteral("KelvoLoggedOut")));
    QVERIFY(!f.hub->IsKelvoLoggedIn());
    QCOMPARE(f.hubLog.Names(), QString::fromLatin1("KelvoLoginRequested "
                                                   "KelvoLoginInProgress "
                                                   "KelvoLoggedIn "
                                                   "KelvoFileOperationInProgress "
                                                   "KelvoFileOperationComplete "
                                                   "NewKelvoProjectFilesList "
                                                   "NewKelvoProjectFilesList "
                                                   "NewKelvoProjectFilesList "
                                                   "NewKelvoProjectFilesList "
                                                   "NewKelvoProjectFilesList "
                                                   "NewKelvoProjectFilesList "
                                                   "KelvoLogoutRequested "
                                                   "KelvoLoggedOut")
                                   .split(QLatin1Char(' ')));
}

void tst_WorkerThread::aStopBeforeTheLoopStillInitialisesAndFinalises()
{
    for (int round = 0; round < 20; ++round) {
        TRunningWorker f;
        f.Make();
        f.worker->start(QThread::LowestPriority);
        f.worker->Stop();
        f.worker->wait();
        QCOMPARE(f.Script().Count(FakeOperation::eSubscribe), std::size_t(1));
        QCOMPARE(f.Script().Count(FakeOperation::eDestroy), std::size_t(1));
        QVERIFY(f.hub.isNull());
        QVERIFY(KelvoInterface == nullptr);
        QVERIFY(!f.worker->IsInitialised());
    }
}

void tst_WorkerThread::aStopDuringALoginEndsIt()
{
    TRunningWorker f;
    const auto gate = std::make_shared<FakeGate>();
    f.Script().HoldLoginOutcome(gate);
    QVERIFY(f.Run());
    f.hub->OnLoginToKelvoRequested();
    QVERIFY(f.hubLog.WaitFor(QStringLiteral("KelvoLoginInProgress")));
    f.End();
    QCOMPARE(f.Sdk().LiveCount(), std::size_t(0));
    QCOMPARE(f.hubLog.Count(QStringLiteral("KelvoLoggedIn")), 0);
}

void tst_WorkerThread::aStopEndsARunningUploadAndKeepsTheFile()
{
    TRunningWorker f;
    QVERIFY(f.Run());
    QVERIFY(f.LogIn());
    const auto gate = std::make_shared<FakeGate>(); // never opened
    f.Script().HoldAt(FakeOperation::eUpload, gate);
    const QStringList names{QStringLiteral("a.zip"), QStringLiteral("b.zip")};
    for (const QString& name : names)
        TWorkerFixture::WriteFile(TWorkerFixture::UploadFolder(eCurves) + name, "content");
    f.hub->OnUploadToKelvoRequested(eCurves, names);
    QVERIFY(gate->WaitUntilReached());
    f.End(); // blocks for ever without the abort check
    for (const QString& name : names)
        QVERIFY(QFile::exists(TWorkerFixture::UploadFolder(eCurves) + name));
    QVERIFY(f.Farm().FileNames(f.Inbox(eCurves)).empty());
}

void tst_WorkerThread::aStopEndsARunningDownloadAndLeavesNoPartOfIt()
{
    TRunningWorker f;
    f.Farm().AddFile(f.Inbox(eCurves), L"a.zip", "content");
    QVERIFY(f.Run());
    QVERIFY(f.LogIn());
    const auto gate = std::make_shared<FakeGate>(); // never opened
    f.Script().HoldAt(FakeOperation::eDownload, gate);
    f.hub->OnDownloadFromKelvoRequested(eCurves, {QStringLiteral("a.zip")});
    QVERIFY(gate->WaitUntilReached());
    const QString temporary = TWorkerFixture::TempFolder();
    f.End();
    QVERIFY(QDir(temporary).entryList(QDir::Files).isEmpty());
}

void tst_WorkerThread::aStopLogsOutOfASession()
{
    TRunningWorker f;
    QVERIFY(f.Run());
    QVERIFY(f.LogIn());
    f.End();
    QCOMPARE(f.Script().Count(FakeOperation::eLogout), std::size_t(1));
    QCOMPARE(f.Sdk().LiveCount(), std::size_t(0));
}

void tst_WorkerThread::theAbortCheckIsFalseUntilTheStop()
{
    TRunningWorker f;
    QVERIFY(f.Run());
    QVERIFY(f.LogIn());
    QList<bool> answers;
    f.Script().OnCall(FakeOperation::eGetProjects,
                      [&](const FakeCall&, const fakes::FakeAbortCheck& shouldAbort) {
                          answers << (shouldAbort ? shouldAbort() : true);
                      });
    f.hub->OnUploadToKelvoRequested(ePrescriptionMaps, {QStringLiteral("a.zip")});
    QVERIFY(f.hubLog.WaitFor(QStringLiteral("KelvoUploadComplete")));
    QCOMPARE(answers, QList<bool>{false});
}

void tst_WorkerThread::requestsRightBeforeTheStopDoNoHarm()
{
    TRunningWorker f;
    QVERIFY(f.Run());
    for (int round = 0; round < 50; ++round) {
        f.hub->OnLoginToKelvoRequested();
        f.hub->OnUploadToKelvoRequested(eCurves, {QStringLiteral("a.zip")});
        f.hub->OnDownloadFromKelvoRequested(ePivots, {QStringLiteral("b.zip")});
        f.hub->OnDeleteFilesRequested(eABLines, {QStringLiteral("c.zip")});
        f.hub->OnCancelCurrentOperationRequested();
    }
    f.End();
    QVERIFY(KelvoInterface == nullptr);
    QCOMPARE(f.Sdk().LiveCount(), std::size_t(0));
}

void tst_WorkerThread::startsAndEndsManyTimes()
{
    for (int round = 0; round < 20; ++round) {
        TRunningWorker f;
        QVERIFY(f.Run());
        QVERIFY(f.LogIn());
        f.End();
        QCOMPARE(f.Sdk().LiveCount(), std::size_t(0));
    }
}

KELVO_GUI_TEST_MAIN(tst_WorkerThread)
#include "tst_WorkerThread.moc"
