// The archives of the temporary folder, with the real unpacking of the host.
#include "support/GuiTestMain.h"
#include "tests/worker/TDownload.h"

#include <QtTest/QtTest>

class tst_DownloadedArchives : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void succeedsWithoutArchives();
    void createsAMissingDownloadFolderWithItsParents_data();
    void createsAMissingDownloadFolderWithItsParents();
    void unpacksBothSuffixesAndNothingElse();
    void takesTheArchivesInTheOrderOfTheirNames();
    void aCorruptArchiveIsReportedAndRemovedAndTheOthersUnpacked();
    void reportsAnEmptyFileAsFailed();
    void linksAndFoldersAreLeftAlone();
    void unpacksArchivesOfAnEarlierRunForTheCurrentProject();
    void recordsAreAppended();
    void aBlockedDownloadFolderReportsEveryArchive();
};

namespace {

void Put(const QString& name, const QByteArray& bytes)
{
    TWorkerFixture::WriteFile(TWorkerFixture::TempFolder() + name, bytes);
}

void PutArchive(const QString& name, const QByteArray& inner, const QByteArray& content = "x")
{
    Put(name, kelvo::test::ZipOf(inner, content));
}

} // namespace

void tst_DownloadedArchives::succeedsWithoutArchives()
{
    TDownload f;
    f.Start();
    KelvoFileTransferErrorDetailsList errors;
    QVERIFY(f.worker->ManageKelvoDownloads(ePivots, errors));
    QVERIFY(errors.isEmpty());
}

void tst_DownloadedArchives::createsAMissingDownloadFolderWithItsParents_data()
{
    QTest::addColumn<bool>("withArchive");
    QTest::newRow("with an archive to unpack") << true;
    QTest::newRow("even with nothing to unpack") << false;
}

void tst_DownloadedArchives::createsAMissingDownloadFolderWithItsParents()
{
    QFETCH(bool, withArchive);
    TDownload f;
    f.Start();
    const QDir folder(TWorkerFixture::DownloadFolder(ePivots));
    QVERIFY(QFileInfo(folder.absolutePath()).dir().removeRecursively());
    QVERIFY(!folder.exists());
    if (withArchive)
        PutArchive(QStringLiteral("a.zip"), "sub/a.txt");
    KelvoFileTransferErrorDetailsList errors;
    QVERIFY(f.worker->ManageKelvoDownloads(ePivots, errors));
    QVERIFY(folder.exists());
    QCOMPARE(folder.exists(QStringLiteral("a/sub/a.txt")), withArchive);
}

void tst_DownloadedArchives::unpacksBothSuffixesAndNothingElse()
{
    TDownload f;
    f.Start();
    PutArchive(QStringLiteral("a.zip"), "a.txt");
    PutArchive(QStringLiteral("b.ZIP"), "b.txt");
    PutArchive(QStringLiteral("c.zip.zip"),
               "c.txt");                          // the listing's suffix rule does not apply here
    PutArchive(QStringLiteral("g.Zip"), "g.txt"); // any mixture of cases
    PutArchive(QStringLiteral("d.zip.part"), "d.txt");
    PutArchive(QStringLiteral("e.txt"), "e.txt");
    PutArchive(QStringLiteral(".hidden.zip"), "hidden.txt");
    PutArchive(QStringLiteral(".zip"), "dot.txt");
    PutArchive(QStringLiteral("zip"), "f.txt");
    KelvoFileTransferErrorDetailsList errors;
    QVERIFY(f.worker->ManageKelvoDownloads(ePivots, errors));
    QCOMPARE(
        TDownload::Local(ePivots),
        List(".hidden/hidden.txt|.zip/dot.txt|a/a.txt|b.ZIP/b.txt|c.zip.zip/c.txt|g.Zip/g.txt"));
    QCOMPARE(TDownload::Temporary(), List("d.zip.part|e.txt|zip"));
}

void tst_DownloadedArchives::takesTheArchivesInTheOrderOfTheirNames()
{
    TDownload f;
    f.Start();
    for (const char* name : {"c.zip", "a.zip", "B.zip", "b.ZIP"})
        PutArchive(QString::fromLatin1(name), "same.txt", name);
    Put(QStringLiteral("z2.zip"), "broken");
    Put(QStringLiteral("Z1.zip"), "broken");
    Put(QStringLiteral("z1.ZIP"), "broken");
    KelvoFileTransferErrorDetailsList errors;
    QVERIFY(!f.worker->ManageKelvoDownloads(ePivots, errors));
    QCOMPARE(TDownload::Local(ePivots), List("B/same.txt|a/same.txt|b.ZIP/same.txt|c/same.txt"));
    QStringList failed;
    for (const auto& error : errors)
        failed << error.fileName;
    QCOMPARE(failed, List("Z1.zip|z1.ZIP|z2.zip"));
}

void tst_DownloadedArchives::aCorruptArchiveIsReportedAndRemovedAndTheOthersUnpacked()
{
    TDownload f;
    f.Start();
    PutArchive(QStringLiteral("a.zip"), "a.txt");
    QByteArray truncated = kelvo::test::ZipOf("b.txt", QByteArray(1000, 'b'));
    truncated.truncate(truncated.size() / 2);
    Put(QStringLiteral("b.zip"), truncated);
    PutArchive(QStringLiteral("c.zip"), "c.txt");
    KelvoFileTransferErrorDetailsList errors;
    QVERIFY(!f.worker->ManageKelvoDownloads(ePivots, errors));
    QCOMPARE(Records(errors), QStringList{QStringLiteral("b.zip: Failed to unzip file")});
    QCOMPARE(TDownload::Local(ePivots), List("a/a.txt|c/c.txt"));
    QVERIFY(TDownload::Temporary().isEmpty());
}

void tst_DownloadedArchives::reportsAnEmptyFileAsFailed()
{
    TDownload f;
    f.Start();
    Put(QStringLiteral("empty.zip"), "");
    KelvoFileTransferErrorDetailsList errors;
    QVERIFY(!f.worker->ManageKelvoDownloads(ePivots, errors));
    QCOMPARE(Records(errors), QStringList{QStringLiteral("empty.zip: Failed to unzip file")});
    QVERIFY(TDownload::Temporary().isEmpty());
}

void tst_DownloadedArchives::linksAndFoldersAreLeftAlone()
{
    TDownload f;
    f.Start();
    const QString elsewhere = f.folder.Path(QStringLiteral("elsewhere.zip"));
    TWorkerFixture::WriteFile(elsewhere, kelvo::test::ZipOf("linked.txt", "x"));
    QVERIFY(QFile::link(elsewhere, TWorkerFixture::TempFolder() + QStringLiteral("link.zip")));
    QVERIFY(QDir(TWorkerFixture::TempFolder()).mkdir(QStringLiteral("folder.zip")));
    KelvoFileTransferErrorDetailsList errors;
    QVERIFY(f.worker->ManageKelvoDownloads(ePivots, errors));
    QVERIFY(TDownload::Local(ePivots).isEmpty());
    QCOMPARE(TDownload::Temporary(), List("folder.zip|link.zip"));
    QVERIFY(QFile::exists(elsewhere));
}

void tst_DownloadedArchives::unpacksArchivesOfAnEarlierRunForTheCurrentProject()
{
    TDownload f;
    f.AddArchive(eCurves, QStringLiteral("curve.zip"), "curve.txt");
    f.Start();
    PutArchive(QStringLiteral("left.zip"), "left.txt");
    f.Download(eCurves, List("curve.zip"), f.Reference(eCurves));
    QCOMPARE(TDownload::Local(eCurves), List("curve/curve.txt|left/left.txt"));
}

void tst_DownloadedArchives::recordsAreAppended()
{
    TDownload f;
    f.Start();
    Put(QStringLiteral("b.zip"), "broken");
    KelvoFileTransferErrorDetailsList errors{{QStringLiteral("a.zip"), QStringLiteral("before")}};
    QVERIFY(!f.worker->ManageKelvoDownloads(ePivots, errors));
    QCOMPARE(Records(errors), (QStringList{QStringLiteral("a.zip: before"),
                                           QStringLiteral("b.zip: Failed to unzip file")}));
}

void tst_DownloadedArchives::aBlockedDownloadFolderReportsEveryArchive()
{
    TDownload f;
    f.Start();
    const QString folder = QDir::cleanPath(TWorkerFixture::DownloadFolder(ePivots));
    QVERIFY(QDir(folder).removeRecursively());
    TWorkerFixture::WriteFile(folder, "a file where the folder should be");
    PutArchive(QStringLiteral("a.zip"), "a.txt");
    PutArchive(QStringLiteral("b.zip"), "b.txt");
    KelvoFileTransferErrorDetailsList errors;
    QVERIFY(!f.worker->ManageKelvoDownloads(ePivots, errors));
    QCOMPARE(Records(errors), (QStringList{QStringLiteral("a.zip: Failed to unzip file"),
                                           QStringLiteral("b.zip: Failed to unzip file")}));
    QCOMPARE(TWorkerFixture::ReadFile(folder), QByteArray("a file where the folder should be"));
}

KELVO_GUI_TEST_MAIN(tst_DownloadedArchives)
#include "tst_DownloadedArchives.moc"
