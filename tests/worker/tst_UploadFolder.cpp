// Uploads: the user's folder on the service, which is created if it is missing.
#include "support/GuiTestMain.h"
#include "tests/worker/TTranslations.h"
#include "tests/worker/TUpload.h"

#include <QtTest/QtTest>

using fakes::FakeErrors;
using fakes::FakeOperation;
using fakes::OneError;

class tst_UploadFolder : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void createsAMissingFolderFirst();
    void reportsAFolderThatCannotBeCreatedOnce();
    void reportsACreatedFolderThatIsNotFoundOnce();
    void theTextsAreTranslatedBeforeTheNameIsFilledIn();
    void prescriptionMapsAreNotSent();
    void aRequestForPrescriptionMapsCreatesTheirFolder();
    void reportsAMissingFolderOfPrescriptionMaps();
};

void tst_UploadFolder::createsAMissingFolderFirst()
{
    TUpload f;
    f.Sdk().Reset();
    f.userId = f.Farm().AddUser(L"olga", L"secret");
    f.Farm().AddTheSevenProjects();
    f.Start();
    f.Put(eJobReports, List("report.zip"));
    f.Upload(eJobReports, List("report.zip"));
    QCOMPARE(f.Script().Count(FakeOperation::eCreateUserInbox), std::size_t(1));
    QVERIFY(f.Script().Calls(FakeOperation::eCreateUserInbox).front().text == L"From Console");
    QCOMPARE(f.Remote(eJobReports), List("report.zip"));
    QCOMPARE(f.workerLog.Texts().last(), QStringLiteral("KelvoUploadComplete(1,[])"));
}

void tst_UploadFolder::reportsAFolderThatCannotBeCreatedOnce()
{
    TUpload f;
    f.Sdk().Reset();
    f.userId = f.Farm().AddUser(L"olga", L"secret");
    f.Farm().AddTheSevenProjects();
    f.Start();
    f.Put(eOptimalLines, List("a.zip|b.zip"));
    f.Script().FailAlways(FakeOperation::eCreateUserInbox, OneError(L"not shown"));
    f.Upload(eOptimalLines, List("a.zip|b.zip"));
    QCOMPARE(f.workerLog.Texts(),
             QStringList{QStringLiteral("KelvoUploadComplete(5,[All files:Creation of user folder "
                                        "'Optimal Lines' failed])")});
    QCOMPARE(TUpload::Local(eOptimalLines), List("a.zip|b.zip"));
    QCOMPARE(f.Script().Count(FakeOperation::eUpload), std::size_t(0));
}

void tst_UploadFolder::reportsACreatedFolderThatIsNotFoundOnce()
{
    TUpload f;
    f.Start();
    f.Put(eCurves, List("a.zip"));
    f.Script().FailAlways(FakeOperation::eGetProjectResources, FakeErrors());
    f.hub->OnCancelCurrentOperationRequested();
    f.Upload(eCurves, List("a.zip"));
    QCOMPARE(f.workerLog.Texts(),
             QStringList{QStringLiteral(
                 "KelvoUploadComplete(3,[All files:User folder 'Curves' created but reported as "
                 "not found. Log out, re-login and retry uploading files])")});
    QCOMPARE(TUpload::Local(eCurves), List("a.zip"));
    QCOMPARE(f.Script().Count(FakeOperation::eUpload), std::size_t(0));
    QVERIFY(!f.hub->IsCancelCurrentOperationRequested());
}

void tst_UploadFolder::theTextsAreTranslatedBeforeTheNameIsFilledIn()
{
    const TTranslations translations(
        {{"All files", "Alle"},
         {"Creation of user folder '%1' failed", "%1 fehlt"},
         {"User folder '%1' created but reported as not found. Log out, re-login and retry "
          "uploading files",
          "%1 verschwunden"}});
    TUpload f;
    f.Start();
    f.Script().FailAlways(FakeOperation::eGetProjectResources, FakeErrors());
    f.Upload(eCurves, List("a.zip"));
    QCOMPARE(f.workerLog.Texts().last(),
             QStringLiteral("KelvoUploadComplete(3,[Alle:Curves verschwunden])"));
    f.Script().FailAlways(FakeOperation::eCreateUserInbox, FakeErrors());
    f.Upload(ePivots, List("a.zip"));
    QCOMPARE(f.workerLog.Texts().last(),
             QStringLiteral("KelvoUploadComplete(4,[Alle:Pivots fehlt])"));
}

void tst_UploadFolder::prescriptionMapsAreNotSent()
{
    TUpload f;
    f.Start();
    f.Put(ePrescriptionMaps, List("map.zip"));
    f.Upload(ePrescriptionMaps, List("map.zip"));
    QCOMPARE(f.workerLog.Texts(), QStringList{QStringLiteral("KelvoUploadComplete(0,[])")});
    QCOMPARE(TUpload::Local(ePrescriptionMaps), List("map.zip"));
    QCOMPARE(f.Script().Count(FakeOperation::eUpload), std::size_t(0));
}

void tst_UploadFolder::aRequestForPrescriptionMapsCreatesTheirFolder()
{
    TUpload f;
    f.Sdk().Reset();
    f.userId = f.Farm().AddUser(L"olga", L"secret");
    f.Farm().AddTheSevenProjects();
    f.Start();
    f.hub->OnCancelCurrentOperationRequested();
    f.Upload(ePrescriptionMaps, List("map.zip"));
    QVERIFY(f.Farm().InboxId(L"To Console", f.userId) != 0);
    QCOMPARE(f.workerLog.Texts(), QStringList{QStringLiteral("KelvoUploadComplete(0,[])")});
    QVERIFY(!f.hub->IsCancelCurrentOperationRequested());
}

void tst_UploadFolder::reportsAMissingFolderOfPrescriptionMaps()
{
    TUpload f;
    f.Sdk().Reset();
    f.userId = f.Farm().AddUser(L"olga", L"secret");
    f.Start();
    f.Upload(ePrescriptionMaps, List("map.zip"));
    QCOMPARE(f.workerLog.Texts(),
             QStringList{QStringLiteral("KelvoUploadComplete(0,[All files:Creation of user folder "
                                        "'To Console' failed])")});
}

KELVO_GUI_TEST_MAIN(tst_UploadFolder)
#include "tst_UploadFolder.moc"
