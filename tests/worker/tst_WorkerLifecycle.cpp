// The worker's start and end on the test's thread: the order of the SDK calls, and the behaviour
// when a part is missing.
#include "support/GuiTestMain.h"
#include "tests/worker/TWorkerFixture.h"

#include <QtCore/QTimer>
#include <QtTest/QtTest>

using fakes::FakeCall;
using fakes::FakeOperation;
using ESession = TWorkerFixture::ESession;

class tst_WorkerLifecycle : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void createsTheConnectionWithTheApisBaseUrl();
    void subscribesTheListenerForBothKindsOfEvents();
    void createsATimerOfOneMinuteAndDoesNotStartIt();
    void aSecondInitializeCreatesNoSecondTimer();
    void aSecondInitializeLeavesNothingBehind();
    void aFailedFactoryLeavesNoConnections();
    void everySlotReturnsAtOnceAfterAFailedFactory_data();
    void everySlotReturnsAtOnceAfterAFailedFactory();
    void finalizeLogsOutThenUnsubscribesThenDeletesTheConnection();
    void finalizeWhileLoggedOutDoesNotLogOut();
    void finalizeContinuesAfterAFailedLogout();
    void finalizeDeletesTheHubAndNullsItsPointer();
    void finalizeDeletesTheHubAfterTheConnection();
    void sendsTheHostStringUnchanged();
    void finalizeStopsTheTimer();
    void finalizeWithoutAConnectionStopsTheTimerAndDeletesTheHub();
    void cleanupIsSafeTwiceAndWithoutAConnection();
    void noSdkSignalArrivesAfterCleanup();
    void recreatingTheInstanceChangesNothing();
    void aWorkerThatNeverStartedIsDeletedWithoutTheHub();
};

namespace {

QList<FakeOperation> Only(fakes::FakeScript& script, const QList<FakeOperation>& wanted)
{
    QList<FakeOperation> operations;
    for (const FakeCall& call : script.Calls()) {
        if (wanted.contains(call.operation))
            operations << call.operation;
    }
    return operations;
}

} // namespace

void tst_WorkerLifecycle::createsTheConnectionWithTheApisBaseUrl()
{
    TWorkerFixture f;
    f.Make();
    f.worker->Initialize();
    const std::vector<std::string> urls = f.Sdk().FactoryUrls();
    QCOMPARE(urls.size(), std::size_t(1));
    const QUrl url(QString::fromStdString(urls.front()), QUrl::StrictMode);
    QVERIFY(url.isValid());
    QCOMPARE(url.scheme(), QStringLiteral("https"));
    QCOMPARE(url.path(), QStringLiteral("/kelvo-api"));
    QVERIFY(!url.host().isEmpty());
    QCOMPARE(f.Sdk().LiveCount(), std::size_t(1));
}

void tst_WorkerLifecycle::subscribesTheListenerForBothKindsOfEvents()
{
    TWorkerFixture f;
    f.Make();
    f.worker->Initialize();
    const std::vector<FakeCall> calls = f.Script().Calls(FakeOperation::eSubscribe);
    QCOMPARE(calls.size(), std::size_t(1));
    QCOMPARE(calls.front().listener->SubscribedEvents(), (kesdk::api::EEventTypes{1, 2}));
}

void tst_WorkerLifecycle::createsATimerOfOneMinuteAndDoesNotStartIt()
{
    TWorkerFixture f;
    f.Start();
    const QList<QTimer*> timers = f.worker->findChildren<QTimer*>();
    QCOMPARE(timers.size(), 1);
    QCOMPARE(timers.first()->parent(), f.worker.get());
    QCOMPARE(timers.first()->interval(), 60000);
    QVERIFY(!timers.first()->isSingleShot());
    QVERIFY(!timers.first()->isActive());
}

void tst_WorkerLifecycle::aSecondInitializeCreatesNoSecondTimer()
{
    TWorkerFixture f;
    f.Start(ESession::eLoggedOut);
    const QTimer* const timer = f.worker->findChild<QTimer*>();
    f.worker->Initialize();
    QCOMPARE(f.worker->findChildren<QTimer*>(), QList<QTimer*>{const_cast<QTimer*>(timer)});
}

// The end of the worker deletes also the first connection and the first listener.
void tst_WorkerLifecycle::aSecondInitializeLeavesNothingBehind()
{
    TWorkerFixture f;
    f.Start(ESession::eLoggedOut);
    f.worker->Initialize();
    f.Finish();
    QCOMPARE(f.Sdk().LiveCount(), std::size_t(0));
}

void tst_WorkerLifecycle::aFailedFactoryLeavesNoConnections()
{
    TWorkerFixture f;
    f.Sdk().FailFactory();
    f.Make();
    f.worker->Initialize();
    QVERIFY(f.Script().Calls().empty());
    QVERIFY(f.worker->findChildren<QTimer*>().isEmpty());
    QVERIFY(!QObject::disconnect(f.hub, nullptr, f.worker.get(), nullptr));
    QVERIFY(!QObject::disconnect(f.worker.get(), nullptr, f.hub, nullptr));
    QVERIFY(!QObject::disconnect(&f.gps, nullptr, f.worker.get(), nullptr));
    QVERIFY(f.workerLog.All().isEmpty());
    QVERIFY(f.hub);
}

void tst_WorkerLifecycle::everySlotReturnsAtOnceAfterAFailedFactory_data()
{
    QTest::addColumn<int>("slot");
    const QMetaObject& meta = TKelvoThreadObject::staticMetaObject;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        if (meta.method(i).methodType() == QMetaMethod::Slot)
            QTest::newRow(meta.method(i).name().constData()) << i;
    }
}

void tst_WorkerLifecycle::everySlotReturnsAtOnceAfterAFailedFactory()
{
    QFETCH(int, slot);
    TWorkerFixture f;
    f.Sdk().FailFactory();
    f.Make();
    f.worker->Initialize();
    const QMetaMethod method = TKelvoThreadObject::staticMetaObject.method(slot);
    const QStringList names{QStringLiteral("a.zip")};
    KelvoFileInfoList reference;
    reference.fileIds = {1L};
    reference.fileNames = names;
    const QByteArray types = method.parameterTypes().join(',');
    bool called = false;
    if (types.isEmpty())
        called = method.invoke(f.worker.get(), Qt::DirectConnection);
    else if (types == "bool")
        called = method.invoke(f.worker.get(), Qt::DirectConnection, Q_ARG(bool, false));
    else if (types == "int,QStringList")
        called = method.invoke(f.worker.get(), Qt::DirectConnection, Q_ARG(int, 3),
                               Q_ARG(QStringList, names));
    else if (types == "int,QStringList,KelvoFileInfoList")
        called = method.invoke(f.worker.get(), Qt::DirectConnection, Q_ARG(int, 3),
                               Q_ARG(QStringList, names), Q_ARG(KelvoFileInfoList, reference));
    else if (types == "long,ulong")
        called =
            method.invoke(f.worker.get(), Qt::DirectConnection, Q_ARG(long, 1L), Q_ARG(ulong, 2UL));
    QVERIFY(called);
    QVERIFY(f.Script().Calls().empty());
    f.Finish();
    QVERIFY(KelvoInterface == nullptr);
}

void tst_WorkerLifecycle::finalizeLogsOutThenUnsubscribesThenDeletesTheConnection()
{
    TWorkerFixture f;
    f.Start(ESession::eLoggedIn);
    f.Finish();
    QCOMPARE(Only(f.Script(),
                  {FakeOperation::eLogout, FakeOperation::eUnsubscribe, FakeOperation::eDestroy}),
             (QList<FakeOperation>{FakeOperation::eLogout, FakeOperation::eUnsubscribe,
                                   FakeOperation::eDestroy}));
    QCOMPARE(f.Script().Calls().back().operation, FakeOperation::eDestroy);
    QCOMPARE(f.Sdk().LiveCount(), std::size_t(0));
}

void tst_WorkerLifecycle::finalizeWhileLoggedOutDoesNotLogOut()
{
    TWorkerFixture f;
    f.Start(ESession::eLoggedOut);
    f.Finish();
    QCOMPARE(f.Script().Count(FakeOperation::eLogout), std::size_t(0));
    QCOMPARE(f.workerLog.Count(QStringLiteral("KelvoLoggedOut")), 1);
    QCOMPARE(f.Sdk().LiveCount(), std::size_t(0));
}

void tst_WorkerLifecycle::finalizeContinuesAfterAFailedLogout()
{
    TWorkerFixture f;
    f.Start(ESession::eLoggedIn);
    f.Script().FailAlways(FakeOperation::eLogout, fakes::OneError(L"no link"));
    f.Finish();
    QCOMPARE(f.Script().Count(FakeOperation::eLogout), std::size_t(1));
    QCOMPARE(f.Sdk().LiveCount(), std::size_t(0));
    QVERIFY(f.hub.isNull());
}

void tst_WorkerLifecycle::finalizeDeletesTheHubAndNullsItsPointer()
{
    TWorkerFixture f;
    f.Start();
    QVERIFY(KelvoInterface == f.hub);
    f.Finish();
    QVERIFY(f.hub.isNull());
    QVERIFY(KelvoInterface == nullptr);
}

void tst_WorkerLifecycle::finalizeDeletesTheHubAfterTheConnection()
{
    TWorkerFixture f;
    f.Start(ESession::eLoggedIn);
    int callsWithHub = 0;
    const auto seeHub = [&](const fakes::FakeCall&, const fakes::FakeAbortCheck&) {
        callsWithHub += KelvoInterface != nullptr && !f.hub.isNull() ? 1 : 0;
    };
    for (const FakeOperation operation :
         {FakeOperation::eLogout, FakeOperation::eUnsubscribe, FakeOperation::eDestroy})
        f.Script().OnCall(operation, seeHub);
    f.Finish();
    QCOMPARE(callsWithHub, 3);
}

void tst_WorkerLifecycle::sendsTheHostStringUnchanged()
{
    TWorkerFixture f;
    const QString text = QString::fromUtf8("H\xC3\xB6st \xE2\x82\xAC \xF0\x9F\x9A\x9C");
    f.Sdk().StartLoggedInAs(f.userId);
    f.hub = new TKelvoInterface;
    KelvoInterface = f.hub;
    f.worker = std::make_unique<TOpenWorker>(&f.gps, f.features, text);
    f.worker->Initialize();
    f.Call("KelvoLoginSuccessful");
    QVERIFY(f.Sdk().Live()->Environments().front().console.hostString == text.toStdWString());
}

void tst_WorkerLifecycle::finalizeStopsTheTimer()
{
    TWorkerFixture f;
    f.Start();
    auto* timer = f.worker->findChild<QTimer*>();
    timer->start();
    QVERIFY(timer->isActive());
    f.Finish();
    timer = f.worker->findChild<QTimer*>();
    QVERIFY(!timer || !timer->isActive());
}

void tst_WorkerLifecycle::finalizeWithoutAConnectionStopsTheTimerAndDeletesTheHub()
{
    TWorkerFixture f;
    f.Start();
    auto* timer = f.worker->findChild<QTimer*>();
    timer->start();
    f.worker->CleanupKESDK();
    QCOMPARE(f.Sdk().LiveCount(), std::size_t(0));
    f.Finish();
    timer = f.worker->findChild<QTimer*>();
    QVERIFY(!timer || !timer->isActive());
    QVERIFY(f.hub.isNull());
    QVERIFY(KelvoInterface == nullptr);
}

void tst_WorkerLifecycle::cleanupIsSafeTwiceAndWithoutAConnection()
{
    TWorkerFixture f;
    f.Make();
    f.worker->CleanupKESDK();
    QVERIFY(f.Script().Calls().empty());
    f.worker->Initialize();
    f.worker->CleanupKESDK();
    const std::size_t calls = f.Script().Calls().size();
    f.worker->CleanupKESDK();
    QCOMPARE(f.Script().Calls().size(), calls);
    QCOMPARE(Only(f.Script(), {FakeOperation::eUnsubscribe, FakeOperation::eDestroy}),
             (QList<FakeOperation>{FakeOperation::eUnsubscribe, FakeOperation::eDestroy}));
    const auto subscribed = f.Script().Calls(FakeOperation::eSubscribe);
    const auto withdrawn = f.Script().Calls(FakeOperation::eUnsubscribe);
    QCOMPARE(withdrawn.front().listener, subscribed.front().listener);
}

void tst_WorkerLifecycle::noSdkSignalArrivesAfterCleanup()
{
    TWorkerFixture f;
    f.Start();
    for (int i = 0; i < 100; ++i)
        f.Sdk().Live()->PostState(0);
    f.worker->CleanupKESDK();
    f.workerLog.Clear();
    QCoreApplication::processEvents();
    QVERIFY(f.workerLog.All().isEmpty());
}

void tst_WorkerLifecycle::recreatingTheInstanceChangesNothing()
{
    TWorkerFixture f;
    f.Start();
    const auto* const connection = f.Sdk().Live();
    for (const char* url : {"", "https://elsewhere/kelvo-api", "nonsense"})
        f.worker->RecreateKESDKInstance(QString::fromLatin1(url));
    QCOMPARE(f.Sdk().FactoryUrls().size(), std::size_t(1));
    QCOMPARE(f.Sdk().Live(), connection);
    QVERIFY(f.Script().Calls().empty());
    QVERIFY(f.workerLog.All().isEmpty());
}

void tst_WorkerLifecycle::aWorkerThatNeverStartedIsDeletedWithoutTheHub()
{
    TWorkerFixture f;
    f.Make();
    f.worker.reset();
    QVERIFY(f.hub);
    QVERIFY(KelvoInterface == f.hub);
    QVERIFY(f.Script().Calls().empty());
}

KELVO_GUI_TEST_MAIN(tst_WorkerLifecycle)
#include "tst_WorkerLifecycle.moc"
