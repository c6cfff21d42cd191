// Unzip: the files of a valid archive in the destination.
#include "host/files/TUnzipFixture.h"

#include "host/TFileSystemHelper.h"
#include "support/Needs.h"
#include "support/TStartedProgram.h"
#include "support/TestMain.h"

#include <QtCore/QStandardPaths>
#include <QtCore/QThread>

#include <memory>

#include <sys/stat.h>

using namespace kelvo::test;

namespace {

TZipEntry DeflatedFile(const QByteArray& name, const QByteArray& content)
{
    TZipEntry entry;
    entry.name = name;
    entry.content = content;
    entry.isDeflated = true;
    return entry;
}

uint ModeOf(const QString& path)
{
    struct stat status = {};
    return ::stat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_mode & 07777u : 0;
}

// The observer uses variables of the test, also if the test ends early.
struct TEndOfObserver
{
    ~TEndOfObserver() { hostimpl::ObserveUnpacking({}); }
};

// Bytes that cannot be compressed, the same at each call.
QByteArray Noise(int size)
{
    QByteArray bytes(size, '\0');
    quint32 state = 1;
    for (char& byte : bytes) {
        state = state * 1664525u + 1013904223u;
        byte = static_cast<char>(state >> 24);
    }
    return bytes;
}

} // namespace

Q_DECLARE_METATYPE(kelvo::test::TZipBuilder)

class tst_Unzip : public TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void unpacksFilesAndFolders();
    void unpacksLargeContent();
    void tellsTheObserverEachResult();
    void replacesTheFolderAsAWhole();
    void doesNotRepeatAFolderOfTheArchivesName_data();
    void doesNotRepeatAFolderOfTheArchivesName();
    void acceptsAnEmptyArchive();
    void unpacksAZip64Archive();
    void unpacksAPipeEntryAsAFile();
    void setsFixedModes();
    void unpacksArchivesOfTheProgramZip();
    void unpacksTheSameTwice();
    void twoThreadsUnpackOneAfterTheOther();
    void failsWithoutArchiveOrFolder();
    void theContractsFunctionUnpacks();
};

void tst_Unzip::unpacksFilesAndFolders()
{
    TUnzipFixture fixture;
    QVERIFY(fixture.SetArchive(TZipBuilder()
                                   .AddFile("top.txt", "top")
                                   .AddFolder("empty/")
                                   .Add(DeflatedFile("a/b/deep.txt", QByteArray(5000, 'x')))
                                   .AddFile("nothing.bin", "")));
    QVERIFY2(fixture.Unzip(), qPrintable(fixture.ErrorText()));
    QVERIFY(fixture.ErrorText().isEmpty());
    const TFolderImage expected = {
        {QStringLiteral("top.txt"), "file:top"},
        {QStringLiteral("empty"), "folder"},
        {QStringLiteral("a"), "folder"},
        {QStringLiteral("a/b"), "folder"},
        {QStringLiteral("a/b/deep.txt"), "file:" + QByteArray(5000, 'x')},
        {QStringLiteral("nothing.bin"), "file:"}};
    QCOMPARE(fixture.Unpacked(), expected);
}

void tst_Unzip::unpacksLargeContent()
{
    TUnzipFixture fixture;
    const QByteArray noise = Noise(3 * 1000 * 1000);
    QVERIFY(fixture.SetArchive(
        TZipBuilder().Add(DeflatedFile("deflated", noise)).AddFile("stored", noise)));
    QVERIFY2(fixture.Unzip(), qPrintable(fixture.ErrorText()));
    QVERIFY(ReadFile(fixture.Folder() + QStringLiteral("/deflated")) == noise);
    QVERIFY(ReadFile(fixture.Folder() + QStringLiteral("/stored")) == noise);
}

void tst_Unzip::tellsTheObserverEachResult()
{
    TUnzipFixture fixture;
    QVERIFY(fixture.SetArchive(ZipOf("a.txt", "content")));
    QVector<hostimpl::TUnpackingResult> results;
    bool isArchiveThere = false;
    QString inUnpacking;
    const TEndOfObserver endOfObserver;
    hostimpl::ObserveUnpacking([&](const hostimpl::TUnpackingResult& result) {
        results.append(result);
        isArchiveThere = QFileInfo::exists(result.archive) && QFileInfo::exists(fixture.Folder());
        inUnpacking = hostimpl::ArchiveInUnpacking();
    });
    QString errorText;
    QVERIFY(TFileSystemHelper::Unzip(fixture.Archive(), fixture.Destination(), errorText));
    QCOMPARE(results.size(), 1);
    QVERIFY(isArchiveThere);
    QCOMPARE(inUnpacking, QFileInfo(fixture.Archive()).fileName());
    QCOMPARE(hostimpl::ArchiveInUnpacking(), QString());
    QCOMPARE(results[0].archive, fixture.Archive());
    QVERIFY(results[0].isUnpacked);

    QVERIFY(fixture.SetArchive("no archive"));
    QVERIFY(!TFileSystemHelper::Unzip(fixture.Archive(), fixture.Destination(), errorText));
    QCOMPARE(results.size(), 2);
    QVERIFY(!results[1].isUnpacked);
    QCOMPARE(results[1].errorText, errorText);

    hostimpl::ObserveUnpacking({});
    QVERIFY(!TFileSystemHelper::Unzip(fixture.Archive(), fixture.Destination(), errorText));
    QCOMPARE(results.size(), 2);
}

void tst_Unzip::replacesTheFolderAsAWhole()
{
    TUnzipFixture fixture;
    QVERIFY(fixture.SetContent({{QStringLiteral("archive"), "folder"},
                                {QStringLiteral("archive/a"), "folder"},
                                {QStringLiteral("archive/a/former"), "file:former"},
                                {QStringLiteral("archive/same"), "file:former, and longer"},
                                {QStringLiteral("a"), "folder"},
                                {QStringLiteral("a/kept"), "file:kept"},
                                {QStringLiteral("same"), "file:kept"}}));
    QVERIFY(fixture.SetArchive(TZipBuilder().AddFile("same", "new").AddFile("a/new", "new")));
    QVERIFY2(fixture.Unzip(), qPrintable(fixture.ErrorText()));
    const TFolderImage expected = {{QStringLiteral("archive"), "folder"},
                                   {QStringLiteral("archive/a"), "folder"},
                                   {QStringLiteral("archive/a/new"), "file:new"},
                                   {QStringLiteral("archive/same"), "file:new"},
                                   {QStringLiteral("a"), "folder"},
                                   {QStringLiteral("a/kept"), "file:kept"},
                                   {QStringLiteral("same"), "file:kept"}};
    QCOMPARE(fixture.Content(), expected);
}

void tst_Unzip::doesNotRepeatAFolderOfTheArchivesName_data()
{
    QTest::addColumn<TZipBuilder>("archive");
    QTest::addColumn<QString>("path");
    const auto row = [](const char* title, const TZipBuilder& archive, const char* path) {
        QTest::newRow(title) << archive << QString::fromLatin1(path);
    };
    const TZipBuilder wrapped = TZipBuilder().AddFile("archive/a", "content");
    row("only that folder", wrapped, "archive/a");
    row("with an entry of its own", TZipBuilder(wrapped).AddFolder("archive/"), "archive/a");
    row("a folder in that folder", TZipBuilder().AddFile("archive/archive/a", "content"),
        "archive/archive/a");
    row("a file beside it", TZipBuilder(wrapped).AddFile("b", "b"), "archive/archive/a");
    row("a folder of another name", TZipBuilder().AddFile("Archive/a", "content"),
        "archive/Archive/a");
    row("a file of that name", TZipBuilder().AddFile("archive", "content"), "archive/archive");
}

void tst_Unzip::doesNotRepeatAFolderOfTheArchivesName()
{
    QFETCH(TZipBuilder, archive);
    QFETCH(QString, path);
    TUnzipFixture fixture;
    QVERIFY(fixture.SetArchive(archive));
    for (int time = 0; time < 2; ++time) {
        QVERIFY2(fixture.Unzip(), qPrintable(fixture.ErrorText()));
        QCOMPARE(fixture.Content().value(path), QByteArray("file:content"));
        QCOMPARE(fixture.Content().values().count("file:content"), 1);
    }
}

// The folder of an empty archive is empty.
void tst_Unzip::acceptsAnEmptyArchive()
{
    TUnzipFixture fixture;
    QVERIFY(fixture.SetContent({{QStringLiteral("kept.txt"), "file:kept"}}));
    QVERIFY(fixture.SetArchive(TZipBuilder()));
    QVERIFY2(fixture.Unzip(), qPrintable(fixture.ErrorText()));
    QCOMPARE(fixture.Content(), (TFolderImage{{QStringLiteral("archive"), "folder"},
                                              {QStringLiteral("kept.txt"), "file:kept"}}));
}

void tst_Unzip::unpacksAZip64Archive()
{
    TUnzipFixture fixture;
    TZipEntry entry = DeflatedFile("a.txt", "zip64");
    entry.isZip64 = true;
    QVERIFY(fixture.SetArchive(TZipBuilder().Add(entry).AddFile("b.txt", "32").Build(true)));
    QVERIFY2(fixture.Unzip(), qPrintable(fixture.ErrorText()));
    QCOMPARE(fixture.Unpacked(), (TFolderImage{{QStringLiteral("a.txt"), "file:zip64"},
                                               {QStringLiteral("b.txt"), "file:32"}}));
}

void tst_Unzip::unpacksAPipeEntryAsAFile()
{
    TUnzipFixture fixture;
    TZipEntry entry = DeflatedFile("pipe", "content");
    entry.mode = fifoMode;
    QVERIFY(fixture.SetArchive(TZipBuilder().Add(entry)));
    QVERIFY2(fixture.Unzip(), qPrintable(fixture.ErrorText()));
    QCOMPARE(fixture.Unpacked(), (TFolderImage{{QStringLiteral("pipe"), "file:content"}}));
}

void tst_Unzip::setsFixedModes()
{
    TUnzipFixture fixture;
    TZipEntry file;
    file.name = "dir/program";
    file.mode = 0104777; // set-user-ID, executable, writable for everybody
    TZipEntry folder;
    folder.name = "dir/";
    folder.mode = 0042777;
    QVERIFY(fixture.SetArchive(TZipBuilder().Add(folder).Add(file)));
    const mode_t formerMask = ::umask(022);
    const bool isUnpacked = fixture.Unzip();
    ::umask(formerMask);
    QVERIFY2(isUnpacked, qPrintable(fixture.ErrorText()));
    QCOMPARE(ModeOf(fixture.Folder() + QStringLiteral("/dir")), 0755u);
    QCOMPARE(ModeOf(fixture.Folder() + QStringLiteral("/dir/program")), 0644u);
}

void tst_Unzip::unpacksArchivesOfTheProgramZip()
{
    const QString zip = QStandardPaths::findExecutable(QStringLiteral("zip"));
    KELVO_NEEDS(!zip.isEmpty(), "the program zip");
    TUnzipFixture fixture;
    const TFolderImage content = {{QStringLiteral("a"), "folder"},
                                  {QStringLiteral("a/empty"), "folder"},
                                  {QStringLiteral(u"a/\u00fc.txt"), "file:" + Noise(100000)},
                                  {QStringLiteral("b.txt"), "file:" + QByteArray(1000, 'b')}};
    const QString source = fixture.Root() + QStringLiteral("/source");
    QVERIFY(QDir().mkdir(source));
    QVERIFY(CreateFromImage(source, content));
    TStartedProgram process(zip, {QStringLiteral("-qr"), fixture.Archive(), QStringLiteral(".")},
                            source);
    QCOMPARE(process.ExitCode(), 0);
    QVERIFY2(fixture.Unzip(), qPrintable(fixture.ErrorText()));
    QVERIFY(fixture.Unpacked() == content);
}

void tst_Unzip::unpacksTheSameTwice()
{
    TUnzipFixture fixture;
    QVERIFY(fixture.SetArchive(TZipBuilder().AddFile("a/x", "1").AddFile("y", "2")));
    QVERIFY2(fixture.Unzip(), qPrintable(fixture.ErrorText()));
    const TFolderImage first = fixture.Unpacked();
    QVERIFY2(fixture.Unzip(), qPrintable(fixture.ErrorText()));
    QCOMPARE(fixture.Unpacked(), first);
}

void tst_Unzip::twoThreadsUnpackOneAfterTheOther()
{
    TUnzipFixture fixture;
    constexpr int rounds = 6;
    TZipBuilder builder;
    for (int file = 0; file < rounds; ++file) {
        builder.AddFile("f" + QByteArray::number(file), "content");
    }
    QVERIFY(fixture.SetArchive(builder));
    const auto unpackOften = [&fixture](bool& isUnpacked) {
        QString errorText;
        for (int round = 0; round < rounds && isUnpacked; ++round) {
            isUnpacked = hostimpl::Unzip(fixture.Archive(), fixture.Destination(), {}, errorText);
        }
    };
    bool isUnpackedThere = true;
    bool isUnpackedHere = true;
    const std::unique_ptr<QThread> thread(QThread::create(unpackOften, std::ref(isUnpackedThere)));
    thread->start();
    unpackOften(isUnpackedHere);
    QVERIFY(thread->wait());
    QVERIFY(isUnpackedHere);
    QVERIFY(isUnpackedThere);
    QCOMPARE(fixture.Unpacked().size(), rounds);
}

void tst_Unzip::failsWithoutArchiveOrFolder()
{
    TUnzipFixture fixture;
    QVERIFY(!fixture.Unzip());
    QVERIFY(fixture.ErrorText().contains(fixture.Archive()));
    QVERIFY(fixture.SetArchive(TZipBuilder().AddFile("a", "a")));
    QString errorText;
    const QString missing = fixture.Root() + QStringLiteral("/missing");
    QVERIFY(!hostimpl::Unzip(fixture.Archive(), missing, {}, errorText));
    QVERIFY(errorText.contains(missing));
    QVERIFY(!QFile::exists(missing));
    QVERIFY(!hostimpl::Unzip(fixture.Destination(), fixture.Destination(), {}, errorText));
    QVERIFY(fixture.Content().isEmpty());
}

void tst_Unzip::theContractsFunctionUnpacks()
{
    TUnzipFixture fixture;
    QVERIFY(fixture.SetArchive(TZipBuilder().AddFile("a", "a")));
    QString errorText = QStringLiteral("of an earlier call");
    QVERIFY(TFileSystemHelper::Unzip(fixture.Archive(), fixture.Destination(), errorText));
    QVERIFY(errorText.isEmpty());
    QCOMPARE(fixture.Unpacked(), (TFolderImage{{QStringLiteral("a"), "file:a"}}));
}

KELVO_TEST_MAIN(tst_Unzip)
#include "tst_unzip.moc"
