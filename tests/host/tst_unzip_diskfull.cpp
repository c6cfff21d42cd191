// Unzip: a disk that becomes full, and a destination that may not be written.
#include "host/TUnzipFixture.h"

#include "support/Needs.h"
#include "support/TestMain.h"

#include <cerrno>
#include <csignal>

#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>

using namespace kelvo::test;

namespace {

// A file system of its own, in memory, with a size and a number of files that it cannot exceed.
class TSmallDisk
{
public:
    TSmallDisk(const QString& path, const char* options) : m_path(QFile::encodeName(path))
    {
        m_isMounted = ::mount("tmpfs", m_path.constData(), "tmpfs", 0, options) == 0;
        m_isForbidden = !m_isMounted && (errno == EPERM || errno == EACCES);
    }
    ~TSmallDisk()
    {
        if (m_isMounted) {
            ::umount2(m_path.constData(), MNT_DETACH);
        }
    }
    TSmallDisk(const TSmallDisk&) = delete;
    TSmallDisk& operator=(const TSmallDisk&) = delete;

    bool IsMounted() const { return m_isMounted; }
    bool IsForbidden() const { return m_isForbidden; }

private:
    const QByteArray m_path;
    bool m_isMounted = false;
    bool m_isForbidden = false;
};

// In CI as well: a container often lets not even root mount, and there is no other way to a small
// disk. The failures as such are then seen by the limit below, and by tst_unzip_faults, which has
// each system call fail.
constexpr char forbidden[] = "only root may mount a file system, and not in every container";

// No file of this process can become larger, as long as it lives.
class TFileSizeLimit
{
public:
    explicit TFileSizeLimit(rlim_t bytes)
    {
        ::getrlimit(RLIMIT_FSIZE, &m_former);
        m_formerHandler = std::signal(SIGXFSZ, SIG_IGN);
        const rlimit limit = {bytes, m_former.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~TFileSizeLimit()
    {
        ::setrlimit(RLIMIT_FSIZE, &m_former);
        std::signal(SIGXFSZ, m_formerHandler);
    }
    TFileSizeLimit(const TFileSizeLimit&) = delete;
    TFileSizeLimit& operator=(const TFileSizeLimit&) = delete;

private:
    rlimit m_former = {};
    void (*m_formerHandler)(int) = nullptr;
};

} // namespace

class tst_UnzipDiskFull : public TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void leavesNothingOnAFullDisk_data();
    void leavesNothingOnAFullDisk();
    void leavesNothingWhenAFileMayNotGrow();
    void failsInAReadOnlyFolder();
};

void tst_UnzipDiskFull::leavesNothingOnAFullDisk_data()
{
    QTest::addColumn<QByteArray>("options");
    QTest::addColumn<int>("files");
    QTest::addColumn<int>("bytesEach");
    QTest::newRow("no room for the content") << QByteArray("size=256k") << 4 << 100000;
    QTest::newRow("no room for more files") << QByteArray("size=8m,nr_inodes=20") << 40 << 10;
    QTest::newRow("no room for the journal") << QByteArray("size=64k") << 14 << 4096;
}

void tst_UnzipDiskFull::leavesNothingOnAFullDisk()
{
    QFETCH(QByteArray, options);
    QFETCH(int, files);
    QFETCH(int, bytesEach);
    TUnzipFixture fixture;
    const TSmallDisk disk(fixture.Destination(), options.constData());
    if (disk.IsForbidden()) {
        QSKIP(forbidden);
    }
    KELVO_NEEDS(disk.IsMounted(), "a file system in memory");
    QVERIFY(fixture.SetContent(
        {{QStringLiteral("f0"), "file:former"}, {QStringLiteral("kept"), "file:kept"}}));
    TZipBuilder builder;
    for (int file = 0; file < files; ++file) {
        builder.AddFile("f" + QByteArray::number(file), QByteArray(bytesEach, 'x'));
    }
    QVERIFY(fixture.SetArchive(builder));
    const TFolderImage before = fixture.Content();
    QVERIFY(!fixture.Unzip());
    QVERIFY2(fixture.ErrorText().contains(QStringLiteral("no space left")),
             qPrintable(fixture.ErrorText()));
    QCOMPARE(fixture.Content(), before);
    QVERIFY(fixture.SetArchive(TZipBuilder().AddFile("f0", "new")));
    QVERIFY2(fixture.Unzip(), qPrintable(fixture.ErrorText()));
    QCOMPARE(fixture.Content().value(QStringLiteral("f0")), QByteArray("file:new"));
}

void tst_UnzipDiskFull::leavesNothingWhenAFileMayNotGrow()
{
    TUnzipFixture fixture;
    QVERIFY(fixture.SetContent({{QStringLiteral("a"), "file:former"}}));
    QVERIFY(fixture.SetArchive(
        TZipBuilder().AddFile("a", "new").AddFile("large", QByteArray(200000, 'x'))));
    const TFolderImage before = fixture.Content();
    {
        const TFileSizeLimit limit(100000);
        QVERIFY(!fixture.Unzip());
    }
    QVERIFY2(fixture.ErrorText().contains(QStringLiteral("\"large\" cannot be written")),
             qPrintable(fixture.ErrorText()));
    QCOMPARE(fixture.Content(), before);
}

void tst_UnzipDiskFull::failsInAReadOnlyFolder()
{
    TUnzipFixture fixture;
    QVERIFY(fixture.SetArchive(TZipBuilder().AddFile("a", "new")));
    const TSmallDisk disk(fixture.Destination(), "ro,size=64k");
    if (disk.IsForbidden()) {
        QSKIP(forbidden);
    }
    KELVO_NEEDS(disk.IsMounted(), "a file system in memory");
    QVERIFY(!fixture.Unzip());
    QVERIFY(!fixture.ErrorText().isEmpty());
    QVERIFY(fixture.Content().isEmpty());
}

KELVO_TEST_MAIN(tst_UnzipDiskFull)
#include "tst_unzip_diskfull.moc"
