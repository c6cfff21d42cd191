// Downloads: the requested files, their folders, and the unpacking of all fetched archives.
#include "support/GuiTestMain.h"
#include "tests/worker/TDownload.h"

#include <QtTest/QtTest>

using fakes::FakeAbortCheck;
using fakes::FakeCall;
using fakes::FakeOperation;

namespace {

KelvoFileInfoList Listing(long id)
{
    KelvoFileInfoList listing;
    listing.fileIds << id;
    listing.fileNames << QStringLiteral("a.zip");
    return listing;
}

} // namespace

class tst_Download : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void anEmptyRequestEmitsNothingAndTouchesNothing();
    void fetchesAndUnpacksEachFileOfEachKind_data();
    void fetchesAndUnpacksEachFileOfEachKind();
    void announcesAFileBeforeItIsFetched();
    void writesIntoTheTemporaryFolderUnderTheFilesName();
    void createsAMissingTemporaryFolder();
    void createsNoParentOfTheTemporaryFolder();
    void fetchesTheIdThatTheServiceAnswered();
    void fetchesAResourceOfAnyKind();
    void fetchesTheFirstOfTwoEntriesOfOneName();
    void aCancelBeforeTheFirstFileOnlyUnpacksEarlierArchives();
    void aCancelStillUnpacksFetchedArchives();
    void theCancelIsRevertedBeforeTheCompletion();
    void aNameRequestedTwiceIsFetchedTwice();
    void looksUpEachNameOfALongListingOnce();
    void downloadsThroughTheHub();
};

void tst_Download::anEmptyRequestEmitsNothingAndTouchesNothing()
{
    TDownload f;
    f.AddArchive(ePivots, QStringLiteral("a.zip"), "a.txt");
    f.Start();
    TWorkerFixture::WriteFile(TWorkerFixture::TempFolder() + QStringLiteral("left.zip"), "bytes");
    f.hub->OnCancelCurrentOperationRequested();
    f.Download(ePivots, {}, f.Reference(ePivots));
    QVERIFY(f.workerLog.All().isEmpty());
    QVERIFY(f.Script().Calls().empty());
    QCOMPARE(TDownload::Temporary(), List("left.zip"));
    QVERIFY(f.hub->IsCancelCurrentOperationRequested());
    QVERIFY(QDir(TWorkerFixture::TempFolder()).removeRecursively());
    f.Download(ePivots, {}, f.Reference(ePivots));
    QVERIFY(!QFileInfo::exists(TWorkerFixture::TempFolder()));
}

void tst_Download::fetchesAndUnpacksEachFileOfEachKind_data()
{
    QTest::addColumn<int>("kind");
    for (int kind = 0; kind < KELVO_PROJECT_COUNT; ++kind)
        QTest::addRow("project %d", kind) << kind;
}

void tst_Download::fetchesAndUnpacksEachFileOfEachKind()
{
    QFETCH(int, kind);
    const auto project = static_cast<EKelvoProjects>(kind);
    TDownload f;
    f.AddArchive(project, QStringLiteral("a.zip"), "inner a.txt", "content a");
    f.AddArchive(project, QStringLiteral("b.ZIP"), "inner b.txt", "content b");
    f.AddArchive(project, QStringLiteral("c.zip"), "inner c.txt", "content c");
    f.Start();
    f.Download(kind, List("b.ZIP|a.zip"), f.Reference(project));
    QCOMPARE(f.workerLog.Texts(),
             (QStringList{QStringLiteral("KelvoDownloadingFile(%1,b.ZIP)").arg(kind),
                          QStringLiteral("KelvoDownloadingFile(%1,a.zip)").arg(kind),
                          QStringLiteral("KelvoDownloadComplete(%1,[])").arg(kind)}));
    QCOMPARE(TDownload::Local(project), List("a/inner a.txt|b.ZIP/inner b.txt"));
    QCOMPARE(TWorkerFixture::ReadFile(TWorkerFixture::DownloadFolder(project) +
                                      QStringLiteral("b.ZIP/inner b.txt")),
             QByteArray("content b"));
    QVERIFY(TDownload::Temporary().isEmpty());
    QCOMPARE(f.Remote(project),
             List("a.zip|b.ZIP|c.zip")); // a download deletes nothing on the service
}

void tst_Download::announcesAFileBeforeItIsFetched()
{
    TDownload f;
    f.AddArchive(ePivots, QStringLiteral("a.zip"), "a.txt");
    f.AddArchive(ePivots, QStringLiteral("b.zip"), "b.txt");
    f.Start();
    QList<int> announced;
    f.Script().OnCall(FakeOperation::eDownload, [&](const FakeCall&, const FakeAbortCheck&) {
        announced << f.workerLog.Count(QStringLiteral("KelvoDownloadingFile"));
    });
    f.Download(ePivots, List("a.zip|b.zip"), f.Reference(ePivots));
    QCOMPARE(announced, (QList<int>{1, 2}));
}

void tst_Download::writesIntoTheTemporaryFolderUnderTheFilesName()
{
    const QString name = QString::fromUtf8("Feld \xC3\xA4 \xF0\x9F\x9A\x9C.zip");
    TDownload f;
    const std::int64_t id = f.AddArchive(ePivots, name, "a.txt");
    f.Start();
    f.Download(ePivots, {name}, f.Reference(ePivots));
    const auto calls = f.Script().Calls(FakeOperation::eDownload);
    QCOMPARE(calls.size(), std::size_t(1));
    QCOMPARE(calls.front().id, id);
    QCOMPARE(QString::fromStdWString(calls.front().text), TWorkerFixture::TempFolder() + name);
    QCOMPARE(TDownload::Local(ePivots), QStringList(name.chopped(4) + QStringLiteral("/a.txt")));
}

void tst_Download::createsAMissingTemporaryFolder()
{
    TDownload f;
    f.AddArchive(ePivots, QStringLiteral("a.zip"), "a.txt");
    f.Start();
    QVERIFY(QDir(TWorkerFixture::TempFolder()).removeRecursively());
    f.Download(ePivots, List("a.zip"), f.Reference(ePivots));
    QVERIFY(QFileInfo(TWorkerFixture::TempFolder()).isDir());
    QCOMPARE(TDownload::Local(ePivots), List("a/a.txt"));
    QCOMPARE(f.workerLog.Texts().last(), QStringLiteral("KelvoDownloadComplete(4,[])"));
}

// The host framework makes the parent. Here the parent is removed afterwards.
void tst_Download::createsNoParentOfTheTemporaryFolder()
{
    TDownload f;
    f.AddArchive(ePivots, QStringLiteral("a.zip"), "a.txt");
    f.Start();
    const QDir temporary(TWorkerFixture::TempFolder());
    const QString parent = QFileInfo(temporary.absolutePath()).absolutePath();
    QList<bool> existed;
    f.Script().OnCall(
        FakeOperation::eGetResourceWithContent,
        [&](const FakeCall&, const FakeAbortCheck&) { existed << temporary.exists(); });
    const KelvoFileInfoList reference = f.Reference(ePivots);
    QVERIFY(QDir(parent).removeRecursively());
    f.Download(ePivots, List("a.zip"), reference);
    QCOMPARE(existed, QList<bool>{false});
}

void tst_Download::fetchesTheIdThatTheServiceAnswered()
{
    TDownload f;
    const std::int64_t listed = f.AddArchive(ePivots, QStringLiteral("a.zip"), "old.txt");
    f.Start();
    const auto reference = f.Reference(ePivots);
    const std::int64_t answered = f.AddArchive(ePivots, QStringLiteral("a.zip"), "new.txt");
    f.Farm().AnswerWith(listed, answered);
    f.Download(ePivots, List("a.zip"), reference);
    QCOMPARE(f.Script().Calls(FakeOperation::eDownload).front().id, answered);
    QCOMPARE(TDownload::Local(ePivots), List("a/new.txt"));
}

// The name decides, not the kind.
void tst_Download::fetchesAResourceOfAnyKind()
{
    TDownload f;
    kesdk::api::EnterpriseResource entry;
    entry.id = 4711;
    entry.name = L"a.zip";
    for (const auto kind : {kesdk::api::eUnknownResource, kesdk::api::eUserInboxResource}) {
        entry.kind = kind;
        ++entry.id;
        f.Farm().AddRawEntry(f.Inbox(ePivots), entry);
    }
    f.Start();
    const long first = static_cast<long>(entry.id) - 1;
    for (const long id : {first, first + 1})
        f.Download(ePivots, List("a.zip"), Listing(id));
    const auto calls = f.Script().Calls(FakeOperation::eDownload);
    QCOMPARE(calls.size(), std::size_t(2));
    QCOMPARE(calls.front().id, std::int64_t(first));
}

void tst_Download::fetchesTheFirstOfTwoEntriesOfOneName()
{
    TDownload f;
    const std::int64_t first = f.AddArchive(ePivots, QStringLiteral("a.zip"), "first.txt");
    f.AddArchive(ePivots, QStringLiteral("a.zip"), "second.txt");
    f.Start();
    f.Download(ePivots, List("a.zip"), f.Reference(ePivots));
    QCOMPARE(f.Script().Calls(FakeOperation::eDownload).front().id, first);
    QCOMPARE(TDownload::Local(ePivots), List("a/first.txt"));
}

void tst_Download::aCancelBeforeTheFirstFileOnlyUnpacksEarlierArchives()
{
    TDownload f;
    f.AddArchive(ePivots, QStringLiteral("a.zip"), "a.txt");
    f.Start();
    TWorkerFixture::WriteFile(TWorkerFixture::TempFolder() + QStringLiteral("left.zip"),
                              kelvo::test::ZipOf("left.txt", "from an earlier run"));
    f.hub->OnCancelCurrentOperationRequested();
    f.Download(ePivots, List("a.zip|missing.zip"), f.Reference(ePivots));
    QCOMPARE(f.workerLog.Texts(), OneText("KelvoDownloadComplete(4,[])"));
    QCOMPARE(f.Script().Count(FakeOperation::eDownload), std::size_t(0));
    QCOMPARE(TDownload::Local(ePivots), List("left/left.txt"));
    QVERIFY(TDownload::Temporary().isEmpty());
}

void tst_Download::aCancelStillUnpacksFetchedArchives()
{
    TDownload f;
    for (const char* name : {"a.zip", "b.zip", "c.zip"})
        f.AddArchive(ePivots, QString::fromLatin1(name), std::string(name) + ".txt");
    f.Start();
    f.Script().OnCall(FakeOperation::eDownload, [&](const FakeCall& call, const FakeAbortCheck&) {
        if (call.text.find(L"b.zip") != std::wstring::npos)
            f.hub->OnCancelCurrentOperationRequested();
    });
    f.Download(ePivots, List("a.zip|b.zip|c.zip"), f.Reference(ePivots));
    QCOMPARE(f.workerLog.Texts(), (QStringList{QStringLiteral("KelvoDownloadingFile(4,a.zip)"),
                                               QStringLiteral("KelvoDownloadingFile(4,b.zip)"),
                                               QStringLiteral("KelvoDownloadComplete(4,[])")}));
    QCOMPARE(TDownload::Local(ePivots), List("a/a.zip.txt|b/b.zip.txt"));
}

void tst_Download::theCancelIsRevertedBeforeTheCompletion()
{
    TDownload f;
    f.Start();
    QList<bool> cancelSeen;
    connect(f.worker.get(), &TKelvoThreadObject::KelvoDownloadComplete, this,
            [&] { cancelSeen << f.hub->IsCancelCurrentOperationRequested(); });
    f.hub->OnCancelCurrentOperationRequested();
    f.Download(ePivots, List("a.zip"), {});
    QCOMPARE(cancelSeen, QList<bool>{false});
}

void tst_Download::aNameRequestedTwiceIsFetchedTwice()
{
    TDownload f;
    f.AddArchive(ePivots, QStringLiteral("a.zip"), "a.txt");
    f.Start();
    f.Download(ePivots, List("a.zip|a.zip"), f.Reference(ePivots));
    QCOMPARE(f.Script().Count(FakeOperation::eDownload), std::size_t(2));
    QCOMPARE(TDownload::Local(ePivots), List("a/a.txt"));
}

// Looks up every name of a long listing. The SDK is called once for each name, and each record has
// the right position. The printed time is information only.
void tst_Download::looksUpEachNameOfALongListingOnce()
{
    constexpr int COUNT = 10000;
    KelvoFileInfoList reference;
    QStringList names;
    for (int i = 0; i < COUNT; ++i) {
        const QString name = QStringLiteral("file number %1.zip").arg(i);
        reference.fileIds << 1000000L + i;
        reference.fileNames << name;
        names.prepend(name); // looked up from the end of the listing
    }
    names << QStringLiteral("missing.zip");
    TDownload f;
    f.Start();
    QElapsedTimer elapsed;
    elapsed.start();
    f.Download(ePivots, names, reference);
    qInfo("%d of %d names in %lld ms", COUNT, COUNT, static_cast<long long>(elapsed.elapsed()));
    const auto calls = f.Script().Calls(FakeOperation::eGetResourceWithContent);
    QCOMPARE(calls.size(), std::size_t(COUNT));
    QCOMPARE(calls.front().id, std::int64_t(1000000 + COUNT - 1));
    QCOMPARE(calls.back().id, std::int64_t(1000000));
    const auto errors =
        f.workerLog.All().last().arguments.at(1).value<KelvoFileTransferErrorDetailsList>();
    QCOMPARE(errors.size(), COUNT + 1);
    QCOMPARE(errors.last().errorMsg,
             QStringLiteral("10000 File no longer exists. File Index not found"));
}

void tst_Download::downloadsThroughTheHub()
{
    TDownload f;
    f.AddArchive(ePivots, QStringLiteral("a.zip"), "a.txt");
    f.Start();
    f.worker->RefreshToConsoleFileList(ePivots, false, 0);
    f.hubLog.Clear();
    f.hub->OnDownloadFromKelvoRequested(ePivots, List("a.zip"));
    QCOMPARE(f.hubLog.Names(), (QStringList{QStringLiteral("KelvoFileOperationInProgress"),
                                            QStringLiteral("KelvoDownloadRequested"),
                                            QStringLiteral("KelvoDownloadingFile"),
                                            QStringLiteral("KelvoDownloadComplete"),
                                            QStringLiteral("KelvoFileOperationComplete")}));
    QCOMPARE(TDownload::Local(ePivots), List("a/a.txt"));
}

KELVO_GUI_TEST_MAIN(tst_Download)
#include "tst_Download.moc"
