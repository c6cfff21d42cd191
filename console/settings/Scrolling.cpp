// Areas that scroll under a finger.
#include "console/settings/Scrolling.h"

#include <QtWidgets/QScrollArea>
#include <QtWidgets/QScroller>

namespace console {

QScrollArea* MakeScrollArea(QWidget* content)
{
    auto* const area = new QScrollArea;
    area->setFrameShape(QFrame::NoFrame);
    area->setWidgetResizable(true);
    area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area->setFocusPolicy(Qt::NoFocus);
    area->setWidget(content);
    QScroller::grabGesture(area->viewport(), QScroller::LeftMouseButtonGesture);
    return area;
}

} // namespace console
