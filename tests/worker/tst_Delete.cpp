// Deleting files on the service.
#include "support/GuiTestMain.h"
#include "tests/worker/TDownload.h"
#include "tests/worker/TTranslations.h"

#include <QtTest/QtTest>

using fakes::FakeAbortCheck;
using fakes::FakeCall;
using fakes::FakeErrors;
using fakes::FakeOperation;
using fakes::OneError;

class tst_Delete : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void anEmptyRequestEmitsNothing();
    void deletesInRequestOrder();
    void announcesAFileBeforeItIsDeleted();
    void reportsANameThatIsNotListedWithItsPosition();
    void namesAreLookedUpExactly();
    void deletesTheFirstOfTwoEntriesOfOneName();
    void aFileThatWasRenamedIsNotDeleted();
    void deletesTheIdThatTheServiceAnswered();
    void deletesAResourceOfAnyKind();
    void reportsAFileThatNoLongerExists();
    void reportsAFileWhoseQueryFails();
    void idsAreWidenedWithTheirSign();
    void reportsAFailedDeletion();
    void appendsNoRecordForAFailureWithoutErrors();
    void theTextsAreTranslatedBeforeThePositionIsFilledIn();
    void aCancelBeforeTheFirstFileDeletesNothing();
    void aCancelTakesEffectBeforeTheNextFile();
    void theCancelIsRevertedBeforeTheCompletion();
    void doesNotRefreshTheListing();
    void touchesNoLocalFile();
    void deletesTenThousandFiles();
    void deletesThroughTheHub();
};

namespace {

// With a.zip, b.zip and c.zip in olga's inbox of pivots.
class TDelete : public TDownload
{
public:
    TDelete()
    {
        for (const char* name : {"a.zip", "b.zip", "c.zip"})
            AddArchive(ePivots, QString::fromLatin1(name), "inner.txt");
        Start();
        reference = Reference(ePivots);
    }
    KelvoFileInfoList reference;
};

} // namespace

void tst_Delete::anEmptyRequestEmitsNothing()
{
    TDelete f;
    f.hub->OnCancelCurrentOperationRequested();
    f.Delete(ePivots, {}, f.reference);
    QVERIFY(f.workerLog.All().isEmpty());
    QVERIFY(f.Script().Calls().empty());
    QVERIFY(f.hub->IsCancelCurrentOperationRequested());
}

void tst_Delete::deletesInRequestOrder()
{
    TDelete f;
    f.Delete(ePivots, List("c.zip|a.zip"), f.reference);
    QCOMPARE(f.workerLog.Texts(), (QStringList{QStringLiteral("KelvoDeletingFile(4,c.zip)"),
                                               QStringLiteral("KelvoDeletingFile(4,a.zip)"),
                                               QStringLiteral("KelvoDeleteComplete(4,[])")}));
    QCOMPARE(f.Remote(ePivots), List("b.zip"));
}

void tst_Delete::announcesAFileBeforeItIsDeleted()
{
    TDelete f;
    QList<int> announced;
    f.Script().OnCall(FakeOperation::eDelete, [&](const FakeCall&, const FakeAbortCheck&) {
        announced << f.workerLog.Count(QStringLiteral("KelvoDeletingFile"));
    });
    f.Delete(ePivots, List("a.zip|b.zip"), f.reference);
    QCOMPARE(announced, (QList<int>{1, 2}));
}

void tst_Delete::reportsANameThatIsNotListedWithItsPosition()
{
    TDelete f;
    f.Delete(ePivots, List("x.zip|y.zip|b.zip"), f.reference);
    QCOMPARE(f.workerLog.Texts(),
             (QStringList{QStringLiteral("KelvoDeletingFile(4,b.zip)"),
                          QStringLiteral("KelvoDeleteComplete(4,[x.zip:0 File no longer exists. "
                                         "File index not found.|y.zip:1 File no longer exists. "
                                         "File index not found.])")}));
}

void tst_Delete::namesAreLookedUpExactly()
{
    TDelete f;
    f.Delete(ePivots, List("A.zip|a.ZIP|a.zip |a.zi"), f.reference);
    QCOMPARE(f.Script().Count(FakeOperation::eGetResourceWithContent), std::size_t(0));
    QCOMPARE(f.Remote(ePivots), List("a.zip|b.zip|c.zip"));
}

void tst_Delete::deletesTheFirstOfTwoEntriesOfOneName()
{
    TDelete f;
    const std::int64_t first = f.AddArchive(ePivots, QStringLiteral("twice.zip"), "x");
    f.AddArchive(ePivots, QStringLiteral("twice.zip"), "x");
    f.Delete(ePivots, List("twice.zip"), f.Reference(ePivots));
    QCOMPARE(f.Script().Calls(FakeOperation::eDelete).front().id, first);
    QCOMPARE(f.Remote(ePivots), List("a.zip|b.zip|c.zip|twice.zip"));
}

void tst_Delete::aFileThatWasRenamedIsNotDeleted()
{
    TDelete f;
    f.Farm().RenameEntry(f.reference.fileIds[0], L"other.zip");
    f.Delete(ePivots, List("a.zip"), f.reference);
    QCOMPARE(f.workerLog.Texts(), OneText("KelvoDeleteComplete(4,[a.zip:File no longer exists.])"));
    QCOMPARE(f.Script().Count(FakeOperation::eDelete), std::size_t(0));
    QCOMPARE(f.Remote(ePivots), List("other.zip|b.zip|c.zip"));
}

void tst_Delete::deletesTheIdThatTheServiceAnswered()
{
    TDelete f;
    f.Farm().RenameEntry(f.reference.fileIds[1], L"a.zip");
    f.Farm().AnswerWith(f.reference.fileIds[0], f.reference.fileIds[1]);
    f.Delete(ePivots, List("a.zip"), f.reference);
    QCOMPARE(f.Script().Calls(FakeOperation::eDelete).front().id,
             std::int64_t(f.reference.fileIds[1]));
    QCOMPARE(f.Remote(ePivots), List("a.zip|c.zip"));
}

// The name decides, not the kind.
void tst_Delete::deletesAResourceOfAnyKind()
{
    TDelete f;
    kesdk::api::EnterpriseResource entry;
    entry.id = 4711;
    entry.kind = kesdk::api::eUserInboxResource;
    entry.name = L"x.zip";
    f.Farm().AddRawEntry(f.Inbox(ePivots), entry);
    f.Delete(ePivots, List("x.zip"), f.Reference(ePivots));
    QCOMPARE(f.Script().Calls(FakeOperation::eDelete).front().id, std::int64_t(4711));
}

void tst_Delete::reportsAFileThatNoLongerExists()
{
    TDelete f;
    f.Farm().RemoveEntry(f.reference.fileIds[1]);
    f.Delete(ePivots, List("b.zip|c.zip"), f.reference);
    QCOMPARE(
        f.workerLog.Texts(),
        (QStringList{QStringLiteral("KelvoDeletingFile(4,c.zip)"),
                     QStringLiteral("KelvoDeleteComplete(4,[b.zip:File no longer exists.])")}));
}

void tst_Delete::reportsAFileWhoseQueryFails()
{
    TDelete f;
    f.Script().FailNth(FakeOperation::eGetResourceWithContent, 1, OneError(L"not shown"));
    f.Delete(ePivots, List("a.zip"), f.reference);
    QCOMPARE(f.workerLog.Texts(), OneText("KelvoDeleteComplete(4,[a.zip:File no longer exists.])"));
    QCOMPARE(f.Script().Count(FakeOperation::eDelete), std::size_t(0));
}

void tst_Delete::idsAreWidenedWithTheirSign()
{
    TDelete f;
    for (const long id : {2147483647L, -2147483647L - 1, -1L, 0L}) {
        KelvoFileInfoList reference;
        reference.fileIds = {id};
        reference.fileNames = List("x.zip");
        f.Delete(ePivots, List("x.zip"), reference);
        QCOMPARE(f.Script().Calls(FakeOperation::eGetResourceWithContent).back().id,
                 std::int64_t(id));
    }
    QCOMPARE(f.Script().Count(FakeOperation::eDelete), std::size_t(0));
}

void tst_Delete::reportsAFailedDeletion()
{
    TDelete f;
    f.Script().FailNth(FakeOperation::eDelete, 1, OneError(L"<b>Not</b> yours.", L"Ask."));
    f.Delete(ePivots, List("a.zip|b.zip"), f.reference);
    QCOMPARE(f.workerLog.Texts(),
             (QStringList{QStringLiteral("KelvoDeletingFile(4,a.zip)"),
                          QStringLiteral("KelvoDeletingFile(4,b.zip)"),
                          QStringLiteral("KelvoDeleteComplete(4,[a.zip:Not yours.\nAsk.])")}));
    QCOMPARE(f.Remote(ePivots), List("a.zip|c.zip"));
}

void tst_Delete::appendsNoRecordForAFailureWithoutErrors()
{
    TDelete f;
    f.Script().FailNth(FakeOperation::eDelete, 1, FakeErrors());
    f.Delete(ePivots, List("a.zip"), f.reference);
    QCOMPARE(f.workerLog.Texts().last(), QStringLiteral("KelvoDeleteComplete(4,[])"));
    QCOMPARE(f.Remote(ePivots), List("a.zip|b.zip|c.zip"));
}

void tst_Delete::theTextsAreTranslatedBeforeThePositionIsFilledIn()
{
    const TTranslations translations(
        {{"%1 File no longer exists. File index not found.", "Nr. %1 nicht gelistet"},
         {"File no longer exists.", "Datei weg"}});
    TDelete f;
    f.Farm().RemoveEntry(f.reference.fileIds[0]);
    f.Delete(ePivots, List("a.zip|x.zip"), f.reference);
    QCOMPARE(f.workerLog.Texts().last(),
             QStringLiteral("KelvoDeleteComplete(4,[a.zip:Datei weg|x.zip:Nr. 1 nicht gelistet])"));
}

void tst_Delete::aCancelBeforeTheFirstFileDeletesNothing()
{
    TDelete f;
    f.hub->OnCancelCurrentOperationRequested();
    f.Delete(ePivots, List("a.zip|x.zip"), f.reference);
    QCOMPARE(f.workerLog.Texts(), OneText("KelvoDeleteComplete(4,[])"));
    QCOMPARE(f.Remote(ePivots), List("a.zip|b.zip|c.zip"));
    QVERIFY(!f.hub->IsCancelCurrentOperationRequested());
}

void tst_Delete::aCancelTakesEffectBeforeTheNextFile()
{
    TDelete f;
    f.Script().OnCall(FakeOperation::eDelete, [&](const FakeCall&, const FakeAbortCheck&) {
        f.hub->OnCancelCurrentOperationRequested();
    });
    f.Delete(ePivots, List("x.zip|a.zip|b.zip"), f.reference);
    QCOMPARE(f.workerLog.Texts(),
             (QStringList{QStringLiteral("KelvoDeletingFile(4,a.zip)"),
                          QStringLiteral("KelvoDeleteComplete(4,[x.zip:0 File no longer exists. "
                                         "File index not found.])")}));
    QCOMPARE(f.Remote(ePivots), List("b.zip|c.zip"));
}

void tst_Delete::theCancelIsRevertedBeforeTheCompletion()
{
    TDelete f;
    QList<bool> cancelSeen;
    connect(f.worker.get(), &TKelvoThreadObject::KelvoDeleteComplete, this,
            [&] { cancelSeen << f.hub->IsCancelCurrentOperationRequested(); });
    f.hub->OnCancelCurrentOperationRequested();
    f.Delete(ePivots, List("a.zip"), f.reference);
    QCOMPARE(cancelSeen, QList<bool>{false});
}

// Only the service's notification leads to a new listing.
void tst_Delete::doesNotRefreshTheListing()
{
    TDelete f;
    f.Delete(ePivots, List("a.zip"), f.reference);
    QCOMPARE(f.workerLog.Count(QStringLiteral("NewKelvoProjectFilesList")), 0);
    f.DeliverNotifications();
    QCOMPARE(f.workerLog.Count(QStringLiteral("NewKelvoProjectFilesList")), 1);
}

void tst_Delete::touchesNoLocalFile()
{
    TDelete f;
    const QString local = TWorkerFixture::DownloadFolder(ePivots) + QStringLiteral("a.zip");
    const QString temporary = TWorkerFixture::TempFolder() + QStringLiteral("a.zip");
    TWorkerFixture::WriteFile(local, "local");
    TWorkerFixture::WriteFile(temporary, "temporary");
    f.Delete(ePivots, List("a.zip"), f.reference);
    QVERIFY(QFile::exists(local));
    QVERIFY(QFile::exists(temporary));
}

void tst_Delete::deletesTenThousandFiles()
{
    constexpr int COUNT = 10000;
    TDownload f;
    QStringList names;
    for (int i = 0; i < COUNT; ++i) {
        const QString name = QStringLiteral("file number %1.zip").arg(i);
        f.Farm().AddFile(f.Inbox(ePivots), name.toStdWString(), "");
        names.prepend(name);
    }
    f.Start();
    const KelvoFileInfoList reference = f.Reference(ePivots);
    QElapsedTimer elapsed;
    elapsed.start();
    f.Delete(ePivots, names, reference);
    qInfo("%d of %d names in %lld ms", COUNT, COUNT, static_cast<long long>(elapsed.elapsed()));
    QCOMPARE(f.Script().Count(FakeOperation::eGetResourceWithContent), std::size_t(COUNT));
    QCOMPARE(f.Script().Count(FakeOperation::eDelete), std::size_t(COUNT));
    QVERIFY(f.Remote(ePivots).isEmpty());
    QCOMPARE(f.workerLog.Texts().last(), QStringLiteral("KelvoDeleteComplete(4,[])"));
    f.worker->CleanupKESDK(); // skips one listing for each change
}

void tst_Delete::deletesThroughTheHub()
{
    TDelete f;
    f.worker->RefreshToConsoleFileList(ePivots, false, 0);
    f.hubLog.Clear();
    f.hub->OnDeleteFilesRequested(ePivots, List("b.zip"));
    QCOMPARE(f.hubLog.Names(), (QStringList{QStringLiteral("KelvoFileOperationInProgress"),
                                            QStringLiteral("KelvoDeleteFilesRequested"),
                                            QStringLiteral("KelvoDeletingFile"),
                                            QStringLiteral("KelvoDeleteComplete"),
                                            QStringLiteral("KelvoFileOperationComplete")}));
    QCOMPARE(f.Remote(ePivots), List("a.zip|c.zip"));
}

KELVO_GUI_TEST_MAIN(tst_Delete)
#include "tst_Delete.moc"
