// The plug-in's listener of the SDK: the signal of each call, and its mutex.
#include "support/TestMain.h"
#include "tests/fakes/SignalLog.h"
#include "worker/TKESDKNotificationMgr.h"

#include <QtCore/QMetaMethod>
#include <QtCore/QSemaphore>
#include <QtTest/QtTest>

#include <atomic>
#include <limits>
#include <stdexcept>
#include <thread>

using kesdk::api::ConnectionState;
using kesdk::api::IResourceChangeNotification;
using kesdk::api::IServerConnectionNotification;
using ResourceChange = IResourceChangeNotification::ResourceChange;

class tst_NotificationManager : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void wantsExactlyTheTwoKindsOfEvents();
    void declaresItsSignalsInOrderAndNoSlots();
    void mapsConnectionStates_data();
    void mapsConnectionStates();
    void mapsResourceChanges_data();
    void mapsResourceChanges();
    void resourceIdComesFirstAndContainerIdSecond();
    void bothSdkPartsReachTheSameOperations();
    void emitsOnTheThreadThatCalls();
    void serialisesResourceChanges();
    void doesNotSerialiseConnectionChanges();
    void releasesTheMutexWhenAnEmissionThrows();
};

namespace {

constexpr int HANG_GUARD_MS = 30000;

ConnectionState State(int value)
{
    ConnectionState state;
    state.state = value;
    return state;
}

ResourceChange Change(int kind, int containerKind, long id = 7, unsigned long containerId = 9)
{
    ResourceChange change;
    change.changeKind = kind;
    change.resourceId = id;
    change.containerKind = containerKind;
    change.containerId = containerId;
    return change;
}

} // namespace

void tst_NotificationManager::wantsExactlyTheTwoKindsOfEvents()
{
    const TKESDKNotificationMgr manager;
    QCOMPARE(manager.SubscribedEvents(), (kesdk::api::EEventTypes{1, 2}));
}

void tst_NotificationManager::declaresItsSignalsInOrderAndNoSlots()
{
    const QMetaObject& meta = TKESDKNotificationMgr::staticMetaObject;
    QStringList signatures;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        QCOMPARE(meta.method(i).methodType(), QMetaMethod::Signal);
        signatures << QString::fromLatin1(meta.method(i).methodSignature() + ' ' +
                                          meta.method(i).parameterNames().join(','));
    }
    const QStringList expected{
        QStringLiteral("NotLoggedIn() "),
        QStringLiteral("LoginInProgress() "),
        QStringLiteral("LoginSuccessful() "),
        QStringLiteral("LoginFailed() "),
        QStringLiteral("FileModifiedInUserInbox(long,ulong) fileId,userInboxId"),
        QStringLiteral("FileModifiedInProjectInbox(long,ulong) fileId,projectInboxId"),
    };
    QCOMPARE(signatures, expected);
}

void tst_NotificationManager::mapsConnectionStates_data()
{
    QTest::addColumn<int>("value");
    QTest::addColumn<QStringList>("expected");
    const auto row = [](int value, const char* signal) {
        const QStringList expected =
            *signal ? QStringList{QString::fromLatin1(signal)} : QStringList();
        QTest::addRow("state %d", value) << value << expected;
    };
    row(0, "NotLoggedIn");
    row(1, "LoginInProgress");
    row(2, "");
    row(3, "LoginSuccessful");
    row(4, "LoginFailed");
    row(5, "");
    row(6, "");
    row(255, "");
    row(-1, "");
    row(std::numeric_limits<int>::max(), "");
    row(std::numeric_limits<int>::min(), "");
}

void tst_NotificationManager::mapsConnectionStates()
{
    QFETCH(int, value);
    QFETCH(QStringList, expected);
    fakes::SignalLog log;
    TKESDKNotificationMgr manager;
    log.Watch(&manager);
    manager.onServerConnectionChange(State(value));
    QCOMPARE(log.Names(), expected);
}

void tst_NotificationManager::mapsResourceChanges_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("containerKind");
    QTest::addColumn<QStringList>("expected");
    const auto row = [](int kind, int containerKind, const char* signal) {
        const QStringList expected =
            *signal ? QStringList{QString::fromLatin1(signal)} : QStringList();
        QTest::addRow("kind %d in container kind %d", kind, containerKind)
            << kind << containerKind << expected;
    };
    row(4, 2, "FileModifiedInUserInbox(7,9)");
    row(4, 1, "FileModifiedInProjectInbox(7,9)");
    for (const int containerKind : {-1, 0, 3, 4, 5})
        row(4, containerKind, "");
    for (const int kind : {-1, 0, 1, 2, 3, 5, 6}) {
        for (const int containerKind : {1, 2, 3})
            row(kind, containerKind, "");
    }
}

void tst_NotificationManager::mapsResourceChanges()
{
    QFETCH(int, kind);
    QFETCH(int, containerKind);
    QFETCH(QStringList, expected);
    fakes::SignalLog log;
    TKESDKNotificationMgr manager;
    log.Watch(&manager);
    manager.onResourceChange(Change(kind, containerKind));
    QCOMPARE(log.Texts(), expected);
}

void tst_NotificationManager::resourceIdComesFirstAndContainerIdSecond()
{
    fakes::SignalLog log;
    TKESDKNotificationMgr manager;
    log.Watch(&manager);
    manager.onResourceChange(Change(4, 2, -3, 0xFFFFFFFFUL));
    manager.onResourceChange(Change(4, 1, 0x7FFFFFFF, 0x80000000UL));
    QCOMPARE(log.Texts(),
             (QStringList{QStringLiteral("FileModifiedInUserInbox(-3,4294967295)"),
                          QStringLiteral("FileModifiedInProjectInbox(2147483647,2147483648)")}));
}

void tst_NotificationManager::bothSdkPartsReachTheSameOperations()
{
    fakes::SignalLog log;
    TKESDKNotificationMgr manager;
    log.Watch(&manager);
    IServerConnectionNotification& connectionPart = manager;
    IResourceChangeNotification& resourcePart = manager;
    connectionPart.onServerConnectionChange(State(3));
    resourcePart.onResourceChange(Change(4, 2));
    QCOMPARE(log.Names(), (QStringList{QStringLiteral("LoginSuccessful"),
                                       QStringLiteral("FileModifiedInUserInbox")}));
    // Both parts share one event set, because the base is virtual.
    kesdk::api::ISubscriable* byConnection = &connectionPart;
    kesdk::api::ISubscriable* byResource = &resourcePart;
    QCOMPARE(byConnection, byResource);
}

void tst_NotificationManager::emitsOnTheThreadThatCalls()
{
    fakes::SignalLog log;
    TKESDKNotificationMgr manager;
    log.Watch(&manager);
    std::thread sdk([&] {
        manager.onServerConnectionChange(State(0));
        manager.onResourceChange(Change(4, 1));
    });
    sdk.join();
    QCOMPARE(log.All().size(), 2);
    for (const fakes::LoggedSignal& signal : log.All())
        QVERIFY(signal.thread != thread());
}

void tst_NotificationManager::serialisesResourceChanges()
{
    TKESDKNotificationMgr manager;
    std::atomic<int> inside{0};
    std::atomic<int> mostInside{0};
    std::atomic<int> callers{0};
    const auto slot = [&] {
        mostInside = std::max(mostInside.load(), ++inside);
        for (int spin = 0; callers < 4 || spin < 200; ++spin)
            std::this_thread::yield(); // lets the other threads run
        --inside;
    };
    connect(&manager, &TKESDKNotificationMgr::FileModifiedInUserInbox, &manager, slot,
            Qt::DirectConnection);
    connect(&manager, &TKESDKNotificationMgr::FileModifiedInProjectInbox, &manager, slot,
            Qt::DirectConnection);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&, i] {
            ++callers;
            manager.onResourceChange(Change(4, 1 + i % 2));
        });
    }
    for (std::thread& each : threads)
        each.join();
    QCOMPARE(mostInside.load(), 1);
}

void tst_NotificationManager::doesNotSerialiseConnectionChanges()
{
    TKESDKNotificationMgr manager;
    QSemaphore inside;
    QSemaphore goOn;
    QSemaphore connectionChanged;
    connect(
        &manager, &TKESDKNotificationMgr::FileModifiedInUserInbox, &manager,
        [&] {
            inside.release();
            goOn.acquire(); // without a limit: only a report that came through counts
        },
        Qt::DirectConnection);
    connect(
        &manager, &TKESDKNotificationMgr::NotLoggedIn, &manager,
        [&] { connectionChanged.release(); }, Qt::DirectConnection);
    std::thread resourceThread([&] { manager.onResourceChange(Change(4, 2)); });
    QVERIFY(inside.tryAcquire(1, HANG_GUARD_MS));
    std::thread stateThread([&] { manager.onServerConnectionChange(State(0)); });
    const bool cameThrough = connectionChanged.tryAcquire(1, HANG_GUARD_MS);
    goOn.release();
    resourceThread.join();
    stateThread.join();
    QVERIFY(cameThrough);
}

void tst_NotificationManager::releasesTheMutexWhenAnEmissionThrows()
{
    TKESDKNotificationMgr manager;
    bool throws = true;
    int calls = 0;
    connect(
        &manager, &TKESDKNotificationMgr::FileModifiedInUserInbox, &manager,
        [&] {
            ++calls;
            if (throws)
                throw std::runtime_error("from a slot");
        },
        Qt::DirectConnection);
    QVERIFY_EXCEPTION_THROWN(manager.onResourceChange(Change(4, 2)), std::runtime_error);
    throws = false;
    manager.onResourceChange(Change(4, 2)); // blocks for ever if the mutex is held
    QCOMPARE(calls, 2);
}

KELVO_TEST_MAIN(tst_NotificationManager)
#include "tst_NotificationManager.moc"
