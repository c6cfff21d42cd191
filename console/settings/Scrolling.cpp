#include "console/settings/Scrolling.h"

#include "hostimpl/Theme.h"

#include <QtWidgets/QScrollArea>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QScroller>

namespace console {

QScrollArea* MakeScrollArea(QWidget* content, EBar bar)
{
    auto* const area = new QScrollArea;
    area->setFrameShape(QFrame::NoFrame);
    area->setWidgetResizable(true);
    area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area->setFocusPolicy(Qt::NoFocus);
    area->verticalScrollBar()->setAttribute(Qt::WA_TransparentForMouseEvents, bar == EBar::eSign);
    // Qt's own minimum has place for three widths of the scroll bar.
    area->setMinimumSize(hostimpl::TOUCH_SIZE, hostimpl::TOUCH_SIZE);
    area->setWidget(content);
    QScroller::grabGesture(area->viewport(), QScroller::LeftMouseButtonGesture);
    return area;
}

void ScrollTo(QWidget* widget)
{
    for (QWidget* around = widget; around != nullptr; around = around->parentWidget()) {
        if (auto* const area = qobject_cast<QScrollArea*>(around)) {
            area->ensureWidgetVisible(widget);
        }
    }
}

} // namespace console
