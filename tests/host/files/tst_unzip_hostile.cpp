// Unzip: refused archives, which change nothing inside or outside of the destination.
#include "host/files/TUnzipFixture.h"

#include "support/TestMain.h"

using namespace kelvo::test;

namespace {

TZipEntry Entry(const QByteArray& name, quint32 mode = regularMode,
                const QByteArray& content = "content")
{
    TZipEntry entry;
    entry.name = name;
    entry.content = content;
    entry.mode = mode;
    return entry;
}

TZipEntry Deflated(const QByteArray& name, const QByteArray& content)
{
    TZipEntry entry = Entry(name, regularMode, content);
    entry.isDeflated = true;
    return entry;
}

} // namespace

class tst_UnzipHostile : public TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void refusesEntry_data();
    void refusesEntry();
    void refusesArchive_data();
    void refusesArchive();
    void refusesAnEntryWithTwoDifferentNames();
    void refusesAnArchiveWhoseFolderHasNoPlace_data();
    void refusesAnArchiveWhoseFolderHasNoPlace();
    void doesNotWriteThroughALinkInTheFormerFolder();
    void removesALinkInPlaceOfTheStagingFolder();
};

void tst_UnzipHostile::refusesEntry_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<quint32>("mode");
    QTest::addColumn<QString>("reason");
    const auto row = [](const char* title, const QByteArray& name, quint32 mode,
                        const char* reason) {
        QTest::newRow(title) << name << mode << QString::fromLatin1(reason);
    };
    row("absolute", "/tmp/kelvo-evil", regularMode, "is absolute");
    row("absolute, two slashes", "//host/x", regularMode, "is absolute");
    row("absolute, backslash", "\\evil", regularMode, "is absolute");
    row("drive letter", "C:\\evil", regularMode, "is absolute");
    row("drive letter without separator", "c:evil", regularMode, "is absolute");
    row("parent", "../evil", regularMode, "leads out");
    row("parent inside", "a/../../evil", regularMode, "leads out");
    row("parent that comes back", "a/../b", regularMode, "leads out");
    row("parent, backslash", "..\\evil", regularMode, "leads out");
    row("parent at the end", "a/..", regularMode, "leads out");
    row("parent folder", "../", folderMode, "leads out");
    row("only parent", "..", regularMode, "leads out");
    row("empty", "", regularMode, "is empty");
    row("NUL first", QByteArray("\0a", 2), regularMode, "is empty");
    row("NUL behind parent", QByteArray("../a\0b", 6), regularMode, "leads out");
    row("line break", "a\nb", regularMode, "control characters");
    row("escape", "a\x1b[0m", regularMode, "control characters");
    row("delete", "a\x7f", regularMode, "control characters");
    row("long name", QByteArray(256, 'x'), regularMode, "is too long");
    row("long path", QByteArray("0123456789/").repeated(100) + "x", regularMode, "is too long");
    row("deep path", QByteArray("d/").repeated(64) + "x", regularMode, "is too long");
    row("symbolic link", "link", symlinkMode, "is a link");
    row("block device", "device", blockDeviceMode, "neither a file nor a folder");
    row("character device", "device", characterDeviceMode, "neither a file nor a folder");
    row("socket", "socket", socketMode, "neither a file nor a folder");
    row("staging folder", ".console-unpacking/new/x", regularMode, "is reserved");
    row("file named as the destination", "./.", regularMode, "without a name");
}

void tst_UnzipHostile::refusesEntry()
{
    QFETCH(QByteArray, name);
    QFETCH(quint32, mode);
    QFETCH(QString, reason);
    TUnzipFixture fixture;
    QVERIFY(fixture.SetContent({{QStringLiteral("archive/kept.txt"), "file:kept"}}));
    QVERIFY(fixture.SetArchive(TZipBuilder()
                                   .AddFile("kept.txt", "changed")
                                   .Add(Entry(name, mode))
                                   .AddFile("more.txt", "more")));
    const TFolderImage before = fixture.Everything();
    QVERIFY(!fixture.Unzip());
    QVERIFY2(fixture.ErrorText().contains(reason), qPrintable(fixture.ErrorText()));
    QCOMPARE(fixture.Everything(), before);
    QVERIFY(!QFile::exists(QStringLiteral("/tmp/kelvo-evil")));
}

void tst_UnzipHostile::refusesArchive_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("reason");
    const auto row = [](const char* title, const QByteArray& bytes, const char* reason) {
        QTest::newRow(title) << bytes << QString::fromLatin1(reason);
    };
    const QByteArray sound =
        TZipBuilder().Add(Deflated("a.txt", QByteArray(3000, 'a'))).AddFile("b.txt", "b").Build();
    row("no bytes", "", "damaged or no ZIP");
    row("text", "This is no archive.", "damaged or no ZIP");
    row("only the first half", sound.left(sound.size() / 2), "damaged or no ZIP");
    row("last byte is missing", sound.left(sound.size() - 1), "damaged or no ZIP");
    row("first bytes are missing", sound.mid(10), "damaged or no ZIP");
    row("gzip", QByteArray("\x1f\x8b\x08\0\0\0\0\0\0\3\3\0\0\0\0\0\0\0\0\0", 20),
        "damaged or no ZIP");

    TZipEntry wrongCrc = Deflated("a.txt", QByteArray(3000, 'a'));
    wrongCrc.crc = 0x12345678;
    row("wrong checksum", TZipBuilder().AddFile("b.txt", "b").Add(wrongCrc).Build(), "a.txt");
    TZipEntry wrongStored = Entry("a.txt");
    wrongStored.crc = 0x12345678;
    row("wrong checksum, stored", TZipBuilder().Add(wrongStored).Build(), "a.txt");
    TZipEntry tooLarge = Deflated("a.txt", QByteArray(3000, 'a'));
    tooLarge.unpackedBytes = 2000;
    row("larger than it says", TZipBuilder().Add(tooLarge).Build(), "a.txt");
    TZipEntry tooSmall = Deflated("a.txt", QByteArray(3000, 'a'));
    tooSmall.unpackedBytes = 4000;
    row("smaller than it says", TZipBuilder().Add(tooSmall).Build(), "a.txt");

    TZipEntry huge = Deflated("a.txt", QByteArray(3000, 'a'));
    huge.unpackedBytes = 0xfffffff0;
    row("says that it is huge", TZipBuilder().Add(huge).Build(), "is larger than 10 MB");

    QByteArray flipped = TZipBuilder().Add(Deflated("a.txt", QByteArray(3000, 'a'))).Build();
    flipped[40] = static_cast<char>(~flipped[40]);
    row("changed content", flipped, "a.txt");

    TZipEntry encrypted = Entry("secret.txt", regularMode, "0123456789abcontent");
    encrypted.flags |= encryptedFlag;
    row("encrypted", TZipBuilder().AddFile("b.txt", "b").Add(encrypted).Build(), "is encrypted");

    TZipEntry notUtf8 = Entry("S\x81"
                              "d.txt");
    row("marked UTF-8 and is not", TZipBuilder().Add(notUtf8).Build(), "");
    row("same name twice", TZipBuilder().AddFile("a", "1").AddFile("a", "2").Build(),
        "\"a\" is in it twice");
    row("same name twice, written differently",
        TZipBuilder().AddFile("a/b", "1").AddFile("a\\.\\b", "2").Build(), "is in it twice");
    TZipEntry inCodePage850 = Entry("\x84.txt");
    inCodePage850.flags = 0;
    row("same name twice, in two encodings",
        TZipBuilder().AddFile("\xc3\xa4.txt", "1").Add(inCodePage850).Build(), "is in it twice");
    row("file, then folder", TZipBuilder().AddFile("a", "1").AddFile("a/b", "2").Build(),
        "both a file and a folder");
    row("folder, then file", TZipBuilder().AddFile("a/b", "1").AddFile("a", "2").Build(),
        "both a file and a folder");
    row("link, then through it",
        TZipBuilder().Add(Entry("l", symlinkMode, "/tmp")).AddFile("l/kelvo-evil", "2").Build(),
        "is a link");
}

void tst_UnzipHostile::refusesArchive()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, reason);
    TUnzipFixture fixture;
    QVERIFY(fixture.SetContent({{QStringLiteral("archive/b.txt"), "file:former"}}));
    QVERIFY(fixture.SetArchive(bytes));
    const TFolderImage before = fixture.Everything();
    QVERIFY(!fixture.Unzip());
    QVERIFY2(!fixture.ErrorText().isEmpty() && fixture.ErrorText().contains(reason),
             qPrintable(fixture.ErrorText()));
    QVERIFY(fixture.Everything() == before);
    QVERIFY(!QFile::exists(QStringLiteral("/tmp/kelvo-evil")));
}

// The entry's two names differ. Neither name may lead out of the destination.
void tst_UnzipHostile::refusesAnEntryWithTwoDifferentNames()
{
    for (const bool isDirectoryHostile : {false, true}) {
        TUnzipFixture fixture;
        TZipEntry entry = Entry(isDirectoryHostile ? "../evil" : "harmless");
        entry.localName = isDirectoryHostile ? "harmless" : "../evil";
        QVERIFY(fixture.SetArchive(TZipBuilder().Add(entry)));
        fixture.Unzip();
        QVERIFY(!QFile::exists(fixture.Root() + QStringLiteral("/evil")));
        const QStringList names = fixture.Unpacked().keys();
        QVERIFY(names.isEmpty() || names == QStringList(QStringLiteral("harmless")));
    }
}

void tst_UnzipHostile::refusesAnArchiveWhoseFolderHasNoPlace_data()
{
    QTest::addColumn<QByteArray>("there");
    QTest::newRow("file") << QByteArray("file:there");
    QTest::newRow("link to a folder") << QByteArray("link:../outside");
    QTest::newRow("link to nothing") << QByteArray("link:nothing");
}

void tst_UnzipHostile::refusesAnArchiveWhoseFolderHasNoPlace()
{
    QFETCH(QByteArray, there);
    TUnzipFixture fixture;
    QVERIFY(QDir().mkdir(fixture.Root() + QStringLiteral("/outside")));
    QVERIFY(fixture.SetContent(
        {{QStringLiteral("archive"), there}, {QStringLiteral("kept"), "file:kept"}}));
    QVERIFY(fixture.SetArchive(TZipBuilder().AddFile("a", "new")));
    const TFolderImage before = fixture.Everything();
    QVERIFY(!fixture.Unzip());
    QVERIFY2(fixture.ErrorText().contains(QStringLiteral("has no place")),
             qPrintable(fixture.ErrorText()));
    QCOMPARE(fixture.Everything(), before);
}

// The link lies in the folder that the archive replaces.
void tst_UnzipHostile::doesNotWriteThroughALinkInTheFormerFolder()
{
    TUnzipFixture fixture;
    const QString outside = fixture.Root() + QStringLiteral("/outside");
    QVERIFY(QDir().mkdir(outside));
    QVERIFY(WriteFile(outside + QStringLiteral("/file"), "outside"));
    QVERIFY(fixture.SetContent({{QStringLiteral("archive/link"), "link:" + outside.toUtf8()}}));
    QVERIFY(fixture.SetArchive(TZipBuilder().AddFile("link/file", "new")));
    QVERIFY2(fixture.Unzip(), qPrintable(fixture.ErrorText()));
    QCOMPARE(fixture.Unpacked(), (TFolderImage{{QStringLiteral("link"), "folder"},
                                               {QStringLiteral("link/file"), "file:new"}}));
    QCOMPARE(ImageOf(outside), (TFolderImage{{QStringLiteral("file"), "file:outside"}}));
}

void tst_UnzipHostile::removesALinkInPlaceOfTheStagingFolder()
{
    TUnzipFixture fixture;
    const QString outside = fixture.Root() + QStringLiteral("/outside");
    QVERIFY(QDir().mkpath(outside + QStringLiteral("/new")));
    QVERIFY(WriteFile(outside + QStringLiteral("/file"), "outside"));
    QVERIFY(
        fixture.SetContent({{QStringLiteral(".console-unpacking"), "link:" + outside.toUtf8()}}));
    QVERIFY(fixture.SetArchive(TZipBuilder().AddFile("a", "new")));
    QVERIFY2(fixture.Unzip(), qPrintable(fixture.ErrorText()));
    QCOMPARE(fixture.Content(), (TFolderImage{{QStringLiteral("archive"), "folder"},
                                              {QStringLiteral("archive/a"), "file:new"}}));
    QCOMPARE(ImageOf(outside), (TFolderImage{{QStringLiteral("file"), "file:outside"},
                                             {QStringLiteral("new"), "folder"}}));
}

KELVO_TEST_MAIN(tst_UnzipHostile)
#include "tst_unzip_hostile.moc"
