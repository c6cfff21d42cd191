// Unzip: the folder of each archive.
#include "host/files/TUnzipFixture.h"

#include "files/FolderName.h"
#include "host/TFileSystemHelper.h"
#include "support/Needs.h"
#include "support/TStartedProgram.h"
#include "support/TestMain.h"

#include <QtCore/QStandardPaths>

#include <algorithm>

using namespace kelvo::test;
using namespace hostimpl;

namespace {

struct TFolderOfArchive
{
    const char* archive;
    const char* folder;
};

constexpr TFolderOfArchive FOLDERS[] = {
    {"field.zip", "field"},
    {"Field.zip", "Field"},
    {"field.ZIP", "field.ZIP"},
    {"field.Zip", "field.Zip"},
    {"field.zip.zip", "field.zip.zip"},
    {"field.ZIP.zip", "field.ZIP.zip"},
    {"field.bin", "field.bin"},
    {"north 2.1.zip", "north 2.1"},
    {"W\xc3\xbcste.zip", "W\xc3\xbcste"},
    {".hidden.zip", ".hidden"},
    {".zip", ".zip"},
    {"..zip", "..zip"},
    {"...zip", "...zip"},
    {".console-unpacking.zip", ".console-unpacking.zip"},
};

} // namespace

class tst_UnzipFolders : public TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void givesEachArchiveItsOwnFolder();
    void keepsTheFilesOfArchivesApart();
    void unpacksLikeTheProgramUnzip();
    void givesAnOwnFolderWhereCaseIsIgnored_data();
    void givesAnOwnFolderWhereCaseIsIgnored();
    void leavesAFileWithTheNameOfTheArchive();
    void doesNotReplaceAFolderByAnArchiveWithoutFiles();
    void refusesAnArchiveNamedAsTheStagingFolder();
};

void tst_UnzipFolders::givesEachArchiveItsOwnFolder()
{
    TUnzipFixture fixture;
    QStringList expected;
    for (const TFolderOfArchive& row : FOLDERS) {
        const QString path = fixture.Root() + QLatin1Char('/') + QString::fromUtf8(row.archive);
        QVERIFY(WriteFile(path, ZipOf("of", row.archive)));
        for (int time = 0; time < 2; ++time) {
            QString errorText;
            QVERIFY2(TFileSystemHelper::Unzip(path, fixture.Destination(), errorText),
                     qPrintable(errorText));
        }
        const QString file = QString::fromUtf8(row.folder) + QStringLiteral("/of");
        QCOMPARE(fixture.Content().value(file), QByteArray("file:") + row.archive);
        expected << file;
    }
    for (int i = 0; i < expected.size(); ++i) {
        QCOMPARE(fixture.Content().value(expected[i]), QByteArray("file:") + FOLDERS[i].archive);
    }
    QCOMPARE(fixture.Content().size(), 2 * expected.size());
}

// Three archives with files of the same names.
void tst_UnzipFolders::keepsTheFilesOfArchivesApart()
{
    TUnzipFixture fixture;
    TFolderImage expected;
    for (const QString& name :
         {QStringLiteral("north"), QStringLiteral("south"), QStringLiteral("west")}) {
        const QString path = fixture.Root() + QLatin1Char('/') + name + QStringLiteral(".zip");
        const QByteArray text = name.toUtf8();
        QVERIFY(WriteFile(path, TZipBuilder()
                                    .AddFile("TASKDATA/TASKDATA.XML", text)
                                    .AddFile("TASKDATA/GRD" + text.toUpper() + ".BIN", text)
                                    .Build()));
        QString errorText;
        QVERIFY2(TFileSystemHelper::Unzip(path, fixture.Destination(), errorText),
                 qPrintable(errorText));
        const QString folder = name + QStringLiteral("/TASKDATA");
        expected[name] = expected[folder] = "folder";
        expected[folder + QStringLiteral("/TASKDATA.XML")] = "file:" + text;
        expected[folder + QStringLiteral("/GRD") + name.toUpper() + QStringLiteral(".BIN")] =
            "file:" + text;
    }
    QCOMPARE(fixture.Content(), expected);
}

// All archives of the folder "prescriptions" in KELVO_TEST_DATA, or only an own archive, below one
// destination.
void tst_UnzipFolders::unpacksLikeTheProgramUnzip()
{
    const QString unzip = QStandardPaths::findExecutable(QStringLiteral("unzip"));
    KELVO_NEEDS(!unzip.isEmpty(), "the program unzip");
    TUnzipFixture fixture;
    QVERIFY(fixture.SetArchive(TZipBuilder().AddFile("TASKDATA/a", "a").AddFile("b", "b")));
    QFileInfoList archives = {QFileInfo(fixture.Archive())};
    if (qEnvironmentVariableIsSet("KELVO_TEST_DATA")) {
        const QDir real(qEnvironmentVariable("KELVO_TEST_DATA") + QStringLiteral("/prescriptions"));
        archives += real.entryInfoList({QStringLiteral("*.zip")}, QDir::Files);
        QVERIFY(archives.size() > 1);
    }
    for (const QFileInfo& archive : qAsConst(archives)) {
        QString errorText;
        QVERIFY2(TFileSystemHelper::Unzip(archive.filePath(), fixture.Destination(), errorText),
                 qPrintable(errorText));
    }
    for (const QFileInfo& archive : qAsConst(archives)) {
        const QString name = archive.completeBaseName();
        const QString theirs = fixture.Root() + QStringLiteral("/of-unzip-") + name;
        TStartedProgram process(
            unzip, {QStringLiteral("-q"), archive.filePath(), QStringLiteral("-d"), theirs});
        QCOMPARE(process.ReadOutput(), QByteArray());
        QCOMPARE(process.ExitCode(), 0);
        const bool isWrapped =
            QDir(theirs).entryList(QDir::AllEntries | QDir::NoDotAndDotDot) == QStringList(name);
        QCOMPARE(ImageOf(fixture.Destination() + QLatin1Char('/') + name),
                 ImageOf(isWrapped ? theirs + QLatin1Char('/') + name : theirs));
    }
}

void tst_UnzipFolders::givesAnOwnFolderWhereCaseIsIgnored_data()
{
    QTest::addColumn<QByteArrayList>("there");
    QTest::addColumn<QByteArray>("archive");
    QTest::addColumn<QByteArray>("folder");
    const auto row = [](const char* title, const QByteArrayList& there, const char* archive,
                        const char* folder) {
        QTest::newRow(title) << there << QByteArray(archive) << QByteArray(folder);
    };
    row("nothing there", {}, "Field.zip", "Field");
    row("its own folder", {"Field", "other"}, "Field.zip", "Field");
    row("another archive's folder", {"field"}, "Field.zip", "Field.zip");
    row("both folders", {"field", "Field.zip"}, "Field.zip", "Field.zip");
    row("its own folder and a second one", {"Field", "Field.zip"}, "Field.zip", "Field");
    row("only its second folder", {"Field.zip"}, "Field.zip", "Field.zip");
    row("both folders are another's", {"field", "field.zip"}, "Field.zip", "");
    row("another suffix", {"field.zip"}, "field.ZIP", "");
}

void tst_UnzipFolders::givesAnOwnFolderWhereCaseIsIgnored()
{
    QFETCH(QByteArrayList, there);
    QFETCH(QByteArray, archive);
    QFETCH(QByteArray, folder);
    const auto exists = [&there](const QByteArray& name) {
        return std::any_of(there.cbegin(), there.cend(), [&name](const QByteArray& entry) {
            return entry.toLower() == name.toLower();
        });
    };
    QCOMPARE(ChooseFolderName(archive, there.toVector(), exists), folder);
}

void tst_UnzipFolders::leavesAFileWithTheNameOfTheArchive()
{
    TUnzipFixture fixture;
    const QString path = fixture.Root() + QStringLiteral("/field.zip");
    QVERIFY(WriteFile(path, ZipOf("a", "a")));
    QVERIFY(WriteFile(fixture.Destination() + QStringLiteral("/field.zip"), "a copy"));
    QString errorText;
    QVERIFY2(TFileSystemHelper::Unzip(path, fixture.Destination(), errorText),
             qPrintable(errorText));
    QCOMPARE(fixture.Content().value(QStringLiteral("field/a")), QByteArray("file:a"));
    QCOMPARE(fixture.Content().value(QStringLiteral("field.zip")), QByteArray("file:a copy"));
}

void tst_UnzipFolders::doesNotReplaceAFolderByAnArchiveWithoutFiles()
{
    TUnzipFixture fixture;
    const QString path = fixture.Root() + QStringLiteral("/field.zip");
    QString errorText;
    QVERIFY(WriteFile(path, ZipOf("a", "a")));
    QVERIFY(TFileSystemHelper::Unzip(path, fixture.Destination(), errorText));
    const auto before = fixture.Content();
    QVERIFY(WriteFile(path, TZipBuilder().Build()));
    QVERIFY(!TFileSystemHelper::Unzip(path, fixture.Destination(), errorText));
    QVERIFY2(errorText.contains(QStringLiteral("has no files")), qPrintable(errorText));
    QCOMPARE(fixture.Content(), before);
}

void tst_UnzipFolders::refusesAnArchiveNamedAsTheStagingFolder()
{
    TUnzipFixture fixture;
    const QString path = fixture.Root() + QStringLiteral("/.console-unpacking");
    QVERIFY(WriteFile(path, ZipOf("a", "a")));
    QString errorText;
    QVERIFY(!TFileSystemHelper::Unzip(path, fixture.Destination(), errorText));
    QVERIFY2(errorText.contains(QStringLiteral("has no place")), qPrintable(errorText));
    QVERIFY(fixture.Content().isEmpty());
}

KELVO_TEST_MAIN(tst_UnzipFolders)
#include "tst_unzip_folders.moc"
