#include "hostimpl/PopupHost.h"

#include "host/TPopupWindow.h"
#include "widgets/TPopupLayer.h"

#include <QtCore/QPointer>
#include <QtWidgets/QApplication>

#include <algorithm>

namespace hostimpl {

namespace {

// A static object of the function, so that no order of static constructors is needed.
QPointer<QWidget>& HostWindow()
{
    static QPointer<QWidget> window;
    return window;
}

QPointer<const QWidget>& BottomBar()
{
    static QPointer<const QWidget> bar;
    return bar;
}

// Popups are not shown inside a popup that is a separate window.
bool CanHold(const QWidget* window)
{
    return window != nullptr && window->isVisible() &&
           qobject_cast<const TPopupWindow*>(window) == nullptr;
}

} // namespace

void SetPopupHost(QWidget* window, const QWidget* bottomBar)
{
    HostWindow() = window;
    BottomBar() = bottomBar;
}

QWidget* PopupHost()
{
    return HostWindow().data();
}

void SetPopupArea(QWidget& area)
{
    area.setProperty(POPUP_AREA, true);
}

QWidget* AreaFor(const TPopupWindow& popup)
{
    QWidget* const parent = popup.parentWidget();
    for (QWidget* area = parent; area != nullptr; area = area->parentWidget()) {
        if (area->property(POPUP_AREA).toBool() && CanHold(area->window())) {
            return area;
        }
    }
    QWidget* const windows[] = {parent == nullptr ? nullptr : parent->window(), PopupHost(),
                                QApplication::activeWindow()};
    const auto found = std::find_if(std::cbegin(windows), std::cend(windows), &CanHold);
    return found == std::cend(windows) ? nullptr : *found;
}

QRect PlaceIn(const QWidget& area, const QSize& popupSize)
{
    QRect place(QPoint(0, 0), popupSize);
    place.moveCenter(area.rect().center());
    const QWidget* const bar = BottomBar();
    if (bar != nullptr && area.isAncestorOf(bar)) {
        const int room = bar->mapTo(&area, QPoint()).y();
        if (place.height() <= room) {
            place.moveTop(std::min(place.top(), room - place.height()));
        }
    }
    return place;
}

QList<TPopupWindow*> OpenPopups()
{
    QList<TPopupWindow*> popups;
    QList<TPopupWindow*> overTheWindow;
    for (const TPopupLayer* const layer : TPopupLayer::All()) {
        if (layer->isVisible()) {
            (layer->Area().isWindow() ? overTheWindow : popups).append(layer->Popup());
        }
    }
    return popups + overTheWindow;
}

bool IsBlocked(const QWidget& widget)
{
    const QList<TPopupLayer*>& layers = TPopupLayer::All();
    return std::any_of(layers.cbegin(), layers.cend(),
                       [&widget](const TPopupLayer* layer) { return layer->Blocks(widget); });
}

} // namespace hostimpl
