#include "theme/TThemeStyle.h"

#include "hostimpl/Theme.h"

#include <QtGui/QPainter>
#include <QtWidgets/QAbstractItemView>
#include <QtWidgets/QStyleOption>

namespace {

constexpr int PASSIVE_WIDTH = 24;
constexpr int CURSOR_WIDTH = 3;
constexpr int EDGE = 5;         // around a scroll bar's handle
constexpr int RIDGE_HEIGHT = 3; // on the handle

// A long list needs a bar that a hand in a glove can hold.
bool IsOfList(const QWidget* bar)
{
    const QWidget* const holder = bar == nullptr ? nullptr : bar->parentWidget();
    return holder != nullptr && qobject_cast<QAbstractItemView*>(holder->parentWidget()) != nullptr;
}

// Only shows the position: no finger can hold it.
bool IsPassive(const QWidget* bar)
{
    return bar != nullptr && bar->testAttribute(Qt::WA_TransparentForMouseEvents);
}

} // namespace

TThemeStyle::TThemeStyle() : QProxyStyle(QStringLiteral("Fusion")) {}

TThemeStyle::~TThemeStyle() = default;

int TThemeStyle::pixelMetric(PixelMetric metric, const QStyleOption* option,
                             const QWidget* widget) const
{
    switch (static_cast<int>(metric)) {
    case PM_ScrollBarExtent:
        return IsOfList(widget)    ? hostimpl::TOUCH_SIZE
               : IsPassive(widget) ? PASSIVE_WIDTH
                                   : hostimpl::SMALL_TOUCH_SIZE;
    case PM_TextCursorWidth:
        return CURSOR_WIDTH;
    case PM_ScrollBarSliderMin:
        return hostimpl::TOUCH_SIZE;
    }
    return QProxyStyle::pixelMetric(metric, option, widget);
}

// Scroll bars have no arrows at the ends, because a finger cannot hit them.
QRect TThemeStyle::subControlRect(ComplexControl control, const QStyleOptionComplex* option,
                                  SubControl part, const QWidget* widget) const
{
    const auto* const bar = qstyleoption_cast<const QStyleOptionSlider*>(option);
    if (control != CC_ScrollBar || bar == nullptr) {
        return QProxyStyle::subControlRect(control, option, part, widget);
    }
    const QRect groove = bar->rect;
    const bool isUpright = bar->orientation == Qt::Vertical;
    const int room = isUpright ? groove.height() : groove.width();
    const int span = bar->maximum - bar->minimum;
    const int length =
        span <= 0 ? room
                  : qMax(qMin(hostimpl::TOUCH_SIZE, room),
                         static_cast<int>(qint64(room) * bar->pageStep / (span + bar->pageStep)));
    const int start = sliderPositionFromValue(bar->minimum, bar->maximum, bar->sliderPosition,
                                              room - length, bar->upsideDown);
    const auto stretch = [&](int from, int size) {
        return isUpright ? QRect(groove.x(), groove.y() + from, groove.width(), size)
                         : QRect(groove.x() + from, groove.y(), size, groove.height());
    };
    switch (static_cast<int>(part)) {
    case SC_ScrollBarGroove:
        return groove;
    case SC_ScrollBarSlider:
        return stretch(start, length);
    case SC_ScrollBarSubPage:
        return stretch(0, start);
    case SC_ScrollBarAddPage:
        return stretch(start + length, room - start - length);
    }
    return {};
}

void TThemeStyle::drawComplexControl(ComplexControl control, const QStyleOptionComplex* option,
                                     QPainter* painter, const QWidget* widget) const
{
    if (control != CC_ScrollBar) {
        QProxyStyle::drawComplexControl(control, option, painter, widget);
        return;
    }
    const QRect slider = subControlRect(control, option, SC_ScrollBarSlider, widget);
    painter->save();
    painter->setRenderHint(QPainter::Antialiasing);
    painter->fillRect(option->rect, hostimpl::ThemeColour(hostimpl::EColour::eOff));
    painter->setPen(Qt::NoPen);
    painter->setBrush(hostimpl::ThemeColour(hostimpl::EColour::eBorder));
    painter->drawRoundedRect(slider.adjusted(EDGE, EDGE, -EDGE, -EDGE), EDGE, EDGE);
    painter->setBrush(hostimpl::ThemeColour(hostimpl::EColour::ePanel));
    for (const int line : {-1, 0, 1}) {
        QRect ridge(0, 0, slider.width() - 8 * EDGE, RIDGE_HEIGHT);
        ridge.moveCenter(slider.center() + QPoint(0, 3 * line * RIDGE_HEIGHT));
        painter->drawRect(ridge);
    }
    painter->restore();
}
