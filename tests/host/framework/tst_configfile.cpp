// The configuration file: its mode, its atomic replacement, and invalid files.
#include "hostimpl/TConfigStore.h"

#include "host/FolderImage.h"
#include "support/TestMain.h"

#include <QtCore/QDir>
#include <QtCore/QJsonDocument>
#include <QtCore/QTemporaryDir>
#include <QtCore/QThread>

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

class tst_ConfigFile : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void onlyTheOwnerCanReadTheFile();
    void makesAnExistingFilePrivate();
    void othersCannotReadTheFileDuringAWrite();
    void aReaderFindsAWholeFileDuringAWrite();
    void leavesNoOtherFiles();
    void renamesAnInvalidFile_data();
    void renamesAnInvalidFile();
    void keepsSeveralInvalidFiles();
    void acceptsAnEmptyFile();
    void doesNotReplaceAnUnreadableFile();
    void writesAFailedItemWithTheNextItem();
    void doesNotWriteAnUnchangedItem();

private:
    QString Path() const { return m_folder->filePath(QStringLiteral("console.json")); }

    std::unique_ptr<QTemporaryDir> m_folder;
};

void tst_ConfigFile::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(m_folder->isValid());
}

void tst_ConfigFile::cleanup()
{
    m_folder.reset();
    TTestCase::cleanup();
}

void tst_ConfigFile::onlyTheOwnerCanReadTheFile()
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

void tst_ConfigFile::makesAnExistingFilePrivate()
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

// Another thread checks the mode of each file that it sees in the folder.
void tst_ConfigFile::othersCannotReadTheFileDuringAWrite()
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

void tst_ConfigFile::aReaderFindsAWholeFileDuringAWrite()
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

void tst_ConfigFile::leavesNoOtherFiles()
{
    TConfigStore store;
    QVERIFY(store.Open(Path()).isEmpty());
    store.SetItem(1, 1, true);
    store.SetItem(1, 2, true);
    QCOMPARE(kelvo::test::ImageOf(m_folder->path()).keys(),
             QStringList(QStringLiteral("console.json")));
}

void tst_ConfigFile::renamesAnInvalidFile_data()
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

void tst_ConfigFile::renamesAnInvalidFile()
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

void tst_ConfigFile::keepsSeveralInvalidFiles()
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

void tst_ConfigFile::acceptsAnEmptyFile()
{
    QVERIFY(WriteFile(Path(), QByteArray()));
    TConfigStore store;
    QVERIFY(store.Open(Path()).isEmpty());
    QVERIFY(QFile::exists(Path()));
}

// A folder of the file's name simulates a file that cannot be read.
void tst_ConfigFile::doesNotReplaceAnUnreadableFile()
{
    QVERIFY(QDir().mkdir(Path()));
    TConfigStore store;
    {
        const TExpectedMessage expected(QStringLiteral("cannot be read"));
        QVERIFY(store.Open(Path()).contains(QStringLiteral("cannot be read")));
        QVERIFY(store.Flush() != 0);
    }
    store.SetItem(1, 1, true);
    QCOMPARE(store.GetItem(1).toInt(), 1);
    QVERIFY(QFileInfo(Path()).isDir());
}

void tst_ConfigFile::writesAFailedItemWithTheNextItem()
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
    store.SetItem(1, QStringLiteral("first"), true); // unchanged, but item 2 is not written yet
    TConfigStore again;
    QVERIFY(again.Open(Path()).isEmpty());
    QCOMPARE(again.GetItem(2).toString().size(), 1000);
    QCOMPARE(kelvo::test::ImageOf(m_folder->path()).size(), 1);
}

void tst_ConfigFile::doesNotWriteAnUnchangedItem()
{
    TConfigStore store;
    QVERIFY(store.Open(Path()).isEmpty());
    store.SetItem(1, 50.0, true);
    QVERIFY(QFile::remove(Path()));
    store.SetItem(1, 50.0, true);
    QVERIFY(!QFile::exists(Path()));
    store.SetItem(1, 50.00000000000001, true); // the smallest possible change
    QVERIFY(QFile::exists(Path()));
    store.SetItem(1, QStringLiteral("50"), true);
    QVERIFY(ReadFile(Path()).contains("QString"));
}

KELVO_TEST_MAIN(tst_ConfigFile)
#include "tst_configfile.moc"
