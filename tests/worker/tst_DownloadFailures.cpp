// Downloads: the records of failed files.
#include "support/GuiTestMain.h"
#include "tests/worker/TDownload.h"
#include "tests/worker/TTranslations.h"

#include <QtTest/QtTest>

using fakes::FakeErrors;
using fakes::FakeOperation;
using fakes::OneError;

class tst_DownloadFailures : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void reportsANameThatIsNotListedWithItsPosition();
    void namesAreLookedUpExactly();
    void aFileThatWasRenamedOnTheServiceIsNotFetched();
    void aFileThatIsGoneFromTheServiceIsNotFetched();
    void reportsAFileWhoseQueryFails();
    void idsAreWidenedWithTheirSign_data();
    void idsAreWidenedWithTheirSign();
    void reportsAFailedFetch();
    void tellsForEachFileThatTheSessionHasEnded();
    void appendsNoRecordForAFailureWithoutErrors();
    void listsFetchRecordsBeforeUnpackingRecords();
    void theTextsAreTranslatedBeforeThePositionIsFilledIn();
};

namespace {

KelvoFileInfoList Listed(const QList<long>& ids, const QStringList& names)
{
    KelvoFileInfoList reference;
    reference.fileIds = ids;
    reference.fileNames = names;
    return reference;
}

} // namespace

void tst_DownloadFailures::reportsANameThatIsNotListedWithItsPosition()
{
    TDownload f;
    f.AddArchive(ePivots, QStringLiteral("a.zip"), "a.txt");
    f.Start();
    f.Download(ePivots, List("x.zip|a.zip|y.zip"), f.Reference(ePivots));
    QCOMPARE(
        f.workerLog.Texts(),
        (QStringList{QStringLiteral("KelvoDownloadingFile(4,a.zip)"),
                     QStringLiteral("KelvoDownloadComplete(4,[x.zip:0 File no longer exists. File "
                                    "Index not found|y.zip:2 File no longer exists. File Index not "
                                    "found])")}));
    QCOMPARE(f.Script().Count(FakeOperation::eGetResourceWithContent), std::size_t(1));
}

void tst_DownloadFailures::namesAreLookedUpExactly()
{
    TDownload f;
    f.AddArchive(ePivots, QStringLiteral("a.zip"), "a.txt");
    f.Start();
    f.Download(ePivots, List("A.zip|a.ZIP|a.zip |a.zi"), f.Reference(ePivots));
    QCOMPARE(f.Script().Count(FakeOperation::eDownload), std::size_t(0));
    QCOMPARE(f.Script().Count(FakeOperation::eGetResourceWithContent), std::size_t(0));
    QVERIFY(f.workerLog.Texts().last().contains(QStringLiteral("|a.zi:3 File no longer exists.")));
}

void tst_DownloadFailures::aFileThatWasRenamedOnTheServiceIsNotFetched()
{
    TDownload f;
    const std::int64_t id = f.AddArchive(ePivots, QStringLiteral("a.zip"), "a.txt");
    f.Start();
    const KelvoFileInfoList reference = f.Reference(ePivots);
    f.Farm().RenameEntry(id, L"A.zip");
    f.Download(ePivots, List("a.zip"), reference);
    QCOMPARE(f.workerLog.Texts(),
             OneText("KelvoDownloadComplete(4,[a.zip:File no longer exists.])"));
    QCOMPARE(f.Script().Count(FakeOperation::eDownload), std::size_t(0));
}

void tst_DownloadFailures::aFileThatIsGoneFromTheServiceIsNotFetched()
{
    TDownload f;
    const std::int64_t id = f.AddArchive(ePivots, QStringLiteral("a.zip"), "a.txt");
    f.AddArchive(ePivots, QStringLiteral("b.zip"), "b.txt");
    f.Start();
    const KelvoFileInfoList reference = f.Reference(ePivots);
    f.Farm().RemoveEntry(id);
    f.Download(ePivots, List("a.zip|b.zip"), reference);
    QCOMPARE(
        f.workerLog.Texts(),
        (QStringList{QStringLiteral("KelvoDownloadingFile(4,b.zip)"),
                     QStringLiteral("KelvoDownloadComplete(4,[a.zip:File no longer exists.])")}));
    QCOMPARE(f.Script().Count(FakeOperation::eDownload), std::size_t(1));
}

void tst_DownloadFailures::reportsAFileWhoseQueryFails()
{
    TDownload f;
    f.AddArchive(ePivots, QStringLiteral("a.zip"), "a.txt");
    f.Start();
    f.Script().FailNth(FakeOperation::eGetResourceWithContent, 1, OneError(L"not shown"));
    f.Download(ePivots, List("a.zip"), f.Reference(ePivots));
    QCOMPARE(f.workerLog.Texts(),
             OneText("KelvoDownloadComplete(4,[a.zip:File no longer exists.])"));
}

void tst_DownloadFailures::idsAreWidenedWithTheirSign_data()
{
    QTest::addColumn<long>("listed");
    QTest::addColumn<qint64>("queried");
    QTest::newRow("2^31-1") << 2147483647L << qint64(2147483647);
    QTest::newRow("listed from 2^31") << (-2147483647L - 1) << qint64(-2147483648LL);
    QTest::newRow("listed from 2^32-1") << -1L << qint64(-1);
    QTest::newRow("listed from 2^32") << 0L << qint64(0);
    QTest::newRow("one") << 1L << qint64(1);
}

void tst_DownloadFailures::idsAreWidenedWithTheirSign()
{
    QFETCH(long, listed);
    QFETCH(qint64, queried);
    TDownload f;
    f.Start();
    f.Download(ePivots, List("a.zip"), Listed({listed}, List("a.zip")));
    const auto calls = f.Script().Calls(FakeOperation::eGetResourceWithContent);
    QCOMPARE(calls.size(), std::size_t(1));
    QCOMPARE(qint64(calls.front().id), queried);
    QCOMPARE(f.workerLog.Texts(),
             OneText("KelvoDownloadComplete(4,[a.zip:File no longer exists.])"));
}

void tst_DownloadFailures::reportsAFailedFetch()
{
    TDownload f;
    f.AddArchive(ePivots, QStringLiteral("a.zip"), "a.txt");
    f.AddArchive(ePivots, QStringLiteral("b.zip"), "b.txt");
    f.Start();
    f.Script().FailNth(FakeOperation::eDownload, 1, OneError(L"<i>Stalled</i>.", L"Again."));
    f.Download(ePivots, List("a.zip|b.zip"), f.Reference(ePivots));
    QCOMPARE(f.workerLog.Texts(),
             (QStringList{QStringLiteral("KelvoDownloadingFile(4,a.zip)"),
                          QStringLiteral("KelvoDownloadingFile(4,b.zip)"),
                          QStringLiteral("KelvoDownloadComplete(4,[a.zip:Stalled.\nAgain.])")}));
    QCOMPARE(TDownload::Local(ePivots), List("b/b.txt"));
}

void tst_DownloadFailures::tellsForEachFileThatTheSessionHasEnded()
{
    TDownload f;
    f.AddArchive(ePivots, QStringLiteral("a.zip"), "a.txt");
    f.AddArchive(ePivots, QStringLiteral("b.zip"), "b.txt");
    f.Start();
    f.Script().OnCall(FakeOperation::eDownload,
                      [&f](const auto&, const auto&) { f.Sdk().Live()->LoseSession(); });
    f.Download(ePivots, List("a.zip|b.zip"), f.Reference(ePivots));
    const QString ended = QStringLiteral("Your session has ended.\nLog in again.");
    QCOMPARE(
        f.workerLog.Texts(),
        (QStringList{QStringLiteral("KelvoDownloadingFile(4,a.zip)"),
                     QStringLiteral("KelvoDownloadingFile(4,b.zip)"),
                     QStringLiteral("KelvoDownloadComplete(4,[a.zip:%1|b.zip:%1])").arg(ended)}));
}

void tst_DownloadFailures::appendsNoRecordForAFailureWithoutErrors()
{
    TDownload f;
    f.AddArchive(ePivots, QStringLiteral("a.zip"), "a.txt");
    f.Start();
    f.Script().FailNth(FakeOperation::eDownload, 1, FakeErrors());
    f.Download(ePivots, List("a.zip"), f.Reference(ePivots));
    QCOMPARE(f.workerLog.Texts().last(), QStringLiteral("KelvoDownloadComplete(4,[])"));
    QVERIFY(TDownload::Local(ePivots).isEmpty());
}

void tst_DownloadFailures::listsFetchRecordsBeforeUnpackingRecords()
{
    TDownload f;
    f.Farm().AddFile(f.Inbox(ePivots), L"broken.zip", "this is no archive");
    f.AddArchive(ePivots, QStringLiteral("good.zip"), "good.txt");
    f.Start();
    f.Download(ePivots, List("broken.zip|missing.zip|good.zip"), f.Reference(ePivots));
    QCOMPARE(f.workerLog.Texts().last(),
             QStringLiteral("KelvoDownloadComplete(4,[missing.zip:1 File no longer exists. File "
                            "Index not found|broken.zip:Failed to unzip file])"));
    QCOMPARE(TDownload::Local(ePivots), List("good/good.txt"));
    QVERIFY(TDownload::Temporary().isEmpty());
}

void tst_DownloadFailures::theTextsAreTranslatedBeforeThePositionIsFilledIn()
{
    const TTranslations translations(
        {{"%1 File no longer exists. File Index not found", "Nr. %1 nicht gelistet"},
         {"File no longer exists.", "Datei weg"},
         {"Failed to unzip file", "Archiv defekt"}});
    TDownload f;
    f.Farm().AddFile(f.Inbox(ePivots), L"broken.zip", "this is no archive");
    f.Start();
    KelvoFileInfoList reference = f.Reference(ePivots);
    reference.fileIds << 4711L;
    reference.fileNames << QStringLiteral("gone.zip");
    f.Download(ePivots, List("x.zip|gone.zip|broken.zip"), reference);
    QCOMPARE(f.workerLog.Texts().last(),
             QStringLiteral("KelvoDownloadComplete(4,[x.zip:Nr. 0 nicht gelistet|gone.zip:Datei "
                            "weg|broken.zip:Archiv defekt])"));
}

KELVO_GUI_TEST_MAIN(tst_DownloadFailures)
#include "tst_DownloadFailures.moc"
