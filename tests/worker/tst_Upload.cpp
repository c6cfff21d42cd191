// Uploads: the targets, the local copies, and the records of failures.
#include "support/GuiTestMain.h"
#include "tests/worker/TUpload.h"

#include <QtTest/QtTest>

using fakes::FakeAbortCheck;
using fakes::FakeCall;
using fakes::FakeErrors;
using fakes::FakeOperation;
using fakes::OneError;

class tst_Upload : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void anEmptyRequestEmitsNothing();
    void sendsEachFileInOrderAndRemovesItsLocalCopy_data();
    void sendsEachFileInOrderAndRemovesItsLocalCopy();
    void announcesAFileBeforeItIsSent();
    void theTargetIsExactlyTheUsersInbox();
    void createsNoInboxThatExists();
    void passesAll64BitsOfTheTargetsId();
    void passesTheAbsolutePath();
    void keepsNamesBeyondTheBasicPlane();
    void keepsTheLocalFileWhenTheSendFails();
    void appendsNoRecordForAFailureWithoutErrors();
    void eachFailureReadsItsOwnErrors();
    void passesAMissingFileToTheSdk();
    void aCancelBeforeTheFirstFileSendsNothing();
    void aCancelTakesEffectBeforeTheNextFile();
    void theCancelIsRevertedBeforeTheCompletion();
    void uploadsThroughTheHub();
};

void tst_Upload::anEmptyRequestEmitsNothing()
{
    TUpload f;
    f.Start();
    f.hub->OnCancelCurrentOperationRequested();
    for (int project = 0; project < KELVO_PROJECT_COUNT; ++project)
        f.Upload(project, {});
    QVERIFY(f.workerLog.All().isEmpty());
    QVERIFY(f.Script().Calls().empty());
    QVERIFY(f.hub->IsCancelCurrentOperationRequested());
}

void tst_Upload::sendsEachFileInOrderAndRemovesItsLocalCopy_data()
{
    QTest::addColumn<int>("kind");
    for (int kind = 1; kind < KELVO_PROJECT_COUNT; ++kind)
        QTest::addRow("project %d", kind) << kind;
}

void tst_Upload::sendsEachFileInOrderAndRemovesItsLocalCopy()
{
    QFETCH(int, kind);
    const auto project = static_cast<EKelvoProjects>(kind);
    TUpload f;
    f.Start();
    f.Put(project, List("a.zip|b.txt|c.dat|stays.zip"));
    f.Upload(kind, List("c.dat|a.zip|b.txt"));
    const QString number = QString::number(kind);
    QCOMPARE(f.workerLog.Texts(),
             (QStringList{QStringLiteral("KelvoUploadingFile(%1,c.dat)").arg(number),
                          QStringLiteral("KelvoUploadingFile(%1,a.zip)").arg(number),
                          QStringLiteral("KelvoUploadingFile(%1,b.txt)").arg(number),
                          QStringLiteral("KelvoUploadComplete(%1,[])").arg(number)}));
    QCOMPARE(f.Remote(project), List("c.dat|a.zip|b.txt"));
    QCOMPARE(TUpload::Local(project), List("stays.zip"));
    const std::int64_t first = f.Farm().Find(f.Inbox(project), f.userId).content.front().id;
    QCOMPARE(*f.Farm().Content(first), std::string("content of c.dat"));
}

void tst_Upload::announcesAFileBeforeItIsSent()
{
    TUpload f;
    f.Start();
    f.Put(eCurves, List("a.zip|b.zip"));
    QList<int> announced;
    f.Script().OnCall(FakeOperation::eUpload, [&](const FakeCall&, const FakeAbortCheck&) {
        announced << f.workerLog.Count(QStringLiteral("KelvoUploadingFile"));
    });
    f.Upload(eCurves, List("a.zip|b.zip"));
    QCOMPARE(announced, (QList<int>{1, 2}));
}

void tst_Upload::theTargetIsExactlyTheUsersInbox()
{
    TUpload f;
    f.Farm().AddInbox(L"Curves", f.Farm().AddUser(L"piet", L"x"));
    f.Start();
    f.Put(eCurves, List("a.zip"));
    f.Upload(eCurves, List("a.zip"));
    const auto calls = f.Script().Calls(FakeOperation::eUpload);
    QCOMPARE(calls.size(), std::size_t(1));
    QCOMPARE(calls.front().targets, (std::set<std::uint64_t>{std::uint64_t(f.Inbox(eCurves))}));
}

void tst_Upload::createsNoInboxThatExists()
{
    TUpload f;
    f.Start();
    f.Upload(eCurves, f.Put(eCurves, List("a.zip")));
    QCOMPARE(f.Remote(eCurves), List("a.zip"));
    QCOMPARE(f.Script().Count(FakeOperation::eCreateUserInbox), std::size_t(0));
}

void tst_Upload::passesAll64BitsOfTheTargetsId()
{
    TUpload f;
    f.Sdk().Reset();
    f.userId = f.Farm().AddUser(L"olga", L"secret");
    f.Farm().AddTheSevenProjects();
    f.Farm().SetNextId((1LL << 32) + 7);
    f.Farm().AddInbox(L"Curves", f.userId);
    f.Start();
    f.Put(eCurves, List("a.zip"));
    f.Upload(eCurves, List("a.zip"));
    QCOMPARE(f.Script().Calls(FakeOperation::eUpload).front().targets,
             (std::set<std::uint64_t>{(1ULL << 32) + 7}));
}

void tst_Upload::passesTheAbsolutePath()
{
    TUpload f;
    f.Start();
    f.Put(ePivots, List("two words.zip"));
    f.Upload(ePivots, List("two words.zip"));
    const QString expected =
        QDir(TUpload::UploadFolder(ePivots)).absoluteFilePath(QStringLiteral("two words.zip"));
    QCOMPARE(QString::fromStdWString(f.Script().Calls(FakeOperation::eUpload).front().text),
             expected);
}

void tst_Upload::keepsNamesBeyondTheBasicPlane()
{
    const QString name = QString::fromUtf8("Feld \xC3\xA4 \xF0\x9F\x9A\x9C.zip");
    TUpload f;
    f.Start();
    f.Put(eCurves, {name});
    f.Upload(eCurves, {name});
    QCOMPARE(f.Remote(eCurves), QStringList{name});
    QVERIFY(TUpload::Local(eCurves).isEmpty());
    QCOMPARE(f.workerLog.Texts().last(), QStringLiteral("KelvoUploadComplete(3,[])"));
}

void tst_Upload::keepsTheLocalFileWhenTheSendFails()
{
    TUpload f;
    f.Start();
    f.Put(eCurves, List("a.zip|b.zip|c.zip"));
    f.Script().FailNth(FakeOperation::eUpload, 2, OneError(L"No <b>space</b>.", L"Call."));
    f.Upload(eCurves, List("a.zip|b.zip|c.zip"));
    QCOMPARE(f.workerLog.Texts(),
             (QStringList{QStringLiteral("KelvoUploadingFile(3,a.zip)"),
                          QStringLiteral("KelvoUploadingFile(3,b.zip)"),
                          QStringLiteral("KelvoUploadingFile(3,c.zip)"),
                          QStringLiteral("KelvoUploadComplete(3,[b.zip:No space.\nCall.])")}));
    QCOMPARE(TUpload::Local(eCurves), List("b.zip"));
    QCOMPARE(TWorkerFixture::ReadFile(TUpload::UploadFolder(eCurves) + QStringLiteral("b.zip")),
             QByteArray("content of b.zip"));
    QCOMPARE(f.Remote(eCurves), List("a.zip|c.zip"));
}

void tst_Upload::appendsNoRecordForAFailureWithoutErrors()
{
    TUpload f;
    f.Start();
    f.Put(eCurves, List("a.zip|b.zip"));
    f.Script().FailNth(FakeOperation::eUpload, 1, FakeErrors());
    f.Upload(eCurves, List("a.zip|b.zip"));
    QCOMPARE(f.workerLog.Texts().last(), QStringLiteral("KelvoUploadComplete(3,[])"));
    QCOMPARE(TUpload::Local(eCurves), List("a.zip"));
}

void tst_Upload::eachFailureReadsItsOwnErrors()
{
    TUpload f;
    f.Start();
    f.Put(eCurves, List("a.zip|b.zip|c.zip"));
    f.Script().FailNth(FakeOperation::eUpload, 1, OneError(L"one"));
    f.Script().FailNth(FakeOperation::eUpload, 3, OneError(L"three"));
    f.Upload(eCurves, List("a.zip|b.zip|c.zip"));
    QCOMPARE(f.workerLog.Texts().last(),
             QStringLiteral("KelvoUploadComplete(3,[a.zip:one|c.zip:three])"));
}

void tst_Upload::passesAMissingFileToTheSdk()
{
    TUpload f;
    f.Start();
    f.Upload(eCurves, List("missing.zip"));
    QCOMPARE(f.Script().Count(FakeOperation::eUpload), std::size_t(1));
    QCOMPARE(f.workerLog.Texts(),
             (QStringList{
                 QStringLiteral("KelvoUploadingFile(3,missing.zip)"),
                 QStringLiteral("KelvoUploadComplete(3,[missing.zip:The file cannot be read.])")}));
}

void tst_Upload::aCancelBeforeTheFirstFileSendsNothing()
{
    TUpload f;
    f.Start();
    f.Put(eCurves, List("a.zip|b.zip"));
    f.hub->OnCancelCurrentOperationRequested();
    f.Upload(eCurves, List("a.zip|b.zip"));
    QCOMPARE(f.workerLog.Texts(), QStringList{QStringLiteral("KelvoUploadComplete(3,[])")});
    QCOMPARE(f.Script().Count(FakeOperation::eUpload), std::size_t(0));
    QCOMPARE(TUpload::Local(eCurves), List("a.zip|b.zip"));
}

void tst_Upload::aCancelTakesEffectBeforeTheNextFile()
{
    TUpload f;
    f.Start();
    f.Put(eCurves, List("a.zip|b.zip|c.zip"));
    f.Script().FailNth(FakeOperation::eUpload, 1, OneError(L"lost"));
    f.Script().OnCall(FakeOperation::eUpload, [&](const FakeCall& call, const FakeAbortCheck&) {
        if (call.text.find(L"b.zip") != std::wstring::npos)
            f.hub->OnCancelCurrentOperationRequested();
    });
    f.Upload(eCurves, List("a.zip|b.zip|c.zip"));
    QCOMPARE(f.workerLog.Texts(),
             (QStringList{QStringLiteral("KelvoUploadingFile(3,a.zip)"),
                          QStringLiteral("KelvoUploadingFile(3,b.zip)"),
                          QStringLiteral("KelvoUploadComplete(3,[a.zip:lost])")}));
    QCOMPARE(f.Remote(eCurves), List("b.zip")); // the running upload was finished
    QCOMPARE(TUpload::Local(eCurves), List("a.zip|c.zip"));
}

void tst_Upload::theCancelIsRevertedBeforeTheCompletion()
{
    TUpload f;
    f.Start();
    QList<bool> cancelSeen;
    connect(f.worker.get(), &TKelvoThreadObject::KelvoUploadComplete, this,
            [&] { cancelSeen << f.hub->IsCancelCurrentOperationRequested(); });
    f.hub->OnCancelCurrentOperationRequested();
    f.Upload(eCurves, List("a.zip"));
    QCOMPARE(cancelSeen, QList<bool>{false});
}

void tst_Upload::uploadsThroughTheHub()
{
    TUpload f;
    f.Start();
    f.Put(eCurves, List("a.zip"));
    f.hub->OnUploadToKelvoRequested(eCurves, List("a.zip"));
    QCOMPARE(f.hubLog.Texts(), (QStringList{QStringLiteral("KelvoFileOperationInProgress()"),
                                            QStringLiteral("KelvoUploadRequested(3,[a.zip])"),
                                            QStringLiteral("KelvoUploadingFile(3,a.zip)"),
                                            QStringLiteral("KelvoUploadComplete(3,[])"),
                                            QStringLiteral("KelvoFileOperationComplete()")}));
    QVERIFY(!f.hub->IsKelvoFileOperationInProgress());
}

KELVO_GUI_TEST_MAIN(tst_Upload)
#include "tst_Upload.moc"
