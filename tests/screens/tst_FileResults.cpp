// The file controller's dialogs: progress, cancelling and the result of an operation.
#include "support/WidgetTestMain.h"
#include "tests/screens/TControllerFixture.h"
#include "tests/screens/TTaggingTranslator.h"

#include <QtTest/QtTest>

using F = TControllerFixture;

class tst_FileResults : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    // First, because the text of a transfer is translated once a process.
    void translatesTheTransferCancelOnceAndTheDeletionCancelEachTime();
    void progressOnlyChangesTheText_data();
    void progressOnlyChangesTheText();
    void showsTheResultOfEachOperation_data();
    void showsTheResultOfEachOperation();
    void completionTextsAreTranslated();
    void anUploadRereadsTheListAtOnce();
    void aDownloadDoesNotRereadTheList();
    void aDeletionDoesNotRereadTheList();
    void cancellingATransferDisablesBothButtonsUntilItsEnd();
    void cancellingADeletionDisablesBothButtonsUntilItsEnd();
    void aCancelBehindTheCompletionLeavesTheDialogFinished_data();
    void aCancelBehindTheCompletionLeavesTheDialogFinished();
    void theNextOperationCanBeCancelledAgain();
    void namesWithPlaceholdersStayAsTheyAre();

private:
    std::unique_ptr<F> m_f;
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

KelvoFileTransferErrorDetailsList Errors(int count)
{
    KelvoFileTransferErrorDetailsList errors;
    for (int i = 0; i < count; ++i)
        errors << KelvoFileTransferErrorDetails{QStringLiteral("file%1.zip").arg(i),
                                                QStringLiteral("Reason %1.").arg(i)};
    return errors;
}

enum EOperation { eDownload, eUpload, eDelete };

void Complete(TKelvoInterface& hub, int operation, const KelvoFileTransferErrorDetailsList& errors)
{
    if (operation == eDownload)
        hub.OnKelvoDownloadComplete(3, errors);
    else if (operation == eUpload)
        hub.OnKelvoUploadComplete(3, errors);
    else
        hub.OnKelvoDeleteComplete(3, errors);
}

} // namespace

void tst_FileResults::init()
{
    m_f.reset(); // the fixture's hub is the process's hub
    m_f = std::make_unique<F>();
    m_f->Hub().OnNewKelvoProjectFilesList(3, ListingOf(Texts("a.zip b.zip")));
    m_f->SetUp(true);
    m_f->Show();
    m_f->Choose(3, F::eService);
    m_f->log.Clear();
}

void tst_FileResults::translatesTheTransferCancelOnceAndTheDeletionCancelEachTime()
{
    F& f = *m_f;
    const QString tag = Text("{TKelvoFileControlWidget|}");
    f.Hub().OnDownloadFromKelvoRequested(eCurves, Texts("a.zip"));
    {
        const TTaggingTranslator translator;
        f.controller->OnFileTransferCanceled();
        f.controller->OnDeleteDownloadableFilesCanceled();
        QCOMPARE(f.Transfer().Message(), tag + Text("Cancelling file operation ..."));
        QCOMPARE(f.Deletion().Message(), tag + Text("Cancelling delete operation ..."));
    }
    f.controller->OnFileTransferCanceled();
    f.controller->OnDeleteDownloadableFilesCanceled();
    QCOMPARE(f.Transfer().Message(), tag + Text("Cancelling file operation ..."));
    QCOMPARE(f.Deletion().Message(), Text("Cancelling delete operation ..."));
}

void tst_FileResults::progressOnlyChangesTheText_data()
{
    QTest::addColumn<int>("operation");
    QTest::addColumn<QString>("message");
    QTest::newRow("download") << int(eDownload) << Text("Downloading a.zip");
    QTest::newRow("upload") << int(eUpload) << Text("Uploading a.zip");
    QTest::newRow("deletion") << int(eDelete) << Text("Deleting a.zip");
}

void tst_FileResults::progressOnlyChangesTheText()
{
    QFETCH(int, operation);
    QFETCH(QString, message);
    F& f = *m_f;
    TMessageDialog& dialog = operation == eDelete ? f.Deletion() : f.Transfer();
    TMessageDialog& other = operation == eDelete ? f.Transfer() : f.Deletion();
    const QString state = F::StateOf(dialog);
    for (int project : {3, 6}) { // the project does not matter
        dialog.SetMessage(QString());
        if (operation == eDownload)
            Q_EMIT f.Hub().KelvoDownloadingFile(project, Text("a.zip"));
        else if (operation == eUpload)
            Q_EMIT f.Hub().KelvoUploadingFile(project, Text("a.zip"));
        else
            Q_EMIT f.Hub().KelvoDeletingFile(project, Text("a.zip"));
        QCOMPARE(dialog.Message(), message);
        QVERIFY(!dialog.isVisible());
        QCOMPARE(F::StateOf(dialog), state);
        QCOMPARE(other.Message(), QString());
    }
}

void tst_FileResults::showsTheResultOfEachOperation_data()
{
    QTest::addColumn<int>("operation");
    QTest::addColumn<int>("errorCount");
    QTest::addColumn<QString>("message");
    const struct
    {
        EOperation operation;
        const char* success;
        const char* failures;
    } rows[] = {
        {eDownload, "Download complete.",
         "A problem occurred with: file0.zip\nReason 0.\n\n"
         "A problem occurred with: file1.zip\nReason 1.\n\n"},
        {eUpload, "Upload complete.",
         "file0.zip failed to upload.\nReason 0.\n\nfile1.zip failed to upload.\nReason 1.\n\n"},
        {eDelete, "Delete complete.",
         "file0.zip failed to delete.\nReason 0.\n\nfile1.zip failed to delete.\nReason 1.\n\n"},
    };
    for (const auto& row : rows) {
        const QString failures = Text(row.failures);
        QTest::addRow("%s", row.success) << int(row.operation) << 0 << Text(row.success);
        QTest::addRow("%s one failure", row.success)
            << int(row.operation) << 1 << failures.left(failures.size() / 2);
        QTest::addRow("%s two failures", row.success) << int(row.operation) << 2 << failures;
    }
}

void tst_FileResults::showsTheResultOfEachOperation()
{
    QFETCH(int, operation);
    QFETCH(int, errorCount);
    QFETCH(QString, message);
    F& f = *m_f;
    TMessageDialog& dialog = operation == eDelete ? f.Deletion() : f.Transfer();
    TMessageDialog& other = operation == eDelete ? f.Transfer() : f.Deletion();
    Complete(f.Hub(), operation, Errors(errorCount));
    QCOMPARE(dialog.Message(), message);
    QVERIFY(dialog.isVisible());
    QVERIFY(Blocks(dialog, *f.controller));
    QCOMPARE(F::StateOf(dialog), Text("finished"));
    QVERIFY(!other.isVisible());
    Press(dialog, TMessageDialog::eButton0);
    QVERIFY(!dialog.isVisible());
    // The dialog was running.
    f.Select(Texts("a.zip"));
    f.Button(0).click();
    QCOMPARE(F::StateOf(f.Transfer()), Text("running"));
    Complete(f.Hub(), operation, Errors(errorCount));
    QCOMPARE(F::StateOf(dialog), Text("finished"));
}

void tst_FileResults::completionTextsAreTranslated()
{
    const TTaggingTranslator translator;
    const QString tag = Text("{TKelvoFileControlWidget|}");
    F& f = *m_f;
    const struct
    {
        EOperation operation;
        const char* success;
        QString failure;
    } rows[] = {
        // The translator's tag contains the disambiguation, which has a placeholder too.
        {eDownload, "Download complete.",
         Text("{TKelvoFileControlWidget|file0.zip is a filename that failed to download correctly}"
              "A problem occurred with: file0.zip\nReason 0.\n\n")},
        {eUpload, "Upload complete.", tag + Text("file0.zip failed to upload.\nReason 0.\n\n")},
        {eDelete, "Delete complete.", tag + Text("file0.zip failed to delete.\nReason 0.\n\n")},
    };
    for (const auto& row : rows) {
        TMessageDialog& dialog = row.operation == eDelete ? f.Deletion() : f.Transfer();
        Complete(f.Hub(), row.operation, {});
        QCOMPARE(dialog.Message(), tag + Text(row.success));
        Complete(f.Hub(), row.operation, Errors(1));
        QCOMPARE(dialog.Message(), row.failure);
    }
    Q_EMIT f.Hub().KelvoDownloadingFile(3, Text("a.zip"));
    QCOMPARE(f.Transfer().Message(), tag + Text("Downloading a.zip"));
    Q_EMIT f.Hub().KelvoUploadingFile(3, Text("a.zip"));
    QCOMPARE(f.Transfer().Message(), tag + Text("Uploading a.zip"));
    Q_EMIT f.Hub().KelvoDeletingFile(3, Text("a.zip"));
    QCOMPARE(f.Deletion().Message(), tag + Text("Deleting a.zip"));
    f.controller->DownloadFilesFromKelvo(eManageCurves, Texts("a.zip"));
    QCOMPARE(f.Transfer().Message(), tag + Text("Download started"));
    f.controller->UploadFilesToKelvo(eManageCurves, Texts("a.zip"));
    QCOMPARE(f.Transfer().Message(), tag + Text("Upload started"));
    f.controller->DeletedFilesDownloadableFromKelvo(eManageCurves, Texts("a.zip"));
    QCOMPARE(f.Deletion().Message(), tag + Text("Delete started"));
}

void tst_FileResults::anUploadRereadsTheListAtOnce()
{
    F& f = *m_f;
    QVERIFY(WriteFile(F::UploadPath(3, Text("a.zip"))));
    QVERIFY(WriteFile(F::UploadPath(3, Text("b.zip"))));
    f.Choose(3, F::eToUpload);
    f.Location().SetNumericalValue(F::eDownloaded);
    f.Location().SetNumericalValue(F::eToUpload);
    f.Select(Texts("a.zip b.zip"));
    f.Button(1).click();
    QVERIFY(QFile::remove(F::UploadPath(3, Text("a.zip")))); // as the worker does
    f.Hub().OnKelvoUploadComplete(3, {});
    QCOMPARE(f.Names(), Texts("b.zip"));
    QVERIFY(f.Selected().isEmpty());
    QCOMPARE(f.Buttons(), Text("(D) U X"));
}

void tst_FileResults::aDownloadDoesNotRereadTheList()
{
    F& f = *m_f;
    f.Select(Texts("a.zip"));
    f.Button(0).click();
    f.Hub().OnKelvoDownloadComplete(3, {});
    QCOMPARE(f.Names(), Texts("a.zip b.zip"));
    QCOMPARE(f.Selected(), Texts("a.zip"));
    QCOMPARE(f.Buttons(), Text("D+ (U+) X+"));
    f.Hub().OnNewKelvoProjectFilesList(3, ListingOf(Texts("b.zip")));
    QCOMPARE(f.Names(), Texts("b.zip"));
}

void tst_FileResults::aDeletionDoesNotRereadTheList()
{
    F& f = *m_f;
    f.Select(Texts("a.zip"));
    f.controller->OnDeleteFilesConfirmed();
    f.Hub().OnKelvoDeleteComplete(3, {});
    QCOMPARE(f.Names(), Texts("a.zip b.zip"));
    QCOMPARE(f.Selected(), Texts("a.zip"));
}

void tst_FileResults::cancellingATransferDisablesBothButtonsUntilItsEnd()
{
    F& f = *m_f;
    f.Select(Texts("a.zip"));
    f.Button(0).click();
    Press(f.Transfer(), TMessageDialog::eButton1);
    QCoreApplication::processEvents();
    QVERIFY(f.Hub().IsCancelCurrentOperationRequested());
    QVERIFY(f.Transfer().Message().endsWith(Text("Cancelling file operation ...")));
    QVERIFY(f.Transfer().isVisible());
    QCOMPARE(F::StateOf(f.Transfer()), Text("cancelling"));
    // The signal of the running file still arrives. Both buttons stay disabled.
    Q_EMIT f.Hub().KelvoDownloadingFile(3, Text("a.zip"));
    QCOMPARE(F::StateOf(f.Transfer()), Text("cancelling"));
    f.Hub().OnKelvoDownloadComplete(3, {});
    QCOMPARE(F::StateOf(f.Transfer()), Text("finished"));
    QCOMPARE(f.Transfer().Message(), Text("Download complete."));
}

void tst_FileResults::cancellingADeletionDisablesBothButtonsUntilItsEnd()
{
    F& f = *m_f;
    f.Select(Texts("a.zip"));
    f.controller->OnDeleteFilesConfirmed();
    Press(f.Deletion(), TMessageDialog::eButton1);
    QCoreApplication::processEvents();
    QVERIFY(f.Hub().IsCancelCurrentOperationRequested());
    QCOMPARE(f.Deletion().Message(), Text("Cancelling delete operation ..."));
    QCOMPARE(F::StateOf(f.Deletion()), Text("cancelling"));
    QVERIFY(f.Deletion().isVisible());
    QVERIFY(!f.Transfer().isVisible());
    f.Hub().OnKelvoDeleteComplete(3, Errors(1));
    QCOMPARE(F::StateOf(f.Deletion()), Text("finished"));
}

void tst_FileResults::aCancelBehindTheCompletionLeavesTheDialogFinished_data()
{
    QTest::addColumn<int>("operation");
    QTest::addColumn<QByteArray>("completion");
    QTest::addColumn<QString>("message");
    QTest::newRow("download") << int(eDownload) << QByteArray("OnKelvoDownloadComplete")
                              << Text("Download complete.");
    QTest::newRow("upload") << int(eUpload) << QByteArray("OnKelvoUploadComplete")
                            << Text("Upload complete.");
    QTest::newRow("deletion") << int(eDelete) << QByteArray("OnKelvoDeleteComplete")
                              << Text("Delete complete.");
}

// The operator presses cancel while the worker's completion is already queued.
void tst_FileResults::aCancelBehindTheCompletionLeavesTheDialogFinished()
{
    QFETCH(int, operation);
    QFETCH(QByteArray, completion);
    QFETCH(QString, message);
    F& f = *m_f;
    if (operation == eDownload)
        f.controller->DownloadFilesFromKelvo(eManageCurves, Texts("a.zip"));
    else if (operation == eUpload)
        f.controller->UploadFilesToKelvo(eManageCurves, Texts("a.zip"));
    else
        f.controller->DeletedFilesDownloadableFromKelvo(eManageCurves, Texts("a.zip"));
    TMessageDialog& dialog = operation == eDelete ? f.Deletion() : f.Transfer();
    QVERIFY(QMetaObject::invokeMethod(
        &f.Hub(), completion.constData(), Qt::QueuedConnection, Q_ARG(int, 3),
        Q_ARG(KelvoFileTransferErrorDetailsList, KelvoFileTransferErrorDetailsList())));
    Press(dialog, TMessageDialog::eButton1);
    QCOMPARE(F::StateOf(dialog), Text("running"));
    QCoreApplication::processEvents();
    QCOMPARE(F::StateOf(dialog), Text("finished"));
    QCOMPARE(dialog.Message(), message);
    QVERIFY(!f.Hub().IsCancelCurrentOperationRequested());
    Press(dialog, TMessageDialog::eButton0);
    QVERIFY(!dialog.isVisible());
}

void tst_FileResults::theNextOperationCanBeCancelledAgain()
{
    F& f = *m_f;
    for (int round = 0; round < 3; ++round) {
        f.Select(Texts("a.zip"));
        f.Button(0).click();
        QCOMPARE(F::StateOf(f.Transfer()), Text("running"));
        QVERIFY(!f.Hub().IsCancelCurrentOperationRequested());
        Press(f.Transfer(), TMessageDialog::eButton1);
        QCoreApplication::processEvents();
        QVERIFY(f.Hub().IsCancelCurrentOperationRequested());
        f.Hub().OnKelvoDownloadComplete(3, {});
        Press(f.Transfer(), TMessageDialog::eButton0);
    }
    QCOMPARE(f.log.Count(Text("KelvoDownloadRequested")), 3);
}

void tst_FileResults::namesWithPlaceholdersStayAsTheyAre()
{
    F& f = *m_f;
    f.Hub().OnKelvoUploadComplete(3, {{Text("%1 %2.zip"), Text("Not %1.")}});
    QCOMPARE(f.Transfer().Message(), Text("%1 %2.zip failed to upload.\nNot %1.\n\n"));
}

KELVO_WIDGET_TEST_MAIN(tst_FileResults)
#include "tst_FileResults.moc"
