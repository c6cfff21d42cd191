// A property row: its value, its ValueChanged() signal, and its use by touch, wheel and keyboard.
#include "TChoiceRow.h"
#include "host/TPushButton.h"
#include "hostimpl/FocusOrder.h"
#include "hostimpl/Theme.h"
#include "support/WidgetTestMain.h"

#include <QtWidgets/QLineEdit>

namespace {

QLineEdit& EditOf(TPropertyWidget& row)
{
    return *row.findChild<QLineEdit*>();
}

TPushButton& EyeOf(TPropertyWidget& row)
{
    return *row.findChildren<TPushButton*>().at(0);
}

TPushButton& ClearOf(TPropertyWidget& row)
{
    return *row.findChildren<TPushButton*>().at(1);
}

// A row with a text, in an active window.
struct TTextRow
{
    TTextRow()
    {
        row.resize(500, PROPERTY_WIDGET_HEIGHT);
        row.SetTextValue(QStringLiteral("seven green fields"));
        window.show();
        isActive = QTest::qWaitForWindowActive(&window);
    }

    int Length() const { return row.GetTextValue().size(); }

    TWindow window;
    TPropertyWidget row{&window};
    bool isActive = false;
};

} // namespace

class tst_PropertyWidget : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { hostimpl::SetTheme(hostimpl::ETheme::eDay); }
    void emitsOnlyForAChangedNumber();
    void keepsNumbersWithinTheLimits();
    void showingAnItemEmitsNothing();
    void keepsACopyOfTheItem();
    void emitsOnlyForAChangedText();
    void emitsForEachTypedCharacter();
    void hidesAndRevealsTheText();
    void hidesARevealedTextWhenTheRowIsHidden();
    void hasNoRevealButtonWithoutHiding();
    void theEditingStartsAtTheEndOfTheText();
    void aTouchOnAHiddenTextEditsItsEnd();
    void aSecondTouchOnAVisibleTextMovesTheCaret();
    void aTouchClearsAHiddenText();
    void theWheelClearsAHiddenText();
    void offersToClearOnlyAHiddenText();
    void theWheelSkipsARowThatIsNotEdited();
    void theWheelSkipsChoicesNotOffered();
    void theWheelStopsAtBothEnds();
    void theWheelWrapsIfAllowed();
    void theWheelKeepsTheValueIfNothingIsOffered();
    void theButtonStartsAndEndsTheEditing();
    void aLetterKeyStartsTheEditing();
    void aDisabledRowCannotBeChanged();
    void aDisabledTextIsReadable();
    void aLockedRowCannotBeChanged();
};

void tst_PropertyWidget::emitsOnlyForAChangedNumber()
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

void tst_PropertyWidget::keepsNumbersWithinTheLimits()
{
    TChoiceRow place(Places());
    place.row.SetNumericalValue(9.0);
    QCOMPARE(place.row.GetNumericalValue(), 3.0);
    place.row.SetNumericalValue(-1.0);
    QCOMPARE(place.row.GetNumericalValue(), 0.0);
    QCOMPARE(place.changes.count(), 2);
}

void tst_PropertyWidget::showingAnItemEmitsNothing()
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

void tst_PropertyWidget::emitsOnlyForAChangedText()
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

void tst_PropertyWidget::emitsForEachTypedCharacter()
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

void tst_PropertyWidget::hidesAndRevealsTheText()
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

void tst_PropertyWidget::hidesARevealedTextWhenTheRowIsHidden()
{
    TPropertyWidget row;
    row.setAllowHideText(true);
    row.show();
    EyeOf(row).click();
    QCOMPARE(EditOf(row).echoMode(), QLineEdit::Normal);
    row.hide();
    row.show();
    QCOMPARE(EditOf(row).echoMode(), QLineEdit::Password);
    row.setAllowHideText(false);
    row.hide();
    row.show();
    QCOMPARE(EditOf(row).echoMode(), QLineEdit::Normal);
}

void tst_PropertyWidget::hasNoRevealButtonWithoutHiding()
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

void tst_PropertyWidget::theEditingStartsAtTheEndOfTheText()
{
    TTextRow place;
    QVERIFY(place.isActive);
    EditOf(place.row).setCursorPosition(2);
    place.row.OnWheelPressed();
    QCOMPARE(EditOf(place.row).cursorPosition(), place.Length());
    place.row.OnBackPressed();
    QTest::mouseClick(&EditOf(place.row), Qt::LeftButton, Qt::NoModifier, QPoint(20, 5));
    QCOMPARE(EditOf(place.row).cursorPosition(), place.Length());
}

void tst_PropertyWidget::aTouchOnAHiddenTextEditsItsEnd()
{
    TTextRow place;
    QVERIFY(place.isActive);
    place.row.setAllowHideText(true);
    for (int touch = 0; touch < 2; ++touch) {
        QTest::mouseClick(&EditOf(place.row), Qt::LeftButton, Qt::NoModifier, QPoint(20, 5));
        QCOMPARE(EditOf(place.row).cursorPosition(), place.Length());
    }
    QTest::keyClicks(&EditOf(place.row), QStringLiteral("x"));
    QVERIFY(place.row.GetTextValue().endsWith(QLatin1Char('x')));
}

void tst_PropertyWidget::aSecondTouchOnAVisibleTextMovesTheCaret()
{
    TTextRow place;
    QVERIFY(place.isActive);
    place.row.OnWheelPressed();
    QTest::mouseClick(&EditOf(place.row), Qt::LeftButton, Qt::NoModifier, QPoint(20, 5));
    QVERIFY(EditOf(place.row).cursorPosition() < place.Length());
}

void tst_PropertyWidget::aTouchClearsAHiddenText()
{
    TTextRow place;
    QVERIFY(place.isActive);
    place.row.setAllowHideText(true);
    QVERIFY(!ClearOf(place.row).isVisible());
    place.row.OnWheelPressed();
    TPushButton& clear = ClearOf(place.row);
    QVERIFY(clear.isVisible());
    QVERIFY(!clear.geometry().intersects(EyeOf(place.row).geometry()));
    QVERIFY(!clear.geometry().intersects(EditOf(place.row).geometry()));
    const QSignalSpy changes(&place.row, &TPropertyWidget::ValueChanged);
    QTest::mouseClick(&clear, Qt::LeftButton);
    QCOMPARE(place.row.GetTextValue(), QString());
    QCOMPARE(changes.count(), 1);
    QVERIFY(EditOf(place.row).hasFocus());
    QVERIFY(!clear.isVisible());
}

void tst_PropertyWidget::theWheelClearsAHiddenText()
{
    TTextRow place;
    QVERIFY(place.isActive);
    place.row.setAllowHideText(true);
    place.row.OnWheelPressed();
    QVERIFY(hostimpl::MoveFocus(place.window, 1, true));
    QCOMPARE(place.window.focusWidget(), &ClearOf(place.row));
    QVERIFY(ClearOf(place.row).isVisible());
    ClearOf(place.row).OnWheelPressed();
    QCOMPARE(place.row.GetTextValue(), QString());
    QVERIFY(EditOf(place.row).hasFocus());
}

void tst_PropertyWidget::offersToClearOnlyAHiddenText()
{
    TTextRow place;
    QVERIFY(place.isActive);
    place.row.OnWheelPressed();
    QVERIFY(!ClearOf(place.row).isVisible());
    place.row.setAllowHideText(true);
    QVERIFY(ClearOf(place.row).isVisible());
    place.row.OnBackPressed();
    QVERIFY(!ClearOf(place.row).isVisible());
}

void tst_PropertyWidget::theWheelSkipsARowThatIsNotEdited()
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

void tst_PropertyWidget::theWheelSkipsChoicesNotOffered()
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

void tst_PropertyWidget::theWheelStopsAtBothEnds()
{
    TChoiceRow place(Places(false));
    place.row.OnWheelPressed();
    QVERIFY(place.row.OnWheelTurned(-1));
    QCOMPARE(place.row.GetNumericalValue(), 0.0);
    QVERIFY(place.row.OnWheelTurned(7));
    QCOMPARE(place.row.GetNumericalValue(), 3.0);
    QCOMPARE(place.changes.count(), 1);
}

void tst_PropertyWidget::theWheelWrapsIfAllowed()
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

void tst_PropertyWidget::theWheelKeepsTheValueIfNothingIsOffered()
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

void tst_PropertyWidget::theButtonStartsAndEndsTheEditing()
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

void tst_PropertyWidget::aLetterKeyStartsTheEditing()
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

void tst_PropertyWidget::aDisabledRowCannotBeChanged()
{
    TChoiceRow place(Places());
    place.row.setEnabled(false);
    QTest::mouseClick(&place.row, Qt::LeftButton);
    QVERIFY(place.Popup() == nullptr);
    place.row.OnWheelPressed();
    QVERIFY(!place.row.OnWheelTurned(1));
    QCOMPARE(place.changes.count(), 0);
}

void tst_PropertyWidget::aDisabledTextIsReadable()
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
        QApplication::setPalette(QPalette(Qt::gray)); // a palette that is not the theme's
        QCOMPARE(drawn(), hostimpl::ThemeColour(hostimpl::EColour::eOffText, theme));
    }
}

void tst_PropertyWidget::aLockedRowCannotBeChanged()
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

KELVO_WIDGET_TEST_MAIN(tst_PropertyWidget)
#include "tst_propertywidget.moc"
