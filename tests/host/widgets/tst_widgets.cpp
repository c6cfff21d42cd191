// Buttons, TProperty, windows, locking, and TEditContainer.
#include "host/TEditItem.h"
#include "host/TProperty.h"
#include "host/TPushButton.h"
#include "host/TWindow.h"
#include "hostimpl/Theme.h"
#include "support/WidgetTestMain.h"

#include <QtTest/QSignalSpy>
#include <QtWidgets/QLabel>
#include <QtWidgets/QVBoxLayout>

using hostimpl::EColour;
using hostimpl::ThemeColour;

namespace {

TPushButton* NewButton(QWidget* parent, int id = 4)
{
    return new TPushButton(parent, QStringLiteral("Caption"), QStringLiteral("NewStandardButton"),
                           QStringLiteral("NewStandardButtonSelected"), id,
                           QStringLiteral("Tool tip"));
}

// The background colour of a button, at a point without text or focus ring.
QColor Ground(TPushButton& button)
{
    return button.grab().toImage().pixelColor(8, button.height() / 2);
}

class TLockable : public QWidget, public TLockingWidget
{};

} // namespace

class tst_Widgets : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { hostimpl::SetTheme(hostimpl::ETheme::eDay); }
    void theButtonHasItsPlaceAndSize();
    void theButtonEmitsItsId();
    void buttonIsLargeEnough();
    void buttonShowsItsState();
    void theButtonTakesOtherBackgrounds();
    void buttonKeepsBothCaptions();
    void buttonWrapsALongCaption();
    void buttonDrawsItsIcon();
    void disabledButtonCannotBePressed();
    void lockedButtonCannotBePressed();
    void lockingKeepsTheEnabledStates();
    void aLockedWindowLocksItsChildren();
    void propertyShowsItsValue();
    void propertyValueIsPlainText();
    void windowKeepsItsTitle();
    void windowInstallsNoLayout();
    void focusRingIsDrawn();
    void containersReturnTheirDefault();
    void containersGrowToTheIndexThatIsSet();
};

void tst_Widgets::theButtonHasItsPlaceAndSize()
{
    QWidget parent;
    TPushButton button(&parent, QStringLiteral("x"), QSize(220, 73), QPoint(5, 6), 0,
                       QStringLiteral("tip"));
    QCOMPARE(button.geometry(), QRect(5, 6, 220, 73));
    QCOMPARE(button.sizeHint(), QSize(220, 73));
    QCOMPARE(button.toolTip(), QStringLiteral("tip"));
    button.SetToolTip(QString());
    QVERIFY(button.toolTip().isEmpty());
}

void tst_Widgets::theButtonEmitsItsId()
{
    QWidget parent;
    TPushButton* const button = NewButton(&parent, 7);
    QStringList emitted;
    connect(button, &TPushButton::Clicked, this,
            [&](int id) { emitted.append(QString::number(id)); });
    connect(button, &QAbstractButton::clicked, this,
            [&] { emitted.append(QStringLiteral("clicked")); });
    parent.show();
    QTest::mouseClick(button, Qt::LeftButton);
    QVERIFY(button->OnWheelPressed());
    QCOMPARE(emitted.size(), 4);
    QCOMPARE(emitted.count(QStringLiteral("7")), 2);
    QCOMPARE(button->Id(), 7);
}

void tst_Widgets::buttonIsLargeEnough()
{
    QWidget parent;
    const TPushButton* const button = NewButton(&parent);
    QVERIFY(button->sizeHint().height() >= hostimpl::TOUCH_SIZE);
    QVERIFY(button->sizeHint().width() >= hostimpl::TOUCH_SIZE);
    const TPushButton small(&parent, QString(), QSize(10, 10), QPoint(), 0, QString());
    QVERIFY(small.height() >= hostimpl::TOUCH_SIZE && small.width() >= hostimpl::TOUCH_SIZE);
}

void tst_Widgets::buttonShowsItsState()
{
    QWidget parent;
    TPushButton* const button = NewButton(&parent);
    TPushButton* const other = NewButton(&parent);
    other->move(300, 0);
    parent.show();
    QVERIFY(QTest::qWaitForWindowActive(&parent));
    other->setFocus();
    QCOMPARE(Ground(*button), ThemeColour(EColour::eButton));
    QCOMPARE(Ground(*other), ThemeColour(EColour::eButton)); // the ring shows the focus
    button->setDown(true);
    QCOMPARE(Ground(*button), ThemeColour(EColour::eButtonSelected));
    button->setEnabled(false);
    QCOMPARE(Ground(*button), ThemeColour(EColour::eOff));
}

void tst_Widgets::theButtonTakesOtherBackgrounds()
{
    QWidget parent;
    TPushButton* const button = NewButton(&parent);
    button->SetBackground(QStringLiteral("NewStandardButtonSelected"));
    button->SetSelectedBackground(QStringLiteral("NewStandardButton"));
    QCOMPARE(Ground(*button), ThemeColour(EColour::eButtonSelected));
    button->setDown(true);
    QCOMPARE(Ground(*button), ThemeColour(EColour::eButton));
    button->SetDisabledBackground(QStringLiteral("NewStandardButton"));
    QCOMPARE(button->DisabledBackground(), QStringLiteral("NewStandardButton"));
    button->setEnabled(false);
    QCOMPARE(Ground(*button), ThemeColour(EColour::eButton));
}

void tst_Widgets::buttonKeepsBothCaptions()
{
    QWidget parent;
    TPushButton* const button = NewButton(&parent);
    QCOMPARE(button->UntranslatedCaption(), QStringLiteral("Caption"));
    button->SetCaption(QStringLiteral("Anmelden"), QStringLiteral("Login"));
    QCOMPARE(button->text(), QStringLiteral("Anmelden"));
    QCOMPARE(button->UntranslatedCaption(), QStringLiteral("Login"));
}

void tst_Widgets::buttonWrapsALongCaption()
{
    QWidget parent;
    TPushButton button(&parent, QStringLiteral("Processing, please wait"), QSize(220, 73),
                       QPoint(0, 0), 0, QString());
    const QImage image = button.grab().toImage();
    const auto textIn = [&image](int fromY, int toY) {
        for (int y = fromY; y < toY; ++y) {
            for (int x = 20; x < 200; ++x) {
                if (image.pixelColor(x, y).lightness() > 200) {
                    return true;
                }
            }
        }
        return false;
    };
    QVERIFY(textIn(8, 30));
    QVERIFY(textIn(43, 65));
}

void tst_Widgets::buttonDrawsItsIcon()
{
    QWidget parent;
    TPushButton* const button = NewButton(&parent);
    const QImage before = button->grab().toImage();
    button->setIcon(hostimpl::ThemeIcon(QStringLiteral("home")));
    const QImage after = button->grab().toImage();
    QVERIFY(before != after);
    // The icon has the colour of the caption, not the colour of text on a panel.
    bool hasPanelText = false;
    for (int y = 8; y < after.height() - 8; ++y) {
        for (int x = 8; x < after.width() - 8; ++x) {
            hasPanelText = hasPanelText || after.pixelColor(x, y) == ThemeColour(EColour::eText);
        }
    }
    QVERIFY(!hasPanelText);
}

void tst_Widgets::disabledButtonCannotBePressed()
{
    QWidget parent;
    TPushButton* const button = NewButton(&parent);
    const QSignalSpy clicks(button, &TPushButton::Clicked);
    button->setEnabled(false);
    parent.show();
    QTest::mouseClick(button, Qt::LeftButton);
    QVERIFY(!button->OnWheelPressed());
    QCOMPARE(clicks.count(), 0);
}

void tst_Widgets::lockedButtonCannotBePressed()
{
    TWindow window;
    TPushButton* const button = NewButton(&window);
    const QSignalSpy clicks(button, &TPushButton::Clicked);
    window.show();
    window.SetLocked(true);
    QTest::mouseClick(button, Qt::LeftButton);
    QVERIFY(button->OnWheelPressed());
    QTest::keyClick(button, Qt::Key_Space);
    QCOMPARE(clicks.count(), 0);
    QCOMPARE(Ground(*button), ThemeColour(EColour::eOff));
    window.SetLocked(false);
    QTest::mouseClick(button, Qt::LeftButton);
    QCOMPARE(clicks.count(), 1);
}

void tst_Widgets::lockingKeepsTheEnabledStates()
{
    TWindow window;
    TPushButton* const on = NewButton(&window);
    TPushButton* const off = NewButton(&window);
    off->setEnabled(false);
    window.SetLocked(true);
    QVERIFY(window.IsLocked());
    QVERIFY(on->isEnabled());
    window.SetLocked(false);
    QVERIFY(on->isEnabled());
    QVERIFY(!off->isEnabled());
}

void tst_Widgets::aLockedWindowLocksItsChildren()
{
    TLockable outer;
    QWidget between(&outer);
    TPushButton* const button = NewButton(&between);
    const QSignalSpy clicks(button, &TPushButton::Clicked);
    outer.show();
    outer.SetLocked(true);
    QTest::mouseClick(button, Qt::LeftButton);
    QCOMPARE(clicks.count(), 0);
}

void tst_Widgets::propertyShowsItsValue()
{
    TProperty property;
    property.SetPropertyName(QStringLiteral("STATUS"));
    QVERIFY(property.GetValue().isEmpty());
    property.SetValue(QStringLiteral("Logged in"));
    property.SetCombinedHeight(36);
    property.resize(400, 36);
    property.show();
    QCOMPARE(property.GetValue(), QStringLiteral("Logged in"));
    QCOMPARE(property.height(),
             2 * QFontMetrics(hostimpl::ThemeFont(hostimpl::EFont::eCaption)).height());
    property.SetCombinedHeight(80);
    QCOMPARE(property.height(), 80);
    for (const QLabel* const label : property.findChildren<QLabel*>()) {
        QVERIFY(label->font().pixelSize() >= 20);
        QVERIFY(label->width() >= label->sizeHint().width());
    }
}

void tst_Widgets::propertyValueIsPlainText()
{
    TProperty property;
    property.SetValue(QStringLiteral("<b>x</b>"));
    QCOMPARE(property.GetValue(), QStringLiteral("<b>x</b>"));
    for (const QLabel* const label : property.findChildren<QLabel*>()) {
        QCOMPARE(label->textFormat(), Qt::PlainText);
    }
}

void tst_Widgets::windowKeepsItsTitle()
{
    TWindow window;
    window.Setup();
    window.SetTitle(QStringLiteral("Files"));
    QCOMPARE(window.Title(), QStringLiteral("Files"));
}

void tst_Widgets::windowInstallsNoLayout()
{
    TWindow window;
    window.Setup();
    window.show();
    QVERIFY(window.layout() == nullptr);
    QCOMPARE(window.ContentWidget(), &window);
}

void tst_Widgets::focusRingIsDrawn()
{
    TWindow window;
    TPushButton* const button = NewButton(&window);
    window.show();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    for (const auto theme : {hostimpl::ETheme::eNight, hostimpl::ETheme::eDay}) {
        hostimpl::SetTheme(theme);
        button->setFocus();
        const QPoint onRing(button->width() / 2, hostimpl::FOCUS_RING / 2);
        QCOMPARE(button->grab().toImage().pixelColor(onRing), ThemeColour(EColour::eFocus));
        button->clearFocus();
        QVERIFY(button->grab().toImage().pixelColor(onRing) != ThemeColour(EColour::eFocus));
    }
}

void tst_Widgets::containersReturnTheirDefault()
{
    const TEditContainerBool flags;
    QVERIFY(flags.At(0));
    QVERIFY(flags.At(-1));
    QVERIFY(flags.At(100));
    const TEditContainerQString texts;
    QVERIFY(texts.At(3).isEmpty());
    QCOMPARE(texts.Size(), 0);
}

void tst_Widgets::containersGrowToTheIndexThatIsSet()
{
    TEditContainerBool flags;
    flags.Set(2, false);
    flags.Set(-1, false);
    QCOMPARE(flags.Size(), 3);
    QVERIFY(flags.At(0) && flags.At(1) && !flags.At(2) && flags.At(3));
    TEditContainerQString texts;
    texts.Append(QStringLiteral("a"));
    texts.Set(1, QStringLiteral("b"));
    QCOMPARE(texts.At(1), QStringLiteral("b"));
    texts.Clear();
    QCOMPARE(texts.Size(), 0);
}

KELVO_WIDGET_TEST_MAIN(tst_Widgets)
#include "tst_widgets.moc"
