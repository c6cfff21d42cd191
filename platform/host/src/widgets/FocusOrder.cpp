#include "hostimpl/FocusOrder.h"

#include "host/TLockingWidget.h"

#include <QtWidgets/QWidget>

#include <algorithm>

namespace hostimpl {

namespace {

bool CanBeVisited(const QWidget& widget, const QWidget& area)
{
    return area.isAncestorOf(&widget) && widget.isVisible() && widget.isEnabled() &&
           (widget.focusPolicy() & Qt::TabFocus) != 0;
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

} // namespace

QVector<QWidget*> FocusOrder(const QWidget& area)
{
    QVector<QWidget*> order;
    for (QWidget* widget = area.nextInFocusChain(); widget != nullptr && widget != &area;
         widget = widget->nextInFocusChain()) {
        if (CanBeVisited(*widget, area)) {
            order.append(widget);
        }
    }
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
    int to = steps > 0 ? 0 : count - 1;
    if (from >= 0) {
        to = wraps ? ((from + steps) % count + count) % count
                   : std::clamp(from + steps, 0, count - 1);
        if (to == from) {
            return false;
        }
    }
    order.at(to)->setFocus(steps > 0 ? Qt::TabFocusReason : Qt::BacktabFocusReason);
    return true;
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
