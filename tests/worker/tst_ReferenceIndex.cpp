// The look-up of names in a listing.
#include "support/TestMain.h"
#include "worker/ConsoleLong.h"
#include "worker/ReferenceIndex.h"

#include <QtTest/QtTest>

class tst_ReferenceIndex : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void findsTheIdAtTheNamesPosition();
    void usesTheFirstEntryOfANameThatOccursTwice();
    void namesAreComparedExactly();
    void findsNothingInAnEmptyListing();
    void takesTimeInProportionToTheNumberOfNames();
    void theConsolesLongKeepsTheLow32Bits_data();
    void theConsolesLongKeepsTheLow32Bits();
};

namespace {

KelvoFileInfoList Listing(const QList<long>& ids, const QStringList& names)
{
    KelvoFileInfoList listing;
    listing.fileIds = ids;
    listing.fileNames = names;
    return listing;
}

} // namespace

void tst_ReferenceIndex::findsTheIdAtTheNamesPosition()
{
    const TReferenceIndex index(
        Listing({5L, -1L, 0L}, {QStringLiteral("a"), QStringLiteral("b"), QString()}));
    QVERIFY(index.FindId(QStringLiteral("a")) == 5L);
    QVERIFY(index.FindId(QStringLiteral("b")) == -1L);
    QVERIFY(index.FindId(QString()) == 0L);
    QVERIFY(!index.FindId(QStringLiteral("c")));
}

void tst_ReferenceIndex::usesTheFirstEntryOfANameThatOccursTwice()
{
    const QString twice = QStringLiteral("twice");
    const TReferenceIndex index(Listing({1L, 2L, 3L}, {twice, QStringLiteral("x"), twice}));
    QVERIFY(index.FindId(twice) == 1L);
}

void tst_ReferenceIndex::namesAreComparedExactly()
{
    const TReferenceIndex index(Listing({1L}, {QStringLiteral("Feld.zip")}));
    for (const char* name : {"feld.zip", "Feld.ZIP", "Feld.zip ", "Feld.zi", ""})
        QVERIFY(!index.FindId(QString::fromLatin1(name)));
}

void tst_ReferenceIndex::findsNothingInAnEmptyListing()
{
    const TReferenceIndex index((KelvoFileInfoList()));
    QVERIFY(!index.FindId(QString()));
    QVERIFY(!index.FindId(QStringLiteral("a")));
}

// Many names: a linear search for each name would exceed the hang guard.
void tst_ReferenceIndex::takesTimeInProportionToTheNumberOfNames()
{
    constexpr int COUNT = 400000;
    KelvoFileInfoList listing;
    for (int i = 0; i < COUNT; ++i) {
        listing.fileIds << i;
        listing.fileNames << QStringLiteral("prescription map of field number %1.zip").arg(i);
    }
    QElapsedTimer elapsed;
    elapsed.start();
    const TReferenceIndex index(listing);
    int wrong = 0;
    for (int i = 0; i < COUNT; ++i)
        wrong += index.FindId(listing.fileNames.at(i)) == long(i) ? 0 : 1;
    qInfo("%d of %d names in %lld ms", COUNT, COUNT, static_cast<long long>(elapsed.elapsed()));
    QCOMPARE(wrong, 0);
}

void tst_ReferenceIndex::theConsolesLongKeepsTheLow32Bits_data()
{
    QTest::addColumn<qint64>("id");
    QTest::addColumn<long>("narrow");
    QTest::addColumn<qint64>("wide");
    const auto row = [](const char* name, qint64 id, long narrow, qint64 wide) {
        QTest::newRow(name) << id << narrow << wide;
    };
    row("0", 0, 0L, 0);
    row("2^31-1", 2147483647LL, 2147483647L, 2147483647LL);
    row("2^31", 2147483648LL, -2147483647L - 1, -2147483648LL);
    row("2^32-1", 4294967295LL, -1L, -1);
    row("2^32", 4294967296LL, 0L, 0);
    row("2^32+5", 4294967301LL, 5L, 5);
    row("-1", -1, -1L, -1);
}

void tst_ReferenceIndex::theConsolesLongKeepsTheLow32Bits()
{
    QFETCH(qint64, id);
    QFETCH(long, narrow);
    QFETCH(qint64, wide);
    QCOMPARE(NarrowToConsoleLong(id), narrow);
    QCOMPARE(qint64(WidenConsoleLong(narrow)), wide);
    QCOMPARE(qint64(WidenConsoleLong(static_cast<long>(id))), wide);
}

KELVO_TEST_MAIN(tst_ReferenceIndex)
#include "tst_ReferenceIndex.moc"
