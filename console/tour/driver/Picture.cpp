#include "console/tour/driver/Picture.h"

#include <QtGui/QPixmap>
#include <QtWidgets/QWidget>

namespace tour {

QImage Picture(QWidget& window)
{
    return window.grab().toImage().convertToFormat(QImage::Format_RGB32);
}

} // namespace tour
