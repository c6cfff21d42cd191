// The set-up of a user's missing inboxes.
#include "support/GuiTestMain.h"
#include "tests/worker/TEmptyFarm.h"
#include "tests/worker/TTranslations.h"

#include <QtTest/QtTest>

using fakes::FakeCall;
using fakes::FakeOperation;
using fakes::OneError;

class tst_InboxSetup : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void settingUpNothingEmitsNothing();
    void progressIsTruncatedPercent_data();
    void progressIsTruncatedPercent();
    void reportsAFailedCreationAndContinues();
    void theTextsAreTranslatedBeforeTheNameIsFilledIn();
    void theCancelIsRevertedBeforeTheCompletion();
};

void tst_InboxSetup::settingUpNothingEmitsNothing()
{
    TWorkerFixture f;
    f.Start();
    f.worker->SetupKelvoUserInboxes({});
    QVERIFY(f.workerLog.All().isEmpty());
    QVERIFY(f.Script().Calls().empty());
}

void tst_InboxSetup::progressIsTruncatedPercent_data()
{
    QTest::addColumn<int>("kinds");
    QTest::addColumn<QList<int>>("expected");
    QTest::newRow("one") << 1 << QList<int>{0, 100};
    QTest::newRow("two") << 2 << QList<int>{0, 50, 100};
    QTest::newRow("three") << 3 << QList<int>{0, 33, 66, 100};
    QTest::newRow("four") << 4 << QList<int>{0, 25, 50, 75, 100};
    QTest::newRow("five") << 5 << QList<int>{0, 20, 40, 60, 80, 100};
    QTest::newRow("six") << 6 << QList<int>{0, 16, 33, 50, 66, 83, 100};
    QTest::newRow("seven") << 7 << QList<int>{0, 14, 28, 42, 57, 71, 85, 100};
}

void tst_InboxSetup::progressIsTruncatedPercent()
{
    QFETCH(int, kinds);
    QFETCH(QList<int>, expected);
    TWorkerFixture f;
    f.Start();
    QList<EKelvoProjects> missing;
    for (int kind = 0; kind < kinds; ++kind)
        missing << static_cast<EKelvoProjects>(kind);
    f.worker->SetupKelvoUserInboxes(missing);
    QList<int> progress;
    for (const auto& signal : f.workerLog.Of(QStringLiteral("KelvoUserInboxSetupInProgress")))
        progress << signal.arguments.first().toInt();
    QCOMPARE(progress, expected);
    QCOMPARE(f.workerLog.Texts().last(), QStringLiteral("KelvoUserInboxSetupComplete([])"));
}

void tst_InboxSetup::reportsAFailedCreationAndContinues()
{
    TEmptyFarm f;
    f.Farm().AddTheSevenProjects();
    f.Start();
    f.Script().FailNth(FakeOperation::eCreateUserInbox, 2, OneError(L"not shown"));
    f.worker->SetupKelvoUserInboxes({ePivots, eCurves, eJobReports});
    QCOMPARE(f.workerLog.Texts(),
             (QStringList{
                 QStringLiteral("KelvoUserInboxSetupInProgress(0)"),
                 QStringLiteral("KelvoUserInboxSetupInProgress(33)"),
                 QStringLiteral("KelvoUserInboxSetupInProgress(66)"),
                 QStringLiteral("KelvoUserInboxSetupInProgress(100)"),
                 QStringLiteral("KelvoUserInboxSetupComplete([All files:Creation of user folder "
                                "'Curves' failed])"),
             }));
    QVERIFY(f.Farm().InboxId(L"Pivots", f.userId) != 0);
    QVERIFY(f.Farm().InboxId(L"Curves", f.userId) == 0);
    QVERIFY(f.Farm().InboxId(L"From Console", f.userId) != 0);
    QCOMPARE(f.Script().Count(FakeOperation::eGetLastErrors), std::size_t(0));
}

void tst_InboxSetup::theTextsAreTranslatedBeforeTheNameIsFilledIn()
{
    const TTranslations translations(
        {{"All files", "Alle Dateien"},
         {"Creation of user folder '%1' failed", "Ordner \"%1\" fehlt"}});
    TEmptyFarm f;
    f.Start();
    f.worker->SetupKelvoUserInboxes({eCurves});
    QCOMPARE(f.workerLog.Texts().last(),
             QStringLiteral("KelvoUserInboxSetupComplete([Alle Dateien:Ordner \"Curves\" fehlt])"));
}

void tst_InboxSetup::theCancelIsRevertedBeforeTheCompletion()
{
    TEmptyFarm f;
    f.Farm().AddTheSevenProjects();
    f.Start();
    f.Script().OnCall(FakeOperation::eCreateUserInbox,
                      [&](const FakeCall&, const fakes::FakeAbortCheck&) {
                          QObject::disconnect(f.worker.get(), nullptr, f.hub, nullptr);
                          f.hub->OnCancelCurrentOperationRequested();
                      });
    QList<bool> cancelSeen;
    connect(f.worker.get(), &TKelvoThreadObject::KelvoUserInboxSetupComplete, this,
            [&] { cancelSeen << f.hub->IsCancelCurrentOperationRequested(); });
    f.worker->SetupKelvoUserInboxes({eCurves});
    QCOMPARE(cancelSeen, QList<bool>{false});
}

KELVO_GUI_TEST_MAIN(tst_InboxSetup)
#include "tst_InboxSetup.moc"
