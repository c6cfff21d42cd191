// The listing that follows a change on the service.
#include "support/GuiTestMain.h"
#include "tests/worker/TProjectsOnly.h"

#include <QtTest/QtTest>

using fakes::FakeCall;
using fakes::FakeOperation;

class tst_ListingChanges : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void aChangeInAUserInboxListsItsProjectOnly_data();
    void aChangeInAUserInboxListsItsProjectOnly();
    void aChangeInJobReportsOrElsewhereListsNothing();
    void theUserInboxsIdIsComparedWithAllItsBits();
    void listsTheFirstProjectOfTwoInboxesOfOneId();
    void aChangeInAProjectInboxListsItsProjectOnly_data();
    void aChangeInAProjectInboxListsItsProjectOnly();
    void aChangeInAProjectWithoutAnInboxListsNothing();
    void theSearchStopsAtTheMatch();
};

namespace {

constexpr std::int64_t TWO_32 = 1LL << 32;

} // namespace

void tst_ListingChanges::aChangeInAUserInboxListsItsProjectOnly_data()
{
    QTest::addColumn<int>("kind");
    for (const int kind : {0, 2, 3, 4, 5, 6})
        QTest::addRow("project %d", kind) << kind;
}

void tst_ListingChanges::aChangeInAUserInboxListsItsProjectOnly()
{
    QFETCH(int, kind);
    const auto project = static_cast<EKelvoProjects>(kind);
    TWorkerFixture f;
    f.Start();
    const std::int64_t id = f.Farm().AddFile(f.Inbox(project), L"new.zip", "");
    f.DeliverNotifications();
    QCOMPARE(
        f.workerLog.Texts(),
        QStringList{QStringLiteral("NewKelvoProjectFilesList(%1,[%2:new.zip])").arg(kind).arg(id)});
    const auto calls = f.Script().Calls(FakeOperation::eGetResourceWithContent);
    QCOMPARE(calls.size(), std::size_t(1));
    QCOMPARE(calls.front().id, f.Inbox(project));
}

void tst_ListingChanges::aChangeInJobReportsOrElsewhereListsNothing()
{
    TWorkerFixture f;
    const std::int64_t other = f.Farm().AddInbox(L"Curves", f.Farm().AddUser(L"piet", L"x"));
    f.Start();
    for (const std::int64_t inbox : {f.Inbox(eJobReports), other, std::int64_t(0),
                                     std::int64_t(99999), f.Farm().ProjectId(L"Curves")})
        f.Call("OnFileModifiedInUserInbox", Q_ARG(long, 1L), Q_ARG(ulong, ulong(inbox)));
    QVERIFY(f.workerLog.All().isEmpty());
    for (const std::int64_t project : {f.Farm().ProjectId(L"From Console"), std::int64_t(0),
                                       std::int64_t(99999), f.Inbox(eCurves)})
        f.Call("OnFileModifiedInProjectInbox", Q_ARG(long, 1L), Q_ARG(ulong, ulong(project)));
    QVERIFY(f.workerLog.All().isEmpty());
}

void tst_ListingChanges::theUserInboxsIdIsComparedWithAllItsBits()
{
    TProjectsOnly f;
    f.AddRawInbox(L"Curves", TWO_32 + 5);
    f.AddRawInbox(L"Pivots", TWO_32 - 1);
    f.Start();
    f.Call("OnFileModifiedInUserInbox", Q_ARG(long, 1L), Q_ARG(ulong, 5UL));
    QVERIFY(f.workerLog.All().isEmpty());
    f.Call("OnFileModifiedInUserInbox", Q_ARG(long, 1L), Q_ARG(ulong, 0xFFFFFFFFUL));
    QCOMPARE(f.workerLog.Texts(), OneText("NewKelvoProjectFilesList(4,[])"));
    const auto calls = f.Script().Calls(FakeOperation::eGetResourceWithContent);
    QCOMPARE(qint64(calls.back().id), qint64(-1));
    if (sizeof(unsigned long) > 4) { // an id that no change report can hold
        f.workerLog.Clear();
        f.Call("OnFileModifiedInUserInbox", Q_ARG(long, 1L),
               Q_ARG(ulong, static_cast<ulong>(TWO_32 + 5)));
        QVERIFY(f.workerLog.All().isEmpty());
    }
}

void tst_ListingChanges::listsTheFirstProjectOfTwoInboxesOfOneId()
{
    TProjectsOnly f;
    f.AddRawInbox(L"From Console", 700); // never listed
    f.AddRawInbox(L"Pivots", 700);
    f.AddRawInbox(L"AB Lines", 700);
    f.Start();
    f.Call("OnFileModifiedInUserInbox", Q_ARG(long, 1L), Q_ARG(ulong, 700UL));
    QCOMPARE(f.workerLog.Texts(), OneText("NewKelvoProjectFilesList(2,[])"));
}

void tst_ListingChanges::aChangeInAProjectInboxListsItsProjectOnly_data()
{
    aChangeInAUserInboxListsItsProjectOnly_data();
}

void tst_ListingChanges::aChangeInAProjectInboxListsItsProjectOnly()
{
    QFETCH(int, kind);
    const auto project = static_cast<EKelvoProjects>(kind);
    TWorkerFixture f;
    f.Start();
    const qint64 projectId = f.worker->GetProjectInboxId(project).second;
    f.Script().ClearCalls();
    f.Call("OnFileModifiedInProjectInbox", Q_ARG(long, 1L), Q_ARG(ulong, ulong(projectId)));
    QCOMPARE(f.workerLog.Texts(),
             QStringList{QStringLiteral("NewKelvoProjectFilesList(%1,[])").arg(kind)});
    // The user's inbox is looked up again. The project itself is not listed.
    const auto calls = f.Script().Calls(FakeOperation::eGetResourceWithContent);
    QCOMPARE(calls.size(), std::size_t(1));
    QCOMPARE(calls.front().id, f.Inbox(project));
}

void tst_ListingChanges::aChangeInAProjectWithoutAnInboxListsNothing()
{
    TProjectsOnly f;
    f.Start();
    f.Call("OnFileModifiedInProjectInbox", Q_ARG(long, 1L),
           Q_ARG(ulong, ulong(f.Farm().ProjectId(L"Curves"))));
    QVERIFY(f.workerLog.All().isEmpty());
}

void tst_ListingChanges::theSearchStopsAtTheMatch()
{
    TWorkerFixture f;
    f.Start();
    f.Call("OnFileModifiedInUserInbox", Q_ARG(long, 1L), Q_ARG(ulong, ulong(f.Inbox(eABLines))));
    QStringList asked;
    for (const FakeCall& call : f.Script().Calls(FakeOperation::eGetProjectResources)) {
        for (const auto& project : f.Farm().Projects()) {
            if (project.id == call.id)
                asked << QString::fromStdWString(project.name);
        }
    }
    QCOMPARE(asked, (QStringList{QStringLiteral("To Console"), QStringLiteral("AB Lines")}));
}

KELVO_GUI_TEST_MAIN(tst_ListingChanges)
#include "tst_ListingChanges.moc"
