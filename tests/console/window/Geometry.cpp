#include "console/window/Geometry.h"

#include <QtWidgets/QAbstractScrollArea>
#include <QtWidgets/QWidget>

namespace {

bool IsViewport(const QWidget& widget)
{
    const auto* const area = qobject_cast<const QAbstractScrollArea*>(widget.parentWidget());
    return area != nullptr && area->viewport() == &widget;
}

} // namespace

QStringList CutOffWidgets(const QWidget& window)
{
    QStringList lines;
    const QList<QWidget*> widgets = window.findChildren<QWidget*>();
    for (const QWidget* const widget : widgets) {
        const QWidget& parent = *widget->parentWidget();
        if (!widget->isVisible() || widget->isWindow()) {
            continue;
        }
        QRect room = parent.rect();
        if (IsViewport(parent)) {
            room.setTop(widget->geometry().top());
            room.setBottom(widget->geometry().bottom());
        }
        if (!room.contains(widget->geometry())) {
            lines << QStringLiteral("%1 of %2: %3x%4 at %5,%6 in %7x%8")
                         .arg(QString::fromLatin1(widget->metaObject()->className()),
                              QString::fromLatin1(parent.metaObject()->className()))
                         .arg(widget->width())
                         .arg(widget->height())
                         .arg(widget->x())
                         .arg(widget->y())
                         .arg(parent.width())
                         .arg(parent.height());
        }
    }
    return lines;
}
