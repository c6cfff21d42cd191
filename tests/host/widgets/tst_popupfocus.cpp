// Popups inside a window: what they block, and where the focus is before, during and after them.
#include "host/TMessageDialog.h"
#include "host/TProgressDialog.h"
#include "host/TPushButton.h"
#include "hostimpl/FocusOrder.h"
#include "hostimpl/PopupHost.h"
#include "hostimpl/TWheelInput.h"
#include "hostimpl/Theme.h"
#include "support/WidgetTestMain.h"

#include <QtTest/QSignalSpy>
#include <QtWidgets/QStackedWidget>
#include <QtWidgets/QVBoxLayout>

#include <memory>

namespace {

TPushButton* NewButton(QWidget* parent)
{
    return new TPushButton(parent, QStringLiteral("b"), QStringLiteral("NewStandardButton"),
                           QStringLiteral("NewStandardButtonSelected"), 0, QString());
}

// A bar with a button beside two pages, each with a button. The pages are areas for popups.
struct TConsole
{
    TConsole()
        : bar(NewButton(&window)),
          pages(new QStackedWidget(&window)),
          first(NewPage()),
          second(NewPage()),
          inFirst(NewButton(first)),
          inSecond(NewButton(second)),
          transfer(first, QStringLiteral("File Transfer"), QStringLiteral("text"),
                   TMessageDialog::eOperation, false, QPixmap()),
          error(nullptr, QStringLiteral("Error"), QStringLiteral("text"),
                TMessageDialog::eAcknowledge, false, QPixmap())
    {
        first->layout()->addWidget(inFirst);
        second->layout()->addWidget(inSecond);
        auto* const row = new QHBoxLayout(&window);
        row->addWidget(bar);
        row->addWidget(pages);
        hostimpl::SetPopupHost(&window);
        window.resize(1000, 600);
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        inFirst->setFocus();
    }
    ~TConsole() { hostimpl::SetPopupHost(nullptr); }

    QWidget* NewPage()
    {
        auto* const page = new QWidget;
        new QVBoxLayout(page);
        hostimpl::SetPopupArea(*page);
        pages->addWidget(page);
        return page;
    }

    QWidget* Focus() const { return QApplication::focusWidget(); }
    void Key(Qt::Key key) { QTest::keyClick(Focus() == nullptr ? &window : Focus(), key); }
    void Run()
    {
        transfer.ShowWindow(true);
        transfer.EnableButton(TMessageDialog::eButton1, true);
        transfer.EnableButton(TMessageDialog::eButton0, false);
    }
    void Finish()
    {
        transfer.ShowWindow(true);
        transfer.EnableButton(TMessageDialog::eButton1, false);
        transfer.EnableButton(TMessageDialog::eButton0, true);
    }
    QWidget* Close() { return transfer.GetMessageDialogButton(TMessageDialog::eButton0); }
    QWidget* Cancel() { return transfer.GetMessageDialogButton(TMessageDialog::eButton1); }

    QWidget window;
    TPushButton* bar;
    QStackedWidget* pages;
    QWidget* first;
    QWidget* second;
    TPushButton* inFirst;
    TPushButton* inSecond;
    TMessageDialog transfer;
    TMessageDialog error;
    hostimpl::TWheelInput wheel;
};

} // namespace

class tst_PopupFocus : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { hostimpl::SetTheme(hostimpl::ETheme::eDay); }
    void opensNoWindowOfTheDisplay();
    void blocksOnlyTheAreaOfItsParent();
    void blocksTheWholeWindowWithoutAParent();
    void aPopupThatIsNotModalBlocksNothing();
    void aTouchBesideDoesNothing();
    void aPopupIsHiddenWithItsArea();
    void givesTheFocusBack();
    void givesTheFocusBackNearADisabledWidget();
    void givesTheFocusBackThroughTwoPopups();
    void keepsTheFocusWithoutAnEnabledButton();
    void doesNotTakeTheFocusFromAnotherPage();
    void takesTheFocusOfItsPage();
    void theWheelLeavesAPopupOverAPage();
    void theWheelStaysInAPopupOverTheWindow();
    void theTabKeyStaysInThePopup();
    void aPopupOverTheWindowComesBeforeAPopupOverAPage();
    void theAreaMayBeDeletedWhileItsPopupIsOpen();
    void emitsClosedWhenItLosesItsArea();
    void thePopupMayBeDeletedWhileItIsOpen();
};

void tst_PopupFocus::opensNoWindowOfTheDisplay()
{
    TConsole it;
    const auto windows = [] { return QGuiApplication::topLevelWindows().size(); };
    const auto before = windows();
    it.Run();
    it.error.ShowWindow(true);
    QCOMPARE(it.transfer.window(), &it.window);
    QCOMPARE(hostimpl::OpenPopups(), QList<TPopupWindow*>({&it.transfer, &it.error}));
    it.error.CloseWindow();
    it.transfer.CloseWindow();
    QCOMPARE(windows(), before);
    QVERIFY(hostimpl::OpenPopups().isEmpty());
    QCOMPARE(it.transfer.parentWidget(), it.first);
    QVERIFY(it.error.parentWidget() == nullptr);
}

void tst_PopupFocus::blocksOnlyTheAreaOfItsParent()
{
    TConsole it;
    it.Run();
    QVERIFY(hostimpl::IsBlocked(*it.inFirst));
    QVERIFY(!hostimpl::IsBlocked(*it.bar));
    QVERIFY(!hostimpl::IsBlocked(*it.Cancel()));
    it.pages->setCurrentWidget(it.second);
    QVERIFY(!hostimpl::IsBlocked(*it.inSecond));
    QCOMPARE(it.transfer.mapTo(it.first, it.transfer.rect().center()), it.first->rect().center());
}

void tst_PopupFocus::blocksTheWholeWindowWithoutAParent()
{
    TConsole it;
    it.error.ShowWindow(true);
    QVERIFY(hostimpl::IsBlocked(*it.bar));
    QVERIFY(hostimpl::IsBlocked(*it.inFirst));
    QCOMPARE(hostimpl::FocusOrder(it.window),
             QVector<QWidget*>({it.error.GetMessageDialogButton(TMessageDialog::eButton0)}));
}

void tst_PopupFocus::aPopupThatIsNotModalBlocksNothing()
{
    TConsole it;
    TProgressDialog progress(nullptr, QString(), TProgressDialog::ePercentage, true);
    progress.ShowWindow(false);
    auto* const close = progress.findChild<TPushButton*>();
    QCOMPARE(it.Focus(), close);
    QVERIFY(!hostimpl::IsBlocked(*it.bar));
    QTest::mouseClick(it.window.windowHandle(), Qt::LeftButton, Qt::NoModifier,
                      it.bar->mapTo(&it.window, it.bar->rect().center()));
    QVERIFY(progress.isVisible()); // and on top: nothing can cover it
    QCOMPARE(hostimpl::FocusOrder(it.window), QVector<QWidget*>({it.bar, it.inFirst, close}));
}

void tst_PopupFocus::aTouchBesideDoesNothing()
{
    TConsole it;
    int clicks = 0;
    connect(it.bar, &TPushButton::Clicked, this, [&clicks] { ++clicks; });
    const auto touch = [&it] {
        QTest::mouseClick(it.window.windowHandle(), Qt::LeftButton, Qt::NoModifier,
                          it.bar->mapTo(&it.window, it.bar->rect().center()));
    };
    touch();
    QCOMPARE(clicks, 1);
    it.error.ShowWindow(true);
    touch();
    QCOMPARE(clicks, 1);
    QVERIFY(it.error.isVisible());
    QVERIFY(it.error.isAncestorOf(it.Focus()));
}

void tst_PopupFocus::aPopupIsHiddenWithItsArea()
{
    TConsole it;
    it.Run();
    it.pages->setCurrentWidget(it.second);
    QVERIFY(!it.transfer.isVisible());
    QVERIFY(hostimpl::OpenPopups().isEmpty());
    it.Finish(); // the operator reads it on the way back
    QVERIFY(!it.transfer.isVisible());
    it.pages->setCurrentWidget(it.first);
    QVERIFY(it.transfer.isVisible());
}

void tst_PopupFocus::givesTheFocusBack()
{
    TConsole it;
    for (int round = 0; round < 3; ++round) {
        it.Run();
        QCOMPARE(it.Focus(), it.Cancel());
        it.Finish();
        QCOMPARE(it.Focus(), it.Close());
        it.Key(Qt::Key_Return);
        QVERIFY(!it.transfer.isVisible());
        QCOMPARE(it.Focus(), it.inFirst);
    }
}

void tst_PopupFocus::givesTheFocusBackNearADisabledWidget()
{
    TConsole it;
    TPushButton* const beside = NewButton(it.first);
    it.first->layout()->addWidget(beside);
    beside->show();
    it.Run();
    it.inFirst->setEnabled(false);
    it.transfer.CloseWindow();
    QCOMPARE(it.Focus(), beside);
}

void tst_PopupFocus::givesTheFocusBackThroughTwoPopups()
{
    TConsole it;
    TMessageDialog question(it.first, QString(), QString(), TMessageDialog::eQuestion, false,
                            QPixmap());
    connect(&question, &TMessageDialog::Yes, this, [&it] { it.Run(); });
    question.ShowWindow(true);
    question.GetMessageDialogButton(TMessageDialog::eButton0)->click();
    QVERIFY(!question.isVisible());
    QCOMPARE(it.Focus(), it.Cancel());
    it.transfer.CloseWindow();
    QCOMPARE(it.Focus(), it.inFirst);
}

void tst_PopupFocus::keepsTheFocusWithoutAnEnabledButton()
{
    TConsole it;
    it.Run();
    it.transfer.EnableButton(TMessageDialog::eButton1, false);
    QCOMPARE(it.Focus(), &it.transfer);
    it.Finish();
    QCOMPARE(it.Focus(), it.Close());
}

void tst_PopupFocus::doesNotTakeTheFocusFromAnotherPage()
{
    TConsole it;
    it.Run();
    it.pages->setCurrentWidget(it.second);
    it.inSecond->setFocus();
    it.Finish();
    QCOMPARE(it.Focus(), it.inSecond);
    it.pages->setCurrentWidget(it.first);
    it.bar->setFocus(); // beside the visible page
    it.Finish();
    QCOMPARE(it.Focus(), it.bar);
}

void tst_PopupFocus::takesTheFocusOfItsPage()
{
    TConsole it;
    it.Run();
    it.pages->setCurrentWidget(it.second);
    it.inSecond->setFocus();
    it.Finish();
    it.pages->setCurrentWidget(it.first);
    hostimpl::FocusNear(*it.first, *it.first);
    QCOMPARE(it.Focus(), it.Close());
    it.inFirst->setFocus(); // lies under the popup
    QCOMPARE(it.Focus(), it.Close());
}

void tst_PopupFocus::theWheelLeavesAPopupOverAPage()
{
    TConsole it;
    it.Run();
    it.Key(Qt::Key_Down);
    QCOMPARE(it.Focus(), it.bar);
    it.Key(Qt::Key_Down);
    QCOMPARE(it.Focus(), it.Cancel());
}

void tst_PopupFocus::theWheelStaysInAPopupOverTheWindow()
{
    TConsole it;
    TMessageDialog question(nullptr, QString(), QString(), TMessageDialog::eQuestion, false,
                            QPixmap());
    question.ShowWindow(true);
    QWidget* const yes = question.GetMessageDialogButton(TMessageDialog::eButton0);
    QWidget* const no = question.GetMessageDialogButton(TMessageDialog::eButton1);
    for (QWidget* const next : {yes, no, yes}) {
        it.Key(Qt::Key_Down);
        QCOMPARE(it.Focus(), next);
    }
}

void tst_PopupFocus::theTabKeyStaysInThePopup()
{
    TConsole it;
    it.error.ShowWindow(true);
    QWidget* const ok = it.error.GetMessageDialogButton(TMessageDialog::eButton0);
    for (const Qt::Key key : {Qt::Key_Tab, Qt::Key_Backtab}) {
        it.Key(key);
        QCOMPARE(it.Focus(), ok);
    }
}

void tst_PopupFocus::aPopupOverTheWindowComesBeforeAPopupOverAPage()
{
    TConsole it;
    it.error.ShowWindow(true);
    QWidget* const ok = it.error.GetMessageDialogButton(TMessageDialog::eButton0);
    it.Finish(); // opens below the error
    QVERIFY(hostimpl::IsBlocked(*it.Close()));
    QCOMPARE(it.Focus(), ok);
    QCOMPARE(hostimpl::OpenPopups().last(), &it.error);
    it.error.CloseWindow();
    QCOMPARE(it.Focus(), it.Close());
}

void tst_PopupFocus::theAreaMayBeDeletedWhileItsPopupIsOpen()
{
    TConsole it;
    struct TPart : QWidget // as the plug-in's screens: its dialog's parent is its own parent
    {
        explicit TPart(QWidget* parent)
            : QWidget(parent),
              dialog(parent, QString(), QString(), TMessageDialog::eAcknowledge, false, QPixmap())
        {}
        TMessageDialog dialog;
    };
    auto* const part = new TPart(it.second);
    it.pages->setCurrentWidget(it.second);
    part->dialog.ShowWindow(true);
    delete it.second;
    QVERIFY(hostimpl::OpenPopups().isEmpty());
    auto* const child = new TMessageDialog(it.inFirst, QString(), QString(),
                                           TMessageDialog::eAcknowledge, false, QPixmap());
    const QPointer<TMessageDialog> watched(child);
    child->ShowWindow(true);
    delete it.inFirst; // the popup's parent deletes it, as any child
    QVERIFY(watched.isNull());
    QVERIFY(hostimpl::OpenPopups().isEmpty());
}

// Later: while the area is deleted, the receivers may be half destroyed.
void tst_PopupFocus::emitsClosedWhenItLosesItsArea()
{
    auto window = std::make_unique<QWidget>();
    hostimpl::SetPopupHost(window.get());
    window->show();
    TMessageDialog dialog(nullptr, QString(), QString(), TMessageDialog::eAcknowledge, false,
                          QPixmap());
    QSignalSpy closed(&dialog, &TPopupWindow::Closed);
    dialog.ShowWindow(true);
    dialog.setParent(nullptr); // as a screen does before its parent deletes its children
    QCOMPARE(closed.count(), 0);
    QVERIFY(closed.wait());
    dialog.ShowWindow(true);
    window.reset();
    QCOMPARE(closed.count(), 1);
    QVERIFY(closed.wait());
    dialog.CloseWindow();
    QCoreApplication::processEvents();
    QCOMPARE(closed.count(), 2);
}

void tst_PopupFocus::thePopupMayBeDeletedWhileItIsOpen()
{
    TConsole it;
    auto popup = std::make_unique<TMessageDialog>(it.first, QString(), QString(),
                                                  TMessageDialog::eAcknowledge, false, QPixmap());
    popup->ShowWindow(true);
    popup.reset();
    QVERIFY(hostimpl::OpenPopups().isEmpty());
    QCOMPARE(it.Focus(), it.inFirst);
    QVERIFY(!hostimpl::IsBlocked(*it.inFirst));
}

KELVO_WIDGET_TEST_MAIN(tst_PopupFocus)
#include "tst_popupfocus.moc"
