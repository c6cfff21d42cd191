// A property row with choices: its value, its ValueChanged() signal, and its use by touch and
// wheel.
#include "TChoiceRow.h"
#include "host/TPushButton.h"
#include "hostimpl/FocusOrder.h"
#include "hostimpl/Theme.h"
#include "support/WidgetTestMain.h"

#include <QtWidgets/QLineEdit>

class tst_PropertyWidget : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { hostimpl::SetTheme(hostimpl::ETheme::eDay); }
    void emitsOnlyForAChangedNumber();
    void keepsNumbersWithinTheLimits();
    void showingAnItemEmitsNothing();
    void keepsACopyOfTheItem();
    void theWheelSkipsARowThatIsNotEdited();
    void theWheelSkipsChoicesNotOffered();
    void theWheelStopsAtBothEnds();
    void theWheelWrapsIfAllowed();
    void theWheelKeepsTheValueIfNothingIsOffered();
    void aDisabledRowCannotBeChanged();
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

void tst_PropertyWidget::aLockedRowCannotBeChanged()
{
    TChoiceRow place(Places());
    TPropertyWidget text(&place.window);
    text.SetTextValue(QStringLiteral("kept"));
    text.show();
    QLineEdit& edit = *text.findChild<QLineEdit*>();
    QTest::mouseClick(&place.row, Qt::LeftButton);
    place.window.SetLocked(true);
    QVERIFY(place.Popup() == nullptr || !place.Popup()->isVisible());
    QTest::mouseClick(&place.row, Qt::LeftButton);
    place.row.OnWheelPressed();
    QVERIFY(!place.row.OnWheelTurned(1));
    QTest::keyClicks(&edit, QStringLiteral("x"));
    QCOMPARE(text.GetTextValue(), QStringLiteral("kept"));
    QCOMPARE(place.changes.count(), 0);
    place.window.SetLocked(false);
    QTest::keyClicks(&edit, QStringLiteral("x"));
    QCOMPARE(text.GetTextValue(), QStringLiteral("keptx"));
    place.row.OnWheelPressed();
    QVERIFY(place.row.OnWheelTurned(1));
}

KELVO_WIDGET_TEST_MAIN(tst_PropertyWidget)
#include "tst_propertywidget.moc"
