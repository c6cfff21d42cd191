#include "console/tour/driver/Finger.h"

#include "console/tour/driver/ScreenText.h"
#include "host/TListWidget.h"
#include "host/TPopupWindow.h"
#include "host/TPropertyWidget.h"
#include "hostimpl/PopupHost.h"

#include <QtCore/QHash>
#include <QtTest/QTest>
#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QApplication>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QScrollArea>

#include <stdexcept>

namespace {

constexpr int focusLimitMs = 10'000;

[[noreturn]] void Refuse(const QString& text)
{
    throw std::runtime_error(text.toStdString());
}

void RequireInReach(const QWidget& widget, const QPoint& place, const QString& name)
{
    if (!widget.isEnabled()) {
        Refuse(QStringLiteral("%1 is off").arg(name));
    }
    if (hostimpl::IsBlocked(widget)) {
        Refuse(QStringLiteral("a dialog must be answered before %1").arg(name));
    }
    const QWidget* const window = widget.window();
    const QWidget* const hit = window->childAt(widget.mapTo(window, place));
    if (hit != &widget && !widget.isAncestorOf(hit)) {
        Refuse(QStringLiteral("something covers %1").arg(name));
    }
}

void Touch(QWidget& widget, const QPoint& place, const QString& name)
{
    RequireInReach(widget, place, name);
    QTest::mouseClick(&widget, Qt::LeftButton, Qt::NoModifier, place);
}

// A page may be longer than its window.
void BringIntoView(QWidget& widget)
{
    for (QWidget* above = widget.parentWidget(); above != nullptr; above = above->parentWidget()) {
        if (auto* const area = qobject_cast<QScrollArea*>(above)) {
            area->ensureWidgetVisible(&widget);
        }
    }
}

// The full name of another entry may cover the place; a touch hides that name.
void UncoverName(TListWidget& list, const QPoint& place)
{
    QWidget* const hit = list.window()->childAt(list.viewport()->mapTo(list.window(), place));
    if (hit != list.viewport() && list.isAncestorOf(hit)) {
        QTest::mouseClick(hit, Qt::LeftButton);
    }
}

// The places of widgets, the topmost first.
QList<const QWidget*> PlacesTopDown(const QWidget& window)
{
    QList<const QWidget*> places{window.window()};
    for (const TPopupWindow* const popup : hostimpl::OpenPopups()) {
        places.prepend(popup);
    }
    return places;
}

template <typename TWidget, typename TNameOf>
TWidget& Find(const QWidget& window, const QString& name, TNameOf nameOf)
{
    for (const QWidget* const place : PlacesTopDown(window)) {
        for (TWidget* const widget : place->findChildren<TWidget*>()) {
            if (widget->isVisible() && tour::PlaceOf(*widget) == place && nameOf(*widget) == name) {
                return *widget;
            }
        }
    }
    Refuse(QStringLiteral("%1 is not on the screen").arg(name));
}

TPropertyWidget& FindRow(const QWidget& window, const QString& name)
{
    return Find<TPropertyWidget>(window, name,
                                 [](const QWidget& row) { return row.accessibleName(); });
}

} // namespace

namespace tour {

void PressButton(const QWidget& window, const QString& name)
{
    auto& button = Find<QAbstractButton>(window, name, ButtonName);
    BringIntoView(button);
    Touch(button, button.rect().center(), name);
}

void PressRow(const QWidget& window, const QString& name)
{
    TPropertyWidget& row = FindRow(window, name);
    BringIntoView(row);
    Touch(row, row.rect().center(), name);
}

void TypeInto(const QWidget& window, const QString& rowName, const QString& text)
{
    TPropertyWidget& row = FindRow(window, rowName);
    BringIntoView(row);
    auto* const edit = row.findChild<QLineEdit*>();
    if (edit == nullptr || !edit->isVisible()) {
        Refuse(QStringLiteral("%1 takes no text").arg(rowName));
    }
    Touch(*edit, edit->rect().center(), rowName);
    // The display may not have given the focus to a new window yet.
    static_cast<void>(
        QTest::qWaitFor([] { return QApplication::focusWidget() != nullptr; }, focusLimitMs));
    EnterText(text);
    QTest::keyClick(edit, Qt::Key_Escape); // Return would go on to the next row
}

void TouchName(const QWidget& window, const QString& name)
{
    for (TListWidget* const list : window.window()->findChildren<TListWidget*>()) {
        const QList<QListWidgetItem*> items = list->findItems(name, Qt::MatchExactly);
        if (!list->isVisible() || items.isEmpty()) {
            continue;
        }
        list->scrollToItem(items.first());
        const QPoint place = list->visualItemRect(items.first()).center();
        UncoverName(*list, place);
        Touch(*list->viewport(), place, name);
        return;
    }
    Refuse(QStringLiteral("%1 is in no list to be seen").arg(name));
}

void PressKey(QWidget& window, const QString& key)
{
    static const QHash<QString, Qt::Key> keys{{QStringLiteral("Down"), Qt::Key_Down},
                                              {QStringLiteral("Up"), Qt::Key_Up},
                                              {QStringLiteral("Return"), Qt::Key_Return},
                                              {QStringLiteral("Escape"), Qt::Key_Escape}};
    if (!keys.contains(key)) {
        Refuse(QStringLiteral("%1 is no key of the wheel").arg(key));
    }
    // The window passes the key to the widget with the focus, as with a key of the display.
    QTest::keyClick(window.windowHandle(), keys.value(key));
}

void EnterText(const QString& text)
{
    auto* const edit = qobject_cast<QLineEdit*>(QApplication::focusWidget());
    if (edit == nullptr) {
        Refuse(QStringLiteral("no text is being edited"));
    }
    QTest::keyClick(edit, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(edit, Qt::Key_Delete);
    QTest::keyClicks(edit, text);
}

} // namespace tour
