// The key file: its creation, invalid keys, and what the operator loses by them.
#include "framework/TSecretKey.h"

#include "host/TFileSizeLimit.h"
#include "host/framework/TSealedFixture.h"
#include "support/TestMain.h"

#include <QtCore/QDir>

#include <functional>

#include <sys/stat.h>

using hostimpl::EKeyFile;
using hostimpl::TConfigStore;
using hostimpl::TSecretKey;
using kelvo::test::passwordItem;
using kelvo::test::ReadFile;
using kelvo::test::TExpectedMessage;
using kelvo::test::TFileSizeLimit;
using kelvo::test::TSealedFixture;
using kelvo::test::userItem;
using kelvo::test::WriteFile;

using TDamage = std::function<bool(const TSealedFixture&)>;
Q_DECLARE_METATYPE(TDamage)

namespace {

bool ReplaceSealed(const TSealedFixture& f, const QString& other)
{
    QByteArray bytes = ReadFile(f.Path());
    const QByteArray sealed = f.SealedText().toUtf8();
    return !sealed.isEmpty() && WriteFile(f.Path(), bytes.replace(sealed, other.toUtf8()));
}

bool MakeKeyUnusable(const TSealedFixture& f)
{
    return QFile::remove(f.KeyPath()) && QDir().mkdir(f.KeyPath());
}

} // namespace

class tst_SecretKey : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void createsTheKeyOnce();
    void createsAPrivateFileWithAnyUmask();
    void replacesTheTemporaryFileOfAKilledRun();
    void createsNoPartialKey();
    void readsAsEmptyIfDecryptionFails_data();
    void readsAsEmptyIfDecryptionFails();
    void makesAnOpenKeyFilePrivateAndUsesIt();
    void decryptsAgainWithTheRestoredKey();
    void cannotDecryptTheFileOfAnotherConsole();
    void neverWritesThePasswordAsPlainText();
    void keepsThePasswordInMemoryWhenTheDiskIsFull();
};

void tst_SecretKey::createsTheKeyOnce()
{
    const TSealedFixture f;
    QString text;
    TSecretKey first;
    QCOMPARE(first.Load(f.KeyPath(), text), EKeyFile::eMissing);
    QVERIFY2(first.Create(f.KeyPath(), text), qUtf8Printable(text));
    const QByteArray bytes = ReadFile(f.KeyPath());
    QCOMPARE(bytes, QByteArray(reinterpret_cast<const char*>(first.Bytes()), 32));
    TSecretKey second;
    QVERIFY2(second.Create(f.KeyPath(), text), qUtf8Printable(text));
    QCOMPARE(ReadFile(f.KeyPath()), bytes);
    QCOMPARE(bytes, QByteArray(reinterpret_cast<const char*>(second.Bytes()), 32));
    TSecretKey other;
    QVERIFY(other.Create(f.KeyPath() + QStringLiteral("2"), text));
    QVERIFY(ReadFile(f.KeyPath() + QStringLiteral("2")) != bytes);
}

void tst_SecretKey::createsAPrivateFileWithAnyUmask()
{
    for (const mode_t mask : {mode_t(0), mode_t(0777)}) {
        const TSealedFixture f;
        const mode_t former = ::umask(mask);
        TSecretKey key;
        QString text;
        const bool isMade = key.Create(f.KeyPath(), text);
        ::umask(former);
        QVERIFY2(isMade, qUtf8Printable(text));
        QCOMPARE(TSealedFixture::ModeOf(f.KeyPath()), 0600u);
    }
}

void tst_SecretKey::replacesTheTemporaryFileOfAKilledRun()
{
    const TSealedFixture f;
    QVERIFY(WriteFile(f.KeyPath() + QStringLiteral(".new"), "half a k"));
    QVERIFY(f.Configure());
    QCOMPARE(kelvo::test::ImageOf(f.folder.path()).size(), 2);
    QCOMPARE(ReadFile(f.KeyPath()).size(), 32);
}

void tst_SecretKey::createsNoPartialKey()
{
    const TSealedFixture f;
    TSecretKey key;
    QString text;
    {
        const TFileSizeLimit limit(16);
        QVERIFY(limit.IsSet());
        QVERIFY(!key.Create(f.KeyPath(), text));
    }
    QVERIFY(!text.isEmpty());
    QVERIFY(kelvo::test::ImageOf(f.folder.path()).isEmpty());
}

void tst_SecretKey::readsAsEmptyIfDecryptionFails_data()
{
    QTest::addColumn<TDamage>("damage");
    QTest::addColumn<QString>("reason");
    QTest::addColumn<bool>("canTypeAgain");
    const auto row = [](const char* name, const char* reason, bool canTypeAgain, TDamage damage) {
        QTest::newRow(name) << damage << QString::fromLatin1(reason) << canTypeAgain;
    };
    row("key missing", "There is no key", true,
        [](const TSealedFixture& f) { return QFile::remove(f.KeyPath()); });
    row("key empty", "length is wrong", true,
        [](const TSealedFixture& f) { return WriteFile(f.KeyPath(), QByteArray()); });
    row("key short", "length is wrong", true,
        [](const TSealedFixture& f) { return WriteFile(f.KeyPath(), QByteArray(31, 'k')); });
    row("key long", "length is wrong", true,
        [](const TSealedFixture& f) { return WriteFile(f.KeyPath(), QByteArray(33, 'k')); });
    row("key of another console", "cannot be decrypted", true,
        [](const TSealedFixture& f) { return WriteFile(f.KeyPath(), QByteArray(32, 'k')); });
    row("key unreadable", "no regular file", false, MakeKeyUnusable);
    row("key a link", "cannot be used", false, [](const TSealedFixture& f) {
        return QFile::rename(f.KeyPath(), f.KeyPath() + QStringLiteral("2")) &&
               QFile::link(f.KeyPath() + QStringLiteral("2"), f.KeyPath());
    });
    row("key a pipe", "no regular file", false, [](const TSealedFixture& f) {
        return QFile::remove(f.KeyPath()) &&
               ::mkfifo(QFile::encodeName(f.KeyPath()).constData(), 0600) == 0;
    });
    row("value cut off", "cannot be decrypted", true,
        [](const TSealedFixture& f) { return ReplaceSealed(f, f.SealedText().left(60)); });
    row("value empty", "cannot be decrypted", true,
        [](const TSealedFixture& f) { return ReplaceSealed(f, QString()); });
    row("value no base 64", "cannot be decrypted", true,
        [](const TSealedFixture& f) { return ReplaceSealed(f, QStringLiteral("?*")); });
    row("value of another console", "cannot be decrypted", true, [](const TSealedFixture& f) {
        const TSealedFixture other;
        return other.Configure() && ReplaceSealed(f, other.SealedText());
    });
}

void tst_SecretKey::readsAsEmptyIfDecryptionFails()
{
    QFETCH(TDamage, damage);
    QFETCH(QString, reason);
    QFETCH(bool, canTypeAgain);
    const TSealedFixture f;
    QVERIFY(f.Configure());
    QVERIFY(damage(f));
    TConfigStore store;
    {
        const TExpectedMessage expected(reason);
        const QString problem = store.Open(f.Path());
        QVERIFY2(problem.contains(QStringLiteral("24290")), qUtf8Printable(problem));
        QVERIFY(!problem.contains(kelvo::test::Password()));
    }
    QCOMPARE(store.GetItem(passwordItem).toString(), QString());
    QCOMPARE(store.GetItem(userItem), QVariant(QStringLiteral("olga")));
    QCOMPARE(store.GetItem(7), QVariant(42));
    if (canTypeAgain) {
        store.SetItem(passwordItem, QStringLiteral("typed again"), true);
        TConfigStore again;
        QCOMPARE(again.Open(f.Path()), QString());
        QCOMPARE(again.GetItem(passwordItem), QVariant(QStringLiteral("typed again")));
        QCOMPARE(again.GetItem(userItem), QVariant(QStringLiteral("olga")));
        QCOMPARE(TSealedFixture::ModeOf(f.KeyPath()), 0600u);
    }
}

void tst_SecretKey::makesAnOpenKeyFilePrivateAndUsesIt()
{
    const TSealedFixture f;
    QVERIFY(f.Configure());
    QCOMPARE(::chmod(QFile::encodeName(f.KeyPath()).constData(), 0644), 0);
    TConfigStore store;
    {
        const TExpectedMessage expected(QStringLiteral("Other users could read"));
        QVERIFY(store.Open(f.Path()).contains(f.KeyPath()));
    }
    QCOMPARE(TSealedFixture::ModeOf(f.KeyPath()), 0600u);
    QCOMPARE(store.GetItem(passwordItem).toString(), kelvo::test::Password());
    TConfigStore again;
    QCOMPARE(again.Open(f.Path()), QString());
}

void tst_SecretKey::decryptsAgainWithTheRestoredKey()
{
    const TSealedFixture f;
    QVERIFY(f.Configure());
    const QString away = f.KeyPath() + QStringLiteral("-away");
    QVERIFY(QFile::rename(f.KeyPath(), away));
    {
        const TExpectedMessage expected(QStringLiteral("There is no key"));
        TConfigStore store;
        QVERIFY(!store.Open(f.Path()).isEmpty());
        store.SetItem(7, 43, true);
        QVERIFY(!QFile::exists(f.KeyPath()));
    }
    QVERIFY(QFile::rename(away, f.KeyPath()));
    TConfigStore store;
    QCOMPARE(store.Open(f.Path()), QString());
    QCOMPARE(store.GetItem(passwordItem).toString(), kelvo::test::Password());
    QCOMPARE(store.GetItem(7), QVariant(43));
}

void tst_SecretKey::cannotDecryptTheFileOfAnotherConsole()
{
    const TSealedFixture f;
    QVERIFY(f.Configure());
    for (const bool hasOwnKey : {false, true}) {
        const TSealedFixture other;
        QVERIFY(!hasOwnKey || other.Configure());
        QFile::remove(other.Path());
        QVERIFY(QFile::copy(f.Path(), other.Path()));
        const TExpectedMessage expected(QStringLiteral("cannot be decrypted"));
        TConfigStore store;
        QVERIFY(!store.Open(other.Path()).isEmpty());
        QVERIFY(!store.GetItem(passwordItem).isValid());
        QCOMPARE(store.GetItem(userItem), QVariant(QStringLiteral("olga")));
    }
}

void tst_SecretKey::neverWritesThePasswordAsPlainText()
{
    const TSealedFixture f;
    QVERIFY(QDir().mkdir(f.KeyPath()));
    TConfigStore store;
    QCOMPARE(store.Open(f.Path()), QString());
    const TExpectedMessage expected(QStringLiteral("will be lost when the console ends"));
    store.SetItem(passwordItem, kelvo::test::Password(), true);
    QCOMPARE(store.GetItem(passwordItem).toString(), kelvo::test::Password());
    store.SetItem(userItem, QStringLiteral("olga"), true);
    QVERIFY(ReadFile(f.Path()).contains("olga"));
    QCOMPARE(f.FilesWithPassword(), QStringList());
    QVERIFY(QDir().rmdir(f.KeyPath()));
    store.SetItem(7, 42, true); // the key can be created now
    TConfigStore again;
    QCOMPARE(again.Open(f.Path()), QString());
    QCOMPARE(again.GetItem(passwordItem).toString(), kelvo::test::Password());
}

void tst_SecretKey::keepsThePasswordInMemoryWhenTheDiskIsFull()
{
    for (const rlim_t room : {rlim_t(0), rlim_t(40)}) { // no file; only the key file
        const TSealedFixture f;
        TConfigStore store;
        QCOMPARE(store.Open(f.Path()), QString());
        {
            const TExpectedMessage expected(QStringLiteral("cannot be written"));
            const TFileSizeLimit limit(room);
            QVERIFY(limit.IsSet());
            store.SetItem(passwordItem, kelvo::test::Password(), true);
        }
        QCOMPARE(store.GetItem(passwordItem).toString(), kelvo::test::Password());
        QCOMPARE(f.FilesWithPassword(), QStringList());
        store.SetItem(passwordItem, kelvo::test::Password(), true);
        TConfigStore again;
        QCOMPARE(again.Open(f.Path()), QString());
        QCOMPARE(again.GetItem(passwordItem).toString(), kelvo::test::Password());
    }
}

KELVO_TEST_MAIN(tst_SecretKey)
#include "tst_secretkey.moc"
