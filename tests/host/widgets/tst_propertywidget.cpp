// A property row: what it holds, when it says that its value has changed, how it is worked.
#include "host/TPropertyWidget.h"

#include "host/TPushButton.h"
#include "host/TWindow.h"
#include "hostimpl/Theme.h"
#include "support/WidgetTestMain.h"
#include "widgets/TChoicePopup.h"

#include <QtTest/QSignalSpy>
#include <QtWidgets/QLineEdit>

namespace {

TEditItem Places(bool doesWrap = false)
{
    TEditItem item;
    item.maximum = 3;
    item.doesWrap = doesWrap;
    for (const char* const label : {"Zero", "One", "Two", "Three"}) {
        item.options.Append(QString::fromLatin1(label));
    }
    return item;
}

// A row with choices in a window that is shown.
struct TChoiceRow
{
    explicit TChoiceRow(const TEditItem& item)
        : row(&window, -1), changes(&row, SIGNAL(ValueChanged()))
    {
        window.resize(600, 400);
        row.setGeometry(0, 0, 400, PROPERTY_WIDGET_HEIGHT);
        row.SetPropertyName(QStringLiteral("Place"));
        row.SetPropertyType(TPropertyWidget::eChoice, &item);
        window.show();
        row.setFocus();
    }

    TChoicePopup* Popup() { return row.findChild<TChoicePopup*>(); }

    TWindow window;
    TPropertyWidget row;
    QSignalSpy changes;
};

QLineEdit& EditOf(TPropertyWidget& row)
{
    return *row.findChild<QLineEdit*>();
}

TPushButton& EyeOf(TPropertyWidget& row)
{
    return *row.findChild<TPushButton*>();
}

} // namespace

class tst_PropertyWidget : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { hostimpl::SetTheme(hostimpl::ETheme::eDay); }
    void numbersTellOnlyChanges();
    void numbersStayWithinLimits();
    void showingAnItemTellsNothing();
    void keepsACopyOfTheItem();
    void textsTellOnlyChanges();
    void tellsEachCharacterTyped();
    void hidesTextAndShowsIt();
    void offersNoEyeWithoutHiding();
    void wheelPassesWhatIsNotInHand();
    void wheelStepsOverWhatIsNotOffered();
    void wheelStopsAtTheEnds();
    void wheelWrapsIfItMay();
    void wheelStaysWhereNothingIsOffered();
    void buttonBeginsAndEndsWriting();
    void lettersBeginWriting();
    void touchOpensTheChoices();
    void touchChooses();
    void choicesNotOfferedCannotBeChosen();
    void choicesAreWorkedByWheel();
    void choicesFollowWhatIsOffered();
    void secondTouchOpensNothing();
    void rowMayGoWithItsChoicesOpen();
    void chosenRowMayGoAtOnce();
    void choicesCloseWithTheirRow();
    void disabledCannotBeChanged();
    void disabledTextCanBeRead();
    void lockedCannotBeChanged();
    void longListsFitTheScreen();
};

void tst_PropertyWidget::numbersTellOnlyChanges()
{
    TChoiceRow place(Places());
    place.row.SetNumericalValue(0.0);
    QCOMPARE(place.changes.count(), 0);
    place.row.SetNumericalValue(2.0);
    QCOMPARE(place.changes.count(), 1);
    QCOMPARE(place.row.GetNumericalValue(), 2.0);
    QCOMPARE(place.row.GetTextValue(), QStringLiteral("Two"));
    place.row.SetNumericalValue(2.0);
    QCOMPARE(place.changes.count(), 1);
}

void tst_PropertyWidget::numbersStayWithinLimits()
{
    TChoiceRow place(Places());
    place.row.SetNumericalValue(9.0);
    QCOMPARE(place.row.GetNumericalValue(), 3.0);
    place.row.SetNumericalValue(-1.0);
    QCOMPARE(place.row.GetNumericalValue(), 0.0);
    QCOMPARE(place.changes.count(), 2);
}

void tst_PropertyWidget::showingAnItemTellsNothing()
{
    TChoiceRow place(Places());
    TEditItem item = Places();
    item.value = 3.0;
    place.row.SetProperties(item);
    QCOMPARE(place.row.GetNumericalValue(), 3.0);
    QCOMPARE(place.changes.count(), 0);
}

void tst_PropertyWidget::keepsACopyOfTheItem()
{
    TEditItem item = Places();
    TChoiceRow place(item);
    item.options.Set(0, QStringLiteral("Changed"));
    item.value = 1.0;
    QCOMPARE(place.row.GetTextValue(), QStringLiteral("Zero"));
    place.row.SetProperties(item);
    item.options.Clear();
    QCOMPARE(place.row.GetTextValue(), QStringLiteral("One"));
}

void tst_PropertyWidget::textsTellOnlyChanges()
{
    TPropertyWidget row;
    row.SetPropertyType(TPropertyWidget::eText, nullptr);
    const QSignalSpy changes(&row, &TPropertyWidget::ValueChanged);
    row.SetTextValue(QString());
    QCOMPARE(changes.count(), 0);
    row.SetTextValue(QStringLiteral("12.5"));
    row.SetTextValue(QStringLiteral("12.5"));
    QCOMPARE(changes.count(), 1);
    QCOMPARE(row.GetTextValue(), QStringLiteral("12.5"));
    QCOMPARE(row.GetNumericalValue(), 12.5);
}

void tst_PropertyWidget::tellsEachCharacterTyped()
{
    TPropertyWidget row;
    row.show();
    QStringList values;
    connect(&row, &TPropertyWidget::ValueChanged, this, [&] { values.append(row.GetTextValue()); });
    QTest::keyClicks(&EditOf(row), QStringLiteral("ab"));
    QTest::keyClick(&EditOf(row), Qt::Key_Backspace);
    QTest::keyClick(&EditOf(row), Qt::Key_Left);
    QCOMPARE(values, QStringList({QStringLiteral("a"), QStringLiteral("ab"), QStringLiteral("a")}));
}

void tst_PropertyWidget::hidesTextAndShowsIt()
{
    TPropertyWidget row;
    row.setAllowHideText(true);
    row.SetTextValue(QStringLiteral("secret"));
    row.resize(400, PROPERTY_WIDGET_HEIGHT);
    row.show();
    QCOMPARE(EditOf(row).echoMode(), QLineEdit::Password);
    QVERIFY(EditOf(row).inputMethodHints() & Qt::ImhHiddenText);
    QVERIFY(EyeOf(row).width() >= hostimpl::TOUCH_SIZE);
    QVERIFY(EyeOf(row).height() >= hostimpl::TOUCH_SIZE);
    const QString before = EyeOf(row).toolTip();
    QTest::mouseClick(&EyeOf(row), Qt::LeftButton);
    QCOMPARE(EditOf(row).echoMode(), QLineEdit::Normal);
    QVERIFY(EyeOf(row).toolTip() != before);
    EyeOf(row).OnWheelPressed();
    QCOMPARE(EditOf(row).echoMode(), QLineEdit::Password);
    QCOMPARE(row.GetTextValue(), QStringLiteral("secret"));
}

void tst_PropertyWidget::offersNoEyeWithoutHiding()
{
    TPropertyWidget row;
    row.show();
    QVERIFY(!EyeOf(row).isVisible());
    QCOMPARE(EditOf(row).echoMode(), QLineEdit::Normal);
    row.setAllowHideText(true);
    QVERIFY(EyeOf(row).isVisible());
    row.setAllowHideText(false);
    QVERIFY(!EyeOf(row).isVisible());
    QCOMPARE(EditOf(row).echoMode(), QLineEdit::Normal);
}

void tst_PropertyWidget::wheelPassesWhatIsNotInHand()
{
    TChoiceRow place(Places());
    QVERIFY(!place.row.OnWheelTurned(1));
    QVERIFY(!place.row.OnBackPressed());
    QCOMPARE(place.changes.count(), 0);
    QVERIFY(place.row.OnWheelPressed());
    QVERIFY(place.row.OnWheelTurned(1));
    QCOMPARE(place.row.GetNumericalValue(), 1.0);
    QVERIFY(place.row.OnBackPressed());
    QVERIFY(!place.row.OnWheelTurned(1));
    QCOMPARE(place.changes.count(), 1);
}

void tst_PropertyWidget::wheelStepsOverWhatIsNotOffered()
{
    TEditItem item = Places();
    item.optionsEnabled.Set(1, false);
    item.optionsEnabled.Set(2, false);
    TChoiceRow place(item);
    place.row.OnWheelPressed();
    place.row.OnWheelTurned(1);
    QCOMPARE(place.row.GetNumericalValue(), 3.0);
    place.row.OnWheelTurned(-1);
    QCOMPARE(place.row.GetNumericalValue(), 0.0);
    QCOMPARE(place.changes.count(), 2);
}

void tst_PropertyWidget::wheelStopsAtTheEnds()
{
    TChoiceRow place(Places(false));
    place.row.OnWheelPressed();
    QVERIFY(place.row.OnWheelTurned(-1));
    QCOMPARE(place.row.GetNumericalValue(), 0.0);
    QVERIFY(place.row.OnWheelTurned(7));
    QCOMPARE(place.row.GetNumericalValue(), 3.0);
    QCOMPARE(place.changes.count(), 1);
}

void tst_PropertyWidget::wheelWrapsIfItMay()
{
    TEditItem item = Places(true);
    item.optionsEnabled.Set(0, false);
    item.value = 3.0;
    TChoiceRow place(item);
    place.row.OnWheelPressed();
    place.row.OnWheelTurned(1);
    QCOMPARE(place.row.GetNumericalValue(), 1.0);
    place.row.OnWheelTurned(-1);
    QCOMPARE(place.row.GetNumericalValue(), 3.0);
}

void tst_PropertyWidget::wheelStaysWhereNothingIsOffered()
{
    TEditItem item = Places(true);
    for (int value = 0; value <= 3; ++value) {
        item.optionsEnabled.Set(value, false);
    }
    TChoiceRow place(item);
    place.row.OnWheelPressed();
    place.row.OnWheelTurned(1);
    QCOMPARE(place.row.GetNumericalValue(), 0.0);
    QCOMPARE(place.changes.count(), 0);
}

void tst_PropertyWidget::buttonBeginsAndEndsWriting()
{
    TWindow window;
    TPropertyWidget row(&window);
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    row.setFocus();
    QVERIFY(!EditOf(row).hasFocus());
    row.OnWheelPressed();
    QVERIFY(EditOf(row).hasFocus());
    row.OnWheelPressed();
    QVERIFY(row.hasFocus());
    row.OnWheelPressed();
    QVERIFY(row.OnBackPressed());
    QVERIFY(row.hasFocus());
}

void tst_PropertyWidget::lettersBeginWriting()
{
    TWindow window;
    TPropertyWidget row(&window);
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    row.setFocus();
    QTest::keyClicks(&row, QStringLiteral("x"));
    QCOMPARE(row.GetTextValue(), QStringLiteral("x"));
    QVERIFY(EditOf(row).hasFocus());
}

void tst_PropertyWidget::touchOpensTheChoices()
{
    TEditItem item = Places();
    item.value = 2.0;
    TChoiceRow place(item);
    QTest::mouseClick(&place.row, Qt::LeftButton);
    TChoicePopup* const popup = place.Popup();
    QVERIFY(popup != nullptr);
    QVERIFY(popup->isVisible());
    QVERIFY(popup->isModal());
    QCOMPARE(popup->Choices().size(), 4);
    for (TPushButton* const choice : popup->Choices()) {
        QVERIFY(choice->height() >= hostimpl::TOUCH_SIZE);
    }
    QCOMPARE(popup->focusWidget(), popup->Choices().at(2));
    QVERIFY(popup->OnBackPressed());
    QVERIFY(!popup->isVisible());
    QCOMPARE(place.changes.count(), 0);
}

void tst_PropertyWidget::touchChooses()
{
    TChoiceRow place(Places());
    QTest::mouseClick(&place.row, Qt::LeftButton);
    const QPointer<TChoicePopup> popup = place.Popup();
    TPushButton* const choice = popup->Choices().at(3);
    choice->click();
    choice->click(); // the second press of a double one
    QCOMPARE(place.row.GetNumericalValue(), 3.0);
    QCOMPARE(place.changes.count(), 1);
    QVERIFY(!popup->isVisible());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(popup.isNull());
}

void tst_PropertyWidget::choicesNotOfferedCannotBeChosen()
{
    TEditItem item = Places();
    item.optionsEnabled.Set(1, false);
    TChoiceRow place(item);
    QTest::mouseClick(&place.row, Qt::LeftButton);
    TPushButton* const off = place.Popup()->Choices().at(1);
    TPushButton* const on = place.Popup()->Choices().at(2);
    QVERIFY(!off->isEnabled());
    QTest::mouseClick(off, Qt::LeftButton);
    QVERIFY(!off->OnWheelPressed());
    QVERIFY(place.Popup()->isVisible());
    QCOMPARE(place.changes.count(), 0);
    const QPoint corner(off->width() - 20, off->height() / 2);
    QVERIFY(off->grab().toImage().pixelColor(corner) != on->grab().toImage().pixelColor(corner));
}

void tst_PropertyWidget::choicesAreWorkedByWheel()
{
    TEditItem item = Places();
    item.optionsEnabled.Set(1, false);
    TChoiceRow place(item);
    QTest::mouseClick(&place.row, Qt::LeftButton);
    TChoicePopup* const popup = place.Popup();
    QVERIFY(popup->OnWheelTurned(1));
    QCOMPARE(popup->focusWidget(), popup->Choices().at(2));
    popup->Choices().at(2)->OnWheelPressed();
    QCOMPARE(place.row.GetNumericalValue(), 2.0);
}

void tst_PropertyWidget::choicesFollowWhatIsOffered()
{
    TChoiceRow place(Places());
    QTest::mouseClick(&place.row, Qt::LeftButton);
    TEditItem item = Places();
    item.optionsEnabled.Set(0, false);
    item.value = 1.0;
    place.row.SetProperties(item);
    QVERIFY(place.Popup()->isVisible());
    QVERIFY(!place.Popup()->Choices().at(0)->isEnabled());
    QVERIFY(place.Popup()->Choices().at(2)->isEnabled());
}

void tst_PropertyWidget::secondTouchOpensNothing()
{
    TChoiceRow place(Places());
    QTest::mouseClick(&place.row, Qt::LeftButton);
    QTest::mouseClick(&place.row, Qt::LeftButton);
    QCOMPARE(place.row.findChildren<TChoicePopup*>().size(), 1);
}

void tst_PropertyWidget::rowMayGoWithItsChoicesOpen()
{
    TWindow window;
    auto* const row = new TPropertyWidget(&window);
    const TEditItem item = Places();
    row->SetPropertyType(TPropertyWidget::eChoice, &item);
    window.show();
    QTest::mouseClick(row, Qt::LeftButton);
    const QPointer<TChoicePopup> popup = row->findChild<TChoicePopup*>();
    QVERIFY(!popup.isNull());
    delete row;
    QVERIFY(popup.isNull());
}

void tst_PropertyWidget::chosenRowMayGoAtOnce()
{
    TWindow window;
    const QPointer<TPropertyWidget> row = new TPropertyWidget(&window);
    const TEditItem item = Places();
    row->SetPropertyType(TPropertyWidget::eChoice, &item);
    window.show();
    connect(row, &TPropertyWidget::ValueChanged, row, &QObject::deleteLater);
    QTest::mouseClick(row, Qt::LeftButton);
    row->findChild<TChoicePopup*>()->Choices().at(1)->click();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(row.isNull());
}

void tst_PropertyWidget::choicesCloseWithTheirRow()
{
    TChoiceRow place(Places());
    QTest::mouseClick(&place.row, Qt::LeftButton);
    place.row.setEnabled(false);
    QVERIFY(!place.Popup()->isVisible());
    place.row.setEnabled(true);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QTest::mouseClick(&place.row, Qt::LeftButton);
    QVERIFY(place.Popup()->isVisible());
    place.window.hide();
    QVERIFY(!place.Popup()->isVisible());
    QCOMPARE(place.changes.count(), 0);
}

void tst_PropertyWidget::disabledCannotBeChanged()
{
    TChoiceRow place(Places());
    place.row.setEnabled(false);
    QTest::mouseClick(&place.row, Qt::LeftButton);
    QVERIFY(place.Popup() == nullptr);
    place.row.OnWheelPressed();
    QVERIFY(!place.row.OnWheelTurned(1));
    QCOMPARE(place.changes.count(), 0);
}

void tst_PropertyWidget::disabledTextCanBeRead()
{
    TPropertyWidget row;
    row.show();
    row.setEnabled(false);
    const auto drawn = [&row] {
        return EditOf(row).palette().color(EditOf(row).palette().currentColorGroup(),
                                           QPalette::Text);
    };
    for (const auto theme : {hostimpl::ETheme::eNight, hostimpl::ETheme::eDay}) {
        hostimpl::SetTheme(theme);
        QCOMPARE(drawn(), hostimpl::ThemeColour(hostimpl::EColour::eOffText, theme));
        QApplication::setPalette(QPalette(Qt::gray)); // by somebody else
        QCOMPARE(drawn(), hostimpl::ThemeColour(hostimpl::EColour::eOffText, theme));
    }
}

void tst_PropertyWidget::lockedCannotBeChanged()
{
    TChoiceRow place(Places());
    TPropertyWidget text(&place.window);
    text.SetTextValue(QStringLiteral("kept"));
    text.show();
    QTest::mouseClick(&place.row, Qt::LeftButton);
    place.window.SetLocked(true);
    QVERIFY(place.Popup() == nullptr || !place.Popup()->isVisible());
    QTest::mouseClick(&place.row, Qt::LeftButton);
    place.row.OnWheelPressed();
    QVERIFY(!place.row.OnWheelTurned(1));
    QTest::keyClicks(&EditOf(text), QStringLiteral("x"));
    QCOMPARE(text.GetTextValue(), QStringLiteral("kept"));
    QCOMPARE(place.changes.count(), 0);
    place.window.SetLocked(false);
    QTest::keyClicks(&EditOf(text), QStringLiteral("x"));
    QCOMPARE(text.GetTextValue(), QStringLiteral("keptx"));
    place.row.OnWheelPressed();
    QVERIFY(place.row.OnWheelTurned(1));
}

void tst_PropertyWidget::longListsFitTheScreen()
{
    TEditItem item;
    item.maximum = 40;
    TChoiceRow place(item);
    QTest::mouseClick(&place.row, Qt::LeftButton);
    TChoicePopup* const popup = place.Popup();
    QVERIFY(popup->height() <= place.window.height());
    for (int step = 0; step < 40; ++step) {
        popup->OnWheelTurned(1);
    }
    TPushButton* const last = popup->Choices().at(40);
    QCOMPARE(popup->focusWidget(), last);
    QVERIFY(popup->rect().contains(QRect(last->mapTo(popup, QPoint(0, 0)), last->size())));
}

KELVO_WIDGET_TEST_MAIN(tst_PropertyWidget)
#include "tst_propertywidget.moc"
