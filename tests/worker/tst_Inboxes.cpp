// The user's inboxes: the look-up, and the creation of missing inboxes.
#include "support/GuiTestMain.h"
#include "tests/worker/TEmptyFarm.h"
#include "worker/ServiceProjects.h"

#include <QtTest/QtTest>

using fakes::FakeCall;
using fakes::FakeOperation;
using kesdk::api::EnterpriseResource;

class tst_Inboxes : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void theProjectNamesAreTheServices();
    void findsEachProjectByItsName();
    void findsAProjectOnlyByItsExactName_data();
    void findsAProjectOnlyByItsExactName();
    void usesTheFirstOfTwoProjectsOfOneName();
    void findsTheInboxOfTheCurrentUser();
    void readsTheCurrentUserForEachCandidate();
    void skipsResourcesThatAreNotUserInboxes();
    void usesTheFirstOfTwoOwnInboxes();
    void idsHave64Bits();
    void aMissingProjectHasNoInbox();
    void doesNotQueryTheResourcesOfAMissingProject();
    void creatingAnExistingInboxRequestsNothing();
    void creatingAMissingInboxRequestsItByTheProjectsName();
    void creatingReportsTheServicesAnswer();
    void theCheckAppendsTheMissingKindsInOrder();
};

namespace {

using TFound = std::pair<bool, qint64>;

EnterpriseResource Resource(std::int64_t id, std::int32_t kind, std::int64_t owner)
{
    EnterpriseResource resource;
    resource.id = id;
    resource.kind = kind;
    resource.ownerUserId = owner;
    return resource;
}

} // namespace

void tst_Inboxes::theProjectNamesAreTheServices()
{
    const std::vector<std::wstring> expected = {L"To Console",   L"From Console", L"AB Lines",
                                                L"Curves",       L"Pivots",       L"Optimal Lines",
                                                L"Project Lines"};
    QCOMPARE(std::size(SERVICE_PROJECT_NAMES), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i)
        QVERIFY(expected[i] == SERVICE_PROJECT_NAMES[i]);
}

void tst_Inboxes::findsEachProjectByItsName()
{
    TWorkerFixture f;
    f.Start();
    for (int kind = 0; kind < KELVO_PROJECT_COUNT; ++kind) {
        const TFound found = f.worker->GetProjectInboxId(static_cast<EKelvoProjects>(kind));
        QVERIFY(found.first);
        QCOMPARE(found.second, qint64(f.Farm().ProjectId(SERVICE_PROJECT_NAMES[kind])));
    }
}

void tst_Inboxes::findsAProjectOnlyByItsExactName_data()
{
    QTest::addColumn<QString>("name");
    for (const char* name : {"to console", "To console", "TO CONSOLE", "To Console ", " To Console",
                             "To  Console", "To Consol", "To Consoles", ""})
        QTest::newRow(*name ? name : "empty") << QString::fromLatin1(name);
}

void tst_Inboxes::findsAProjectOnlyByItsExactName()
{
    QFETCH(QString, name);
    TEmptyFarm f;
    f.Farm().AddProject(name.toStdWString());
    f.Farm().AddInbox(name.toStdWString(), f.userId);
    f.Start();
    QCOMPARE(f.worker->GetProjectInboxId(ePrescriptionMaps), TFound(false, 0));
    QCOMPARE(f.worker->GetToConsoleProjectUserInboxId(ePrescriptionMaps), TFound(false, 0));
}

void tst_Inboxes::usesTheFirstOfTwoProjectsOfOneName()
{
    TEmptyFarm f;
    const std::int64_t first = f.Farm().AddProject(L"Curves");
    f.Farm().AddProject(L"Curves");
    f.Start();
    QCOMPARE(f.worker->GetProjectInboxId(eCurves), TFound(true, first));
}

void tst_Inboxes::findsTheInboxOfTheCurrentUser()
{
    TEmptyFarm f;
    f.Farm().AddTheSevenProjects();
    const std::int64_t other = f.Farm().AddUser(L"piet", L"word");
    f.Farm().AddInbox(L"Curves", other);
    f.Start();
    QCOMPARE(f.worker->GetToConsoleProjectUserInboxId(eCurves), TFound(false, 0));
    const std::int64_t own = f.Farm().AddInbox(L"Curves", f.userId);
    QCOMPARE(f.worker->GetToConsoleProjectUserInboxId(eCurves), TFound(true, own));
}

void tst_Inboxes::readsTheCurrentUserForEachCandidate()
{
    TEmptyFarm f;
    f.Farm().AddTheSevenProjects();
    for (const wchar_t* name : {L"a", L"b", L"c"})
        f.Farm().AddInbox(L"Curves", f.Farm().AddUser(name, L"x"));
    f.Farm().AddRawInbox(f.Farm().ProjectId(L"Curves"), Resource(900, 1, f.userId));
    f.Farm().AddInbox(L"Curves", f.userId);
    f.Farm().AddInbox(L"Curves", f.userId);
    f.Start();
    QVERIFY(f.worker->GetToConsoleProjectUserInboxId(eCurves).first);
    QCOMPARE(f.Script().Count(FakeOperation::eGetCurrentUser), std::size_t(4));
}

void tst_Inboxes::skipsResourcesThatAreNotUserInboxes()
{
    TEmptyFarm f;
    f.Farm().AddTheSevenProjects();
    const std::int64_t project = f.Farm().ProjectId(L"Curves");
    for (const std::int32_t kind : {0, 1, 3, 4, -2})
        f.Farm().AddRawInbox(project, Resource(900 + kind, kind, f.userId));
    f.Start();
    QCOMPARE(f.worker->GetToConsoleProjectUserInboxId(eCurves), TFound(false, 0));
    QCOMPARE(f.Script().Count(FakeOperation::eGetCurrentUser), std::size_t(0));
    f.Farm().AddRawInbox(project, Resource(77, 2, f.userId));
    QCOMPARE(f.worker->GetToConsoleProjectUserInboxId(eCurves), TFound(true, 77));
}

void tst_Inboxes::usesTheFirstOfTwoOwnInboxes()
{
    TEmptyFarm f;
    f.Farm().AddTheSevenProjects();
    const std::int64_t project = f.Farm().ProjectId(L"Curves");
    f.Farm().AddRawInbox(project, Resource(501, 2, f.userId));
    f.Farm().AddRawInbox(project, Resource(500, 2, f.userId));
    f.Start();
    QCOMPARE(f.worker->GetToConsoleProjectUserInboxId(eCurves), TFound(true, 501));
}

void tst_Inboxes::idsHave64Bits()
{
    TEmptyFarm f;
    f.Farm().SetNextId(0x7FFFFFFF00000001LL);
    const std::int64_t project = f.Farm().AddProject(L"Curves");
    const std::int64_t inbox = f.Farm().AddInbox(L"Curves", f.userId);
    f.Start();
    QCOMPARE(f.worker->GetProjectInboxId(eCurves), TFound(true, project));
    QCOMPARE(f.worker->GetToConsoleProjectUserInboxId(eCurves), TFound(true, inbox));
}

void tst_Inboxes::aMissingProjectHasNoInbox()
{
    TEmptyFarm f;
    f.Start();
    for (int kind = 0; kind < KELVO_PROJECT_COUNT; ++kind) {
        const auto project = static_cast<EKelvoProjects>(kind);
        QCOMPARE(f.worker->GetProjectInboxId(project), TFound(false, 0));
        QCOMPARE(f.worker->GetToConsoleProjectUserInboxId(project), TFound(false, 0));
    }
}

void tst_Inboxes::doesNotQueryTheResourcesOfAMissingProject()
{
    TEmptyFarm f;
    f.Start();
    f.worker->GetToConsoleProjectUserInboxId(eCurves);
    QCOMPARE(f.Script().Count(FakeOperation::eGetProjectResources), std::size_t(0));
}

void tst_Inboxes::creatingAnExistingInboxRequestsNothing()
{
    TWorkerFixture f;
    f.Start();
    QVERIFY(f.worker->CreateUserInbox(eCurves));
    QCOMPARE(f.Script().Count(FakeOperation::eCreateUserInbox), std::size_t(0));
}

void tst_Inboxes::creatingAMissingInboxRequestsItByTheProjectsName()
{
    TEmptyFarm f;
    f.Farm().AddTheSevenProjects();
    f.Start();
    for (int kind = 0; kind < KELVO_PROJECT_COUNT; ++kind) {
        QVERIFY(f.worker->CreateUserInbox(static_cast<EKelvoProjects>(kind)));
        const FakeCall call = f.Script().Calls(FakeOperation::eCreateUserInbox).back();
        QVERIFY(call.text == SERVICE_PROJECT_NAMES[kind]);
        QVERIFY(f.Farm().InboxId(SERVICE_PROJECT_NAMES[kind], f.userId) != 0);
    }
    QCOMPARE(f.Script().Count(FakeOperation::eCreateUserInbox), std::size_t(7));
}

void tst_Inboxes::creatingReportsTheServicesAnswer()
{
    TEmptyFarm f; // no projects: the creation is tried nevertheless
    f.Start();
    QVERIFY(!f.worker->CreateUserInbox(eCurves));
    QCOMPARE(f.Script().Count(FakeOperation::eCreateUserInbox), std::size_t(1));
    QCOMPARE(f.Script().Count(FakeOperation::eGetLastErrors), std::size_t(0));
}

void tst_Inboxes::theCheckAppendsTheMissingKindsInOrder()
{
    TEmptyFarm f;
    f.Farm().AddTheSevenProjects();
    f.Farm().AddInbox(L"AB Lines", f.userId);
    f.Farm().AddInbox(L"Project Lines", f.userId);
    f.Start();
    QList<EKelvoProjects> missing{eABLines}; // is not cleared
    f.worker->CheckKelvoAccountSetup(missing);
    QCOMPARE(missing, (QList<EKelvoProjects>{eABLines, ePrescriptionMaps, eJobReports, eCurves,
                                             ePivots, eOptimalLines}));
    QVERIFY(f.workerLog.All().isEmpty());
}

KELVO_GUI_TEST_MAIN(tst_Inboxes)
#include "tst_Inboxes.moc"
