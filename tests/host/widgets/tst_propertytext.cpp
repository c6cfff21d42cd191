// A property row with a text: typing, hiding and clearing the text, and its ValueChanged() signal.
#include "host/TPropertyWidget.h"
#include "host/TPushButton.h"
#include "host/TWindow.h"
#include "hostimpl/FocusOrder.h"
#include "hostimpl/Theme.h"
#include "support/TTestCase.h"
#include "support/WidgetTestMain.h"

#include <QtTest/QSignalSpy>
#include <QtTest/QtTest>
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

class tst_PropertyText : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { hostimpl::SetTheme(hostimpl::ETheme::eDay); }
    void emitsOnlyForAChangedText();
    void emitsForEachTypedCharacter();
    void hidesAndRevealsTheText();
    void aTouchOnTheEyeLeavesTheFocusInTheText();
    void hidesARevealedTextWhenTheRowIsHidden();
    void hasNoRevealButtonWithoutHiding();
    void theEditingStartsAtTheEndOfTheText();
    void aTouchOnAHiddenTextEditsItsEnd();
    void aSecondTouchOnAVisibleTextMovesTheCaret();
    void aTouchClearsAHiddenText();
    void theWheelClearsAHiddenText();
    void offersToClearOnlyAHiddenText();
    void theButtonStartsAndEndsTheEditing();
    void aLetterKeyStartsTheEditing();
    void aDisabledTextIsReadable();
};

void tst_PropertyText::emitsOnlyForAChangedText()
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

void tst_PropertyText::emitsForEachTypedCharacter()
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

void tst_PropertyText::hidesAndRevealsTheText()
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
    QCOMPARE(EyeOf(row).accessibleName(), QStringLiteral("Show the text"));
    QTest::mouseClick(&EyeOf(row), Qt::LeftButton);
    QCOMPARE(EditOf(row).echoMode(), QLineEdit::Normal);
    QCOMPARE(EyeOf(row).accessibleName(), QStringLiteral("Hide the text"));
    EyeOf(row).OnWheelPressed();
    QCOMPARE(EditOf(row).echoMode(), QLineEdit::Password);
    QCOMPARE(row.GetTextValue(), QStringLiteral("secret"));
}

// The on-screen keyboard is open as long as the text has the focus.
void tst_PropertyText::aTouchOnTheEyeLeavesTheFocusInTheText()
{
    TTextRow place;
    QVERIFY(place.isActive);
    place.row.setAllowHideText(true);
    QTest::mouseClick(&EditOf(place.row), Qt::LeftButton);
    for (const auto mode : {QLineEdit::Normal, QLineEdit::Password}) {
        QTest::mouseClick(&EyeOf(place.row), Qt::LeftButton);
        QCOMPARE(EditOf(place.row).echoMode(), mode);
        QVERIFY(EditOf(place.row).hasFocus());
    }
}

void tst_PropertyText::hidesARevealedTextWhenTheRowIsHidden()
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

void tst_PropertyText::hasNoRevealButtonWithoutHiding()
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

void tst_PropertyText::theEditingStartsAtTheEndOfTheText()
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

void tst_PropertyText::aTouchOnAHiddenTextEditsItsEnd()
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

void tst_PropertyText::aSecondTouchOnAVisibleTextMovesTheCaret()
{
    TTextRow place;
    QVERIFY(place.isActive);
    place.row.OnWheelPressed();
    QTest::mouseClick(&EditOf(place.row), Qt::LeftButton, Qt::NoModifier, QPoint(20, 5));
    QVERIFY(EditOf(place.row).cursorPosition() < place.Length());
}

void tst_PropertyText::aTouchClearsAHiddenText()
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

void tst_PropertyText::theWheelClearsAHiddenText()
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

void tst_PropertyText::offersToClearOnlyAHiddenText()
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

void tst_PropertyText::theButtonStartsAndEndsTheEditing()
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

void tst_PropertyText::aLetterKeyStartsTheEditing()
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

void tst_PropertyText::aDisabledTextIsReadable()
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

KELVO_WIDGET_TEST_MAIN(tst_PropertyText)
#include "tst_propertytext.moc"
