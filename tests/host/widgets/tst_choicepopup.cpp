// The list of a property row's choices: touch, wheel, and the row's end.
#include "TChoiceRow.h"
#include "host/TPushButton.h"
#include "hostimpl/PopupHost.h"
#include "hostimpl/Theme.h"
#include "support/WidgetTestMain.h"

class tst_ChoicePopup : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { hostimpl::SetTheme(hostimpl::ETheme::eDay); }
    void aTouchOpensTheChoices();
    void aTouchSelectsAChoice();
    void choicesNotOfferedCannotBeSelected();
    void theWheelSelectsAChoice();
    void anOpenListUpdatesTheOfferedChoices();
    void aSecondTouchOpensNothing();
    void theRowMayBeDeletedWhileItsChoicesAreOpen();
    void theRowMayBeDeletedBySelectingAChoice();
    void disablingOrHidingTheRowClosesTheChoices();
    void longListsFitTheScreen();
};

void tst_ChoicePopup::aTouchOpensTheChoices()
{
    TEditItem item = Places();
    item.value = 2.0;
    TChoiceRow place(item);
    QTest::mouseClick(&place.row, Qt::LeftButton);
    TChoicePopup* const popup = place.Popup();
    QVERIFY(popup != nullptr);
    QVERIFY(popup->isVisible());
    QVERIFY(hostimpl::IsBlocked(place.row));
    QCOMPARE(popup->Choices().size(), 4);
    for (TPushButton* const choice : popup->Choices()) {
        QVERIFY(choice->height() >= hostimpl::TOUCH_SIZE);
    }
    QCOMPARE(popup->focusWidget(), popup->Choices().at(2));
    QVERIFY(popup->OnBackPressed());
    QVERIFY(!popup->isVisible());
    QCOMPARE(place.changes.count(), 0);
}

void tst_ChoicePopup::aTouchSelectsAChoice()
{
    TChoiceRow place(Places());
    QTest::mouseClick(&place.row, Qt::LeftButton);
    const QPointer<TChoicePopup> popup = place.Popup();
    TPushButton* const choice = popup->Choices().at(3);
    choice->click();
    choice->click(); // the second press of a double press
    QCOMPARE(place.row.GetNumericalValue(), 3.0);
    QCOMPARE(place.changes.count(), 1);
    QVERIFY(!popup->isVisible());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(popup.isNull());
}

void tst_ChoicePopup::choicesNotOfferedCannotBeSelected()
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

void tst_ChoicePopup::theWheelSelectsAChoice()
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

void tst_ChoicePopup::anOpenListUpdatesTheOfferedChoices()
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

void tst_ChoicePopup::aSecondTouchOpensNothing()
{
    TChoiceRow place(Places());
    QTest::mouseClick(&place.row, Qt::LeftButton);
    QTest::mouseClick(&place.row, Qt::LeftButton);
    QCOMPARE(place.window.findChildren<TChoicePopup*>().size(), 1);
}

void tst_ChoicePopup::theRowMayBeDeletedWhileItsChoicesAreOpen()
{
    TWindow window;
    auto* const row = new TPropertyWidget(&window);
    const TEditItem item = Places();
    row->SetPropertyType(TPropertyWidget::eChoice, &item);
    window.show();
    QTest::mouseClick(row, Qt::LeftButton);
    const QPointer<TChoicePopup> popup = window.findChild<TChoicePopup*>();
    QVERIFY(!popup.isNull());
    delete row;
    QVERIFY(popup.isNull());
}

void tst_ChoicePopup::theRowMayBeDeletedBySelectingAChoice()
{
    TWindow window;
    const QPointer<TPropertyWidget> row = new TPropertyWidget(&window);
    const TEditItem item = Places();
    row->SetPropertyType(TPropertyWidget::eChoice, &item);
    window.show();
    connect(row, &TPropertyWidget::ValueChanged, row, &QObject::deleteLater);
    QTest::mouseClick(row, Qt::LeftButton);
    window.findChild<TChoicePopup*>()->Choices().at(1)->click();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QVERIFY(row.isNull());
}

void tst_ChoicePopup::disablingOrHidingTheRowClosesTheChoices()
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

void tst_ChoicePopup::longListsFitTheScreen()
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

KELVO_WIDGET_TEST_MAIN(tst_ChoicePopup)
#include "tst_choicepopup.moc"
