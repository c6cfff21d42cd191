// An icon and a text that say how something stands.
#include "console/window/TStatusItem.h"

#include "hostimpl/Theme.h"

#include <QtGui/QFontMetrics>
#include <QtGui/QPainter>

namespace {

constexpr int iconExtent = 36;
constexpr int gap = 8;
constexpr int leastTextWidth = 72;

} // namespace

namespace console {

TStatusItem::TStatusItem(QWidget* parent) : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Expanding);
}

void TStatusItem::Show(const QString& iconName, const QString& text)
{
    if (m_iconName == iconName && m_text == text) {
        return;
    }
    m_iconName = iconName;
    m_text = text;
    setToolTip(text);
    setAccessibleName(text);
    updateGeometry();
    update();
}

QSize TStatusItem::sizeHint() const
{
    return {iconExtent + 2 * gap + fontMetrics().horizontalAdvance(m_text), iconExtent};
}

QSize TStatusItem::minimumSizeHint() const
{
    return {iconExtent + gap + leastTextWidth, iconExtent};
}

void TStatusItem::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    const QRect iconPlace(0, (height() - iconExtent) / 2, iconExtent, iconExtent);
    hostimpl::ThemeIcon(m_iconName).paint(&painter, iconPlace);
    painter.setPen(palette().color(QPalette::WindowText));
    const QRect textPlace = rect().adjusted(iconExtent + gap, 0, 0, 0);
    painter.drawText(textPlace, Qt::AlignVCenter | Qt::AlignLeft,
                     fontMetrics().elidedText(m_text, Qt::ElideRight, textPlace.width()));
}

} // namespace console
