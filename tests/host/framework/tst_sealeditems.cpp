// The operator's password in the configuration file: sealing, and the upgrade of older plain files.
#include "framework/SealedItems.h"
#include "host/TFileSizeLimit.h"
#include "host/framework/TSealedFixture.h"
#include "support/TestMain.h"

#include <QtCore/QDataStream>
#include <QtCore/QDir>

using hostimpl::TConfigStore;
using hostimpl::TSecretKey;
using kelvo::test::passwordItem;
using kelvo::test::ReadFile;
using kelvo::test::TExpectedMessage;
using kelvo::test::TFileSizeLimit;
using kelvo::test::TSealedFixture;
using kelvo::test::userItem;
using kelvo::test::WriteFile;

class tst_SealedItems : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void theSearchFindsThePasswordInEachEncoding();
    void hidesThePasswordInTheFile();
    void keepsThePasswordAfterARestart_data();
    void keepsThePasswordAfterARestart();
    void usesANewNonceForEachSealing();
    void hidesThePasswordsLength();
    void rejectsTheSealedFormOfAnotherItem();
    void createsNoKeyForOtherItems();
    void removesTheSealedFormWithTheItem();
    void keepsATemporaryPasswordOutOfTheFile();
    void readsAsEmptyOnAConsoleWithoutSealing();
    void sealsAnOldPlainValue();
    void removesThePasswordFromOldCopies_data();
    void removesThePasswordFromOldCopies();
    void keepsTheRestOfOldCopies();
    void doesNotChangeAnOldFileWithoutAKey();
    void sealsAnOldFileWhenTheDiskHasRoomAgain();
};

// The other tests rely on this search.
void tst_SealedItems::theSearchFindsThePasswordInEachEncoding()
{
    QVERIFY(kelvo::test::ContainsPassword(TSealedFixture::PlainFile()));
    QByteArray stream;
    QDataStream writer(&stream, QIODevice::WriteOnly);
    writer << QVariant(kelvo::test::Password());
    QVERIFY(kelvo::test::ContainsPassword(stream));
    QVERIFY(kelvo::test::ContainsPassword(stream.toBase64()));
    QVERIFY(kelvo::test::ContainsPassword(kelvo::test::Password().toUtf8().toBase64()));
    QVERIFY(kelvo::test::ContainsPassword("x" + kelvo::test::Password().toUtf8().toHex()));
    QVERIFY(!kelvo::test::ContainsPassword("Marker"));
}

void tst_SealedItems::hidesThePasswordInTheFile()
{
    const TSealedFixture f;
    QVERIFY(f.Configure());
    QCOMPARE(f.FilesWithPassword(), QStringList());
    QVERIFY(ReadFile(f.Path()).contains("olga"));
    QVERIFY(!f.SealedText().isEmpty());
    QCOMPARE(TSealedFixture::ModeOf(f.KeyPath()), 0600u);
    QCOMPARE(ReadFile(f.KeyPath()).size(), 32);
    QCOMPARE(kelvo::test::ImageOf(f.folder.path()).size(), 2);
}

void tst_SealedItems::keepsThePasswordAfterARestart_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::newRow("text") << QVariant(QStringLiteral(u"p\u00e4ss \"w\" \\ \u20ac"));
    QTest::newRow("empty text") << QVariant(QStringLiteral(""));
    QTest::newRow("long text") << QVariant(QString(5000, QLatin1Char('x')));
    QTest::newRow("bytes") << QVariant(QByteArray("\0\x80\xff", 3));
    QTest::newRow("number") << QVariant(5);
}

void tst_SealedItems::keepsThePasswordAfterARestart()
{
    QFETCH(QVariant, value);
    const TSealedFixture f;
    {
        TConfigStore store;
        QCOMPARE(store.Open(f.Path()), QString());
        store.SetItem(passwordItem, value, true);
        QCOMPARE(store.GetItem(passwordItem), value);
    }
    TConfigStore store;
    QCOMPARE(store.Open(f.Path()), QString());
    QCOMPARE(store.GetItem(passwordItem), value);
    QCOMPARE(store.GetItem(passwordItem).userType(), value.userType());
}

void tst_SealedItems::usesANewNonceForEachSealing()
{
    const TSealedFixture f;
    QVERIFY(f.Configure());
    const QString first = f.SealedText();
    const QByteArray key = ReadFile(f.KeyPath());
    TConfigStore store;
    QCOMPARE(store.Open(f.Path()), QString());
    store.SetItem(passwordItem, QStringLiteral("another"), true);
    store.SetItem(passwordItem, kelvo::test::Password(), true);
    QVERIFY(!f.SealedText().isEmpty());
    QVERIFY(f.SealedText() != first);
    QVERIFY(f.SealedText().left(32) != first.left(32)); // the nonce
    QCOMPARE(ReadFile(f.KeyPath()), key);
}

void tst_SealedItems::hidesThePasswordsLength()
{
    TSecretKey key;
    QCOMPARE(hostimpl::SealItem(key, 1, QStringLiteral("a")).size(),
             hostimpl::SealItem(key, 1, QStringLiteral("abcdefghijklmnop")).size());
}

void tst_SealedItems::rejectsTheSealedFormOfAnotherItem()
{
    TSecretKey key;
    const QByteArray sealed = hostimpl::SealItem(key, 1, QStringLiteral("a"));
    QCOMPARE(hostimpl::UnsealItem(key, 1, sealed), QVariant(QStringLiteral("a")));
    QVERIFY(!hostimpl::UnsealItem(key, 2, sealed).isValid());
    for (int length = 0; length < sealed.size(); ++length) {
        QVERIFY(!hostimpl::UnsealItem(key, 1, sealed.left(length)).isValid());
    }
    for (int at = 0; at < sealed.size(); ++at) {
        QByteArray changed = sealed;
        changed[at] = static_cast<char>(changed.at(at) ^ 1);
        QVERIFY(!hostimpl::UnsealItem(key, 1, changed).isValid());
    }
}

void tst_SealedItems::createsNoKeyForOtherItems()
{
    const TSealedFixture f;
    TConfigStore store;
    QCOMPARE(store.Open(f.Path()), QString());
    store.SetItem(userItem, QStringLiteral("olga"), true);
    QVERIFY(!QFile::exists(f.KeyPath()));
}

void tst_SealedItems::removesTheSealedFormWithTheItem()
{
    const TSealedFixture f;
    QVERIFY(f.Configure());
    TConfigStore store;
    QCOMPARE(store.Open(f.Path()), QString());
    store.SetItem(passwordItem, QVariant(), true);
    QVERIFY(!ReadFile(f.Path()).contains("24290"));
}

void tst_SealedItems::keepsATemporaryPasswordOutOfTheFile()
{
    const TSealedFixture f;
    TConfigStore store;
    QCOMPARE(store.Open(f.Path()), QString());
    store.SetItem(passwordItem, kelvo::test::Password(), false);
    store.SetItem(7, 42, true);
    QCOMPARE(store.GetItem(passwordItem).toString(), kelvo::test::Password());
    QVERIFY(!ReadFile(f.Path()).contains("24290"));
}

// An older console reads "type" and "value" only, and rejects a file if one of them is missing.
void tst_SealedItems::readsAsEmptyOnAConsoleWithoutSealing()
{
    const TSealedFixture f;
    QVERIFY(f.Configure());
    const QJsonObject entry = f.Entry(passwordItem);
    QCOMPARE(entry.value(QLatin1String("type")).toString(), QStringLiteral("QString"));
    QVERIFY(entry.value(QLatin1String("value")).isString());
    QCOMPARE(entry.value(QLatin1String("value")).toString(), QString());
    QVERIFY(!entry.contains(QLatin1String("stream")));
}

void tst_SealedItems::sealsAnOldPlainValue()
{
    const TSealedFixture f;
    QVERIFY(WriteFile(f.Path(), TSealedFixture::PlainFile()));
    QCOMPARE(f.FilesWithPassword(), QStringList(QStringLiteral("console.json")));
    {
        TConfigStore store;
        QCOMPARE(store.Open(f.Path()), QString());
        QCOMPARE(store.GetItem(passwordItem).toString(), kelvo::test::Password());
        QCOMPARE(f.FilesWithPassword(), QStringList());
    }
    TConfigStore store;
    QCOMPARE(store.Open(f.Path()), QString());
    QCOMPARE(store.GetItem(passwordItem), QVariant(kelvo::test::Password()));
    QCOMPARE(store.GetItem(userItem), QVariant(QStringLiteral("olga")));
    QCOMPARE(store.GetItem(7), QVariant(42));
    QCOMPARE(kelvo::test::ImageOf(f.folder.path()).size(), 2);
}

void tst_SealedItems::removesThePasswordFromOldCopies_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QByteArray>("bytes");
    const QByteArray whole = TSealedFixture::PlainFile();
    const QByteArray cutOff = whole.left(whole.indexOf("Quill") + 5);
    const QByteArray bare = "{\"version\":1,\"items\":{\"24290\" : \"\\\"" +
                            kelvo::test::Password().toUtf8() + "\", \"7\":{}}}";
    QTest::newRow("invalid file, cut off") << QStringLiteral("console.json") << cutOff;
    QTest::newRow("invalid file, another version")
        << QStringLiteral("console.json")
        << QByteArray(whole).replace("\"version\":1", "\"version\":2");
    QTest::newRow("invalid file, another form") << QStringLiteral("console.json") << bare;
    QTest::newRow("earlier invalid file") << QStringLiteral("console.json.invalid-3") << whole;
    QTest::newRow("earlier invalid file, cut off")
        << QStringLiteral("console.json.invalid-9") << cutOff;
    QTest::newRow("temporary file") << QStringLiteral("console.json.aQxWbz") << whole;
}

void tst_SealedItems::removesThePasswordFromOldCopies()
{
    QFETCH(QString, name);
    QFETCH(QByteArray, bytes);
    const TSealedFixture f;
    const bool isConfiguration = name == QLatin1String("console.json");
    QVERIFY(WriteFile(f.folder.filePath(name), bytes));
    QVERIFY(!f.FilesWithPassword().isEmpty());
    TConfigStore store;
    if (isConfiguration) {
        const TExpectedMessage expected(QStringLiteral("is not valid"));
        QVERIFY(store.Open(f.Path()).contains(QStringLiteral("invalid-1")));
    } else {
        QCOMPARE(store.Open(f.Path()), QString());
    }
    QCOMPARE(f.FilesWithPassword(), QStringList());
    QCOMPARE(kelvo::test::ImageOf(f.folder.path()).size(), 1);
}

void tst_SealedItems::keepsTheRestOfOldCopies()
{
    const TSealedFixture f;
    const QString aside = f.folder.filePath(QStringLiteral("console.json.invalid-1"));
    const QString foreign = f.folder.filePath(QStringLiteral("console.json.backup"));
    QVERIFY(WriteFile(aside, TSealedFixture::PlainFile()));
    QVERIFY(WriteFile(foreign, TSealedFixture::PlainFile()));
    TConfigStore store;
    QCOMPARE(store.Open(f.Path()), QString());
    const QJsonObject items =
        QJsonDocument::fromJson(ReadFile(aside)).object().value(QLatin1String("items")).toObject();
    QCOMPARE(items.value(QLatin1String("24289")).toObject().value(QLatin1String("value")),
             QJsonValue(QStringLiteral("olga")));
    QVERIFY(items.contains(QLatin1String("7")));
    QCOMPARE(ReadFile(aside).size(), TSealedFixture::PlainFile().size());
    QCOMPARE(ReadFile(foreign), TSealedFixture::PlainFile()); // not written by the host
}

void tst_SealedItems::doesNotChangeAnOldFileWithoutAKey()
{
    const TSealedFixture f;
    QVERIFY(QDir().mkdir(f.KeyPath()));
    QVERIFY(WriteFile(f.Path(), TSealedFixture::PlainFile()));
    TConfigStore store;
    const TExpectedMessage expected(QStringLiteral("no regular file"));
    const QString problem = store.Open(f.Path());
    QVERIFY2(problem.contains(f.KeyPath()), qUtf8Printable(problem));
    QCOMPARE(store.GetItem(passwordItem).toString(), kelvo::test::Password());
    QCOMPARE(ReadFile(f.Path()), TSealedFixture::PlainFile());
    store.SetItem(7, 43, true); // this write leaves the password out
    QCOMPARE(f.FilesWithPassword(), QStringList());
    QCOMPARE(store.GetItem(passwordItem).toString(), kelvo::test::Password());
}

void tst_SealedItems::sealsAnOldFileWhenTheDiskHasRoomAgain()
{
    const TSealedFixture f;
    QVERIFY(WriteFile(f.Path(), TSealedFixture::PlainFile()));
    TConfigStore store;
    {
        const TExpectedMessage expected(QStringLiteral("cannot be created"));
        const TFileSizeLimit limit(16);
        QVERIFY(limit.IsSet());
        QVERIFY(!store.Open(f.Path()).isEmpty());
    }
    QCOMPARE(ReadFile(f.Path()), TSealedFixture::PlainFile());
    QCOMPARE(kelvo::test::ImageOf(f.folder.path()).size(), 1); // no partial key file
    store.SetItem(7, 42, true);
    QCOMPARE(f.FilesWithPassword(), QStringList());
    TConfigStore again;
    QCOMPARE(again.Open(f.Path()), QString());
    QCOMPARE(again.GetItem(passwordItem).toString(), kelvo::test::Password());
}

KELVO_TEST_MAIN(tst_SealedItems)
#include "tst_sealeditems.moc"
