// The file controller: its construction, its texts and its connections.
#include "support/WidgetTestMain.h"
#include "tests/fakes/Declarations.h"
#include "tests/fakes/Receivers.h"
#include "tests/screens/TControllerFixture.h"
#include "tests/screens/TTaggingTranslator.h"

#include <QtTest/QtTest>
#include <QtWidgets/QVBoxLayout>

#include <thread>

class tst_FileControlSetup : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void slotsAreDeclaredInTheirOrder();
    void constructionBuildsNothingButTheDialogs();
    void setupPlacesTheWidgets();
    void theButtons();
    void theDialogs();
    void textsAreTranslated();
    void theHubIsConnectedOnce_data();
    void theHubIsConnectedOnce();
    void aSecondSetupConnectsNothingMore();
    void ownSignalsAreConnectedOnce();
    void cancelsAreQueued();
    void theAnswerYesIsNotQueued();
    void hubSignalsOfAnotherThreadAreQueued();
    void setsTheTitleOfTheWindow();
};

namespace {

QString Text(const char* text)
{
    return QString::fromLatin1(text);
}

} // namespace

void tst_FileControlSetup::slotsAreDeclaredInTheirOrder()
{
    const QMetaObject& meta = TKelvoFileControlWidget::staticMetaObject;
    QStringList slotNames;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        QCOMPARE(meta.method(i).methodType(), QMetaMethod::Slot);
        slotNames << QString::fromLatin1(meta.method(i).methodSignature());
    }
    QCOMPARE(slotNames, fakes::Lines(R"(
OnItemToManageChanged()
OnFileSystemChanged()
OnFileActionButtonClicked(int)
UpdateFileActionButtons()
OnKelvoLoginStatusChanged()
OnShowDownloadProgress(int,QString)
OnKelvoDownloadComplete(int,KelvoFileTransferErrorDetailsList)
OnShowUploadProgress(int,QString)
OnKelvoUploadComplete(int,KelvoFileTransferErrorDetailsList)
OnShowDeleteDownloadableFilesProgress(int,QString)
OnKelvoDeleteDownloadableFilesComplete(int,KelvoFileTransferErrorDetailsList)
OnFileTransferCanceled()
OnDeleteDownloadableFilesCanceled()
OnDeleteFilesConfirmed()
OnNewKelvoProjectFilesList(int,KelvoFileInfoList)
)"));
    QCOMPARE(meta.superClass(), &TWindow::staticMetaObject);
}

void tst_FileControlSetup::constructionBuildsNothingButTheDialogs()
{
    const TControllerFixture f;
    QVERIFY(f.controller->children().isEmpty());
    QVERIFY(!f.controller->layout());
    const auto dialogs =
        f.window.findChildren<TMessageDialog*>(QString(), Qt::FindDirectChildrenOnly);
    QStringList titles;
    for (const TMessageDialog* dialog : dialogs)
        titles << dialog->Title();
    QCOMPARE(titles, (QStringList{Text("Error "), Text("File Transfer"), Text("Delete Warning"),
                                  Text("Delete")}));
    QCOMPARE(fakes::Receivers::Of(KelvoInterface, "KelvoLoggedIn()"), 1); // the log
}

void tst_FileControlSetup::setupPlacesTheWidgets()
{
    TControllerFixture f;
    f.SetUp(true);
    auto* const outer = qobject_cast<QVBoxLayout*>(f.controller->layout());
    QVERIFY(outer);
    QCOMPARE(outer->contentsMargins(), QMargins(0, 8, 0, 0));
    QCOMPARE(outer->count(), 3);
    QCOMPARE(outer->stretch(0), 0);
    QCOMPARE(outer->stretch(1), 10);
    QCOMPARE(outer->stretch(2), 0);
    QCOMPARE(outer->itemAt(0)->widget(), &f.Category());

    auto* const listRow = qobject_cast<QHBoxLayout*>(outer->itemAt(1)->layout());
    QVERIFY(listRow);
    QCOMPARE(listRow->contentsMargins(), QMargins(5, 0, 0, 0));
    QCOMPARE(listRow->count(), 2);
    QCOMPARE(listRow->itemAt(0)->widget(), &f.List());
    auto* const column = qobject_cast<QVBoxLayout*>(listRow->itemAt(1)->layout());
    QVERIFY(column);
    QCOMPARE(column->contentsMargins(), QMargins(0, 0, 0, 0));
    QCOMPARE(column->alignment(), Qt::AlignTop);
    QCOMPARE(column->count(), 3);
    for (int id = 0; id < 3; ++id)
        QCOMPARE(column->itemAt(id)->widget(), &f.Button(id));

    auto* const locationRow = qobject_cast<QHBoxLayout*>(outer->itemAt(2)->layout());
    QVERIFY(locationRow);
    QCOMPARE(locationRow->contentsMargins(), QMargins(0, 0, 0, 0));
    QCOMPARE(locationRow->count(), 2);
    QCOMPARE(locationRow->itemAt(0)->widget(), &f.Location());
    QVERIFY(locationRow->itemAt(1)->spacerItem());
    QCOMPARE(locationRow->itemAt(1)->spacerItem()->sizeHint().width(), SYSTEM_TOOLBAR_BUTTON_WIDTH);
    QCOMPARE(f.Category().minimumHeight(), PROPERTY_WIDGET_HEIGHT);
    QCOMPARE(f.Category().maximumHeight(), PROPERTY_WIDGET_HEIGHT);
    QCOMPARE(f.Location().maximumHeight(), PROPERTY_WIDGET_HEIGHT);
    QCOMPARE(f.List().selectionMode(), QAbstractItemView::MultiSelection);
}

void tst_FileControlSetup::theButtons()
{
    const TTaggingTranslator translator;
    TControllerFixture f;
    f.SetUp(true);
    const char* const captions[] = {"Download", "Upload", "Delete"};
    const char* const toolTips[] = {"Download selected files", "Upload selected files",
                                    "Delete selected files"};
    for (int id = 0; id < 3; ++id) {
        QCOMPARE(f.Button(id).text(), Text(captions[id]));
        QCOMPARE(f.Button(id).toolTip(),
                 Text("{TKelvoFileControlWidget|ToolTip}") + Text(toolTips[id]));
        QCOMPARE(f.Button(id).parentWidget(), f.controller->ContentWidget());
        QCOMPARE(fakes::Receivers::Of(&f.Button(id), "Clicked(int)"), 1);
    }
}

void tst_FileControlSetup::theDialogs()
{
    TControllerFixture f;
    f.SetUp(true);
    QCOMPARE(int(f.NoSelection().Type()), 0);
    QCOMPARE(f.NoSelection().Message(), Text("No files selected"));
    QCOMPARE(int(f.Transfer().Type()), 2);
    QCOMPARE(f.Transfer().Message(), QString());
    QCOMPARE(int(f.Confirmation().Type()), 4);
    QCOMPARE(f.Confirmation().Message(),
             Text("Are you sure you want to delete the selected files?"));
    QCOMPARE(int(f.Deletion().Type()), 2);
    QCOMPARE(f.Deletion().Message(), QString());
    for (const TMessageDialog* dialog : {&f.Transfer(), &f.Deletion()}) {
        for (auto button : {TMessageDialog::eButton0, TMessageDialog::eButton1})
            QCOMPARE(dialog->GetMessageDialogButton(button)->DisabledBackground(),
                     Text("NewDisabledButton"));
    }
    for (const TMessageDialog* dialog :
         {&f.NoSelection(), &f.Transfer(), &f.Confirmation(), &f.Deletion()}) {
        QCOMPARE(dialog->parentWidget(), &f.window);
        QVERIFY(!dialog->isVisible());
    }
}

void tst_FileControlSetup::textsAreTranslated()
{
    const TTaggingTranslator translator;
    const QString tag = Text("{TKelvoFileControlWidget|}");
    const QString tipTag = Text("{TKelvoFileControlWidget|ToolTip}");
    TControllerFixture f;
    f.SetUp(true);
    QCOMPARE(f.Category().accessibleName(), tag + Text("Category"));
    QCOMPARE(f.Location().accessibleName(), tag + Text("Browse"));
    QCOMPARE(f.Category().toolTip(), tipTag + Text("Select the type of items to manage"));
    QCOMPARE(f.Location().toolTip(), tipTag + Text("Select the location of files to view"));
    const char* const categories[] = {
        "Prescription Maps", "Job Reports",  "AB Lines", "Curves", "Pivots",
        "Optimal Lines",     "Project Lines"};
    for (int location : {0, 1}) { // the two locations together offer all seven
        f.Location().SetNumericalValue(location);
        for (int category = 0; category < 7; ++category) {
            if (category == 1 - location)
                continue;
            f.Category().SetNumericalValue(category);
            QCOMPARE(f.Category().GetTextValue(), tag + Text(categories[category]));
        }
    }
    const char* const locations[] = {"KELVO", "Files to Upload", "Downloaded Files"};
    for (int location = 0; location < 3; ++location) {
        f.Location().SetNumericalValue(location);
        QCOMPARE(f.Location().GetTextValue(), tag + Text(locations[location]));
    }
    const auto dialogs =
        f.window.findChildren<TMessageDialog*>(QString(), Qt::FindDirectChildrenOnly);
    QStringList texts;
    for (const TMessageDialog* dialog : dialogs)
        texts << dialog->Title() << dialog->Message();
    QCOMPARE(texts,
             (QStringList{tag + Text("Error "), tag + Text("No files selected"),
                          tag + Text("File Transfer"), QString(), tag + Text("Delete Warning"),
                          tag + Text("Are you sure you want to delete the selected files?"),
                          tag + Text("Delete"), QString()}));
}

void tst_FileControlSetup::theHubIsConnectedOnce_data()
{
    QTest::addColumn<QByteArray>("signature");
    QTest::addColumn<int>("count");
    const auto row = [](const char* signature, int count) {
        QTest::newRow(signature) << QByteArray(signature) << count;
    };
    row("KelvoLoggedIn()", 1);
    row("KelvoLoggedOut()", 1);
    row("KelvoDownloadingFile(int,QString)", 1);
    row("KelvoDownloadComplete(int,KelvoFileTransferErrorDetailsList)", 1);
    row("KelvoUploadingFile(int,QString)", 1);
    row("KelvoUploadComplete(int,KelvoFileTransferErrorDetailsList)", 1);
    row("NewKelvoProjectFilesList(int,KelvoFileInfoList)", 1);
    row("KelvoDeletingFile(int,QString)", 1);
    row("KelvoDeleteComplete(int,KelvoFileTransferErrorDetailsList)", 1);
    row("KelvoFileOperationInProgress()", 1);
    row("KelvoFileOperationComplete()", 1);
    row("KelvoLoginInProgress()", 0);
    row("KelvoLoginFailed(QString)", 0);
    row("KelvoUserInboxSetupInProgress(int)", 0);
    row("KelvoUserInboxSetupComplete(KelvoFileTransferErrorDetailsList)", 0);
}

void tst_FileControlSetup::theHubIsConnectedOnce()
{
    QFETCH(QByteArray, signature);
    QFETCH(int, count);
    TControllerFixture f;
    const int before = fakes::Receivers::Of(KelvoInterface, signature.constData());
    f.SetUp(false);
    QCOMPARE(fakes::Receivers::Of(KelvoInterface, signature.constData()), before + count);
}

void tst_FileControlSetup::aSecondSetupConnectsNothingMore()
{
    TControllerFixture f;
    f.SetUp(false);
    const int before = fakes::Receivers::Of(KelvoInterface, "KelvoLoggedIn()");
    const int children = f.controller->children().size();
    f.controller->Setup();
    QCOMPARE(fakes::Receivers::Of(KelvoInterface, "KelvoLoggedIn()"), before);
    QCOMPARE(fakes::Receivers::Of(&f.Transfer(), "Cancel()"), 1);
    QCOMPARE(f.controller->children().size(), children);
}

void tst_FileControlSetup::ownSignalsAreConnectedOnce()
{
    TControllerFixture f;
    f.SetUp(false);
    QCOMPARE(fakes::Receivers::Of(&f.Transfer(), "Cancel()"), 1);
    QCOMPARE(fakes::Receivers::Of(&f.Deletion(), "Cancel()"), 1);
    QCOMPARE(fakes::Receivers::Of(&f.Confirmation(), "Yes()"), 1);
    QCOMPARE(fakes::Receivers::Of(&f.NoSelection(), "Yes()"), 0);
    QCOMPARE(fakes::Receivers::Of(&f.Category(), "ValueChanged()"), 1);
    QCOMPARE(fakes::Receivers::Of(&f.Location(), "ValueChanged()"), 1);
}

void tst_FileControlSetup::cancelsAreQueued()
{
    TControllerFixture f;
    f.SetUp(true);
    f.Hub().OnDownloadFromKelvoRequested(eCurves, {Text("a.zip")});
    for (TMessageDialog* dialog : {&f.Transfer(), &f.Deletion()}) {
        f.Hub().RevertCancelCurrentOperation();
        const QString before = dialog->Message();
        Q_EMIT dialog->Cancel();
        QCOMPARE(dialog->Message(), before);
        QVERIFY(!f.Hub().IsCancelCurrentOperationRequested());
        QCoreApplication::processEvents();
        QVERIFY(f.Hub().IsCancelCurrentOperationRequested());
        QVERIFY(dialog->Message().startsWith(Text("Cancelling ")));
    }
}

void tst_FileControlSetup::theAnswerYesIsNotQueued()
{
    TControllerFixture f;
    f.SetUp(true);
    f.Choose(3, TControllerFixture::eService);
    f.log.Clear();
    Q_EMIT f.Confirmation().Yes();
    QCOMPARE(f.log.Names().last(), Text("KelvoDeleteFilesRequested"));
}

// The connections are automatic: a signal of another thread is queued to this thread.
void tst_FileControlSetup::hubSignalsOfAnotherThreadAreQueued()
{
    TControllerFixture f;
    f.SetUp(true);
    std::thread([&] { Q_EMIT f.Hub().KelvoUploadingFile(3, Text("a.zip")); }).join();
    QCOMPARE(f.Transfer().Message(), QString());
    QCoreApplication::processEvents();
    QCOMPARE(f.Transfer().Message(), Text("Uploading a.zip"));
    Q_EMIT f.Hub().KelvoUploadingFile(3, Text("b.zip"));
    QCOMPARE(f.Transfer().Message(), Text("Uploading b.zip"));
}

void tst_FileControlSetup::setsTheTitleOfTheWindow()
{
    TControllerFixture f;
    f.controller->SetTitle(Text("A title"), 7);
    QCOMPARE(f.controller->Title(), Text("A title"));
    f.controller->SetTitle(Text("Another"));
    QCOMPARE(f.controller->Title(), Text("Another"));
}

KELVO_WIDGET_TEST_MAIN(tst_FileControlSetup)
#include "tst_FileControlSetup.moc"
