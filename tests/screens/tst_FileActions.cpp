// The file controller's buttons: their requests and their local deletions.
#include "support/WidgetTestMain.h"
#include "tests/screens/TControllerFixture.h"

#include <QtCore/QDir>
#include <QtTest/QtTest>

using F = TControllerFixture;

class tst_FileActions : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void anyButtonWithoutASelectionShowsAnError();
    void downloads();
    void downloadsNoJobReports();
    void uploads();
    void uploadsNoPrescriptionMaps();
    void anUploadMovesACategoryThatIsNotOffered();
    void anUploadKeepsACategoryBetweenTwoNumbers();
    void anUnknownButtonDoesNothing();
    void deletingAsksForConfirmation();
    void theAnswerNoDeletesNothing();
    void aConfirmedDeletionAtTheServiceIsRequested();
    void aConfirmedDeletionOfFilesToUploadRemovesOnlyTheNamedFiles();
    void aConfirmedDeletionOfDownloadedFilesRemovesWholeFolders();
    void readsTheSelectionAtTheAnswer();
    void readsTheLocationAtTheAnswer();
    void anEmptySelectionAtTheAnswerIsPassedOn();
    void filesThatCannotBeDeletedStayListed();
    void deletesFilesWithAwkwardNames();
};

namespace {

QString Text(const char* text)
{
    return QString::fromLatin1(text);
}

QStringList Texts(const char* texts)
{
    return QString::fromLatin1(texts).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

void ConfirmDeletion(F& f)
{
    f.Button(2).click();
    QVERIFY(f.Confirmation().isVisible());
    Press(f.Confirmation(), TMessageDialog::eButton0);
    QVERIFY(!f.Confirmation().isVisible());
}

} // namespace

// The buttons are disabled then. A click that arrives nevertheless is refused.
void tst_FileActions::anyButtonWithoutASelectionShowsAnError()
{
    for (int id : {0, 1, 2, 3, -1}) {
        F f;
        f.SetUp(true);
        f.log.Clear();
        f.controller->OnFileActionButtonClicked(id);
        QVERIFY(f.NoSelection().isVisible());
        QVERIFY(Blocks(f.NoSelection(), *f.controller));
        QVERIFY(!f.Confirmation().isVisible());
        QVERIFY(!f.Transfer().isVisible());
        QVERIFY(f.log.Names().isEmpty());
    }
}

void tst_FileActions::downloads()
{
    for (int category : {0, 2, 3, 4, 5, 6}) {
        F f;
        f.Hub().OnNewKelvoProjectFilesList(category, ListingOf(Texts("a.zip b.zip c.zip")));
        f.SetUp(true);
        f.Show();
        f.Choose(category, F::eService);
        f.Select(Texts("a.zip c.zip"));
        f.log.Clear();
        f.Button(0).click();
        QCOMPARE(f.log.Texts(),
                 (QStringList{Text("KelvoFileOperationInProgress()"),
                              QStringLiteral("KelvoDownloadRequested(%1,[a.zip c.zip],"
                                             "[100:a.zip 101:b.zip 102:c.zip])")
                                  .arg(category)}));
        QVERIFY(f.Transfer().isVisible());
        QVERIFY(Blocks(f.Transfer(), *f.controller));
        QCOMPARE(f.Transfer().Message(), Text("Download started"));
        QCOMPARE(F::StateOf(f.Transfer()), Text("running"));
        QVERIFY(!f.Deletion().isVisible());
        QCOMPARE(f.Buttons(), Text("D (U) X"));
    }
}

void tst_FileActions::downloadsNoJobReports()
{
    F f;
    f.SetUp(true);
    f.log.Clear();
    f.controller->DownloadFilesFromKelvo(eManageJobReports, Texts("a.zip"));
    QVERIFY(f.log.Names().isEmpty());
    QVERIFY(!f.Transfer().isVisible());
}

void tst_FileActions::uploads()
{
    for (int category = 1; category < 7; ++category) {
        F f;
        QVERIFY(WriteFile(F::UploadPath(category, Text("a.zip"))));
        QVERIFY(WriteFile(F::UploadPath(category, Text("b.zip"))));
        f.SetUp(true);
        f.Choose(category, F::eToUpload);
        f.Select(Texts("b.zip"));
        f.log.Clear();
        f.Button(1).click();
        QCOMPARE(f.log.Texts(),
                 (QStringList{Text("KelvoFileOperationInProgress()"),
                              QStringLiteral("KelvoUploadRequested(%1,[b.zip])").arg(category)}));
        QVERIFY(f.Transfer().isVisible());
        QVERIFY(Blocks(f.Transfer(), *f.controller));
        QCOMPARE(f.Transfer().Message(), Text("Upload started"));
        QCOMPARE(F::StateOf(f.Transfer()), Text("running"));
        QVERIFY(QFile::exists(F::UploadPath(category, Text("b.zip")))); // the worker removes it
    }
}

void tst_FileActions::uploadsNoPrescriptionMaps()
{
    F f;
    f.SetUp(true);
    f.log.Clear();
    f.controller->UploadFilesToKelvo(eManagePrescriptionMaps, Texts("a.zip"));
    QVERIFY(f.log.Names().isEmpty());
    QVERIFY(!f.Transfer().isVisible());
}

// The request uses the category of the argument, also if the selector changes.
void tst_FileActions::anUploadMovesACategoryThatIsNotOffered()
{
    F f;
    f.SetUp(true);
    {
        // Prescription maps at the files to upload: the change of location sends no signal.
        const QSignalBlocker silent(&f.Category());
        f.Location().SetNumericalValue(F::eToUpload);
        f.Category().SetNumericalValue(0);
    }
    f.controller->UploadFilesToKelvo(eManageCurves, Texts("a.zip"));
    QCOMPARE(f.log.Texts().last(), Text("KelvoUploadRequested(3,[a.zip])"));
    // The stored value decides. It is already job reports.
    QCOMPARE(f.Category().GetNumericalValue(), 0.0);
    // The stored value now equals the selector's, so the next upload changes it.
    f.controller->UploadFilesToKelvo(eManageCurves, Texts("a.zip"));
    QCOMPARE(f.Category().GetNumericalValue(), 1.0);
}

void tst_FileActions::anUploadKeepsACategoryBetweenTwoNumbers()
{
    F f;
    f.SetUp(true);
    f.Choose(2, F::eToUpload);
    f.Category().SetNumericalValue(0.5);
    for (int upload = 0; upload < 2; ++upload) { // the first one stores the value
        f.controller->UploadFilesToKelvo(eManageCurves, Texts("a.zip"));
        QCOMPARE(f.Category().GetNumericalValue(), 0.5);
    }
}

void tst_FileActions::anUnknownButtonDoesNothing()
{
    F f;
    f.Hub().OnNewKelvoProjectFilesList(3, ListingOf(Texts("a.zip")));
    f.SetUp(true);
    f.Choose(3, F::eService);
    f.Select(Texts("a.zip"));
    f.log.Clear();
    f.controller->OnFileActionButtonClicked(3);
    f.controller->OnFileActionButtonClicked(-1);
    QVERIFY(f.log.Names().isEmpty());
    for (const TMessageDialog* dialog :
         {&f.NoSelection(), &f.Transfer(), &f.Confirmation(), &f.Deletion()})
        QVERIFY(!dialog->isVisible());
}

void tst_FileActions::deletingAsksForConfirmation()
{
    F f;
    QVERIFY(WriteFile(F::UploadPath(3, Text("a.zip"))));
    f.SetUp(false);
    f.Choose(3, F::eToUpload);
    f.Select(Texts("a.zip"));
    f.Button(2).click();
    QVERIFY(f.Confirmation().isVisible());
    QVERIFY(Blocks(f.Confirmation(), *f.controller));
    QVERIFY(QFile::exists(F::UploadPath(3, Text("a.zip"))));
}

void tst_FileActions::theAnswerNoDeletesNothing()
{
    F f;
    QVERIFY(WriteFile(F::UploadPath(3, Text("a.zip"))));
    f.SetUp(true);
    f.Choose(3, F::eToUpload);
    f.Select(Texts("a.zip"));
    f.log.Clear();
    f.Button(2).click();
    Press(f.Confirmation(), TMessageDialog::eButton1);
    QVERIFY(QFile::exists(F::UploadPath(3, Text("a.zip"))));
    QCOMPARE(f.Selected(), Texts("a.zip"));
    QVERIFY(f.log.Names().isEmpty());
}

void tst_FileActions::aConfirmedDeletionAtTheServiceIsRequested()
{
    F f;
    f.Hub().OnNewKelvoProjectFilesList(2, ListingOf(Texts("a.zip b.zip")));
    QVERIFY(WriteFile(F::UploadPath(2, Text("a.zip"))));
    QVERIFY(WriteFile(F::DownloadPath(2, Text("a.zip"))));
    f.SetUp(true);
    f.Choose(2, F::eService);
    f.Select(Texts("a.zip"));
    f.log.Clear();
    ConfirmDeletion(f);
    QCOMPARE(f.log.Texts(),
             (QStringList{Text("KelvoFileOperationInProgress()"),
                          Text("KelvoDeleteFilesRequested(2,[a.zip],[100:a.zip 101:b.zip])")}));
    QVERIFY(f.Deletion().isVisible());
    QVERIFY(Blocks(f.Deletion(), *f.controller));
    QCOMPARE(f.Deletion().Message(), Text("Delete started"));
    QCOMPARE(F::StateOf(f.Deletion()), Text("running"));
    QVERIFY(!f.Transfer().isVisible());
    QVERIFY(QFile::exists(F::UploadPath(2, Text("a.zip"))));
    QVERIFY(QFile::exists(F::DownloadPath(2, Text("a.zip"))));
}

void tst_FileActions::aConfirmedDeletionOfFilesToUploadRemovesOnlyTheNamedFiles()
{
    F f;
    for (const QString& name : Texts("a.zip b.zip c.zip"))
        QVERIFY(WriteFile(F::UploadPath(3, name)));
    QVERIFY(WriteFile(F::UploadPath(4, Text("a.zip"))));
    QVERIFY(WriteFile(F::DownloadPath(3, Text("a.zip"))));
    f.SetUp(false);
    f.Choose(3, F::eToUpload);
    f.Select(Texts("a.zip c.zip"));
    f.log.Clear();
    ConfirmDeletion(f);
    QCOMPARE(f.Names(), Texts("b.zip"));
    QVERIFY(f.Selected().isEmpty());
    QCOMPARE(QDir(F::UploadPath(3)).entryList(QDir::Files), Texts("b.zip"));
    QVERIFY(QFile::exists(F::UploadPath(4, Text("a.zip"))));
    QVERIFY(QFile::exists(F::DownloadPath(3, Text("a.zip"))));
    QVERIFY(f.log.Names().isEmpty());
    QVERIFY(!f.Transfer().isVisible() && !f.Deletion().isVisible());
}

void tst_FileActions::aConfirmedDeletionOfDownloadedFilesRemovesWholeFolders()
{
    F f;
    QVERIFY(QDir().mkpath(F::DownloadPath(4, Text("field/deep"))));
    QVERIFY(WriteFile(F::DownloadPath(4, Text("field/deep/a.txt"))));
    QVERIFY(WriteFile(F::DownloadPath(4, Text("plain.txt"))));
    QVERIFY(QDir().mkpath(F::DownloadPath(4, Text("other"))));
    QVERIFY(WriteFile(F::DownloadPath(4, Text("other/b.txt"))));
    f.SetUp(false);
    f.Choose(4, F::eDownloaded);
    QCOMPARE(f.Names(), Texts("field other plain.txt"));
    f.Select(Texts("field plain.txt"));
    f.log.Clear();
    ConfirmDeletion(f);
    QCOMPARE(f.Names(), Texts("other"));
    QVERIFY(!QFile::exists(F::DownloadPath(4, Text("field"))));
    QVERIFY(!QFile::exists(F::DownloadPath(4, Text("plain.txt"))));
    QVERIFY(QFile::exists(F::DownloadPath(4, Text("other/b.txt"))));
    QVERIFY(f.log.Names().isEmpty());
}

void tst_FileActions::readsTheSelectionAtTheAnswer()
{
    F f;
    f.Hub().OnNewKelvoProjectFilesList(3, ListingOf(Texts("a.zip b.zip")));
    f.SetUp(true);
    f.Show();
    f.Choose(3, F::eService);
    f.Select(Texts("a.zip b.zip"));
    f.Button(2).click();
    f.Hub().OnNewKelvoProjectFilesList(3, ListingOf(Texts("b.zip c.zip")));
    Press(f.Confirmation(), TMessageDialog::eButton0);
    QCOMPARE(f.log.Texts().last(),
             Text("KelvoDeleteFilesRequested(3,[b.zip],[100:b.zip 101:c.zip])"));
}

// The session ends while the question is open. No file of the local folder is deleted instead.
void tst_FileActions::readsTheLocationAtTheAnswer()
{
    F f;
    f.Hub().OnNewKelvoProjectFilesList(3, ListingOf(Texts("a.zip")));
    QVERIFY(WriteFile(F::UploadPath(3, Text("a.zip"))));
    f.SetUp(true);
    f.Choose(3, F::eService);
    f.Select(Texts("a.zip"));
    f.Button(2).click();
    f.Hub().OnLoggedOutOfKelvo();
    f.log.Clear();
    Press(f.Confirmation(), TMessageDialog::eButton0);
    QVERIFY(f.log.Names().isEmpty());
    QVERIFY(QFile::exists(F::UploadPath(3, Text("a.zip"))));
}

void tst_FileActions::anEmptySelectionAtTheAnswerIsPassedOn()
{
    F f;
    f.Hub().OnNewKelvoProjectFilesList(3, ListingOf(Texts("a.zip")));
    f.SetUp(true);
    f.Choose(3, F::eService);
    f.Select(Texts("a.zip"));
    f.Button(2).click();
    f.List().clearSelection();
    Press(f.Confirmation(), TMessageDialog::eButton0);
    QCOMPARE(f.log.Texts().last(), Text("KelvoDeleteFilesRequested(3,[],[100:a.zip])"));
}

void tst_FileActions::filesThatCannotBeDeletedStayListed()
{
    F f;
    QVERIFY(WriteFile(F::UploadPath(3, Text("a.zip"))));
    f.SetUp(false);
    f.Choose(3, F::eToUpload);
    f.Select(Texts("a.zip"));
    // The file is replaced by a folder of the same name, which a file deletion does not remove.
    QVERIFY(QFile::remove(F::UploadPath(3, Text("a.zip"))));
    QVERIFY(QDir().mkdir(F::UploadPath(3, Text("a.zip"))));
    ConfirmDeletion(f);
    QVERIFY(QDir(F::UploadPath(3, Text("a.zip"))).exists());
    QVERIFY(f.Names().isEmpty()); // folders are not listed here
    QVERIFY(!f.NoSelection().isVisible() && !f.Deletion().isVisible());
}

void tst_FileActions::deletesFilesWithAwkwardNames()
{
    const QStringList names{Text("a b%1.zip"), Text("<b>x.zip"), QString::fromUtf8("Käse.zip"),
                            Text("*.zip"), Text("[a].zip")};
    F f;
    for (const QString& name : names)
        QVERIFY(WriteFile(F::DownloadPath(5, name)));
    QVERIFY(WriteFile(F::DownloadPath(5, Text("stays.zip"))));
    f.SetUp(false);
    f.Choose(5, F::eDownloaded);
    f.Select(names);
    QCOMPARE(f.Selected().size(), names.size());
    ConfirmDeletion(f);
    QCOMPARE(f.Names(), Texts("stays.zip"));
}

KELVO_WIDGET_TEST_MAIN(tst_FileActions)
#include "tst_FileActions.moc"
