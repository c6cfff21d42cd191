// Unzip: archives with a damaged directory, and sound archives of unusual form. With
// KELVO_TEST_DATA the archives of its folder "prescriptions" are damaged too.
#include "host/files/TUnzipFixture.h"

#include "support/Needs.h"
#include "support/TStartedProgram.h"
#include "support/TestMain.h"

#include <QtCore/QRandomGenerator>
#include <QtCore/QStandardPaths>
#include <QtCore/QtEndian>

#include <optional>

using namespace kelvo::test;

namespace {

constexpr quint32 SEED = 13;
constexpr int END_RECORD_BYTES = 22;
constexpr int UNZIP_SAMPLES = 150; // A start of unzip takes longer than our unpacking, so unzip
                                   // checks samples of the damages and not all.

TZipEntry Deflated(const QByteArray& name, const QByteArray& content)
{
    TZipEntry entry;
    entry.name = name;
    entry.content = content;
    entry.isDeflated = true;
    return entry;
}

TZipBuilder TaskData()
{
    return TZipBuilder()
        .AddFolder("TASKDATA/")
        .Add(Deflated("TASKDATA/TASKDATA.XML", QByteArray("<Task rate='120'/>").repeated(20)))
        .AddFile("TASKDATA/GRD00001.BIN", QByteArray(300, '\7'))
        .AddFile("TASKDATA/EMPTY.BIN", "")
        .AddFolder("empty/");
}

QByteArray Little16(int number)
{
    const auto little = qToLittleEndian(static_cast<quint16>(number));
    return QByteArray(reinterpret_cast<const char*>(&little), sizeof little);
}

// The bytes of a sound archive with a comment.
QByteArray WithComment(QByteArray archive, const QByteArray& comment)
{
    archive.replace(archive.size() - 2, 2, Little16(comment.size()));
    return archive + comment;
}

int DirectoryOffset(const QByteArray& archive)
{
    const int firstEntry = archive.indexOf("PK\1\2");
    return firstEntry >= 0 ? firstEntry : archive.indexOf("PK\5\6");
}

struct TDamage
{
    int offset;
    char value;
};

// For each byte of the directory and the end record: one bit, the highest bit, all bits, the values
// next to it, and any other value.
QVector<TDamage> Damages(const QByteArray& archive)
{
    QRandomGenerator random(SEED);
    QVector<TDamage> damages;
    for (int offset = DirectoryOffset(archive); offset < archive.size(); ++offset) {
        const auto sound = static_cast<unsigned char>(archive[offset]);
        const unsigned values[] = {0,          0xff,       sound ^ 1u,    sound ^ 0x80u,
                                   sound + 1u, sound - 1u, sound ^ 0xffu, random.bounded(256u)};
        for (const unsigned value : values) {
            if ((value & 0xffu) != sound) {
                damages.append({offset, static_cast<char>(value)});
            }
        }
    }
    return damages;
}

QByteArray Damaged(QByteArray archive, const TDamage& damage)
{
    archive[damage.offset] = damage.value;
    return archive;
}

bool Clear(const TUnzipFixture& fixture)
{
    return QDir(fixture.Destination()).removeRecursively() && QDir().mkdir(fixture.Destination());
}

void AddArchives()
{
    QTest::addColumn<QByteArray>("archive");
    QTest::newRow("files and folders") << TaskData().Build();
    QTest::newRow("zip64") << TZipBuilder()
                                  .Add([] {
                                      TZipEntry entry = Deflated("a.txt", "zip64");
                                      entry.isZip64 = true;
                                      return entry;
                                  }())
                                  .AddFile("b.txt", "b")
                                  .Build(true);
    QTest::newRow("comment") << WithComment(ZipOf("a.txt", "a"), "a comment");
    QTest::newRow("no entry") << TZipBuilder().Build();
    const QDir real(qEnvironmentVariable("KELVO_TEST_DATA") + QStringLiteral("/prescriptions"));
    const QStringList names =
        qEnvironmentVariableIsSet("KELVO_TEST_DATA")
            ? real.entryList({QStringLiteral("*.zip")}, QDir::Files, QDir::Name)
            : QStringList();
    for (const QString& name : names) {
        QTest::newRow(qUtf8Printable(name)) << ReadFile(real.filePath(name));
    }
}

} // namespace

class tst_UnzipDamage : public TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void unpacksAllOrNothingOfADamagedArchive_data() { AddArchives(); }
    void unpacksAllOrNothingOfADamagedArchive();
    void refusesWhatTheProgramUnzipCallsIncomplete_data() { AddArchives(); }
    void refusesWhatTheProgramUnzipCallsIncomplete();
    void refusesAWrongDirectory_data();
    void refusesAWrongDirectory();
    void unpacksUnusualArchives_data();
    void unpacksUnusualArchives();
};

// A damaged byte without a meaning for the content, such as a date, does not matter.
void tst_UnzipDamage::unpacksAllOrNothingOfADamagedArchive()
{
    QFETCH(QByteArray, archive);
    TUnzipFixture fixture(QuickFolder());
    QVERIFY(fixture.SetArchive(archive));
    QVERIFY2(fixture.Unzip(), qPrintable(fixture.ErrorText()));
    const TFolderImage whole = fixture.Content();
    int refused = 0;
    for (const TDamage& damage : Damages(archive)) {
        QVERIFY(Clear(fixture));
        QVERIFY(fixture.SetArchive(Damaged(archive, damage)));
        const bool isUnpacked = fixture.Unzip();
        const QByteArray where = "byte " + QByteArray::number(damage.offset) + " is " +
                                 QByteArray::number(static_cast<unsigned char>(damage.value));
        QVERIFY2(isUnpacked == fixture.ErrorText().isEmpty(), where.constData());
        QVERIFY2(fixture.Content() == (isUnpacked ? whole : TFolderImage()), where.constData());
        refused += isUnpacked ? 0 : 1;
    }
    QVERIFY(refused > END_RECORD_BYTES);
}

// unzip ends with 3 or 51 if it cannot read a damaged archive to its end. With 1 and 2 it only
// warns.
void tst_UnzipDamage::refusesWhatTheProgramUnzipCallsIncomplete()
{
    QFETCH(QByteArray, archive);
    const QString unzip = QStandardPaths::findExecutable(QStringLiteral("unzip"));
    KELVO_NEEDS(!unzip.isEmpty(), "the program unzip");
    TUnzipFixture fixture(QuickFolder());
    const QVector<TDamage> damages = Damages(archive);
    QRandomGenerator random(SEED);
    int found = 0;
    for (int sample = 0; sample < UNZIP_SAMPLES; ++sample) {
        const TDamage damage = damages[random.bounded(damages.size())];
        QVERIFY(fixture.SetArchive(Damaged(archive, damage)));
        TStartedProgram process(unzip, {QStringLiteral("-tqq"), fixture.Archive()});
        process.ReadOutput();
        const int code = process.ExitCode();
        const bool isUnpacked = fixture.Unzip();
        const bool isIncomplete = code == 3 || code == 51;
        found += isIncomplete ? 1 : 0;
        QVERIFY2(!(isUnpacked && isIncomplete),
                 ("byte " + QByteArray::number(damage.offset)).constData());
    }
    QVERIFY(found > UNZIP_SAMPLES / 10);
}

void tst_UnzipDamage::refusesAWrongDirectory_data()
{
    QTest::addColumn<QByteArray>("archive");
    QTest::addColumn<QString>("reason");
    const auto row = [](const char* title, const QByteArray& archive, const char* reason) {
        QTest::newRow(title) << archive << QString::fromLatin1(reason);
    };
    const QByteArray sound = TZipBuilder().AddFile("a", "1").AddFile("b", "2").Build();
    const auto counted = [&sound](int entries) {
        QByteArray bytes = sound;
        return bytes.replace(bytes.size() - 14, 4, Little16(entries) + Little16(entries));
    };
    row("no entry counted", counted(0), "more entries than");
    row("one entry too few", counted(1), "more entries than");
    row("one entry too many", counted(3), "fewer entries than");
    row("content behind the directory", QByteArray(sound).insert(sound.size() - 22, "x"),
        "no end record");
    row("bytes in front that no offset counts", "x" + sound, "no end record");
    TZipEntry alias = Deflated("alias", "1");
    alias.localOffset = 0;
    row("one content with two names", TZipBuilder().AddFile("a", "1").Add(alias).Build(),
        "overlap");
    TZipEntry renamed = Deflated("a", "1");
    renamed.localName = "b";
    row("another name in the entry's header", TZipBuilder().Add(renamed).Build(), "has two names");
    TZipEntry twice = Deflated("a", "1");
    twice.localOffset = 0;
    row("one entry twice", TZipBuilder().AddFile("a", "1").Add(twice).Build(), "overlap");
    // The bytes in front leave room, so that the sum of the entries says nothing.
    TZipEntry inner = Deflated("inner", "1");
    const TZipBuilder outer = TZipBuilder().AddFile("outer", LocalEntry(inner));
    inner.localOffset = 1000 + 30 + 5; // behind the header and the name of the outer entry
    row("an entry in an entry",
        QByteArray(1000, 'x') + TZipBuilder(outer).Add(inner).Build(false, 1000), "overlap");
    TZipEntry elsewhere = Deflated("b", "1");
    elsewhere.localOffset = 5;
    row("no header at the offset", TZipBuilder().AddFile("a", "1").Add(elsewhere).Build(),
        "not at its place");
    TZipEntry folder;
    folder.name = "a";
    folder.mode = folderMode;
    row("folder with a file's name", TZipBuilder().Add(folder).Build(), "folder by its kind");
    folder.name = "a/";
    folder.content = "content";
    row("folder with content", TZipBuilder().Add(folder).Build(), "a folder has content");
    folder.mode = regularMode;
    row("file with a folder's name", TZipBuilder().Add(folder).Build(), "a folder has content");
}

void tst_UnzipDamage::refusesAWrongDirectory()
{
    QFETCH(QByteArray, archive);
    QFETCH(QString, reason);
    TUnzipFixture fixture;
    QVERIFY(fixture.SetArchive(archive));
    const TFolderImage before = fixture.Everything();
    QVERIFY(!fixture.Unzip());
    QVERIFY2(fixture.ErrorText().contains(reason), qPrintable(fixture.ErrorText()));
    QCOMPARE(fixture.Everything(), before);
}

void tst_UnzipDamage::unpacksUnusualArchives_data()
{
    QTest::addColumn<QByteArray>("archive");
    const QByteArray sound = TaskData().Build();
    QTest::newRow("longest comment") << WithComment(sound, QByteArray(65535, 'c'));
    QTest::newRow("comment with an archive") << WithComment(sound, ZipOf("evil", "evil"));
    QTest::newRow("bytes behind the end") << sound + QByteArray(1000, '\0');
    const auto padded = [](const QByteArray& extra) {
        TZipEntry entry = Deflated("a.txt", QByteArray(1000, 'a'));
        entry.moreExtra = extra;
        return TZipBuilder().Add(entry).AddFile("b.txt", "b").Build();
    };
    QTest::newRow("zeros as padding") << padded(QByteArray(7, '\0'));
    QTest::newRow("three bytes as padding") << padded("\1\2\3");
    QTest::newRow("padding like a long field") << padded("\x34\x12\xff\xff"
                                                         "abc");
    QTest::newRow("field, then padding") << padded(QByteArray("\x34\x12\1\0x", 5) + "yz");
    QTest::newRow("much padding") << padded(QByteArray(60000, ' '));
}

void tst_UnzipDamage::unpacksUnusualArchives()
{
    QFETCH(QByteArray, archive);
    TUnzipFixture fixture;
    QVERIFY(fixture.SetArchive(archive));
    QVERIFY2(fixture.Unzip(), qPrintable(fixture.ErrorText()));
    const QByteArrayList files = fixture.Unpacked().values();
    QVERIFY(files.contains("file:b") || files.contains("file:" + QByteArray(300, '\7')));
    QVERIFY(!files.contains("file:evil"));
    QVERIFY(files.size() == 2 || files.size() == 5);
}

KELVO_TEST_MAIN(tst_UnzipDamage)
#include "tst_unzip_damage.moc"
