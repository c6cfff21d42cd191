// Every event in each of the hub's 16 states: the flags afterwards, and the emitted signals in
// order.
#include "support/TestMain.h"
#include "tests/core/HubEvents.h"
#include "tests/core/HubStates.h"
#include "tests/fakes/SignalLog.h"

#include <QtTest/QtTest>

class tst_HubStateMachine : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void startsWithAllFlagsFalseAndNoLists();
    void followsTheTable_data();
    void followsTheTable();
    void flagsAreChangedBeforeTheSignalsAreEmitted_data();
    void flagsAreChangedBeforeTheSignalsAreEmitted();
};

void tst_HubStateMachine::initTestCase()
{
    qRegisterMetaType<QList<KelvoFileTransferErrorDetails>>("KelvoFileTransferErrorDetailsList");
    qRegisterMetaType<KelvoFileInfoList>("KelvoFileInfoList");
}

void tst_HubStateMachine::startsWithAllFlagsFalseAndNoLists()
{
    TKelvoInterface hub;
    QCOMPARE(TextOf(HubStateOf(hub)), TextOf(HubState()));
    for (int kind = 0; kind < KELVO_PROJECT_COUNT; ++kind) {
        const auto list = hub.GetKelvoProjectFilesList(static_cast<EKelvoProjects>(kind));
        QVERIFY(list.fileIds.isEmpty());
        QVERIFY(list.fileNames.isEmpty());
    }
}

void tst_HubStateMachine::followsTheTable_data()
{
    QTest::addColumn<int>("eventIndex");
    QTest::addColumn<int>("stateNumber");
    const QList<HubEvent> events = HubEvents();
    for (int e = 0; e < events.size(); ++e) {
        for (int state = 0; state < HUB_STATE_COUNT; ++state)
            QTest::addRow("%s in state %d", events[e].name, state) << e << state;
    }
}

void tst_HubStateMachine::followsTheTable()
{
    QFETCH(int, eventIndex);
    QFETCH(int, stateNumber);
    const HubEvent event = HubEvents().at(eventIndex);
    const HubState before = HubStateOf(stateNumber);

    TKelvoInterface hub;
    BringInto(hub, before);
    QCOMPARE(TextOf(HubStateOf(hub)), TextOf(before));
    fakes::SignalLog log;
    log.Watch(&hub);
    event.happen(hub);

    HubState expected;
    expected.loggedIn = After(event.loggedIn, before.loggedIn);
    expected.loginInProgress = After(event.loginInProgress, before.loginInProgress);
    expected.fileOperationInProgress =
        After(event.fileOperationInProgress, before.fileOperationInProgress);
    expected.cancelRequested = After(event.cancelRequested, before.cancelRequested);
    QCOMPARE(TextOf(HubStateOf(hub)), TextOf(expected));
    QCOMPARE(log.Texts(), before.loggedIn ? event.emittedLoggedIn : event.emittedLoggedOut);
}

void tst_HubStateMachine::flagsAreChangedBeforeTheSignalsAreEmitted_data()
{
    QTest::addColumn<int>("eventIndex");
    const QList<HubEvent> events = HubEvents();
    for (int e = 0; e < events.size(); ++e)
        QTest::newRow(events[e].name) << e;
}

// A listener of a signal reads the flags as they are after the event. One exception: a logged-out
// report requests the cancel after its signal.
void tst_HubStateMachine::flagsAreChangedBeforeTheSignalsAreEmitted()
{
    QFETCH(int, eventIndex);
    const HubEvent event = HubEvents().at(eventIndex);
    TKelvoInterface hub;
    BringInto(hub, HubStateOf(eventIndex % HUB_STATE_COUNT));
    const bool cancelBefore = hub.IsCancelCurrentOperationRequested();

    QList<HubState> seen;
    fakes::SignalLog log;
    log.OnEach([&](const fakes::LoggedSignal&) { seen.append(HubStateOf(hub)); });
    log.Watch(&hub);
    event.happen(hub);

    HubState expected = HubStateOf(hub);
    if (QByteArray(event.name) == "worker: logged out")
        expected.cancelRequested = cancelBefore;
    QCOMPARE(seen.size(), event.emittedLoggedIn.size());
    for (const HubState& state : seen)
        QCOMPARE(TextOf(state), TextOf(expected));
}

KELVO_TEST_MAIN(tst_HubStateMachine)
#include "tst_HubStateMachine.moc"
