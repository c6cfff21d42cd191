// The content of an inbox's listing.
#include "support/GuiTestMain.h"
#include "tests/worker/Listings.h"
#include "tests/worker/TProjectsOnly.h"

#include <QtTest/QtTest>

using fakes::FakeOperation;

class tst_Listing : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void listsOnlyFilesWithTheSuffix_data();
    void listsOnlyFilesWithTheSuffix();
    void keepsTheServicesOrder();
    void anEmptyInboxIsAnEmptyListing();
    void onlyEntriesOfTheFileKindAreListed();
    void onlyArchivesAreListed();
    void listsTheFirstOfTwoEntriesOfOneId();
    void anEntryThatIsSkippedDoesNotTakeItsId();
    void twoEntriesOfOneNameAreBothListed();
    void idsAreNarrowedTo32Bits_data();
    void idsAreNarrowedTo32Bits();
    void recognisesDuplicatesByThe64BitId();
    void keepsNamesBeyondTheBasicPlane();
    void theInboxsIdIsNarrowedAndWidened_data();
    void theInboxsIdIsNarrowedAndWidened();
    void readsAGivenInboxWithoutALookUp();
    void withoutAnInboxNothingIsEmitted();
    void aFailedQueryIsAnEmptyListing();
    void keepsNothingOfThePreviousListing();
};

void tst_Listing::listsOnlyFilesWithTheSuffix_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("downloadable");
    const auto row = [](const char* name, bool downloadable) {
        QTest::newRow(*name ? name : "no name") << QString::fromUtf8(name) << downloadable;
    };
    row("a.zip", true);
    row("a.ZIP", true);
    row("a.Zip", false);
    row("a.zIP", false);
    row(".zip", true);
    row(".ZIP", true);
    row("", false);
    row("zip", false);
    row("azip", false);
    row("a.zi", false);
    row("a.zipx", false);
    row("a.zip ", false);
    row("a.zip.txt", false);
    row("a.zip.zip", false); // the first occurrence counts
    row("a.ZIP.ZIP", false);
    row(".zip.zip", false);
    row("a.zip.ZIP", true); // matches the other suffix
    row("a.ZIP.zip", true);
    row("a.zip.ZIP.zip", false);
    row("a.zip.zip.ZIP", true);
    row("a..zip", true);
    row("two words.zip", true);
    row("Feld \xC3\xA4\xF0\x9F\x9A\x9C.zip", true);
}

void tst_Listing::listsOnlyFilesWithTheSuffix()
{
    QFETCH(QString, name);
    QFETCH(bool, downloadable);
    TWorkerFixture f;
    f.Make();
    QCOMPARE(f.worker->IsFileNameDownloadable(name.toStdWString().c_str()), downloadable);
}

void tst_Listing::keepsTheServicesOrder()
{
    TWorkerFixture f;
    const std::int64_t z = f.Farm().AddFile(f.Inbox(eCurves), L"z.zip", "");
    const std::int64_t a = f.Farm().AddFile(f.Inbox(eCurves), L"a.ZIP", "");
    const std::int64_t m = f.Farm().AddFile(f.Inbox(eCurves), L"m.zip", "");
    f.Start();
    f.worker->RefreshToConsoleFileList(eCurves, false, 0);
    QCOMPARE(f.workerLog.Texts(),
             QStringList{QStringLiteral("NewKelvoProjectFilesList(3,[%1:z.zip %2:a.ZIP %3:m.zip])")
                             .arg(z)
                             .arg(a)
                             .arg(m)});
}

void tst_Listing::anEmptyInboxIsAnEmptyListing()
{
    TWorkerFixture f;
    f.Start();
    f.worker->RefreshToConsoleFileList(ePivots, false, 0);
    QCOMPARE(f.workerLog.Texts(), OneText("NewKelvoProjectFilesList(4,[])"));
}

void tst_Listing::onlyEntriesOfTheFileKindAreListed()
{
    TWorkerFixture f;
    for (const std::int32_t kind : {0, 1, 2, 3, 5, 6, -4, 260})
        f.Farm().AddRawEntry(f.Inbox(eCurves), Entry(100 + kind, L"a.zip", kind));
    f.Farm().AddRawEntry(f.Inbox(eCurves), Entry(99, L"file.zip", 4));
    f.Start();
    f.worker->RefreshToConsoleFileList(eCurves, false, 0);
    QCOMPARE(f.workerLog.Texts(), OneText("NewKelvoProjectFilesList(3,[99:file.zip])"));
}

void tst_Listing::onlyArchivesAreListed()
{
    TWorkerFixture f;
    f.Farm().AddRawEntry(f.Inbox(eCurves), Entry(1000, L"a.txt"));
    f.Farm().AddRawEntry(f.Inbox(eCurves), Entry(1001, L"a.zip.zip"));
    f.Farm().AddRawEntry(f.Inbox(eCurves), Entry(1002, L"a.Zip"));
    f.Farm().AddRawEntry(f.Inbox(eCurves), Entry(1003, L"a.zip"));
    f.Farm().AddRawEntry(f.Inbox(eCurves), Entry(1004, L""));
    f.Start();
    f.worker->RefreshToConsoleFileList(eCurves, false, 0);
    QCOMPARE(f.workerLog.Texts(), OneText("NewKelvoProjectFilesList(3,[1003:a.zip])"));
}

void tst_Listing::listsTheFirstOfTwoEntriesOfOneId()
{
    TWorkerFixture f;
    f.Farm().AddRawEntry(f.Inbox(eCurves), Entry(1000, L"first.zip"));
    f.Farm().AddRawEntry(f.Inbox(eCurves), Entry(1001, L"other.zip"));
    f.Farm().AddRawEntry(f.Inbox(eCurves), Entry(1000, L"second.zip"));
    f.Start();
    f.worker->RefreshToConsoleFileList(eCurves, false, 0);
    QCOMPARE(f.workerLog.Texts(),
             OneText("NewKelvoProjectFilesList(3,[1000:first.zip 1001:other.zip])"));
}

void tst_Listing::anEntryThatIsSkippedDoesNotTakeItsId()
{
    TWorkerFixture f;
    f.Farm().AddRawEntry(f.Inbox(eCurves), Entry(1000, L"a.txt"));
    f.Farm().AddRawEntry(f.Inbox(eCurves), Entry(1000, L"b.zip", 2));
    f.Farm().AddRawEntry(f.Inbox(eCurves), Entry(1000, L"c.zip"));
    f.Start();
    f.worker->RefreshToConsoleFileList(eCurves, false, 0);
    QCOMPARE(f.workerLog.Texts(), OneText("NewKelvoProjectFilesList(3,[1000:c.zip])"));
}

void tst_Listing::twoEntriesOfOneNameAreBothListed()
{
    TWorkerFixture f;
    f.Farm().AddRawEntry(f.Inbox(eCurves), Entry(1000, L"a.zip"));
    f.Farm().AddRawEntry(f.Inbox(eCurves), Entry(1001, L"a.zip"));
    f.Start();
    f.worker->RefreshToConsoleFileList(eCurves, false, 0);
    QCOMPARE(f.workerLog.Texts(), OneText("NewKelvoProjectFilesList(3,[1000:a.zip 1001:a.zip])"));
}

void tst_Listing::idsAreNarrowedTo32Bits_data()
{
    QTest::addColumn<qint64>("id");
    QTest::addColumn<long>("listed");
    const auto row = [](const char* name, std::int64_t id, long listed) {
        QTest::newRow(name) << qint64(id) << listed;
    };
    row("2^31-1", TWO_31 - 1, 2147483647L);
    row("2^31", TWO_31, -2147483647L - 1);
    row("2^31+1", TWO_31 + 1, -2147483647L);
    row("2^32-1", TWO_32 - 1, -1L);
    row("2^32", TWO_32, 0L);
    row("2^32+5", TWO_32 + 5, 5L);
    row("2^33+2^31", 2 * TWO_32 + TWO_31, -2147483647L - 1);
    row("negative", -7, -7L);
}

void tst_Listing::idsAreNarrowedTo32Bits()
{
    QFETCH(qint64, id);
    QFETCH(long, listed);
    TWorkerFixture f;
    f.Farm().AddRawEntry(f.Inbox(eCurves), Entry(id, L"a.zip"));
    f.Start();
    f.worker->RefreshToConsoleFileList(eCurves, false, 0);
    QCOMPARE(LastListing(f.workerLog).fileIds, QList<long>{listed});
}

void tst_Listing::recognisesDuplicatesByThe64BitId()
{
    TWorkerFixture f;
    f.Farm().AddRawEntry(f.Inbox(eCurves), Entry(1005, L"a.zip"));
    f.Farm().AddRawEntry(f.Inbox(eCurves), Entry(TWO_32 + 1005, L"b.zip"));
    f.Start();
    f.worker->RefreshToConsoleFileList(eCurves, false, 0);
    QCOMPARE(f.workerLog.Texts(), OneText("NewKelvoProjectFilesList(3,[1005:a.zip 1005:b.zip])"));
}

void tst_Listing::keepsNamesBeyondTheBasicPlane()
{
    const QString name = QString::fromUtf8("Feld \xC3\xA4 \xF0\x9F\x9A\x9C.zip");
    TWorkerFixture f;
    f.Farm().AddFile(f.Inbox(eCurves), name.toStdWString(), "");
    f.Start();
    f.worker->RefreshToConsoleFileList(eCurves, false, 0);
    QCOMPARE(LastListing(f.workerLog).fileNames, QStringList{name});
}

void tst_Listing::theInboxsIdIsNarrowedAndWidened_data()
{
    QTest::addColumn<qint64>("inbox");
    QTest::addColumn<qint64>("queried");
    const auto row = [](const char* name, std::int64_t inbox, std::int64_t queried) {
        QTest::newRow(name) << qint64(inbox) << qint64(queried);
    };
    row("2^31-1", TWO_31 - 1, TWO_31 - 1);
    row("2^31", TWO_31, -TWO_31);
    row("2^32-1", TWO_32 - 1, -1);
    row("2^32+7", TWO_32 + 7, 7);
}

void tst_Listing::theInboxsIdIsNarrowedAndWidened()
{
    QFETCH(qint64, inbox);
    QFETCH(qint64, queried);
    TProjectsOnly f;
    f.AddRawInbox(L"Curves", inbox);
    f.Start();
    f.worker->RefreshToConsoleFileList(eCurves, false, 0);
    const auto calls = f.Script().Calls(FakeOperation::eGetResourceWithContent);
    QCOMPARE(calls.size(), std::size_t(1));
    QCOMPARE(qint64(calls.front().id), queried);
    QCOMPARE(f.workerLog.Count(QStringLiteral("NewKelvoProjectFilesList")), 1);
}

void tst_Listing::readsAGivenInboxWithoutALookUp()
{
    TWorkerFixture f;
    f.Farm().AddRawEntry(f.Inbox(ePivots), Entry(1000, L"pivot.zip"));
    f.Start();
    f.worker->RefreshToConsoleFileList(eCurves, true, long(f.Inbox(ePivots)));
    QCOMPARE(f.workerLog.Texts(), OneText("NewKelvoProjectFilesList(3,[1000:pivot.zip])"));
    QCOMPARE(f.Script().Count(FakeOperation::eGetProjects), std::size_t(0));
    QCOMPARE(f.Script().Count(FakeOperation::eGetProjectResources), std::size_t(0));
    f.worker->RefreshToConsoleFileList(eCurves, true, -5L);
    const auto calls = f.Script().Calls(FakeOperation::eGetResourceWithContent);
    QCOMPARE(qint64(calls.back().id), qint64(-5));
}

void tst_Listing::withoutAnInboxNothingIsEmitted()
{
    TProjectsOnly f;
    f.Start();
    f.worker->RefreshToConsoleFileList(eCurves, false, 1);
    QVERIFY(f.workerLog.All().isEmpty());
    QCOMPARE(f.Script().Count(FakeOperation::eGetResourceWithContent), std::size_t(0));
}

void tst_Listing::aFailedQueryIsAnEmptyListing()
{
    TWorkerFixture f;
    f.Farm().AddFile(f.Inbox(eCurves), L"a.zip", "");
    f.Start();
    f.Script().FailNth(FakeOperation::eGetResourceWithContent, 1, fakes::OneError(L"no link"));
    f.worker->RefreshToConsoleFileList(eCurves, false, 0);
    QCOMPARE(f.workerLog.Texts(), OneText("NewKelvoProjectFilesList(3,[])"));
    QCOMPARE(f.Script().Count(FakeOperation::eGetLastErrors), std::size_t(0));
}

void tst_Listing::keepsNothingOfThePreviousListing()
{
    TWorkerFixture f;
    const std::int64_t first = f.Farm().AddFile(f.Inbox(eCurves), L"a.zip", "");
    f.Start();
    f.worker->RefreshToConsoleFileList(eCurves, false, 0);
    f.worker->RefreshToConsoleFileList(eCurves, false, 0);
    const QString listing = QStringLiteral("NewKelvoProjectFilesList(3,[%1:a.zip])").arg(first);
    QCOMPARE(f.workerLog.Texts(), (QStringList{listing, listing}));
    f.Farm().RemoveEntry(first);
    f.worker->RefreshToConsoleFileList(eCurves, false, 0);
    QCOMPARE(f.workerLog.Texts().last(), QStringLiteral("NewKelvoProjectFilesList(3,[])"));
}

KELVO_GUI_TEST_MAIN(tst_Listing)
#include "tst_Listing.moc"
