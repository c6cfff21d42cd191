// The plug-in session: the readiness of the worker, the hub's signals, the end.
#include "console/fixtures/WorkerPlugin.h"
#include "console/session/TPluginSession.h"
#include "core/TKelvoInterface.h"
#include "support/HangGuard.h"
#include "support/TestMain.h"

#include <QtCore/QLibrary>
#include <QtTest/QSignalSpy>

#include <memory>

using console::TPluginSession;
using kelvo::test::HANG_GUARD_MS;

class TPluginSessionTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private:
    QString m_error;

    static TWorkerPluginState& State()
    {
        QLibrary library(QStringLiteral(WorkerPlugin_PATH));
        return *reinterpret_cast<TGetWorkerPluginState>(library.resolve("WorkerPluginState"))();
    }

    bool Start(TPluginSession& session)
    {
        return session.Start(QStringLiteral(WorkerPlugin_PATH), nullptr, m_error);
    }

private Q_SLOTS:
    void init()
    {
        m_error.clear();
        State().isConnecting = true;
        State().logins = 0;
        State().initializePermits.tryAcquire(State().initializePermits.available());
    }

    void reportsTheWorkerWhenItsInitializeHasReturned()
    {
        TPluginSession session;
        QSignalSpy ready(&session, &TPluginSession::WorkerReady);
        QVERIFY2(Start(session), qUtf8Printable(m_error));
        QCoreApplication::processEvents();
        QCOMPARE(ready.count(), 0); // Initialize() still waits
        State().initializePermits.release();
        QVERIFY(ready.wait(HANG_GUARD_MS));
        session.Hub()->OnLoginToKelvoRequested();
        QTRY_COMPARE_WITH_TIMEOUT(State().logins.load(), 1, HANG_GUARD_MS);
    }

    // As the plug-in's worker does if its SDK cannot be set up.
    void reportsAWorkerThatDoesNotConnectToTheHub()
    {
        State().isConnecting = false;
        State().initializePermits.release();
        TPluginSession session;
        const QSignalSpy ready(&session, &TPluginSession::WorkerReady);
        QSignalSpy failed(&session, &TPluginSession::WorkerFailed);
        QVERIFY(Start(session));
        QVERIFY(failed.wait(HANG_GUARD_MS));
        QCOMPARE(ready.count(), 0);
    }

    void reportsAWorkerThatIsNotReadyInTime()
    {
        TPluginSession session(1);
        QSignalSpy ready(&session, &TPluginSession::WorkerReady);
        QSignalSpy failed(&session, &TPluginSession::WorkerFailed);
        QVERIFY(Start(session));
        QVERIFY(failed.wait(HANG_GUARD_MS));
        QCOMPARE(ready.count(), 0);
        State().initializePermits.release();
        QVERIFY(ready.wait(HANG_GUARD_MS)); // late, but ready
        QCOMPARE(failed.count(), 1);
    }

    void stopsAPluginWhoseWorkerIsNotReady()
    {
        TPluginSession session;
        const QSignalSpy ready(&session, &TPluginSession::WorkerReady);
        const QSignalSpy failed(&session, &TPluginSession::WorkerFailed);
        QVERIFY(Start(session));
        State().initializePermits.release();
        session.Stop();
        QVERIFY(session.Hub() == nullptr);
        QCoreApplication::processEvents();
        QCOMPARE(ready.count(), 0);
        QCOMPARE(failed.count(), 0);
    }

    void reportsNothingOfAPluginThatDoesNotStart()
    {
        TPluginSession session;
        const QSignalSpy ready(&session, &TPluginSession::WorkerReady);
        const QSignalSpy failed(&session, &TPluginSession::WorkerFailed);
        QVERIFY(!session.Start(QStringLiteral(ThrowingPlugin_PATH), nullptr, m_error));
        QVERIFY(m_error.contains(QStringLiteral("no memory for the worker")));
        QCoreApplication::processEvents();
        QCOMPARE(ready.count(), 0);
        QCOMPARE(failed.count(), 0);
    }

    void passesOnTheHubsSignals()
    {
        State().initializePermits.release();
        TPluginSession session;
        QSignalSpy ready(&session, &TPluginSession::WorkerReady);
        QVERIFY(Start(session));
        QVERIFY(ready.wait(HANG_GUARD_MS));
        QList<console::EHubSignal> heard;
        QVERIFY(session.Listen([&heard](const console::THubEvent& event) { heard << event.signal; },
                               m_error));
        session.Hub()->OnLoggedIntoKelvo();
        QCOMPARE(heard, QList<console::EHubSignal>({console::EHubSignal::eLoggedIn}));
    }
};

KELVO_TEST_MAIN(TPluginSessionTest)
#include "tst_PluginSession.moc"
