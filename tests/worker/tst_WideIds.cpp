// Ids from 2^31 on, and files dated after 2038. A value that does not fit into 32 bits never
// selects another file.
#include "support/GuiTestMain.h"
#include "tests/support/FileDates.h"
#include "tests/worker/Listings.h"
#include "tests/worker/TDownload.h"
#include "tests/worker/TEmptyFarm.h"
#include "tests/worker/TProjectsOnly.h"

#include <QtTest/QtTest>

using fakes::FakeOperation;

class tst_WideIds : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void doesNotFetchOrDeleteAFileOfTheSame32BitId();
    void doesNotFetchAnInboxOfTheSame32BitId();
    void aReportListsTheInboxThatItNames_data();
    void aReportListsTheInboxThatItNames();
    void doesNotListAnInboxWhoseIdNoReportCanHold();
    void theProjectInboxsIdHas32Bits();
    void unpacksArchivesDatedAfter2038();
};

// Both files have the same number in the listing.
void tst_WideIds::doesNotFetchOrDeleteAFileOfTheSame32BitId()
{
    TDownload f;
    const std::int64_t other = f.AddArchive(ePivots, QStringLiteral("a.zip"), "a.txt");
    f.Farm().AddRawEntry(f.Inbox(ePivots), Entry(TWO_32 + other, L"b.zip"));
    f.Start();
    f.worker->RefreshToConsoleFileList(ePivots, false, 0);
    const KelvoFileInfoList listed = LastListing(f.workerLog);
    QCOMPARE(listed.fileIds, (QList<long>{static_cast<long>(other), static_cast<long>(other)}));
    f.workerLog.Clear();
    f.Download(ePivots, List("b.zip"), listed);
    f.Delete(ePivots, List("b.zip"), listed);
    QCOMPARE(
        f.workerLog.Texts(),
        (QStringList{QStringLiteral("KelvoDownloadComplete(4,[b.zip:File no longer exists.])"),
                     QStringLiteral("KelvoDeleteComplete(4,[b.zip:File no longer exists.])")}));
    QCOMPARE(f.Script().Count(FakeOperation::eDownload), std::size_t(0));
    QCOMPARE(f.Script().Count(FakeOperation::eDelete), std::size_t(0));
    QCOMPARE(f.Remote(ePivots), List("a.zip|b.zip"));
    QVERIFY(TDownload::Local(ePivots).isEmpty());
}

// An inbox has the name of its owner, which may be any text.
void tst_WideIds::doesNotFetchAnInboxOfTheSame32BitId()
{
    TDownload f;
    f.Farm().AddRawEntry(f.Inbox(ePivots), Entry(TWO_32 + f.Inbox(eCurves), L"b.zip"));
    f.Start();
    f.worker->RefreshToConsoleFileList(ePivots, false, 0);
    const KelvoFileInfoList listed = LastListing(f.workerLog);
    f.Delete(ePivots, List("b.zip"), listed);
    QCOMPARE(f.Script().Count(FakeOperation::eDelete), std::size_t(0));
}

void tst_WideIds::aReportListsTheInboxThatItNames_data()
{
    QTest::addColumn<qint64>("inbox");
    QTest::addColumn<qint64>("queried");
    const auto row = [](const char* name, std::int64_t inbox, std::int64_t queried) {
        QTest::newRow(name) << qint64(inbox) << qint64(queried);
    };
    row("2^31-1", TWO_31 - 1, TWO_31 - 1);
    row("2^31", TWO_31, -TWO_31);
    row("2^31+1", TWO_31 + 1, -TWO_31 + 1);
    row("2^32-2", TWO_32 - 2, -2);
    row("2^32-1", TWO_32 - 1, -1);
}

void tst_WideIds::aReportListsTheInboxThatItNames()
{
    QFETCH(qint64, inbox);
    QFETCH(qint64, queried);
    TProjectsOnly f;
    f.AddRawInbox(L"AB Lines", 700);
    f.AddRawInbox(L"Curves", inbox);
    f.Start();
    f.Call("OnFileModifiedInUserInbox", Q_ARG(long, -1L), Q_ARG(ulong, static_cast<ulong>(inbox)));
    QCOMPARE(f.workerLog.Texts(), OneText("NewKelvoProjectFilesList(3,[])"));
    QCOMPARE(qint64(f.Script().Calls(FakeOperation::eGetResourceWithContent).back().id), queried);
}

void tst_WideIds::doesNotListAnInboxWhoseIdNoReportCanHold()
{
    TProjectsOnly f;
    f.AddRawInbox(L"AB Lines", TWO_32);
    f.AddRawInbox(L"Curves", TWO_32 + 7);
    f.AddRawInbox(L"Pivots", TWO_32 + TWO_31);
    f.Start();
    for (const ulong low : {0UL, 7UL, static_cast<ulong>(TWO_31)})
        f.Call("OnFileModifiedInUserInbox", Q_ARG(long, 1L), Q_ARG(ulong, low));
    QVERIFY(f.workerLog.All().isEmpty());
    QCOMPARE(f.Script().Count(FakeOperation::eGetResourceWithContent), std::size_t(0));
}

void tst_WideIds::theProjectInboxsIdHas32Bits()
{
    TEmptyFarm f;
    f.Farm().SetNextId(TWO_32 + TWO_31);
    f.Farm().AddProject(L"Curves");
    QCOMPARE(qint64(f.Farm().ProjectId(L"Curves")), qint64(TWO_32 + TWO_31));
    f.Farm().SetNextId(700);
    f.Farm().AddInbox(L"Curves", f.userId);
    f.Start();
    f.Call("OnFileModifiedInProjectInbox", Q_ARG(long, 1L), Q_ARG(ulong, 5UL));
    QVERIFY(f.workerLog.All().isEmpty());
    f.Call("OnFileModifiedInProjectInbox", Q_ARG(long, 1L),
           Q_ARG(ulong, static_cast<ulong>(TWO_31)));
    QCOMPARE(f.workerLog.Texts(), OneText("NewKelvoProjectFilesList(3,[])"));
}

// Like on a console whose clock is wrong.
void tst_WideIds::unpacksArchivesDatedAfter2038()
{
    TDownload f;
    f.Start();
    const QString archive = TWorkerFixture::TempFolder() + QStringLiteral("a.zip");
    TWorkerFixture::WriteFile(archive, kelvo::test::ZipOf("a.txt", "new"));
    const QString folder = TWorkerFixture::DownloadFolder(ePivots) + QStringLiteral("a");
    QVERIFY(QDir().mkpath(folder));
    const QString inside = folder + QStringLiteral("/a.txt");
    TWorkerFixture::WriteFile(inside, "former");
    QVERIFY(kelvo::test::SetFileDate(archive.toStdString(), kelvo::test::farFutureS));
    QVERIFY(kelvo::test::SetFileDate(inside.toStdString(), kelvo::test::farFutureS));
    KelvoFileTransferErrorDetailsList errors;
    QVERIFY(f.worker->ManageKelvoDownloads(ePivots, errors));
    QVERIFY(errors.isEmpty());
    QVERIFY(TDownload::Temporary().isEmpty());
    QFile unpacked(inside);
    QVERIFY(unpacked.open(QIODevice::ReadOnly));
    QCOMPARE(unpacked.readAll(), QByteArray("new"));
}

KELVO_GUI_TEST_MAIN(tst_WideIds)
#include "tst_WideIds.moc"
