// Unzip: the path of an entry's name, and similar names.
#include "host/files/TUnzipFixture.h"

#include "support/TestMain.h"

using namespace kelvo::test;

namespace {

TZipBuilder OneFile(const QString& name, const QByteArray& content)
{
    return TZipBuilder().AddFile(name.toUtf8(), content);
}

} // namespace

class tst_UnzipNames : public TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void readsNames_data();
    void readsNames();
    void keepsSimilarNamesApart_data();
    void keepsSimilarNamesApart();
    void composesNames_data();
    void composesNames();
};

void tst_UnzipNames::readsNames_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<quint16>("flags");
    QTest::addColumn<QString>("path");
    const auto row = [](const char* title, const QByteArray& name, quint16 flags,
                        const QString& path) { QTest::newRow(title) << name << flags << path; };
    row("UTF-8, marked",
        "S\xc3\xbc"
        "d.txt",
        utf8Flag, QStringLiteral(u"S\u00fcd.txt"));
    row("UTF-8, not marked",
        "S\xc3\xbc"
        "d.txt",
        0, QStringLiteral(u"S\u00fcd.txt"));
    row("code page 850",
        "S\x81"
        "d.txt",
        0, QStringLiteral(u"S\u00fcd.txt"));
    row("not Latin", "\xe5\x9c\x83\xe5\x9c\xb0", utf8Flag, QStringLiteral(u"\u5703\u5730"));
    row("beyond the basic plane", "\xf0\x9f\x9a\x9c", utf8Flag, QStringLiteral(u"\U0001f69c"));
    row("backslashes", "a\\b.txt", utf8Flag, QStringLiteral("a/b.txt"));
    row("mixed separators", "a\\b/c.txt", utf8Flag, QStringLiteral("a/b/c.txt"));
    row("dot in front", "./a.txt", utf8Flag, QStringLiteral("a.txt"));
    row("dots and empty parts", "a/.//b.txt", utf8Flag, QStringLiteral("a/b.txt"));
    row("three dots", "...", utf8Flag, QStringLiteral("..."));
    row("spaces", " a b ", utf8Flag, QStringLiteral(" a b "));
    row("hidden", ".a", utf8Flag, QStringLiteral(".a"));
    row("a NUL ends it", QByteArray("a.txt\0/../../b", 14), utf8Flag, QStringLiteral("a.txt"));
}

void tst_UnzipNames::readsNames()
{
    QFETCH(QByteArray, name);
    QFETCH(quint16, flags);
    QFETCH(QString, path);
    TUnzipFixture fixture;
    TZipEntry entry;
    entry.name = name;
    entry.content = "content";
    entry.flags = flags;
    QVERIFY(fixture.SetArchive(TZipBuilder().Add(entry)));
    QVERIFY2(fixture.Unzip(), qPrintable(fixture.ErrorText()));
    TFolderImage content = fixture.Unpacked();
    QCOMPARE(content.take(path), QByteArray("file:content"));
    for (const QByteArray& rest : qAsConst(content)) {
        QCOMPARE(rest, QByteArray("folder"));
    }
}

void tst_UnzipNames::keepsSimilarNamesApart_data()
{
    QTest::addColumn<QString>("first");
    QTest::addColumn<QString>("second");
    const auto row = [](const char* title, const QString& first, const QString& second) {
        QTest::newRow(title) << first << second;
    };
    row("case", QStringLiteral("A.txt"), QStringLiteral("a.txt"));
    row("case of a folder", QStringLiteral("Fields/1"), QStringLiteral("fields/1"));
    row("case beyond ASCII", QStringLiteral(u"\u00c4.txt"), QStringLiteral(u"\u00e4.txt"));
    row("compatible", QStringLiteral(u"\ufb01eld"), QStringLiteral("field"));
}

// On a file system that treats such names as equal, the second name is refused as a duplicate.
void tst_UnzipNames::keepsSimilarNamesApart()
{
    QFETCH(QString, first);
    QFETCH(QString, second);
    TUnzipFixture fixture;
    QVERIFY(fixture.SetArchive(
        TZipBuilder().AddFile(first.toUtf8(), "first").AddFile(second.toUtf8(), "second, longer")));
    QVERIFY2(fixture.Unzip(), qPrintable(fixture.ErrorText()));
    TFolderImage content = fixture.Unpacked();
    QCOMPARE(content.take(first), QByteArray("file:first"));
    QCOMPARE(content.take(second), QByteArray("file:second, longer"));
    QCOMPARE(content.values().count("folder"), content.size()); // no file under a third name
}

void tst_UnzipNames::composesNames_data()
{
    QTest::addColumn<QString>("composed");
    QTest::addColumn<QString>("other");
    const auto row = [](const char* title, const QString& composed, const QString& other) {
        QTest::newRow(title) << composed << other;
    };
    row("one mark", QStringLiteral(u"\u00e4"), QStringLiteral(u"a\u0308"));
    row("two marks", QStringLiteral(u"\u1ea1\u0308"), QStringLiteral(u"a\u0323\u0308"));
    row("syllable", QStringLiteral(u"\uac00"), QStringLiteral(u"\u1100\u1161"));
}

// A name that is marked as UTF-8 is converted to composed characters. So an archive from a Mac and
// an archive from another system name the same file. Both names in one archive are refused as
// duplicates.
void tst_UnzipNames::composesNames()
{
    QFETCH(QString, composed);
    QFETCH(QString, other);
    TUnzipFixture fixture;
    QVERIFY(fixture.SetArchive(
        OneFile(other, "first").AddFile("b", "b").AddFile(composed.toUtf8(), "second")));
    const TFolderImage before = fixture.Everything();
    QVERIFY(!fixture.Unzip());
    QVERIFY2(fixture.ErrorText().contains(QStringLiteral("is in it twice")),
             qPrintable(fixture.ErrorText()));
    QCOMPARE(fixture.Everything(), before);

    QVERIFY(fixture.SetArchive(OneFile(other, "new")));
    QVERIFY2(fixture.Unzip(), qPrintable(fixture.ErrorText()));
    QCOMPARE(fixture.Unpacked(), (TFolderImage{{composed, "file:new"}}));
}

KELVO_TEST_MAIN(tst_UnzipNames)
#include "tst_unzip_names.moc"
