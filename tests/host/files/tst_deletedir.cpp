// DeleteDirGeneric: the deleted files, the remaining files, and the result.
#include "host/FolderImage.h"

#include "host/TFileSystemHelper.h"
#include "support/TestMain.h"

#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>

using namespace kelvo::test;

class tst_DeleteDir : public TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void deletesAsTheFlagsSay_data();
    void deletesAsTheFlagsSay();
    void neverFollowsLinks();
    void deletesALinkInsteadOfItsTarget();
    void deletesHiddenAndReadOnly();
    void acceptsAMissingFolder();
    void refusesAnEmptyPathAndAFile();
};

void tst_DeleteDir::deletesAsTheFlagsSay_data()
{
    QTest::addColumn<bool>("hasSubfolder");
    QTest::addColumn<bool>("recursive");
    QTest::addColumn<bool>("deleteFolderItself");
    QTest::addColumn<bool>("result");
    QTest::addColumn<QStringList>("left");
    const QString folder = QStringLiteral("f");
    const QString subfolder = QStringLiteral("f/s");
    const QString deepFile = QStringLiteral("f/s/y");
    QTest::newRow("all") << true << true << true << true << QStringList();
    QTest::newRow("content") << true << true << false << true << QStringList(folder);
    QTest::newRow("files and folder, no subfolder")
        << false << false << true << true << QStringList();
    QTest::newRow("files, no subfolder") << false << false << false << true << QStringList(folder);
    QTest::newRow("files and folder, subfolder in the way")
        << true << false << true << false << QStringList({folder, subfolder, deepFile});
    QTest::newRow("files, subfolder stays")
        << true << false << false << false << QStringList({folder, subfolder, deepFile});
}

void tst_DeleteDir::deletesAsTheFlagsSay()
{
    QFETCH(bool, hasSubfolder);
    QFETCH(bool, recursive);
    QFETCH(bool, deleteFolderItself);
    QFETCH(bool, result);
    QFETCH(QStringList, left);
    const QTemporaryDir root;
    QVERIFY(CreateFromImage(root.path(), {{QStringLiteral("f/x"), "file:x"}}));
    if (hasSubfolder) {
        QVERIFY(CreateFromImage(root.path(), {{QStringLiteral("f/s/y"), "file:y"}}));
    }
    QCOMPARE(TFileSystemHelper::DeleteDirGeneric(root.filePath(QStringLiteral("f")), recursive,
                                                 deleteFolderItself),
             result);
    QCOMPARE(ImageOf(root.path()).keys(), left);
}

void tst_DeleteDir::neverFollowsLinks()
{
    const QTemporaryDir root;
    const QString outside = root.filePath(QStringLiteral("outside"));
    QVERIFY(CreateFromImage(root.path(), {{QStringLiteral("outside/x"), "file:x"}}));
    QVERIFY(CreateFromImage(root.path(), {{QStringLiteral("f/link"), "link:" + outside.toUtf8()},
                                          {QStringLiteral("f/s/link"), "link:" + outside.toUtf8()},
                                          {QStringLiteral("f/s/broken"), "link:/nowhere/at/all"}}));
    QVERIFY(TFileSystemHelper::DeleteDirGeneric(root.filePath(QStringLiteral("f")), true, true));
    QCOMPARE(ImageOf(root.path()), (TFolderImage{{QStringLiteral("outside"), "folder"},
                                                 {QStringLiteral("outside/x"), "file:x"}}));
}

void tst_DeleteDir::deletesALinkInsteadOfItsTarget()
{
    const QTemporaryDir root;
    const TFolderImage target = {{QStringLiteral("outside"), "folder"},
                                 {QStringLiteral("outside/x"), "file:x"}};
    QVERIFY(CreateFromImage(root.path(), target));
    const QString link = root.filePath(QStringLiteral("link"));
    QVERIFY(QFile::link(root.filePath(QStringLiteral("outside")), link));
    QVERIFY(!TFileSystemHelper::DeleteDirGeneric(link, true, false));
    QVERIFY(TFileSystemHelper::DeleteDirGeneric(link + QLatin1Char('/'), true, true));
    QCOMPARE(ImageOf(root.path()), target);
}

void tst_DeleteDir::deletesHiddenAndReadOnly()
{
    const QTemporaryDir root;
    QVERIFY(CreateFromImage(root.path(), {{QStringLiteral("f/.hidden/.x"), "file:x"},
                                          {QStringLiteral("f/fixed"), "file:x"}}));
    QVERIFY(QFile::setPermissions(root.filePath(QStringLiteral("f/fixed")), QFile::ReadOwner));
    QVERIFY(TFileSystemHelper::DeleteDirGeneric(root.filePath(QStringLiteral("f/")), true, true));
    QVERIFY(ImageOf(root.path()).isEmpty());
}

void tst_DeleteDir::acceptsAMissingFolder()
{
    const QTemporaryDir root;
    QVERIFY(
        TFileSystemHelper::DeleteDirGeneric(root.filePath(QStringLiteral("missing")), true, true));
}

void tst_DeleteDir::refusesAnEmptyPathAndAFile()
{
    const QTemporaryDir root;
    const QString file = root.filePath(QStringLiteral("x"));
    QVERIFY(WriteFile(file, "x"));
    QVERIFY(QDir::setCurrent(root.path()));
    QVERIFY(!TFileSystemHelper::DeleteDirGeneric(QString(), true, false));
    QVERIFY(!TFileSystemHelper::DeleteDirGeneric(file, true, true));
    QCOMPARE(ReadFile(file), QByteArray("x"));
    QVERIFY(QDir::setCurrent(QDir::rootPath()));
}

KELVO_TEST_MAIN(tst_DeleteDir)
#include "tst_deletedir.moc"
