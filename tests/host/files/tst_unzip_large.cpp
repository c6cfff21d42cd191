// Unzip: archives above 4 GiB, and entries that state such a size.
#include "host/files/TUnzipFixture.h"

#include "support/TestMain.h"

#include <limits>

using namespace kelvo::test;

namespace {

constexpr quint64 two31 = quint64(1) << 31;
constexpr quint64 two32 = quint64(1) << 32;
constexpr quint64 two63 = quint64(1) << 63;

TZipEntry Zip64(const QByteArray& name, const QByteArray& content)
{
    TZipEntry entry;
    entry.name = name;
    entry.content = content;
    entry.isDeflated = true;
    entry.isZip64 = true;
    return entry;
}

// The bytes before the archive are a hole in the file, so that the file needs no space and no time.
bool WriteBehindHole(const QString& path, const QByteArray& bytes, quint64 holeBytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.seek(static_cast<qint64>(holeBytes)) &&
           file.write(bytes) == bytes.size() && file.flush();
}

} // namespace

class tst_UnzipLarge : public TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void unpacksEntriesAtLargeOffsets_data();
    void unpacksEntriesAtLargeOffsets();
    void refusesSizesThatAreSmallOnlyIn32Bits_data();
    void refusesSizesThatAreSmallOnlyIn32Bits();
    void keepsTheTotalLimitForALargeArchive();
    void findsAWrongSizeWithinTheLimitDuringTheUnpacking();
    void refusesATotalSizeBeyondTheLimit();
};

void tst_UnzipLarge::unpacksEntriesAtLargeOffsets_data()
{
    QTest::addColumn<quint64>("holeBytes");
    QTest::newRow("2^31") << two31;
    QTest::newRow("2^32-10") << two32 - 10; // the entries are on both sides
    QTest::newRow("2^32") << two32;
    QTest::newRow("5 GiB") << (quint64(5) << 30);
}

void tst_UnzipLarge::unpacksEntriesAtLargeOffsets()
{
    QFETCH(quint64, holeBytes);
    TUnzipFixture fixture;
    const TZipBuilder builder =
        TZipBuilder().Add(Zip64("map/a.txt", "zip64")).AddFile("b.txt", "the other form");
    QVERIFY(WriteBehindHole(fixture.Archive(), builder.Build(true, holeBytes), holeBytes));
    QVERIFY(QFileInfo(fixture.Archive()).size() > static_cast<qint64>(holeBytes));
    QVERIFY2(fixture.Unzip(), qPrintable(fixture.ErrorText()));
    QCOMPARE(fixture.Unpacked(), (TFolderImage{{QStringLiteral("b.txt"), "file:the other form"},
                                               {QStringLiteral("map"), "folder"},
                                               {QStringLiteral("map/a.txt"), "file:zip64"}}));
}

void tst_UnzipLarge::refusesSizesThatAreSmallOnlyIn32Bits_data()
{
    QTest::addColumn<quint64>("saidBytes");
    QTest::addColumn<QString>("reason");
    for (const quint64 said : {two31 + 5, two32 - 1, two32 + 5, (quint64(1) << 40) + 5, two63 - 1,
                               two63, two63 + 5, std::numeric_limits<quint64>::max() - 4}) {
        QTest::newRow(QByteArray::number(said).constData())
            << said
            << (said < two63 ? QStringLiteral("larger than 10 MB") : QStringLiteral("damaged"));
    }
}

// The entry has five bytes. Most of the stated sizes become 5 if they are cut to 32 bits.
void tst_UnzipLarge::refusesSizesThatAreSmallOnlyIn32Bits()
{
    QFETCH(quint64, saidBytes);
    QFETCH(QString, reason);
    TUnzipFixture fixture;
    TZipEntry entry = Zip64("a.txt", "12345");
    entry.unpackedBytes = saidBytes;
    QVERIFY(fixture.SetArchive(TZipBuilder().Add(entry).Build(true)));
    const TFolderImage before = fixture.Everything();
    QVERIFY(!fixture.Unzip());
    QVERIFY2(fixture.ErrorText().contains(reason), qPrintable(fixture.ErrorText()));
    QCOMPARE(fixture.Everything(), before);
}

// The ratio limit allows any size for this large archive; the total limit still holds.
void tst_UnzipLarge::keepsTheTotalLimitForALargeArchive()
{
    TZipEntry entry = Zip64("a.txt", "12345");
    for (const quint64 said : {two32 + 1, two32 + 5, quint64(5) << 30}) {
        entry.unpackedBytes = said;
        TUnzipFixture fixture;
        QVERIFY(
            WriteBehindHole(fixture.Archive(), TZipBuilder().Add(entry).Build(true, two32), two32));
        QVERIFY(!fixture.Unzip());
        QVERIFY2(fixture.ErrorText().contains(QStringLiteral("larger than 4096 MB")),
                 qPrintable(fixture.ErrorText()));
    }
}

// The stated size is within the limits. The wrong size is found during the unpacking.
void tst_UnzipLarge::findsAWrongSizeWithinTheLimitDuringTheUnpacking()
{
    TZipEntry entry = Zip64("a.txt", "12345");
    for (const quint64 said : {two31, two32 - 1, two32}) {
        entry.unpackedBytes = said;
        TUnzipFixture fixture;
        QVERIFY(
            WriteBehindHole(fixture.Archive(), TZipBuilder().Add(entry).Build(true, two32), two32));
        QVERIFY(!fixture.Unzip());
        QVERIFY2(fixture.ErrorText().contains(QStringLiteral("damaged")),
                 qPrintable(fixture.ErrorText()));
        QVERIFY(fixture.Content().isEmpty());
    }
}

void tst_UnzipLarge::refusesATotalSizeBeyondTheLimit()
{
    hostimpl::TUnpackLimits limits;
    limits.totalBytes = static_cast<qint64>(two32) + 6;
    TZipEntry second = Zip64("b.txt", "12345");
    for (const quint64 said : {two32, two32 + 1, two32 + 2}) {
        second.unpackedBytes = said;
        TUnzipFixture fixture;
        QVERIFY(WriteBehindHole(
            fixture.Archive(),
            TZipBuilder().Add(Zip64("a.txt", "12345")).Add(second).Build(true, two32), two32));
        QVERIFY(!fixture.Unzip(limits));
        const bool isTooLarge = fixture.ErrorText().contains(QStringLiteral("is larger than"));
        QVERIFY2(isTooLarge == (said == two32 + 2), qPrintable(fixture.ErrorText()));
        QVERIFY(fixture.Content().isEmpty());
    }
}

KELVO_TEST_MAIN(tst_UnzipLarge)
#include "tst_unzip_large.moc"
