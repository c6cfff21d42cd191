#include "hostimpl/FocusOrder.h"

#include "host/TLockingWidget.h"
#include "hostimpl/PopupHost.h"
#include "widgets/ReadingOrder.h"
#include "widgets/TPopupLayer.h"

#include <QtWidgets/QScrollArea>

#include <algorithm>

namespace hostimpl {

namespace {

void SetFocusAndScroll(QWidget& widget, Qt::FocusReason reason)
{
    widget.setFocus(reason);
    for (QWidget* around = widget.parentWidget(); around != nullptr;
         around = around->isWindow() ? nullptr : around->parentWidget()) {
        if (auto* const area = qobject_cast<QScrollArea*>(around)) {
            area->ensureWidgetVisible(&widget);
        }
    }
}

// True if the tab key visits `one` before `other`, beginning at the window.
bool IsTabbedBefore(const QWidget& one, const QWidget& other)
{
    const QWidget* widget = one.window();
    do {
        widget = widget->nextInFocusChain();
    } while (widget != &one && widget != &other);
    return widget == &one;
}

// The tab order decides whether a widget comes before or after its own parts. A row comes before
// its button, a list after its head.
void AddOwner(QWidget& owner, QVector<QWidget*>& parts)
{
    const bool isLast = !parts.isEmpty() && IsTabbedBefore(*parts.first(), owner);
    parts.insert(isLast ? parts.size() : 0, &owner);
}

// The widgets of each child stay together. Popups come after everything that they lie over.
void AppendInside(const QWidget& around, QVector<QWidget*>& order)
{
    QVector<QVector<QWidget*>> parts;
    QVector<QRect> places;
    QVector<QWidget*> inPopups;
    for (QObject* const each : around.children()) {
        auto* const child = qobject_cast<QWidget*>(each);
        if (child == nullptr || child->isWindow() || !child->isVisible()) {
            continue;
        }
        QVector<QWidget*> part;
        AppendInside(*child, part);
        if (CanTakeFocus(*child)) {
            AddOwner(*child, part);
        }
        if (qobject_cast<TPopupLayer*>(child) != nullptr) {
            inPopups += part;
        } else if (!part.isEmpty()) {
            parts.append(part);
            places.append(child->geometry());
        }
    }
    for (const int index : ReadingOrder(places)) {
        order += parts.at(index);
    }
    order += inPopups;
}

// The index of the widget that has the focus, or whose descendant has it; -1 if there is none.
int PlaceOfFocus(const QVector<QWidget*>& order, const QWidget& area)
{
    for (QWidget* widget = area.window()->focusWidget(); widget != nullptr && widget != &area;
         widget = widget->parentWidget()) {
        const int place = order.indexOf(widget);
        if (place >= 0) {
            return place;
        }
    }
    return -1;
}

// The first widget of the smallest panel in `area` around the focus; -1 if there is none.
int PlaceNearFocus(const QVector<QWidget*>& order, const QWidget& area)
{
    QWidget* panel = area.window()->focusWidget();
    for (; panel != nullptr && area.isAncestorOf(panel); panel = panel->parentWidget()) {
        for (int place = 0; place < order.size(); ++place) {
            if (panel->isAncestorOf(order.at(place))) {
                return place;
            }
        }
    }
    return -1;
}

} // namespace

bool CanTakeFocus(const QWidget& widget)
{
    return widget.isVisible() && widget.isEnabled() && (widget.focusPolicy() & Qt::TabFocus) != 0 &&
           !IsBlocked(widget);
}

QVector<QWidget*> FocusOrder(const QWidget& area)
{
    QVector<QWidget*> order;
    AppendInside(area, order);
    return order;
}

bool MoveFocus(const QWidget& area, int steps, bool wraps)
{
    const QVector<QWidget*> order = FocusOrder(area);
    if (order.isEmpty() || steps == 0) {
        return false;
    }
    const int count = order.size();
    const int from = PlaceOfFocus(order, area);
    int to = PlaceNearFocus(order, area);
    if (from >= 0) {
        to = wraps ? ((from + steps) % count + count) % count
                   : std::clamp(from + steps, 0, count - 1);
        if (to == from) {
            return false;
        }
    } else if (to < 0) {
        to = steps > 0 ? 0 : count - 1;
    }
    SetFocusAndScroll(*order.at(to), steps > 0 ? Qt::TabFocusReason : Qt::BacktabFocusReason);
    return true;
}

void FocusNear(QWidget& widget, QWidget& area)
{
    if (CanTakeFocus(widget)) {
        SetFocusAndScroll(widget, Qt::OtherFocusReason);
        return;
    }
    for (QWidget* panel = &widget; panel != nullptr; panel = panel->parentWidget()) {
        const QVector<QWidget*> order = FocusOrder(*panel);
        if (!order.isEmpty()) {
            SetFocusAndScroll(*order.first(), Qt::OtherFocusReason);
            return;
        }
        if (panel == &area || panel->isWindow()) {
            break;
        }
    }
    area.setFocus(Qt::OtherFocusReason);
}

bool IsLockedAround(const QWidget& widget)
{
    for (const QWidget* around = &widget; around != nullptr; around = around->parentWidget()) {
        const auto* const locking = dynamic_cast<const TLockingWidget*>(around);
        if (locking != nullptr && locking->IsLocked()) {
            return true;
        }
    }
    return false;
}

} // namespace hostimpl
