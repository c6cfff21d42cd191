// A property row with choices: its value, its ValueChanged() signal, and its use by touch and
// wheel.
#include "TChoiceRow.h"
#include "host/TPushButton.h"
#include "hostimpl/Display.h"
#include "hostimpl/FocusOrder.h"
#include "hostimpl/Theme.h"
#include "support/WidgetTestMain.h"

#include <QtCore/QSet>
#include <QtGui/QImage>
#include <QtWidgets/QLineEdit>

#include <algorithm>

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
    void nameAndValueStayApartInEachTextSize();
    void theRingHidesNoAccentOfACapital();
    void theGroundOfAnEditedValueHidesNoLetterOfTheName();
};

namespace {

// The rows of pixels with letters, without the frame and the sides.
QSet<int> InkRows(const QString& name, const QString& value)
{
    TPropertyWidget row;
    row.SetPropertyName(name);
    row.SetPropertyType(TPropertyWidget::eText, nullptr);
    row.SetTextValue(value);
    row.resize(400, PROPERTY_WIDGET_HEIGHT);
    const QImage picture = row.grab().toImage();
    const QRgb ground = picture.pixel(300, PROPERTY_WIDGET_HEIGHT / 2);
    QSet<int> rows;
    for (int y = 2; y < picture.height() - 2; ++y) {
        for (int x = 10; x < 190; ++x) {
            if (picture.pixel(x, y) != ground) {
                rows.insert(y);
            }
        }
    }
    return rows;
}

// The lowest row of pixels with a part of a letter of the name.
int LowestOfName(bool isEdited)
{
    QVector<QImage> pictures;
    for (const char* const name : {"nnn", "gjy"}) {
        TChoiceRow place(Places());
        place.row.SetPropertyName(QString::fromLatin1(name));
        if (isEdited) {
            place.row.OnWheelPressed();
        }
        pictures << place.row.grab().toImage();
    }
    int lowest = -1;
    for (int y = 0; y < pictures[0].height(); ++y) {
        for (int x = 0; x < pictures[0].width(); ++x) {
            lowest = pictures[0].pixel(x, y) == pictures[1].pixel(x, y) ? lowest : y;
        }
    }
    return lowest;
}

} // namespace

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

void tst_PropertyWidget::nameAndValueStayApartInEachTextSize()
{
    for (const hostimpl::TDisplay& display : hostimpl::DISPLAYS) {
        for (const double factor : {1.0, 1.15}) {
            hostimpl::SetTextSize(display.PixelMillimetres() * display.scale, 1.0);
            const int usual = hostimpl::ThemeFont(hostimpl::EFont::eBody).pixelSize();
            hostimpl::SetTextSize(display.PixelMillimetres() * display.scale, factor);
            const QSet<int> name = InkRows(QStringLiteral("gjpq"), QString());
            const QSet<int> value = InkRows(QString(), QStringLiteral("HKM"));
            QVERIFY(!name.isEmpty() && !value.isEmpty());
            const int endOfName = *std::max_element(name.begin(), name.end());
            const int startOfValue = *std::min_element(value.begin(), value.end());
            QVERIFY2(endOfName < startOfValue, QByteArray::number(endOfName).constData());
            TChoiceRow place(Places());
            QVERIFY(place.row.findChild<QLineEdit*>()->font().pixelSize() >= usual);
        }
    }
    hostimpl::SetTextSize(hostimpl::DISPLAYS[0].PixelMillimetres(), 1.0);
}

void tst_PropertyWidget::theRingHidesNoAccentOfACapital()
{
    for (const hostimpl::TDisplay& display : hostimpl::DISPLAYS) {
        hostimpl::SetTextSize(display.PixelMillimetres() * display.scale, 1.0);
        const QSet<int> name = InkRows(QStringLiteral("CONTRASEÑA UŻ"), QString());
        QVERIFY2(*std::min_element(name.begin(), name.end()) >= hostimpl::FOCUS_RING,
                 QByteArray::number(display.pixels.width()).constData());
    }
    hostimpl::SetTextSize(hostimpl::DISPLAYS[0].PixelMillimetres(), 1.0);
}

void tst_PropertyWidget::theGroundOfAnEditedValueHidesNoLetterOfTheName()
{
    QVERIFY(LowestOfName(false) > 0);
    QCOMPARE(LowestOfName(true), LowestOfName(false));
}

KELVO_WIDGET_TEST_MAIN(tst_PropertyWidget)
#include "tst_propertywidget.moc"
