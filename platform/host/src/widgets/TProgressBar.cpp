#include "widgets/TProgressBar.h"

#include "hostimpl/Theme.h"

#include <QtGui/QPainter>

#include <algorithm>

TProgressBar::TProgressBar(QWidget* parent) : QWidget(parent)
{
    setFixedHeight(TProgressBar::sizeHint().height());
}

TProgressBar::~TProgressBar() = default;

void TProgressBar::SetPercent(int percent)
{
    const int clamped = std::clamp(percent, 0, 100);
    if (m_percent != clamped) {
        m_percent = clamped;
        update();
    }
}

QSize TProgressBar::sizeHint() const
{
    return {400, 48};
}

void TProgressBar::paintEvent(QPaintEvent*)
{
    using hostimpl::EColour;
    using hostimpl::ThemeColour;

    QPainter painter(this);
    painter.fillRect(rect(), ThemeColour(EColour::ePanel));
    QRect filled = rect();
    filled.setWidth(width() * m_percent / 100);
    painter.fillRect(filled, ThemeColour(EColour::eSelected));
    painter.setPen(QPen(ThemeColour(EColour::eBorder), 2.0));
    painter.drawRect(rect().adjusted(1, 1, -1, -1));
    painter.setFont(hostimpl::ThemeFont(hostimpl::EFont::eBody));
    painter.setPen(ThemeColour(EColour::eText)); // readable on both backgrounds
    painter.drawText(rect(), Qt::AlignCenter, tr("%1 %").arg(m_percent));
}
