// The hub's requests: the reference list in each request, the cancel request, and the calls through
// the virtual table.
#include "support/TestMain.h"
#include "tests/core/HubEvents.h"
#include "tests/fakes/SignalLog.h"

#include <QtTest/QtTest>

namespace {

// Counts the calls that reach the hub's own virtual operations.
class TCountingHub : public TKelvoInterface
{
public:
    void OnCancelCurrentOperationRequested() override
    {
        ++m_cancels;
        TKelvoInterface::OnCancelCurrentOperationRequested();
    }
    void RevertCancelCurrentOperation() override
    {
        ++m_reverts;
        TKelvoInterface::RevertCancelCurrentOperation();
    }

    int m_cancels = 0;
    int m_reverts = 0;
};

KelvoFileInfoList OneFile(long id, const char* name)
{
    KelvoFileInfoList list;
    list.fileIds = {id};
    list.fileNames = QStringList{QString::fromLatin1(name)};
    return list;
}

QStringList OneName()
{
    return {QStringLiteral("a.zip")};
}

} // namespace

class tst_HubRequests : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void loginWhileLoggedInOnlyEmitsLoggedIn();
    void logoutWhileLoggedOutOnlyEmitsLoggedOut();
    void aNewOperationClearsTheCancelOfThePreviousOne();
    void revertsTheCancelBeforeItRequestsTheUpload();
    void keepsTheCancelAfterLogoutUntilTheNextRequest();
    void downloadSendsTheListingOfItsProjectOnly();
    void downloadWithoutAListingSendsAnEmptyOne();
    void deleteSendsTheListingOfItsProjectOnly();
    void deleteWithoutAListingSendsAnEmptyOne();
    void aDownloadTakesItsListingBeforeTheFirstSignalAndADeletionAfterIt();
    void announcesTheSameListingTwice();
    void aNewListingReplacesTheOldListing();
    void loggingOutKeepsTheListings();
    void passesOnTheTextOfALoginFailureUnchanged();
    void callsItsOwnOperationsThroughTheVirtualTable_data();
    void callsItsOwnOperationsThroughTheVirtualTable();
    void announcesEachInboxSetupStep();
};

void tst_HubRequests::initTestCase()
{
    qRegisterMetaType<QList<KelvoFileTransferErrorDetails>>("KelvoFileTransferErrorDetailsList");
    qRegisterMetaType<KelvoFileInfoList>("KelvoFileInfoList");
}

void tst_HubRequests::loginWhileLoggedInOnlyEmitsLoggedIn()
{
    TKelvoInterface hub;
    hub.OnLoggedIntoKelvo();
    fakes::SignalLog log;
    log.Watch(&hub);
    hub.OnLoginToKelvoRequested();
    QCOMPARE(log.Names(), QStringList{QStringLiteral("KelvoLoggedIn")});
    QVERIFY(!hub.IsKelvoLoginInProgress());
}

void tst_HubRequests::logoutWhileLoggedOutOnlyEmitsLoggedOut()
{
    TKelvoInterface hub;
    fakes::SignalLog log;
    log.Watch(&hub);
    hub.OnLogoutFromKelvoRequested();
    QCOMPARE(log.Names(), QStringList{QStringLiteral("KelvoLoggedOut")});
    QVERIFY(!hub.IsCancelCurrentOperationRequested());
}

void tst_HubRequests::aNewOperationClearsTheCancelOfThePreviousOne()
{
    TKelvoInterface hub;
    hub.OnCancelCurrentOperationRequested();
    QVERIFY(hub.IsCancelCurrentOperationRequested());
    hub.OnUploadToKelvoRequested(eCurves, OneName());
    QVERIFY(!hub.IsCancelCurrentOperationRequested());
}

void tst_HubRequests::revertsTheCancelBeforeItRequestsTheUpload()
{
    TKelvoInterface hub;
    hub.OnCancelCurrentOperationRequested();
    QList<bool> cancelSeen;
    connect(&hub, &TKelvoInterface::KelvoUploadRequested, this,
            [&] { cancelSeen << hub.IsCancelCurrentOperationRequested(); });
    hub.OnUploadToKelvoRequested(eCurves, OneName());
    QCOMPARE(cancelSeen, QList<bool>{false});
}

void tst_HubRequests::keepsTheCancelAfterLogoutUntilTheNextRequest()
{
    TKelvoInterface hub;
    hub.OnLoggedIntoKelvo();
    hub.OnLoggedOutOfKelvo();
    QVERIFY(hub.IsCancelCurrentOperationRequested());
    hub.OnCancelLoginToKelvoRequested();
    hub.OnLogoutFromKelvoRequested();
    QVERIFY(hub.IsCancelCurrentOperationRequested());
    hub.OnLoginToKelvoRequested();
    QVERIFY(!hub.IsCancelCurrentOperationRequested());
}

void tst_HubRequests::downloadSendsTheListingOfItsProjectOnly()
{
    TKelvoInterface hub;
    hub.OnNewKelvoProjectFilesList(eCurves, OneFile(3, "curve.zip"));
    hub.OnNewKelvoProjectFilesList(ePivots, OneFile(4, "pivot.zip"));
    fakes::SignalLog log;
    log.Watch(&hub);
    hub.OnDownloadFromKelvoRequested(ePivots, OneName());
    QCOMPARE(log.Texts().last(), QStringLiteral("KelvoDownloadRequested(4,[a.zip],[4:pivot.zip])"));
}

void tst_HubRequests::downloadWithoutAListingSendsAnEmptyOne()
{
    TKelvoInterface hub;
    hub.OnNewKelvoProjectFilesList(eCurves, OneFile(3, "curve.zip"));
    fakes::SignalLog log;
    log.Watch(&hub);
    hub.OnDownloadFromKelvoRequested(ePivots, OneName());
    QCOMPARE(log.Texts().last(), QStringLiteral("KelvoDownloadRequested(4,[a.zip],[])"));
}

void tst_HubRequests::deleteSendsTheListingOfItsProjectOnly()
{
    TKelvoInterface hub;
    hub.OnNewKelvoProjectFilesList(eCurves, OneFile(3, "curve.zip"));
    hub.OnNewKelvoProjectFilesList(ePivots, OneFile(4, "pivot.zip"));
    fakes::SignalLog log;
    log.Watch(&hub);
    hub.OnDeleteFilesRequested(eCurves, OneName());
    QCOMPARE(log.Texts().last(),
             QStringLiteral("KelvoDeleteFilesRequested(3,[a.zip],[3:curve.zip])"));
}

void tst_HubRequests::deleteWithoutAListingSendsAnEmptyOne()
{
    TKelvoInterface hub;
    fakes::SignalLog log;
    log.Watch(&hub);
    hub.OnDeleteFilesRequested(eCurves, OneName());
    QCOMPARE(log.Texts().last(), QStringLiteral("KelvoDeleteFilesRequested(3,[a.zip],[])"));
}

void tst_HubRequests::aDownloadTakesItsListingBeforeTheFirstSignalAndADeletionAfterIt()
{
    TKelvoInterface hub;
    fakes::SignalLog log;
    log.Watch(&hub);
    connect(&hub, &TKelvoInterface::KelvoFileOperationInProgress, &hub,
            [&hub] { hub.OnNewKelvoProjectFilesList(ePivots, OneFile(5, "new.zip")); });
    hub.OnNewKelvoProjectFilesList(ePivots, OneFile(4, "old.zip"));
    hub.OnDownloadFromKelvoRequested(ePivots, OneName());
    QCOMPARE(log.Texts().last(), QStringLiteral("KelvoDownloadRequested(4,[a.zip],[4:old.zip])"));
    hub.OnNewKelvoProjectFilesList(ePivots, OneFile(4, "old.zip"));
    hub.OnDeleteFilesRequested(ePivots, OneName());
    QCOMPARE(log.Texts().last(),
             QStringLiteral("KelvoDeleteFilesRequested(4,[a.zip],[5:new.zip])"));
}

void tst_HubRequests::announcesTheSameListingTwice()
{
    TKelvoInterface hub;
    fakes::SignalLog log;
    log.Watch(&hub);
    hub.OnNewKelvoProjectFilesList(eProjectLines, OneFile(9, "line.zip"));
    hub.OnNewKelvoProjectFilesList(eProjectLines, OneFile(9, "line.zip"));
    const QString announced = QStringLiteral("NewKelvoProjectFilesList(6,[9:line.zip])");
    QCOMPARE(log.Texts(), (QStringList{announced, announced}));
    const KelvoFileInfoList kept = hub.GetKelvoProjectFilesList(eProjectLines);
    QCOMPARE(kept.fileIds, QList<long>{9L});
    QCOMPARE(kept.fileNames, QStringList{QStringLiteral("line.zip")});
}

void tst_HubRequests::aNewListingReplacesTheOldListing()
{
    TKelvoInterface hub;
    hub.OnNewKelvoProjectFilesList(eCurves, OneFile(3, "curve.zip"));
    hub.OnNewKelvoProjectFilesList(eCurves, KelvoFileInfoList());
    QVERIFY(hub.GetKelvoProjectFilesList(eCurves).fileIds.isEmpty());
    QVERIFY(hub.GetKelvoProjectFilesList(eCurves).fileNames.isEmpty());
}

void tst_HubRequests::loggingOutKeepsTheListings()
{
    TKelvoInterface hub;
    hub.OnLoggedIntoKelvo();
    hub.OnNewKelvoProjectFilesList(eCurves, OneFile(3, "curve.zip"));
    hub.OnLoggedOutOfKelvo();
    QCOMPARE(hub.GetKelvoProjectFilesList(eCurves).fileIds, QList<long>{3L});
}

void tst_HubRequests::passesOnTheTextOfALoginFailureUnchanged()
{
    TKelvoInterface hub;
    fakes::SignalLog log;
    log.Watch(&hub);
    hub.OnLoginToKelvoFailed(QStringLiteral("No.\nTry <b>again</b>. %1"));
    hub.OnLoginToKelvoFailed(QString());
    QCOMPARE(log.Texts(),
             (QStringList{QStringLiteral("KelvoLoginFailed(No.\nTry <b>again</b>. %1)"),
                          QStringLiteral("KelvoLoginFailed()")}));
}

void tst_HubRequests::callsItsOwnOperationsThroughTheVirtualTable_data()
{
    QTest::addColumn<int>("eventIndex");
    const QList<HubEvent> events = HubEvents();
    for (int e = 0; e < events.size(); ++e)
        QTest::newRow(events[e].name) << e;
}

void tst_HubRequests::callsItsOwnOperationsThroughTheVirtualTable()
{
    QFETCH(int, eventIndex);
    const HubEvent event = HubEvents().at(eventIndex);
    TCountingHub hub;
    event.happen(hub);
    QCOMPARE(hub.m_reverts, event.cancelRequested == EEffect::eClears ? 1 : 0);
    QCOMPARE(hub.m_cancels, event.cancelRequested == EEffect::eSets ? 1 : 0);
}

void tst_HubRequests::announcesEachInboxSetupStep()
{
    TKelvoInterface hub;
    fakes::SignalLog log;
    log.Watch(&hub);
    hub.OnKelvoUserInboxSetupInProgress(0);
    hub.OnCancelCurrentOperationRequested();
    hub.OnKelvoUserInboxSetupInProgress(50);
    QCOMPARE(log.Texts(), (QStringList{QStringLiteral("KelvoFileOperationInProgress()"),
                                       QStringLiteral("KelvoUserInboxSetupInProgress(0)"),
                                       QStringLiteral("KelvoFileOperationInProgress()"),
                                       QStringLiteral("KelvoUserInboxSetupInProgress(50)")}));
    QVERIFY(!hub.IsCancelCurrentOperationRequested());
}

KELVO_TEST_MAIN(tst_HubRequests)
#include "tst_HubRequests.moc"
