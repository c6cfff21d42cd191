// Unzip: a full disk, and a read-only destination.
#include "host/TFileSizeLimit.h"
#include "host/TFileSystemHelper.h"
#include "host/files/TUnzipFixture.h"

#include "support/Needs.h"
#include "support/TestMain.h"

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

using namespace kelvo::test;

namespace {

// A file system in memory with a limited size and a limited number of files.
class TSmallDisk
{
public:
    TSmallDisk(const QString& path, const char* options) : m_path(QFile::encodeName(path))
    {
        m_isMounted = ::mount("tmpfs", m_path.constData(), "tmpfs", 0, options) == 0;
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

private:
    const QByteArray m_path;
    bool m_isMounted = false;
};

bool WriteOnce(const char* path, const QByteArray& text)
{
    const int file = ::open(path, O_WRONLY | O_CLOEXEC);
    const bool isWritten = file >= 0 && ::write(file, text.constData(), size_t(text.size())) > 0;
    return file >= 0 && ::close(file) == 0 && isWritten;
}

// Enters a new mount namespace, so that other processes do not see the mounts of this test. In some
// containers root may not mount. Then a new user namespace makes this process root in that
// namespace; this works only for a process without threads. If both are forbidden, mounting fails.
void EnterOwnNamespace()
{
    if (::unshare(CLONE_NEWNS) != 0) {
        const QByteArray user = "0 " + QByteArray::number(::geteuid()) + " 1";
        const QByteArray group = "0 " + QByteArray::number(::getegid()) + " 1";
        if (::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0 || !WriteOnce("/proc/self/uid_map", user) ||
            !WriteOnce("/proc/self/setgroups", "deny") || !WriteOnce("/proc/self/gid_map", group)) {
            return;
        }
    }
    ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr);
}

} // namespace

class tst_UnzipDiskFull : public TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void changesNothingOnAFullDisk_data();
    void changesNothingOnAFullDisk();
    void changesNothingIfAFileCannotGrow();
    void failsInAReadOnlyFolder();
};

void tst_UnzipDiskFull::changesNothingOnAFullDisk_data()
{
    QTest::addColumn<QByteArray>("options");
    QTest::addColumn<int>("files");
    QTest::addColumn<int>("bytesEach");
    QTest::newRow("no room for the content") << QByteArray("size=256k") << 4 << 100000;
    QTest::newRow("no room for more files") << QByteArray("size=8m,nr_inodes=20") << 40 << 10;
}

void tst_UnzipDiskFull::changesNothingOnAFullDisk()
{
    QFETCH(QByteArray, options);
    QFETCH(int, files);
    QFETCH(int, bytesEach);
    TUnzipFixture fixture;
    const TSmallDisk disk(fixture.Destination(), options.constData());
    KELVO_NEEDS(disk.IsMounted(), "a file system in memory");
    QVERIFY(fixture.SetContent(
        {{QStringLiteral("archive/f0"), "file:former"}, {QStringLiteral("kept"), "file:kept"}}));
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
    QString errorText;
    QVERIFY(!TFileSystemHelper::Unzip(fixture.Archive(), fixture.Destination(), errorText));
    QCOMPARE(hostimpl::TakeArchivesWithoutSpace(), QStringList(QStringLiteral("archive.zip")));
    QVERIFY(fixture.SetArchive(TZipBuilder().AddFile("f0", "new")));
    QVERIFY2(TFileSystemHelper::Unzip(fixture.Archive(), fixture.Destination(), errorText),
             qPrintable(errorText));
    QVERIFY(hostimpl::TakeArchivesWithoutSpace().isEmpty());
    QCOMPARE(fixture.Unpacked(), (TFolderImage{{QStringLiteral("f0"), "file:new"}}));
}

void tst_UnzipDiskFull::changesNothingIfAFileCannotGrow()
{
    TUnzipFixture fixture;
    QVERIFY(fixture.SetContent({{QStringLiteral("archive/a"), "file:former"}}));
    QVERIFY(fixture.SetArchive(
        TZipBuilder().AddFile("a", "new").AddFile("large", QByteArray(200000, 'x'))));
    const TFolderImage before = fixture.Content();
    {
        const TFileSizeLimit limit(100000);
        QVERIFY(limit.IsSet());
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
    KELVO_NEEDS(disk.IsMounted(), "a file system in memory");
    QVERIFY(!fixture.Unzip());
    QVERIFY(!fixture.ErrorText().isEmpty());
    QVERIFY(fixture.Content().isEmpty());
}

int main(int argc, char** argv)
{
    EnterOwnNamespace();
    return kelvo::test::RunTests<QCoreApplication, tst_UnzipDiskFull>(argc, argv);
}

#include "tst_unzip_diskfull.moc"
