// Unzip: archives that are far larger when unpacked.
#include "host/files/TUnzipFixture.h"

#include "support/TestMain.h"

using namespace kelvo::test;

namespace {

TZipEntry Entry(const QByteArray& name, const QByteArray& content)
{
    TZipEntry entry;
    entry.name = name;
    entry.content = content;
    return entry;
}

TZipEntry Deflated(const QByteArray& name, const QByteArray& content)
{
    TZipEntry entry = Entry(name, content);
    entry.isDeflated = true;
    return entry;
}

// Nested stored files: each file is the content of the file before, and the last has the given
// bytes.
TZipBuilder FilesInEachOther(int files, int lastBytes)
{
    QVector<TZipEntry> entries;
    QByteArray content(lastBytes, 'x');
    for (int file = files - 1; file >= 0; --file) {
        entries.prepend(Entry("f" + QByteArray::number(file), content));
        content = LocalEntry(entries.first());
    }
    TZipBuilder builder;
    for (TZipEntry& entry : entries) {
        if (entry.name != "f0") {
            entry.localOffset = static_cast<quint64>(content.size() - LocalEntry(entry).size());
        }
        builder.Add(entry);
    }
    return builder;
}

} // namespace

class tst_UnzipBombs : public TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void keepsToTheLimits_data();
    void keepsToTheLimits();
    void refusesATooHighRatio();
    void refusesOverlappingFiles();
    void refusesOneContentOfManyNames();
    void keepsAnArchiveInAnArchiveAsAFile();
};

void tst_UnzipBombs::keepsToTheLimits_data()
{
    QTest::addColumn<int>("files");
    QTest::addColumn<int>("bytesEach");
    QTest::addColumn<bool>("isRefused");
    QTest::newRow("at both limits") << 10 << 100 << false;
    QTest::newRow("one entry more") << 11 << 1 << true;
    QTest::newRow("one byte more each") << 10 << 101 << true;
}

void tst_UnzipBombs::keepsToTheLimits()
{
    QFETCH(int, files);
    QFETCH(int, bytesEach);
    QFETCH(bool, isRefused);
    hostimpl::TUnpackLimits limits;
    limits.entries = 10;
    limits.totalBytes = 1000;
    TUnzipFixture fixture;
    TZipBuilder builder;
    for (int file = 0; file < files; ++file) {
        builder.AddFile("f" + QByteArray::number(file), QByteArray(bytesEach, 'x'));
    }
    QVERIFY(fixture.SetArchive(builder));
    QCOMPARE(fixture.Unzip(limits), !isRefused);
    QCOMPARE(fixture.ErrorText().isEmpty(), !isRefused);
    QCOMPARE(fixture.Unpacked().size(), isRefused ? 0 : files);
}

// The archive may state a wrong size.
void tst_UnzipBombs::refusesATooHighRatio()
{
    const QByteArray zeros(20 * 1024 * 1024, '\0');
    TZipEntry honest = Deflated("zeros", zeros);
    TZipEntry lying = honest;
    lying.unpackedBytes = 1000;
    for (const TZipEntry& entry : {honest, lying}) {
        TUnzipFixture fixture;
        QVERIFY(fixture.SetArchive(TZipBuilder().Add(entry)));
        const TFolderImage before = fixture.Everything();
        QVERIFY(!fixture.Unzip());
        QVERIFY2(fixture.ErrorText().contains(QStringLiteral("refused")),
                 qPrintable(fixture.ErrorText()));
        QVERIFY(fixture.Everything() == before);
    }
    TUnzipFixture fixture;
    QVERIFY(fixture.SetArchive(TZipBuilder().Add(Deflated("zeros", zeros.left(9 * 1024 * 1024)))));
    QVERIFY2(fixture.Unzip(), qPrintable(fixture.ErrorText()));
}

// Otherwise each byte of the archive would be unpacked once for each file that contains the byte.
void tst_UnzipBombs::refusesOverlappingFiles()
{
    for (const int files : {2, 3, 400}) {
        TUnzipFixture fixture;
        QVERIFY(fixture.SetArchive(FilesInEachOther(files, 65536)));
        const TFolderImage before = fixture.Everything();
        QVERIFY(!fixture.Unzip());
        QVERIFY2(fixture.ErrorText().contains(QStringLiteral("its entries overlap")),
                 qPrintable(fixture.ErrorText()));
        QVERIFY(fixture.Everything() == before);
    }
}

void tst_UnzipBombs::refusesOneContentOfManyNames()
{
    TZipEntry file = Deflated("first", QByteArray(64 * 1024, '\0'));
    TZipBuilder builder;
    builder.Add(file);
    file.localOffset = 0;
    for (int alias = 0; alias < 1000; ++alias) {
        builder.Add(file);
    }
    TUnzipFixture fixture;
    QVERIFY(fixture.SetArchive(builder));
    QVERIFY(!fixture.Unzip());
    QVERIFY2(fixture.ErrorText().contains(QStringLiteral("its entries overlap")),
             qPrintable(fixture.ErrorText()));
    QVERIFY(fixture.Content().isEmpty());
}

void tst_UnzipBombs::keepsAnArchiveInAnArchiveAsAFile()
{
    QByteArray archive = TZipBuilder().AddFile("../evil", "content").Build();
    for (int level = 0; level < 20; ++level) {
        archive = TZipBuilder().AddFile("inner.zip", archive).Build();
    }
    TUnzipFixture fixture;
    QVERIFY(fixture.SetArchive(TZipBuilder().AddFile("outer.zip", archive)));
    QVERIFY2(fixture.Unzip(), qPrintable(fixture.ErrorText()));
    QCOMPARE(fixture.Unpacked(), (TFolderImage{{QStringLiteral("outer.zip"), "file:" + archive}}));
}

KELVO_TEST_MAIN(tst_UnzipBombs)
#include "tst_unzip_bombs.moc"
