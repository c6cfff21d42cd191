#include "console/window/TFocusKeeper.h"

#include "hostimpl/FocusOrder.h"

#include <QtCore/QEvent>

namespace console {

// If the neighbour is disabled or hidden too, the first lost widget stays remembered.
void TFocusKeeper::Keep(QWidget& lost, QWidget& region)
{
    if (m_lost.isNull() || &lost != m_neighbour) {
        Forget();
        m_lost = &lost;
        lost.installEventFilter(this);
    }
    hostimpl::FocusNear(lost, region);
    m_neighbour = region.window()->focusWidget();
}

bool TFocusKeeper::eventFilter(QObject* watched, QEvent* event)
{
    const bool isBack = event->type() == QEvent::EnabledChange || event->type() == QEvent::Show;
    if (isBack && watched == m_lost && hostimpl::CanTakeFocus(*m_lost)) {
        QWidget* const widget = m_lost;
        if (widget->window()->focusWidget() == m_neighbour) {
            widget->setFocus(Qt::OtherFocusReason);
        }
        Forget();
    }
    return QObject::eventFilter(watched, event);
}

void TFocusKeeper::Forget()
{
    if (!m_lost.isNull()) {
        m_lost->removeEventFilter(this);
    }
    m_lost.clear();
    m_neighbour.clear();
}

} // namespace console
