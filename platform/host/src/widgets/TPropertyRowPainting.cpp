// The drawing of a property row.
#include "widgets/TPropertyRow.h"

#include "hostimpl/FocusOrder.h"
#include "hostimpl/Theme.h"

#include <QtGui/QPainter>

#include <algorithm>

using hostimpl::EColour;
using hostimpl::ThemeColour;

namespace {

QFont Scaled(QFont font, double share)
{
    font.setPixelSize(static_cast<int>(font.pixelSize() * share));
    return font;
}

} // namespace

double TPropertyWidget::TRow::FontShare() const
{
    const QFontMetrics nameMetrics(hostimpl::ThemeFont(hostimpl::EFont::eCaption));
    const QFontMetrics value(hostimpl::ThemeFont(hostimpl::EFont::eBody));
    const int belowName = nameMetrics.tightBoundingRect(QStringLiteral("gjpqy")).bottom() + 1;
    const int needed = nameMetrics.ascent() + belowName + value.capHeight() + value.descent();
    return std::min(1.0, double(m_widget.height() - 1) / needed);
}

QFont TPropertyWidget::TRow::NameFont() const
{
    return Scaled(hostimpl::ThemeFont(hostimpl::EFont::eCaption), FontShare());
}

QFont TPropertyWidget::TRow::ValueFont() const
{
    return Scaled(hostimpl::ThemeFont(hostimpl::EFont::eBody), FontShare());
}

QRect TPropertyWidget::TRow::NamePlace(int left, int right) const
{
    const QFontMetrics metrics(NameFont());
    const int value = QFontMetrics(ValueFont()).capHeight() + QFontMetrics(ValueFont()).descent();
    const int belowName = metrics.tightBoundingRect(name).bottom() + 1;
    const int room = m_widget.height() - 1 - metrics.ascent() - belowName - value;
    // If there is room, the name leaves place for the ring, so that its accents are readable.
    const int top = std::clamp(room, 0, hostimpl::FOCUS_RING);
    return {left, top, right - left + 1, metrics.height()};
}

QRect TPropertyWidget::TRow::ValuePlace(int left, int right) const
{
    const QFontMetrics metrics(ValueFont());
    return {left, m_widget.height() - 1 - metrics.height(), right - left + 1, metrics.height()};
}

void TPropertyWidget::TRow::OnPaint()
{
    QPainter painter(&m_widget);
    const bool isOff = !m_widget.isEnabled() || hostimpl::IsLockedAround(m_widget);
    if (isOff) {
        hostimpl::DrawBackground(painter, m_widget.rect(), QStringLiteral("NewDisabledButton"));
    } else {
        hostimpl::DrawPanel(painter, m_widget.rect());
    }
    if (m_widget.hasFocus() || m_isEditing) {
        hostimpl::DrawFocusRing(painter, m_widget.rect());
    }
    QRect place = m_widget.rect().adjusted(PADDING, 4, -PADDING, -4);
    if (!iconName.isEmpty()) {
        const QRect picture(place.x(), place.center().y() - ICON_SIZE / 2, ICON_SIZE, ICON_SIZE);
        hostimpl::ThemeIcon(iconName).paint(&painter, picture, Qt::AlignCenter,
                                            isOff ? QIcon::Disabled : QIcon::Normal);
        place.setLeft(place.left() + ICON_SIZE + PADDING);
    }
    if (m_type == eChoice) {
        DrawValue(painter, place); // before the name, whose letters reach into the value's ground
    }
    painter.setFont(NameFont());
    painter.setPen(ThemeColour(isOff ? EColour::eOffText : EColour::eMutedText));
    const QRect head = NamePlace(place.left(), place.right());
    painter.drawText(head, Qt::AlignLeft | Qt::AlignVCenter,
                     painter.fontMetrics().elidedText(name, Qt::ElideMiddle, head.width()));
}

void TPropertyWidget::TRow::DrawValue(QPainter& painter, const QRect& place) const
{
    const bool isOff = !m_widget.isEnabled() || hostimpl::IsLockedAround(m_widget);
    const QRect arrows(place.right() - ICON_SIZE, place.center().y() - ICON_SIZE / 2, ICON_SIZE,
                       ICON_SIZE);
    const QRect value = ValuePlace(place.left(), place.right() - ICON_SIZE - PADDING);
    if (m_isEditing) {
        painter.fillRect(value.adjusted(-4, 0, 0, 0), ThemeColour(EColour::eSelected));
    }
    hostimpl::ThemeIcon(QStringLiteral("choose"))
        .paint(&painter, arrows, Qt::AlignCenter, isOff ? QIcon::Disabled : QIcon::Normal);
    painter.setFont(hostimpl::NarrowFont(ValueFont(), [this, &value](const QFont& font) {
        return QFontMetrics(font).horizontalAdvance(Text()) <= value.width();
    }));
    painter.setPen(ThemeColour(isOff         ? EColour::eOffText
                               : m_isEditing ? EColour::eSelectedText
                                             : EColour::eText));
    painter.drawText(value, Qt::AlignLeft | Qt::AlignVCenter,
                     painter.fontMetrics().elidedText(Text(), Qt::ElideMiddle, value.width()));
}
