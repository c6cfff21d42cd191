// The file controller's dialogs are members with a parent. Each dialog is deleted once, in any
// order.
#include "support/WidgetTestMain.h"
#include "tests/screens/TControllerFixture.h"

#include "screens/TKelvoFullView.h"

#include <QtCore/QPointer>
#include <QtTest/QtTest>

#include <algorithm>

class tst_FileControlLifetime : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void theControllerIsDeletedFirst_data();
    void theControllerIsDeletedFirst();
    void theParentIsDeletedFirst_data();
    void theParentIsDeletedFirst();
    void theParentIsDeletedFirstWithTheControllerRaised();
    void theParentIsDeletedFirstWithTheControllerElsewhere();
    void theControllerHasNoParent();
    void theViewIsDeletedWithAllItsDialogsOpen();
    void aQueuedCancelDoesNothingAfterTheDeletion();
    void hubSignalsDoNothingAfterTheDeletion();
};

namespace {

QList<QPointer<TMessageDialog>> DialogsOf(const QWidget& window)
{
    QList<QPointer<TMessageDialog>> dialogs;
    for (auto* dialog : window.findChildren<TMessageDialog*>(QString(), Qt::FindDirectChildrenOnly))
        dialogs << dialog;
    return dialogs;
}

bool AreGone(const QList<QPointer<TMessageDialog>>& dialogs)
{
    return std::all_of(dialogs.begin(), dialogs.end(),
                       [](const QPointer<TMessageDialog>& dialog) { return dialog.isNull(); });
}

// The state of the controller at its deletion.
void Stages()
{
    QTest::addColumn<bool>("isSetUp");
    QTest::addColumn<bool>("isShown");
    QTest::newRow("constructed") << false << false;
    QTest::newRow("set up") << true << false;
    QTest::newRow("with a dialog open") << true << true;
}

struct TOwnWindow : THubFixture
{
    TOwnWindow() : window(std::make_unique<QWidget>())
    {
        controller = new TKelvoFileControlWidget(window.get());
    }
    // Returns the controller's dialogs.
    QList<QPointer<TMessageDialog>> Bring(bool isSetUp, bool isShown) const
    {
        const auto dialogs = DialogsOf(*window); // an open dialog has another parent
        if (isSetUp)
            controller->Setup();
        if (isShown) {
            window->show();
            controller->DeletedFilesDownloadableFromKelvo(eManageCurves, {});
            controller->DownloadFilesFromKelvo(eManageCurves, {});
        }
        return dialogs;
    }

    std::unique_ptr<QWidget> window;
    QPointer<TKelvoFileControlWidget> controller;
};

} // namespace

void tst_FileControlLifetime::theControllerIsDeletedFirst_data()
{
    Stages();
}

void tst_FileControlLifetime::theControllerIsDeletedFirst()
{
    QFETCH(bool, isSetUp);
    QFETCH(bool, isShown);
    TOwnWindow f;
    const auto dialogs = f.Bring(isSetUp, isShown);
    QCOMPARE(dialogs.size(), 4);
    delete f.controller;
    QVERIFY(AreGone(dialogs));
    QVERIFY(f.window->children().isEmpty());
    f.window.reset();
}

void tst_FileControlLifetime::theParentIsDeletedFirst_data()
{
    Stages();
}

void tst_FileControlLifetime::theParentIsDeletedFirst()
{
    QFETCH(bool, isSetUp);
    QFETCH(bool, isShown);
    TOwnWindow f;
    const auto dialogs = f.Bring(isSetUp, isShown);
    QCOMPARE(dialogs.size(), 4);
    f.window.reset();
    QVERIFY(!f.controller);
    QVERIFY(AreGone(dialogs));
}

// A raised controller is the last of its parent's children: the dialogs come before it.
void tst_FileControlLifetime::theParentIsDeletedFirstWithTheControllerRaised()
{
    TOwnWindow f;
    const auto dialogs = f.Bring(true, true);
    f.controller->raise();
    QCOMPARE(f.window->children().last(), static_cast<QObject*>(f.controller));
    f.window.reset();
    QVERIFY(!f.controller);
    QVERIFY(AreGone(dialogs));
}

void tst_FileControlLifetime::theParentIsDeletedFirstWithTheControllerElsewhere()
{
    TOwnWindow f;
    const auto dialogs = f.Bring(true, false);
    auto other = std::make_unique<QWidget>();
    f.controller->setParent(other.get());
    QCOMPARE(dialogs.size(), 4);
    f.window.reset();
    QVERIFY(f.controller);
    for (const auto& dialog : dialogs)
        QVERIFY(dialog);
    other.reset();
    QVERIFY(!f.controller);
    QVERIFY(AreGone(dialogs));
}

void tst_FileControlLifetime::theControllerHasNoParent()
{
    const THubFixture around;
    auto controller = std::make_unique<TKelvoFileControlWidget>(nullptr);
    controller->Setup();
    controller->show();
    QVERIFY(DialogTitled<TMessageDialog>(QStringLiteral("File Transfer")));
    controller.reset();
    QVERIFY(!DialogTitled<TMessageDialog>(QStringLiteral("File Transfer")));
}

void tst_FileControlLifetime::theViewIsDeletedWithAllItsDialogsOpen()
{
    const THubFixture around;
    auto view = std::make_unique<TKelvoFullView>(nullptr);
    view->Setup();
    view->show();
    const auto dialogs = DialogsOf(*view);
    QCOMPARE(dialogs.size(), 4);
    for (const auto& dialog : dialogs)
        dialog->ShowWindow(true);
    view.reset();
    QVERIFY(AreGone(dialogs));
}

void tst_FileControlLifetime::aQueuedCancelDoesNothingAfterTheDeletion()
{
    TOwnWindow f;
    f.Bring(true, true);
    Press(*DialogTitled<TMessageDialog>(QStringLiteral("File Transfer")), TMessageDialog::eButton1);
    f.window.reset();
    QCoreApplication::processEvents();
    QVERIFY(!f.Hub().IsCancelCurrentOperationRequested());
}

void tst_FileControlLifetime::hubSignalsDoNothingAfterTheDeletion()
{
    TOwnWindow f;
    f.Bring(true, true);
    f.window.reset();
    f.Hub().OnLoggedIntoKelvo();
    f.Hub().OnKelvoUploadComplete(3, {});
    f.Hub().OnNewKelvoProjectFilesList(3, ListingOf({QStringLiteral("a.zip")}));
    QVERIFY(!DialogTitled<TMessageDialog>(QStringLiteral("File Transfer")));
}

KELVO_WIDGET_TEST_MAIN(tst_FileControlLifetime)
#include "tst_FileControlLifetime.moc"
