// A whole screen that is used with the keys of the wheel and its button.
#include "hostimpl/TWheelInput.h"

#include "host/TListWidget.h"
#include "host/TMessageDialog.h"
#include "host/TPropertyWidget.h"
#include "host/TPushButton.h"
#include "host/TWindow.h"
#include "hostimpl/FocusOrder.h"
#include "hostimpl/Theme.h"
#include "support/WidgetTestMain.h"

#include <QtTest/QSignalSpy>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QVBoxLayout>

namespace {

TPushButton* NewButton(QWidget* parent, int id)
{
    return new TPushButton(parent, QStringLiteral("button"), QStringLiteral("NewStandardButton"),
                           QStringLiteral("NewStandardButtonSelected"), id, QString());
}

// A screen with one widget of each kind, and a check box beside the screen.
struct TScreen
{
    TScreen()
        : screen(new TWindow(&window)),
          text(new TPropertyWidget(screen)),
          choice(new TPropertyWidget(screen)),
          list(new TListWidget(screen)),
          button(NewButton(screen, 1)),
          beside(new QCheckBox(&window)),
          clicks(button, SIGNAL(Clicked(int)))
    {
        TEditItem item;
        item.maximum = 2;
        choice->SetPropertyType(TPropertyWidget::eChoice, &item);
        list->setSelectionMode(QAbstractItemView::MultiSelection);
        for (const char* const name : {"a", "b", "c"}) {
            list->AddString(QString::fromLatin1(name), 30, 0, QIcon());
        }
        auto* const column = new QVBoxLayout(screen);
        for (QWidget* const each : std::initializer_list<QWidget*>{text, choice, list, button}) {
            column->addWidget(each);
        }
        auto* const outer = new QVBoxLayout(&window);
        outer->addWidget(screen);
        outer->addWidget(beside);
        window.resize(800, 600);
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        text->setFocus();
        QCoreApplication::processEvents(); // the list shows its head
        const QList<TPushButton*> buttons = list->findChildren<TPushButton*>();
        all = buttons.at(0);
        search = buttons.at(1);
    }

    void Key(Qt::Key key, int times = 1)
    {
        for (int time = 0; time < times; ++time) {
            QWidget* const focus = window.focusWidget();
            QTest::keyClick(focus == nullptr ? &window : focus, key);
        }
    }

    QWidget window;
    TWindow* screen;
    TPropertyWidget* text;
    TPropertyWidget* choice;
    TListWidget* list;
    TPushButton* all = nullptr;
    TPushButton* search = nullptr;
    TPushButton* button;
    QCheckBox* beside;
    QSignalSpy clicks;
    hostimpl::TWheelInput wheel;
};

} // namespace

class tst_WheelInput : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { hostimpl::SetTheme(hostimpl::ETheme::eDay); }
    void visitsAllWidgetsInOrderAndWrapsAround();
    void visitsBackwards();
    void skipsDisabledWidgets();
    void writesText();
    void stepsThroughChoices();
    void selectsInTheList();
    void pressesButtons();
    void pressesButtonsOfQt();
    void aLongPressGoesBack();
    void aLongPressGoesBackOnce();
    void aStrayReleaseDoesNothing();
    void escapeGoesBack();
    void answersDialogs();
    void doesNotHandleOtherKeys();
    void doesNotHandleKeysOfQtsLists();
    void handlesNoKeysAfterItsDestructor();
    void worksWithoutKeys();
    void reachesTheRevealButton();
    void focusOrderIsTheReadingOrder();
    void moveFocusStopsAtTheEnds();
};

void tst_WheelInput::visitsAllWidgetsInOrderAndWrapsAround()
{
    TScreen it;
    for (QWidget* const next : std::initializer_list<QWidget*>{
             it.choice, it.all, it.search, it.list, it.button, it.beside, it.text}) {
        it.Key(Qt::Key_Down);
        QCOMPARE(it.window.focusWidget(), next);
    }
}

void tst_WheelInput::visitsBackwards()
{
    TScreen it;
    for (QWidget* const next : std::initializer_list<QWidget*>{
             it.beside, it.button, it.list, it.search, it.all, it.choice, it.text}) {
        it.Key(Qt::Key_Up);
        QCOMPARE(it.window.focusWidget(), next);
    }
}

void tst_WheelInput::skipsDisabledWidgets()
{
    TScreen it;
    it.choice->setEnabled(false);
    it.list->hide();
    it.Key(Qt::Key_Down);
    QCOMPARE(it.window.focusWidget(), it.button);
}

void tst_WheelInput::writesText()
{
    TScreen it;
    it.Key(Qt::Key_Return);
    QVERIFY(qobject_cast<QLineEdit*>(it.window.focusWidget()) != nullptr);
    QTest::keyClicks(it.window.focusWidget(), QStringLiteral("abc"));
    it.Key(Qt::Key_Return);
    QCOMPARE(it.text->GetTextValue(), QStringLiteral("abc"));
    QCOMPARE(it.window.focusWidget(), it.choice);
    it.Key(Qt::Key_Up);
    it.Key(Qt::Key_Return);
    it.Key(Qt::Key_Down); // ends the editing and moves to the next widget
    QCOMPARE(it.window.focusWidget(), it.choice);
}

void tst_WheelInput::stepsThroughChoices()
{
    TScreen it;
    it.Key(Qt::Key_Down);
    it.Key(Qt::Key_Return);
    it.Key(Qt::Key_Down, 2);
    it.Key(Qt::Key_Up);
    QCOMPARE(it.choice->GetNumericalValue(), 1.0);
    QCOMPARE(it.window.focusWidget(), it.choice);
    it.Key(Qt::Key_Return);
    it.Key(Qt::Key_Down);
    QCOMPARE(it.window.focusWidget(), it.all);
    QCOMPARE(it.choice->GetNumericalValue(), 1.0);
}

void tst_WheelInput::selectsInTheList()
{
    TScreen it;
    it.list->setFocus();
    it.Key(Qt::Key_Return, 2);
    it.Key(Qt::Key_Down, 2);
    it.Key(Qt::Key_Return);
    QCOMPARE(it.list->GetSelectedTextItems(),
             QStringList({QStringLiteral("a"), QStringLiteral("c")}));
    it.Key(Qt::Key_Down);
    QCOMPARE(it.window.focusWidget(), it.button);
}

void tst_WheelInput::pressesButtons()
{
    TScreen it;
    it.button->setFocus();
    it.Key(Qt::Key_Enter);
    for (const auto type : {QEvent::KeyPress, QEvent::KeyRelease}) {
        QKeyEvent event(type, Qt::Key_Select, Qt::NoModifier); // QtTest cannot type this key
        QCoreApplication::sendEvent(it.button, &event);
    }
    QCOMPARE(it.clicks.count(), 2);
    QCOMPARE(it.clicks.at(0).at(0).toInt(), 1);
}

void tst_WheelInput::pressesButtonsOfQt()
{
    TScreen it;
    it.beside->setFocus();
    it.Key(Qt::Key_Return);
    QVERIFY(it.beside->isChecked());
}

void tst_WheelInput::aLongPressGoesBack()
{
    TScreen it;
    it.choice->setFocus();
    it.Key(Qt::Key_Return);
    QKeyEvent press(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier);
    QKeyEvent repeat(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, QString(), true);
    QKeyEvent release(QEvent::KeyRelease, Qt::Key_Return, Qt::NoModifier);
    QCoreApplication::sendEvent(it.choice, &press);
    QCoreApplication::sendEvent(it.choice, &repeat);
    QCoreApplication::sendEvent(it.choice, &release);
    it.Key(Qt::Key_Down); // the row is not edited any more
    QCOMPARE(it.window.focusWidget(), it.all);
    QCOMPARE(it.choice->GetNumericalValue(), 0.0);
}

void tst_WheelInput::aLongPressGoesBackOnce()
{
    TScreen it;
    TMessageDialog first(nullptr, QString(), QString(), TMessageDialog::eAcknowledge, false,
                         QPixmap());
    TMessageDialog second(nullptr, QString(), QString(), TMessageDialog::eAcknowledge, false,
                          QPixmap());
    first.ShowWindow(true);
    second.ShowWindow(true);
    QKeyEvent press(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier);
    QKeyEvent repeat(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier, QString(), true);
    QCoreApplication::sendEvent(second.focusWidget(), &press);
    QCoreApplication::sendEvent(second.focusWidget(), &repeat);
    QVERIFY(!second.isVisible());
    QCoreApplication::sendEvent(first.focusWidget(), &repeat);
    QVERIFY(first.isVisible());
}

// The press went to another window.
void tst_WheelInput::aStrayReleaseDoesNothing()
{
    TScreen it;
    it.button->setFocus();
    QKeyEvent release(QEvent::KeyRelease, Qt::Key_Return, Qt::NoModifier);
    QCoreApplication::sendEvent(it.button, &release);
    QCOMPARE(it.clicks.count(), 0);
}

void tst_WheelInput::escapeGoesBack()
{
    TScreen it;
    it.list->setFocus();
    it.Key(Qt::Key_Return);
    it.Key(Qt::Key_Escape);
    it.Key(Qt::Key_Down);
    QCOMPARE(it.window.focusWidget(), it.button);
}

void tst_WheelInput::answersDialogs()
{
    TScreen it;
    TMessageDialog dialog(&it.window, QString(), QString(), TMessageDialog::eQuestion, false,
                          QPixmap());
    const QSignalSpy yes(&dialog, &TMessageDialog::Yes);
    const QSignalSpy no(&dialog, &TMessageDialog::No);
    dialog.ShowWindow(true);
    it.Key(Qt::Key_Up);
    it.Key(Qt::Key_Return);
    QCOMPARE(yes.count(), 1);
    QVERIFY(!dialog.isVisible());
    dialog.ShowWindow(true);
    it.Key(Qt::Key_Escape);
    QCOMPARE(no.count(), 1);
    QCOMPARE(it.window.focusWidget(), it.text);
}

void tst_WheelInput::doesNotHandleOtherKeys()
{
    TScreen it;
    it.Key(Qt::Key_Return);
    QTest::keyClicks(it.window.focusWidget(), QStringLiteral("ab"));
    it.Key(Qt::Key_Left);
    QTest::keyClicks(it.window.focusWidget(), QStringLiteral("x"));
    QCOMPARE(it.text->GetTextValue(), QStringLiteral("axb"));
}

void tst_WheelInput::doesNotHandleKeysOfQtsLists()
{
    QListWidget list;
    list.addItems({QStringLiteral("a"), QStringLiteral("b")});
    list.setCurrentRow(0);
    list.show();
    QVERIFY(QTest::qWaitForWindowActive(&list));
    const hostimpl::TWheelInput wheel;
    QTest::keyClick(&list, Qt::Key_Down);
    QCOMPARE(list.currentRow(), 1);
}

void tst_WheelInput::handlesNoKeysAfterItsDestructor()
{
    TScreen it;
    {
        const hostimpl::TWheelInput another;
    }
    it.Key(Qt::Key_Down);
    QCOMPARE(it.window.focusWidget(), it.choice);
}

void tst_WheelInput::worksWithoutKeys()
{
    TScreen it;
    QVERIFY(it.wheel.Turn(5));
    QCOMPARE(it.window.focusWidget(), it.button);
    QVERIFY(it.wheel.Press());
    QCOMPARE(it.clicks.count(), 1);
    QVERIFY(!it.wheel.Back());
    QVERIFY(it.wheel.Turn(-5));
    QCOMPARE(it.window.focusWidget(), it.text);
}

void tst_WheelInput::reachesTheRevealButton()
{
    TScreen it;
    it.text->setAllowHideText(true);
    it.Key(Qt::Key_Down);
    auto* const eye = it.text->findChild<TPushButton*>();
    QCOMPARE(it.window.focusWidget(), eye);
    it.Key(Qt::Key_Return);
    QCOMPARE(it.text->findChild<QLineEdit*>()->echoMode(), QLineEdit::Normal);
    it.Key(Qt::Key_Down);
    QCOMPARE(it.window.focusWidget(), it.choice);
}

void tst_WheelInput::focusOrderIsTheReadingOrder()
{
    TScreen it;
    QWidget::setTabOrder(it.button, it.text); // does not matter
    QCOMPARE(hostimpl::FocusOrder(*it.screen),
             QVector<QWidget*>({it.text, it.choice, it.all, it.search, it.list, it.button}));
    it.screen->layout()->removeWidget(it.text);
    it.screen->layout()->addWidget(it.text);
    it.screen->layout()->activate();
    QCOMPARE(hostimpl::FocusOrder(*it.screen),
             QVector<QWidget*>({it.choice, it.all, it.search, it.list, it.button, it.text}));
    const QWidget nothing;
    QVERIFY(hostimpl::FocusOrder(nothing).isEmpty());
    QVERIFY(!hostimpl::MoveFocus(nothing, 1, true));
}

void tst_WheelInput::moveFocusStopsAtTheEnds()
{
    TScreen it;
    QVERIFY(!it.screen->OnWheelTurned(-1));
    QVERIFY(it.screen->OnWheelTurned(9));
    QCOMPARE(it.window.focusWidget(), it.button);
    QVERIFY(!it.screen->OnWheelTurned(1));
    it.beside->setFocus();
    QVERIFY(it.screen->OnWheelTurned(-1));
    QCOMPARE(it.window.focusWidget(), it.button);
}

KELVO_WIDGET_TEST_MAIN(tst_WheelInput)
#include "tst_wheelinput.moc"
