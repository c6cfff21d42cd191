// The user log: one line for each entry, limited file sizes, a full disk.
#include "hostimpl/TUserLogFile.h"

#include "host/FolderImage.h"
#include "hostimpl/Clock.h"
#include "support/TestMain.h"

#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>
#include <QtCore/QThread>

#include <csignal>
#include <memory>
#include <vector>

#include <sys/resource.h>
#include <sys/stat.h>

using hostimpl::TUserLogFile;
using hostimpl::TUserLogLimits;
using kelvo::test::ReadFile;

class tst_UserLog : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();

    void writesEachEntryAsOneLine();
    void escapesControlCharacters_data();
    void escapesControlCharacters();
    void cutsLongMessages();
    void onlyTheOwnerCanReadTheLog();
    void appendsToTheFileOfAnEarlierRun();
    void rotatesAtTheSizeLimit();
    void keepsAtMostTheAllowedFiles();
    void supportsASingleFile();
    void writesAnEntryThatIsLargerThanAFile();
    void survivesAFullDisk();
    void survivesAMissingFolder();
    void keepsLinesWholeUnderThreads();

private:
    QString Path() const { return m_folder->filePath(QStringLiteral("user.log")); }
    QList<QByteArray> Lines() const { return ReadFile(Path()).split('\n'); }

    std::unique_ptr<QTemporaryDir> m_folder;
};

void tst_UserLog::initTestCase()
{
    hostimpl::SetClock([] { return QDateTime::fromMSecsSinceEpoch(1700000000123, Qt::UTC); });
}

void tst_UserLog::cleanupTestCase()
{
    hostimpl::SetClock({});
}

void tst_UserLog::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(m_folder->isValid());
}

void tst_UserLog::cleanup()
{
    m_folder.reset();
    TTestCase::cleanup();
}

void tst_UserLog::writesEachEntryAsOneLine()
{
    TUserLogFile log(Path());
    log.Write(0, 1, 8, QStringLiteral("0"), QStringLiteral("first"));
    log.Write(0, 2, 3, QStringLiteral("E17"), QStringLiteral(u"second \u00fc"));
    QCOMPARE(ReadFile(Path()), QByteArray("2023-11-14T22:13:20.123Z 0 1 8 0 first\n"
                                          "2023-11-14T22:13:20.123Z 0 2 3 E17 second \xc3\xbc\n"));
}

void tst_UserLog::escapesControlCharacters_data()
{
    QTest::addColumn<QString>("message");
    QTest::addColumn<QByteArray>("escaped");
    QTest::newRow("line feed") << QStringLiteral("a\nb") << QByteArray("a\\nb");
    QTest::newRow("carriage return") << QStringLiteral("a\r\nb") << QByteArray("a\\r\\nb");
    QTest::newRow("tab") << QStringLiteral("a\tb") << QByteArray("a\\tb");
    QTest::newRow("backslash") << QStringLiteral("a\\nb") << QByteArray("a\\\\nb");
    QTest::newRow("escape") << QStringLiteral("a\x1b[2J") << QByteArray("a\\u001b[2J");
    QTest::newRow("NUL") << QString(QChar(0)) << QByteArray("\\u0000");
    QTest::newRow("line separator") << QString(QChar(0x2028)) << QByteArray("\\u2028");
    QTest::newRow("next line") << QString(QChar(0x85)) << QByteArray("\\u0085");
}

void tst_UserLog::escapesControlCharacters()
{
    QFETCH(QString, message);
    QFETCH(QByteArray, escaped);
    TUserLogFile log(Path());
    log.Write(0, 1, 8, QStringLiteral("0"), message);
    log.Write(0, 1, 8, message, QStringLiteral("code"));
    const QList<QByteArray> lines = Lines();
    QCOMPARE(lines.size(), 3);
    QVERIFY(lines[0].endsWith(" 0 1 8 0 " + escaped));
    QVERIFY(lines[1].endsWith(" 0 1 8 " + escaped + " code"));
}

void tst_UserLog::cutsLongMessages()
{
    TUserLogLimits limits;
    limits.messageChars = 10;
    TUserLogFile log(Path(), limits);
    log.Write(0, 1, 8, QStringLiteral("0"), QStringLiteral("0123456789"));
    log.Write(0, 1, 8, QStringLiteral("0"), QStringLiteral("0123456789a"));
    QVERIFY(Lines()[0].endsWith(" 0123456789"));
    QVERIFY(Lines()[1].endsWith(" 0123456789..."));
}

void tst_UserLog::onlyTheOwnerCanReadTheLog()
{
    const mode_t formerMask = ::umask(0);
    TUserLogFile(Path()).Write(0, 1, 8, QStringLiteral("0"), QStringLiteral("x"));
    ::umask(formerMask);
    struct stat status = {};
    QCOMPARE(::stat(QFile::encodeName(Path()).constData(), &status), 0);
    QCOMPARE(status.st_mode & 07777u, 0600u);
}

void tst_UserLog::appendsToTheFileOfAnEarlierRun()
{
    TUserLogFile(Path()).Write(0, 1, 8, QStringLiteral("0"), QStringLiteral("x"));
    TUserLogFile(Path()).Write(0, 1, 8, QStringLiteral("0"), QStringLiteral("y"));
    QCOMPARE(Lines().size(), 3);
}

// Each line has 42 bytes.
void tst_UserLog::rotatesAtTheSizeLimit()
{
    TUserLogLimits limits;
    limits.fileSizeBytes = 2 * 42;
    TUserLogFile log(Path(), limits);
    for (int entry = 0; entry < 5; ++entry) {
        log.Write(0, 1, 8, QStringLiteral("0"), QStringLiteral("entry-%1").arg(entry));
    }
    const QByteArray prefix("2023-11-14T22:13:20.123Z 0 1 8 0 entry-");
    QCOMPARE(prefix.size() + 2, 41);
    QCOMPARE(ReadFile(Path()), prefix + "4\n");
    QCOMPARE(ReadFile(Path() + QStringLiteral(".1")), prefix + "2\n" + prefix + "3\n");
    QCOMPARE(ReadFile(Path() + QStringLiteral(".2")), prefix + "0\n" + prefix + "1\n");
}

void tst_UserLog::keepsAtMostTheAllowedFiles()
{
    TUserLogLimits limits;
    limits.fileSizeBytes = 1000;
    limits.files = 3;
    TUserLogFile log(Path(), limits);
    for (int entry = 0; entry < 500; ++entry) {
        log.Write(0, 1, 8, QStringLiteral("0"), QString::number(entry));
    }
    const QStringList names = kelvo::test::ImageOf(m_folder->path()).keys();
    QCOMPARE(names, QStringList({QStringLiteral("user.log"), QStringLiteral("user.log.1"),
                                 QStringLiteral("user.log.2")}));
    for (const QString& name : names) {
        QVERIFY(QFileInfo(m_folder->filePath(name)).size() <= limits.fileSizeBytes);
    }
    QVERIFY(ReadFile(Path()).endsWith(" 499\n"));
}

void tst_UserLog::supportsASingleFile()
{
    TUserLogLimits limits;
    limits.fileSizeBytes = 50;
    limits.files = 1;
    TUserLogFile log(Path(), limits);
    log.Write(0, 1, 8, QStringLiteral("0"), QStringLiteral("x"));
    log.Write(0, 1, 8, QStringLiteral("0"), QStringLiteral("y"));
    QCOMPARE(kelvo::test::ImageOf(m_folder->path()).size(), 1);
    QVERIFY(ReadFile(Path()).endsWith(" y\n"));
}

void tst_UserLog::writesAnEntryThatIsLargerThanAFile()
{
    TUserLogLimits limits;
    limits.fileSizeBytes = 10;
    TUserLogFile log(Path(), limits);
    log.Write(0, 1, 8, QStringLiteral("0"), QStringLiteral("x"));
    QVERIFY(ReadFile(Path()).endsWith(" x\n"));
}

// No partial line stays, one warning is logged, and later entries are written when there is room.
void tst_UserLog::survivesAFullDisk()
{
    TUserLogFile log(Path());
    log.Write(0, 1, 8, QStringLiteral("0"), QStringLiteral("before"));
    const QByteArray before = ReadFile(Path());
    rlimit former = {};
    QCOMPARE(::getrlimit(RLIMIT_FSIZE, &former), 0);
    const auto formerHandler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit = {static_cast<rlim_t>(before.size()) + 20, former.rlim_max};
    {
        const kelvo::test::TExpectedMessage expected(QStringLiteral("cannot be written"));
        QCOMPARE(::setrlimit(RLIMIT_FSIZE, &limit), 0);
        log.Write(0, 1, 8, QStringLiteral("0"), QStringLiteral("lost"));
        log.Write(0, 1, 8, QStringLiteral("0"), QStringLiteral("lost"));
        QCOMPARE(::setrlimit(RLIMIT_FSIZE, &former), 0);
        std::signal(SIGXFSZ, formerHandler);
        QCOMPARE(expected.Count(), 1);
    }
    QCOMPARE(ReadFile(Path()), before);
    log.Write(0, 1, 8, QStringLiteral("0"), QStringLiteral("after"));
    QVERIFY(ReadFile(Path()).endsWith(" after\n"));
}

void tst_UserLog::survivesAMissingFolder()
{
    const kelvo::test::TExpectedMessage expected(QStringLiteral("cannot be written"));
    TUserLogFile log(m_folder->filePath(QStringLiteral("missing/user.log")));
    log.Write(0, 1, 8, QStringLiteral("0"), QStringLiteral("lost"));
}

void tst_UserLog::keepsLinesWholeUnderThreads()
{
    constexpr int threads = 4;
    constexpr int entries = 200;
    TUserLogLimits limits;
    limits.fileSizeBytes = 8000;
    limits.files = 100;
    TUserLogFile log(Path(), limits);
    std::vector<std::unique_ptr<QThread>> writers;
    for (int thread = 0; thread < threads; ++thread) {
        writers.emplace_back(QThread::create([&log, thread] {
            for (int entry = 0; entry < entries; ++entry) {
                log.Write(0, 1, 8, QStringLiteral("0"),
                          QStringLiteral("%1/%2").arg(thread).arg(entry));
            }
        }));
        writers.back()->start();
    }
    for (const auto& writer : writers) {
        QVERIFY(writer->wait());
    }
    QSet<QByteArray> lines;
    const kelvo::test::TFolderImage files = kelvo::test::ImageOf(m_folder->path());
    for (const QByteArray& file : files) {
        const QList<QByteArray> ofFile = file.mid(5).split('\n');
        for (const QByteArray& line : ofFile) {
            if (!line.isEmpty()) {
                QVERIFY(line.startsWith("2023-11-14T22:13:20.123Z 0 1 8 0 "));
                lines.insert(line);
            }
        }
    }
    QCOMPARE(lines.size(), threads * entries);
}

KELVO_TEST_MAIN(tst_UserLog)
#include "tst_userlog.moc"
