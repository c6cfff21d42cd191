#include "widgets/TBusyIndicator.h"

#include "hostimpl/Theme.h"

#include <QtGui/QPainter>

#include <cmath>

namespace {

constexpr int DOTS = 8;
constexpr int STEP_MS = 250; // each step costs the drawing of the window
constexpr double FULL_TURN = 6.283185307179586;

} // namespace

TBusyIndicator::TBusyIndicator(QWidget* parent) : QWidget(parent)
{
    setFixedSize(TBusyIndicator::sizeHint());
}

TBusyIndicator::~TBusyIndicator() = default;

void TBusyIndicator::SetRunning(bool isRunning)
{
    m_isRunning = isRunning;
    UpdateTimer();
    update();
}

QSize TBusyIndicator::sizeHint() const
{
    return {64, 64};
}

void TBusyIndicator::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    UpdateTimer();
}

void TBusyIndicator::hideEvent(QHideEvent* event)
{
    QWidget::hideEvent(event);
    UpdateTimer();
}

void TBusyIndicator::timerEvent(QTimerEvent*)
{
    m_position = (m_position + 1) % DOTS;
    update();
}

void TBusyIndicator::paintEvent(QPaintEvent*)
{
    if (!m_isRunning) {
        return;
    }
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    const QPointF centre = QRectF(rect()).center();
    const double radius = width() / 2.0 - 9.0;
    for (int dot = 0; dot < DOTS; ++dot) {
        const int age = (m_position - dot + DOTS) % DOTS;
        QColor colour = hostimpl::ThemeColour(hostimpl::EColour::eText);
        colour.setAlphaF(1.0 - 0.8 * age / (DOTS - 1));
        painter.setBrush(colour);
        const double angle = FULL_TURN * dot / DOTS;
        const double size = 7.0 - 3.0 * age / (DOTS - 1);
        painter.drawEllipse(centre + radius * QPointF(std::sin(angle), -std::cos(angle)), size,
                            size);
    }
}

void TBusyIndicator::UpdateTimer()
{
    if (m_isRunning && isVisible()) {
        if (!m_timer.isActive()) {
            m_timer.start(STEP_MS, this);
        }
    } else {
        m_timer.stop();
    }
}
