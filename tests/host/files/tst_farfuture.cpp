// Files with a date after 2038: a console with a wrong clock writes them, and USB sticks bring
// them. With 32-bit times, stat() fails for such a file.
#include "host/files/TUnzipFixture.h"
#include "tests/support/FileDates.h"

#include "framework/TSecretKey.h"
#include "host/TFileSystemHelper.h"
#include "hostimpl/Clock.h"
#include "hostimpl/TUserLogFile.h"
#include "support/TestMain.h"

#include <QtCore/QDateTime>

#include <algorithm>

using namespace kelvo::test;

namespace {

// Sets the date of the folder and of everything below it.
bool DateAll(const QString& folder)
{
    const QStringList below = ImageOf(folder).keys();
    return std::all_of(below.begin(), below.end(),
                       [&](const QString& path) {
                           return SetFileDate((folder + QLatin1Char('/') + path).toStdString(),
                                              farFutureS);
                       }) &&
           SetFileDate(folder.toStdString(), farFutureS);
}

} // namespace

class tst_FarFuture : public TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void unpacksAnArchive();
    void replacesAFolder();
    void refusesAFileInPlaceOfAFolder();
    void putsAReplacedFolderBack();
    void deletesAFolder();
    void keepsSubfoldersWithoutRecursion();
    void readsTheKeyFile();
    void appendsToTheUserLog();
    void rotatesTheUserLog();
    void writesTheYearIntoTheUserLog();
};

void tst_FarFuture::unpacksAnArchive()
{
    TUnzipFixture fixture;
    QVERIFY(fixture.SetArchive(TZipBuilder().AddFile("a.txt", "new")));
    QVERIFY(SetFileDate(fixture.Archive().toStdString(), farFutureS));
    QCOMPARE(FileDate(fixture.Archive().toStdString()), farFutureS);
    QVERIFY2(fixture.Unzip(), qPrintable(fixture.ErrorText()));
    QCOMPARE(fixture.Unpacked(), (TFolderImage{{QStringLiteral("a.txt"), "file:new"}}));
}

void tst_FarFuture::replacesAFolder()
{
    TUnzipFixture fixture;
    QVERIFY(fixture.SetContent({{QStringLiteral("archive"), "folder"},
                                {QStringLiteral("archive/map"), "folder"},
                                {QStringLiteral("archive/map/b.txt"), "file:former"},
                                {QStringLiteral("kept.txt"), "file:kept"}}));
    QVERIFY(DateAll(fixture.Destination()));
    QVERIFY(fixture.SetArchive(TZipBuilder().AddFile("a.txt", "new")));
    QVERIFY2(fixture.Unzip(), qPrintable(fixture.ErrorText()));
    QCOMPARE(fixture.Content(), (TFolderImage{{QStringLiteral("archive"), "folder"},
                                              {QStringLiteral("archive/a.txt"), "file:new"},
                                              {QStringLiteral("kept.txt"), "file:kept"}}));
    QCOMPARE(FileDate((fixture.Destination() + QStringLiteral("/kept.txt")).toStdString()),
             farFutureS);
}

void tst_FarFuture::refusesAFileInPlaceOfAFolder()
{
    TUnzipFixture fixture;
    QVERIFY(fixture.SetContent({{QStringLiteral("archive"), "file:former"}}));
    QVERIFY(DateAll(fixture.Destination()));
    QVERIFY(fixture.SetArchive(TZipBuilder().AddFile("b.txt", "new")));
    QVERIFY(!fixture.Unzip());
    QVERIFY2(fixture.ErrorText().contains(QStringLiteral("a file is there")),
             qPrintable(fixture.ErrorText()));
    QCOMPARE(fixture.Content(), (TFolderImage{{QStringLiteral("archive"), "file:former"}}));
}

void tst_FarFuture::putsAReplacedFolderBack()
{
    TUnzipFixture fixture;
    const QString staging = QStringLiteral(".console-unpacking");
    QVERIFY(fixture.SetContent({{staging, "folder"},
                                {staging + QStringLiteral("/new"), "folder"},
                                {staging + QStringLiteral("/new/a.txt"), "file:new"},
                                {staging + QStringLiteral("/old"), "folder"},
                                {staging + QStringLiteral("/old/archive"), "folder"},
                                {staging + QStringLiteral("/old/archive/a.txt"), "file:former"}}));
    QVERIFY(DateAll(fixture.Destination()));
    QString errorText;
    QVERIFY2(hostimpl::RecoverUnpacking(fixture.Destination(), errorText), qPrintable(errorText));
    QCOMPARE(fixture.Content(), (TFolderImage{{QStringLiteral("archive"), "folder"},
                                              {QStringLiteral("archive/a.txt"), "file:former"}}));
}

void tst_FarFuture::deletesAFolder()
{
    TUnzipFixture fixture;
    QVERIFY(fixture.SetContent({{QStringLiteral("a"), "folder"},
                                {QStringLiteral("a/b"), "folder"},
                                {QStringLiteral("a/b/c.txt"), "file:c"},
                                {QStringLiteral("a/d.txt"), "file:d"},
                                {QStringLiteral("e.txt"), "file:e"}}));
    QVERIFY(DateAll(fixture.Destination()));
    const QString folder = fixture.Destination() + QStringLiteral("/a");
    QVERIFY(TFileSystemHelper::DeleteDirGeneric(folder, true, true));
    QCOMPARE(fixture.Content(), (TFolderImage{{QStringLiteral("e.txt"), "file:e"}}));
    QVERIFY(TFileSystemHelper::DeleteDirGeneric(fixture.Destination(), false, false));
    QVERIFY(fixture.Content().isEmpty());
}

void tst_FarFuture::keepsSubfoldersWithoutRecursion()
{
    TUnzipFixture fixture;
    TFolderImage content = {{QStringLiteral("a"), "folder"},
                            {QStringLiteral("a/b.txt"), "file:b"},
                            {QStringLiteral("c.txt"), "file:c"},
                            {QStringLiteral("d"), "folder"}};
    QVERIFY(fixture.SetContent(content));
    QVERIFY(DateAll(fixture.Destination()));
    QVERIFY(!TFileSystemHelper::DeleteDirGeneric(fixture.Destination(), false, false));
    content.remove(QStringLiteral("c.txt"));
    QCOMPARE(fixture.Content(), content);
}

// If the key were not read, a new key would replace it, and the operator's password would be lost.
void tst_FarFuture::readsTheKeyFile()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("key"));
    QString remark;
    QVERIFY2(hostimpl::TSecretKey().Create(path, remark), qPrintable(remark));
    QVERIFY(SetFileDate(path.toStdString(), farFutureS));
    QCOMPARE(hostimpl::TSecretKey().Load(path, remark), hostimpl::EKeyFile::eLoaded);
    QVERIFY(QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ReadOther));
    QVERIFY(SetFileDate(path.toStdString(), farFutureS));
    QCOMPARE(hostimpl::TSecretKey().Load(path, remark), hostimpl::EKeyFile::eLoaded);
    QVERIFY2(remark.contains(QStringLiteral("It is private now.")), qPrintable(remark));
}

void tst_FarFuture::appendsToTheUserLog()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("user.log"));
    hostimpl::TUserLogFile log(path);
    log.Write(0, 1, 8, QStringLiteral("0"), QStringLiteral("first"));
    QVERIFY(SetFileDate(path.toStdString(), farFutureS));
    log.Write(0, 1, 8, QStringLiteral("0"), QStringLiteral("second"));
    QVERIFY(ReadFile(path).endsWith(" second\n"));
    QCOMPARE(ReadFile(path).count('\n'), 2);
}

void tst_FarFuture::rotatesTheUserLog()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("user.log"));
    hostimpl::TUserLogLimits limits;
    limits.fileSizeBytes = 10;
    hostimpl::TUserLogFile log(path, limits);
    log.Write(0, 1, 8, QStringLiteral("0"), QStringLiteral("first"));
    QVERIFY(SetFileDate(path.toStdString(), farFutureS));
    log.Write(0, 1, 8, QStringLiteral("0"), QStringLiteral("second"));
    QVERIFY(ReadFile(path + QStringLiteral(".1")).endsWith(" first\n"));
    QCOMPARE(ReadFile(path).count('\n'), 1);
}

void tst_FarFuture::writesTheYearIntoTheUserLog()
{
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("user.log"));
    hostimpl::SetClock([] { return QDateTime::fromSecsSinceEpoch(farFutureS, Qt::UTC); });
    hostimpl::TUserLogFile(path).Write(0, 1, 8, QStringLiteral("0"), QStringLiteral("x"));
    hostimpl::SetClock({});
    QVERIFY2(ReadFile(path).startsWith("2100-01-01T00:00:00.000Z "), ReadFile(path).constData());
}

KELVO_TEST_MAIN(tst_FarFuture)
#include "tst_farfuture.moc"
