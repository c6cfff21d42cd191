// The configuration store: items in memory and after a restart, and the user log's level.
#include "hostimpl/TConfigStore.h"

#include "host/FolderImage.h"
#include "support/TestMain.h"

#include <QtCore/QDateTime>
#include <QtCore/QTemporaryDir>
#include <QtCore/QThread>
#include <QtCore/QUuid>

#include <memory>
#include <vector>

using hostimpl::TConfigStore;
using kelvo::test::ReadFile;

namespace {

constexpr int userItem = 24289;
constexpr int passwordItem = 24290;

} // namespace

class tst_ConfigStore : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void keepsPersistentItemsAfterARestart();
    void keepsTypesAndValues_data();
    void keepsTypesAndValues();
    void returnsInvalidForAnUnknownItem();
    void forgetsTemporaryItemsAfterARestart();
    void restoresThePersistentValueAfterATemporaryValue();
    void removesItems();
    void keepsItemsInMemoryWithoutAFile();
    void storesItemsOfSeveralThreads();
    void enablesTheUserLogByLevel();
    void alwaysHasAUserLog();
    void hasOneStoreInAProcess();

private:
    QString Path() const { return m_folder->filePath(QStringLiteral("console.json")); }

    std::unique_ptr<QTemporaryDir> m_folder;
};

void tst_ConfigStore::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(m_folder->isValid());
}

void tst_ConfigStore::cleanup()
{
    m_folder.reset();
    TTestCase::cleanup();
}

void tst_ConfigStore::keepsPersistentItemsAfterARestart()
{
    {
        TConfigStore store;
        QVERIFY(store.Open(Path()).isEmpty());
        store.SetItem(userItem, QStringLiteral(u"J\u00f6rg"), true);
        QCOMPARE(store.GetItem(userItem).toString(), QStringLiteral(u"J\u00f6rg"));
        QVERIFY(ReadFile(Path()).contains("J\xc3\xb6rg")); // written at once
    }
    TConfigStore store;
    QVERIFY(store.Open(Path()).isEmpty());
    QCOMPARE(store.GetItem(userItem), QVariant(QStringLiteral(u"J\u00f6rg")));
}

void tst_ConfigStore::keepsTypesAndValues_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::newRow("text") << QVariant(QStringLiteral(" \"quoted\"\n\\ \u00e9 "));
    QTest::newRow("empty text") << QVariant(QString());
    QTest::newRow("true") << QVariant(true);
    QTest::newRow("int") << QVariant(-7);
    QTest::newRow("long") << QVariant(Q_INT64_C(9007199254740993));
    QTest::newRow("double") << QVariant(0.1);
    QTest::newRow("precise double") << QVariant(50.123456789012345);
    QTest::newRow("bytes") << QVariant(QByteArray("\0\xff\x80x", 4));
    QTest::newRow("texts") << QVariant(QStringList{QStringLiteral("a"), QStringLiteral("b")});
    QTest::newRow("list") << QVariant(QVariantList{1, QStringLiteral("b"), true});
    QTest::newRow("time") << QVariant(QDateTime::fromMSecsSinceEpoch(1700000000123, Qt::UTC));
    QTest::newRow("identifier") << QVariant(
        QUuid(QStringLiteral("{8a2e5a0e-6a4b-4b0e-9a55-2f3f0f9f5d11}")));
}

void tst_ConfigStore::keepsTypesAndValues()
{
    QFETCH(QVariant, value);
    {
        TConfigStore store;
        QVERIFY(store.Open(Path()).isEmpty());
        store.SetItem(1, value, true);
        store.SetItem(2, 2, true);
    }
    TConfigStore store;
    QCOMPARE(store.Open(Path()), QString());
    QCOMPARE(store.GetItem(1).userType(), value.userType());
    QCOMPARE(store.GetItem(1), value);
    QCOMPARE(store.GetItem(2), QVariant(2));
}

void tst_ConfigStore::returnsInvalidForAnUnknownItem()
{
    TConfigStore store;
    QVERIFY(!store.GetItem(userItem).isValid());
    QVERIFY(store.Open(Path()).isEmpty());
    QVERIFY(!store.GetItem(userItem).isValid());
    QVERIFY(!QFile::exists(Path()));
}

void tst_ConfigStore::forgetsTemporaryItemsAfterARestart()
{
    {
        TConfigStore store;
        QVERIFY(store.Open(Path()).isEmpty());
        store.SetItem(userItem, QStringLiteral("secret"), false);
        store.SetItem(passwordItem, 1, true);
        QCOMPARE(store.GetItem(userItem).toString(), QStringLiteral("secret"));
        QVERIFY(!ReadFile(Path()).contains("secret"));
    }
    TConfigStore store;
    QVERIFY(store.Open(Path()).isEmpty());
    QVERIFY(!store.GetItem(userItem).isValid());
}

void tst_ConfigStore::restoresThePersistentValueAfterATemporaryValue()
{
    {
        TConfigStore store;
        QVERIFY(store.Open(Path()).isEmpty());
        store.SetItem(userItem, QStringLiteral("kept"), true);
        store.SetItem(userItem, QStringLiteral("for now"), false);
        QCOMPARE(store.GetItem(userItem).toString(), QStringLiteral("for now"));
        store.SetItem(passwordItem, 1, true);
    }
    TConfigStore store;
    QVERIFY(store.Open(Path()).isEmpty());
    QCOMPARE(store.GetItem(userItem).toString(), QStringLiteral("kept"));
}

void tst_ConfigStore::removesItems()
{
    TConfigStore store;
    QVERIFY(store.Open(Path()).isEmpty());
    store.SetItem(userItem, QStringLiteral("name"), true);
    store.SetItem(userItem, QVariant(), true);
    QVERIFY(!store.GetItem(userItem).isValid());
    QVERIFY(!ReadFile(Path()).contains("24289"));
}

void tst_ConfigStore::keepsItemsInMemoryWithoutAFile()
{
    TConfigStore store;
    store.SetItem(1, 1, true);
    QCOMPARE(store.GetItem(1).toInt(), 1);
}

void tst_ConfigStore::storesItemsOfSeveralThreads()
{
    constexpr int threads = 4;
    constexpr int changes = 25;
    TConfigStore store;
    QVERIFY(store.Open(Path()).isEmpty());
    std::vector<std::unique_ptr<QThread>> writers;
    for (int thread = 0; thread < threads; ++thread) {
        writers.emplace_back(QThread::create([&store, thread] {
            for (int change = 1; change <= changes; ++change) {
                store.SetItem(thread, change, change % 5 == 0);
                store.GetItem((thread + 1) % threads);
                store.IsUserLogEnabled(0, 0, 0, change);
            }
        }));
        writers.back()->start();
    }
    for (const auto& writer : writers) {
        QVERIFY(writer->wait());
    }
    TConfigStore again;
    QVERIFY(again.Open(Path()).isEmpty());
    for (int thread = 0; thread < threads; ++thread) {
        QCOMPARE(store.GetItem(thread).toInt(), changes);
        QCOMPARE(again.GetItem(thread).toInt(), changes);
    }
}

void tst_ConfigStore::enablesTheUserLogByLevel()
{
    TConfigStore store;
    QVERIFY(store.IsUserLogEnabled(16, 0, 1, 8));
    QVERIFY(!store.IsUserLogEnabled(16, 0, 1, 9));
    QVERIFY(!store.IsUserLogEnabled(16, 1, 1, 8)); // there is no other log
    store.SetItem(hostimpl::eUserLogLevelItem, 3, true);
    QVERIFY(store.IsUserLogEnabled(16, 0, 1, 3));
    QVERIFY(!store.IsUserLogEnabled(16, 0, 1, 8));
}

void tst_ConfigStore::alwaysHasAUserLog()
{
    TConfigStore store;
    QVERIFY(store.GetUserLogAccessor() != nullptr);
    store.SetUserLogAccessor(nullptr);
    QVERIFY(store.GetUserLogAccessor() != nullptr);
}

void tst_ConfigStore::hasOneStoreInAProcess()
{
    QCOMPARE(&ConfigManager::Instance(), static_cast<ConfigManager*>(&TConfigStore::Process()));
}

KELVO_TEST_MAIN(tst_ConfigStore)
#include "tst_configstore.moc"
