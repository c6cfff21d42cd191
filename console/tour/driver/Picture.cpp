#include "console/tour/driver/Picture.h"

#include "console/tour/driver/ScreenText.h"

#include <QtGui/QPainter>
#include <QtGui/QPixmap>
#include <QtWidgets/QWidget>

namespace tour {

QImage Picture(QWidget& window)
{
    QImage picture = window.grab().toImage().convertToFormat(QImage::Format_RGB32);
    QPainter painter(&picture);
    for (QWidget* const popup : OpenPopups()) {
        painter.drawPixmap(popup->pos() - window.mapToGlobal(QPoint(0, 0)), popup->grab());
    }
    return picture;
}

} // namespace tour
