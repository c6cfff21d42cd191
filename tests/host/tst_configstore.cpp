// The configuration: what outlives the process, who can read it, and what a bad file does.
#include "hostimpl/TConfigStore.h"

#include "host/FolderImage.h"
#include "support/TestMain.h"

#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QJsonDocument>
#include <QtCore/QTemporaryDir>
#include <QtCore/QThread>
#include <QtCore/QUuid>

#include <atomic>
#include <csignal>
#include <memory>

#include <sys/resource.h>
#include <sys/stat.h>

using hostimpl::TConfigStore;
using kelvo::test::ReadFile;
using kelvo::test::TExpectedMessage;
using kelvo::test::WriteFile;

namespace {

constexpr int userItem = 24289;
constexpr int passwordItem = 24290;

uint ModeOf(const QString& path)
{
    struct stat status = {};
    return ::stat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_mode & 07777u : 0;
}

} // namespace

class tst_ConfigStore : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void itemsOutliveTheProcess();
    void keepsTypesAndValues_data();
    void keepsTypesAndValues();
    void unknownItemIsInvalid();
    void forgetsWhatIsNotPersistent();
    void persistentValueOutlivesATemporaryOne();
    void removesItems();
    void isReadableForItsOwnerOnly();
    void tightensTheModeOfAFileThatIsThere();
    void isNeverReadableForOthersWhileItIsWritten();
    void isCompleteWhenItIsReadMeanwhile();
    void leavesNoOtherFiles();
    void keepsABadFileAside_data();
    void keepsABadFileAside();
    void keepsSeveralBadFiles();
    void acceptsAnEmptyFile();
    void doesNotReplaceWhatItCannotRead();
    void writesLaterWhatItCouldNotWrite();
    void doesNotWriteWhatHasNotChanged();
    void worksWithoutAFile();
    void isSafeUnderThreads();
    void userLogGoesByLevel();
    void alwaysHasAUserLog();
    void oneStoreAProcess();

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

void tst_ConfigStore::itemsOutliveTheProcess()
{
    {
        TConfigStore store;
        QVERIFY(store.Open(Path()).isEmpty());
        store.SetItem(userItem, QStringLiteral(u"J\u00f6rg"), true);
        QCOMPARE(store.GetItem(userItem).toString(), QStringLiteral(u"J\u00f6rg"));
        QVERIFY(ReadFile(Path()).contains("J\xc3\xb6rg")); // through to the disk
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

void tst_ConfigStore::unknownItemIsInvalid()
{
    TConfigStore store;
    QVERIFY(!store.GetItem(userItem).isValid());
    QVERIFY(store.Open(Path()).isEmpty());
    QVERIFY(!store.GetItem(userItem).isValid());
    QVERIFY(!QFile::exists(Path()));
}

void tst_ConfigStore::forgetsWhatIsNotPersistent()
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

void tst_ConfigStore::persistentValueOutlivesATemporaryOne()
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

void tst_ConfigStore::isReadableForItsOwnerOnly()
{
    const mode_t formerMask = ::umask(0);
    TConfigStore store;
    QVERIFY(store.Open(Path()).isEmpty());
    store.SetItem(userItem, 1, true);
    const uint modeAtFirst = ModeOf(Path());
    store.SetItem(userItem, 2, true);
    ::umask(formerMask);
    QCOMPARE(modeAtFirst, 0600u);
    QCOMPARE(ModeOf(Path()), 0600u);
}

void tst_ConfigStore::tightensTheModeOfAFileThatIsThere()
{
    {
        TConfigStore store;
        QVERIFY(store.Open(Path()).isEmpty());
        store.SetItem(userItem, 1, true);
    }
    QCOMPARE(::chmod(QFile::encodeName(Path()).constData(), 0666), 0);
    TConfigStore store;
    QVERIFY(store.Open(Path()).isEmpty());
    QCOMPARE(ModeOf(Path()), 0600u);
}

// Any file that another thread ever sees in the folder is its owner's only.
void tst_ConfigStore::isNeverReadableForOthersWhileItIsWritten()
{
    const mode_t formerMask = ::umask(0);
    std::atomic<bool> isDone{false};
    std::atomic<uint> modesSeen{0};
    const QString folder = m_folder->path();
    const std::unique_ptr<QThread> watcher(QThread::create([&] {
        while (!isDone) {
            const QStringList names = QDir(folder).entryList(QDir::Files | QDir::Hidden);
            for (const QString& name : names) {
                modesSeen |= ModeOf(folder + QLatin1Char('/') + name);
            }
        }
    }));
    watcher->start();
    for (int round = 0; round < 40; ++round) {
        QFile::remove(Path());
        TConfigStore store;
        QVERIFY(store.Open(Path()).isEmpty());
        store.SetItem(passwordItem, round, true);
        store.SetItem(passwordItem, -round - 1, true);
    }
    isDone = true;
    QVERIFY(watcher->wait());
    ::umask(formerMask);
    QCOMPARE(modesSeen & 077u, 0u);
}

void tst_ConfigStore::isCompleteWhenItIsReadMeanwhile()
{
    TConfigStore store;
    QVERIFY(store.Open(Path()).isEmpty());
    store.SetItem(1, QString(20000, QLatin1Char('a')), true);
    std::atomic<bool> isDone{false};
    std::atomic<int> broken{0};
    const QString path = Path();
    const std::unique_ptr<QThread> reader(QThread::create([&] {
        while (!isDone) {
            broken += QJsonDocument::fromJson(ReadFile(path)).isObject() ? 0 : 1;
        }
    }));
    reader->start();
    for (int round = 0; round < 40; ++round) {
        store.SetItem(2, QString(round * 500, QLatin1Char('b')), true);
    }
    isDone = true;
    QVERIFY(reader->wait());
    QCOMPARE(broken.load(), 0);
}

void tst_ConfigStore::leavesNoOtherFiles()
{
    TConfigStore store;
    QVERIFY(store.Open(Path()).isEmpty());
    store.SetItem(1, 1, true);
    store.SetItem(1, 2, true);
    QCOMPARE(kelvo::test::ImageOf(m_folder->path()).keys(),
             QStringList(QStringLiteral("console.json")));
}

void tst_ConfigStore::keepsABadFileAside_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("no JSON") << QByteArray("user=joe");
    QTest::newRow("cut") << QByteArray("{\"version\":1,\"items\":{\"1\":{\"type\":\"int\"");
    QTest::newRow("an array") << QByteArray("[1,2]");
    QTest::newRow("another version") << QByteArray("{\"version\":2,\"items\":{}}");
    QTest::newRow("no items") << QByteArray("{\"version\":1}");
    QTest::newRow("key that is no number")
        << QByteArray("{\"version\":1,\"items\":{\"a\":{\"type\":\"int\",\"value\":\"1\"}}}");
    QTest::newRow("value that does not fit")
        << QByteArray("{\"version\":1,\"items\":{\"1\":{\"type\":\"int\",\"value\":\"x\"}}}");
    QTest::newRow("unknown type") << QByteArray(
        "{\"version\":1,\"items\":{\"1\":{\"type\":\"TNone\",\"value\":\"x\"}}}");
    QTest::newRow("broken stream")
        << QByteArray("{\"version\":1,\"items\":{\"1\":{\"type\":\"QSize\",\"stream\":\"AAA\"}}}");
    QTest::newRow("zeros") << QByteArray(100, '\0');
}

void tst_ConfigStore::keepsABadFileAside()
{
    QFETCH(QByteArray, bytes);
    QVERIFY(WriteFile(Path(), bytes));
    const QString aside = Path() + QStringLiteral(".invalid-1");
    TConfigStore store;
    {
        const TExpectedMessage expected(aside);
        const QString problem = store.Open(Path());
        QVERIFY2(problem.contains(aside), qPrintable(problem));
    }
    QCOMPARE(ReadFile(aside), bytes);
    QCOMPARE(ModeOf(aside), 0600u);
    QVERIFY(!QFile::exists(Path()));
    QVERIFY(!store.GetItem(1).isValid());
    store.SetItem(1, 1, true);
    TConfigStore again;
    QVERIFY(again.Open(Path()).isEmpty());
    QCOMPARE(again.GetItem(1).toInt(), 1);
}

void tst_ConfigStore::keepsSeveralBadFiles()
{
    const TExpectedMessage expected(QStringLiteral("is not valid"));
    for (int file = 1; file <= 12; ++file) {
        QVERIFY(WriteFile(Path(), "bad " + QByteArray::number(file)));
        TConfigStore store;
        QVERIFY(!store.Open(Path()).isEmpty());
    }
    QCOMPARE(ReadFile(Path() + QStringLiteral(".invalid-1")), QByteArray("bad 1"));
    QCOMPARE(ReadFile(Path() + QStringLiteral(".invalid-9")), QByteArray("bad 12"));
    QCOMPARE(kelvo::test::ImageOf(m_folder->path()).size(), 9);
}

void tst_ConfigStore::acceptsAnEmptyFile()
{
    QVERIFY(WriteFile(Path(), QByteArray()));
    TConfigStore store;
    QVERIFY(store.Open(Path()).isEmpty());
    QVERIFY(QFile::exists(Path()));
}

// Such as a folder of that name, or a disk that does not answer.
void tst_ConfigStore::doesNotReplaceWhatItCannotRead()
{
    QVERIFY(QDir().mkdir(Path()));
    TConfigStore store;
    {
        const TExpectedMessage expected(QStringLiteral("cannot be read"));
        QVERIFY(store.Open(Path()).contains(QStringLiteral("cannot be read")));
    }
    store.SetItem(1, 1, true);
    QCOMPARE(store.GetItem(1).toInt(), 1);
    QVERIFY(QFileInfo(Path()).isDir());
}

void tst_ConfigStore::writesLaterWhatItCouldNotWrite()
{
    TConfigStore store;
    QVERIFY(store.Open(Path()).isEmpty());
    store.SetItem(1, QStringLiteral("first"), true);
    {
        const TExpectedMessage expected(QStringLiteral("cannot be written"));
        rlimit former = {};
        QCOMPARE(::getrlimit(RLIMIT_FSIZE, &former), 0);
        const auto formerHandler = std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit = {100, former.rlim_max};
        QCOMPARE(::setrlimit(RLIMIT_FSIZE, &limit), 0);
        store.SetItem(2, QString(1000, QLatin1Char('x')), true);
        QCOMPARE(::setrlimit(RLIMIT_FSIZE, &former), 0);
        std::signal(SIGXFSZ, formerHandler);
    }
    QCOMPARE(store.GetItem(2).toString().size(), 1000);
    QVERIFY(ReadFile(Path()).contains("first"));
    store.SetItem(1, QStringLiteral("first"), true); // no change, but the other is still to write
    TConfigStore again;
    QVERIFY(again.Open(Path()).isEmpty());
    QCOMPARE(again.GetItem(2).toString().size(), 1000);
    QCOMPARE(kelvo::test::ImageOf(m_folder->path()).size(), 1);
}

void tst_ConfigStore::doesNotWriteWhatHasNotChanged()
{
    TConfigStore store;
    QVERIFY(store.Open(Path()).isEmpty());
    store.SetItem(1, 50.0, true);
    QVERIFY(QFile::remove(Path()));
    store.SetItem(1, 50.0, true);
    QVERIFY(!QFile::exists(Path()));
    store.SetItem(1, 50.00000000000001, true); // the smallest difference counts
    QVERIFY(QFile::exists(Path()));
    store.SetItem(1, QStringLiteral("50"), true);
    QVERIFY(ReadFile(Path()).contains("QString"));
}

void tst_ConfigStore::worksWithoutAFile()
{
    TConfigStore store;
    store.SetItem(1, 1, true);
    QCOMPARE(store.GetItem(1).toInt(), 1);
}

void tst_ConfigStore::isSafeUnderThreads()
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

void tst_ConfigStore::userLogGoesByLevel()
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

void tst_ConfigStore::oneStoreAProcess()
{
    QCOMPARE(&ConfigManager::Instance(), static_cast<ConfigManager*>(&TConfigStore::Process()));
}

KELVO_TEST_MAIN(tst_ConfigStore)
#include "tst_configstore.moc"
