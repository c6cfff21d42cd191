// The plug-in's start and end, many times in one process, also with Finalise during operations.
#include "support/GuiTestMain.h"
#include "tests/plugin/TPluginFixture.h"

#include "core/KelvoHelperFunctions.h"

#include <QtCore/QFile>
#include <QtTest/QtTest>

using fakes::FakeGate;
using fakes::FakeOperation;

class tst_PluginLifecycle : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void startsAHundredTimesWithFinaliseRightAfterInitialise();
    void startsAHundredTimesWithASession();
    void finaliseDuringALogin();
    void finaliseBetweenTheLoginAndItsListings();
    void finaliseDuringAnUploadKeepsTheFile();
    void finaliseDuringADownload();
    void finaliseWorksAfterTheFactoryFailed();
};

namespace {

constexpr int ROUNDS = 100;

bool IsAllGone(TPluginFixture& f)
{
    return dll == nullptr && GetKelvoInterface() == nullptr && f.Sdk().LiveCount() == 0;
}

bool LogIn(TPluginFixture& f)
{
    KelvoInterface->OnLoginToKelvoRequested();
    return f.WaitUntil([] { return KelvoInterface->IsKelvoLoggedIn(); });
}

} // namespace

void tst_PluginLifecycle::startsAHundredTimesWithFinaliseRightAfterInitialise()
{
    TPluginFixture f;
    for (int round = 0; round < ROUNDS; ++round) {
        f.Initialise();
        Finalise();
        QVERIFY(IsAllGone(f));
    }
    // Each start and each end was run, also if the end came early.
    QCOMPARE(f.Sdk().FactoryUrls().size(), std::size_t(ROUNDS));
    QCOMPARE(f.Sdk().Script().Count(FakeOperation::eSubscribe), std::size_t(ROUNDS));
    QCOMPARE(f.Sdk().Script().Count(FakeOperation::eUnsubscribe), std::size_t(ROUNDS));
    QCOMPARE(f.Sdk().Script().Count(FakeOperation::eDestroy), std::size_t(ROUNDS));
}

void tst_PluginLifecycle::startsAHundredTimesWithASession()
{
    TPluginFixture f;
    for (int round = 0; round < ROUNDS; ++round) {
        QVERIFY(f.InitialiseAndWait());
        QVERIFY(LogIn(f));
        Finalise();
        QVERIFY(IsAllGone(f));
    }
    QCOMPARE(f.Sdk().Script().Count(FakeOperation::eLogout), std::size_t(ROUNDS));
}

void tst_PluginLifecycle::finaliseDuringALogin()
{
    for (int round = 0; round < 10; ++round) {
        TPluginFixture f;
        const auto gate = std::make_shared<FakeGate>(); // never opened
        f.Sdk().Script().HoldLoginOutcome(gate);
        QVERIFY(f.InitialiseAndWait());
        KelvoInterface->OnLoginToKelvoRequested();
        if (round % 2 == 0)
            QVERIFY(gate->WaitUntilReached());
        Finalise();
        QVERIFY(IsAllGone(f));
    }
}

void tst_PluginLifecycle::finaliseBetweenTheLoginAndItsListings()
{
    TPluginFixture f;
    const auto gate = std::make_shared<FakeGate>(); // never opened
    f.Sdk().Script().HoldAt(FakeOperation::eGetProjects, gate);
    QVERIFY(f.InitialiseAndWait());
    KelvoInterface->OnLoginToKelvoRequested();
    QVERIFY(gate->WaitUntilReached());
    Finalise();
    QVERIFY(IsAllGone(f));
}

void tst_PluginLifecycle::finaliseDuringAnUploadKeepsTheFile()
{
    TPluginFixture f;
    QVERIFY(f.InitialiseAndWait());
    QVERIFY(LogIn(f));
    QFile file(KelvoHelperFunctions::GetLocalKelvoUploadFolderPathForProject(eCurves) +
               QStringLiteral("/a.zip"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    const auto gate = std::make_shared<FakeGate>(); // never opened
    f.Sdk().Script().HoldAt(FakeOperation::eUpload, gate);
    KelvoInterface->OnUploadToKelvoRequested(eCurves, {QStringLiteral("a.zip")});
    QVERIFY(gate->WaitUntilReached());
    Finalise();
    QVERIFY(IsAllGone(f));
    QVERIFY(file.exists());
}

void tst_PluginLifecycle::finaliseDuringADownload()
{
    TPluginFixture f;
    const auto userId = *f.Sdk().Farm().CheckCredentials(L"olga", L"secret");
    f.Sdk().Farm().AddFile(f.Sdk().Farm().InboxId(L"Curves", userId), L"a.zip", "content");
    QVERIFY(f.InitialiseAndWait());
    QVERIFY(LogIn(f));
    QVERIFY(f.WaitUntil(
        [] { return !KelvoInterface->GetKelvoProjectFilesList(eCurves).fileNames.isEmpty(); }));
    const auto gate = std::make_shared<FakeGate>(); // never opened
    f.Sdk().Script().HoldAt(FakeOperation::eDownload, gate);
    KelvoInterface->OnDownloadFromKelvoRequested(eCurves, {QStringLiteral("a.zip")});
    QVERIFY(gate->WaitUntilReached());
    Finalise();
    QVERIFY(IsAllGone(f));
}

void tst_PluginLifecycle::finaliseWorksAfterTheFactoryFailed()
{
    TPluginFixture f;
    f.Sdk().FailFactory();
    f.Initialise();
    KelvoInterface->OnLoginToKelvoRequested();
    QVERIFY(f.WaitUntil([&] { return f.Sdk().FactoryUrls().size() == 1; }));
    Finalise();
    QVERIFY(IsAllGone(f));
}

KELVO_GUI_TEST_MAIN(tst_PluginLifecycle)
#include "tst_PluginLifecycle.moc"
