#include "console/window/TIconButton.h"

#include "console/window/HomeTexts.h"
#include "hostimpl/Theme.h"

#include <QtCore/QRegularExpression>
#include <QtGui/QFontMetrics>
#include <QtGui/QIcon>
#include <QtGui/QPainter>
#include <QtGui/QPixmap>

namespace {

constexpr double captionLetters = 6.6; // the width of a button, in heights of its letters
constexpr int iconExtent = 44;
constexpr int margin = hostimpl::FOCUS_RING;
constexpr int maxBadge = 99;

// The theme draws icons in the colour for text on a screen. Text on a button has another colour.
QPixmap Inked(const QIcon& icon, const QColor& ink, qreal ratio)
{
    QPixmap pixmap(QSize(iconExtent, iconExtent) * ratio);
    pixmap.setDevicePixelRatio(ratio);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    icon.paint(&painter, QRect(0, 0, iconExtent, iconExtent));
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(QRect(0, 0, iconExtent, iconExtent), ink);
    return pixmap;
}

// The text, or else its first word without punctuation. If that does not fit either, it is cut.
QString Fitting(const QString& text, const QFont& font, int width)
{
    const QFontMetrics metrics(font);
    if (metrics.horizontalAdvance(text) <= width) {
        return text;
    }
    static const QRegularExpression wordEnd(QStringLiteral("[\\s:-]"));
    const int end = text.indexOf(wordEnd);
    return metrics.elidedText(end > 0 ? text.left(end) : text, Qt::ElideRight, width);
}

} // namespace

namespace console {

TIconButton::TIconButton(const QString& iconName, const QString& caption, QWidget* parent)
    : QAbstractButton(parent), m_iconName(iconName)
{
    setText(caption);
    setAccessibleName(caption);
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
}

void TIconButton::SetIconName(const QString& iconName)
{
    m_iconName = iconName;
    update();
}

void TIconButton::SetBadge(int number)
{
    if (m_badge != number) {
        m_badge = number;
        setAccessibleDescription(BadgeText(number));
        update();
    }
}

bool TIconButton::OnWheelPressed()
{
    click();
    return true;
}

QSize TIconButton::sizeHint() const
{
    const QFontMetrics caption(hostimpl::ThemeFont(hostimpl::EFont::eCaption));
    return {static_cast<int>(captionLetters * caption.capHeight()) + 2 * margin,
            iconExtent + caption.height() + 3 * margin};
}

void TIconButton::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    const bool isActive = isDown() || isChecked();
    const QString ground = isActive ? QStringLiteral("NewStandardButtonSelected")
                                    : QStringLiteral("NewStandardButton");
    hostimpl::DrawBackground(painter, rect(), ground);
    if (hasFocus()) {
        hostimpl::DrawFocusRing(painter, rect());
    }
    const QColor ink = hostimpl::BackgroundTextColour(ground);
    const QRect iconPlace((width() - iconExtent) / 2, 2 * margin, iconExtent, iconExtent);
    painter.drawPixmap(iconPlace, Inked(hostimpl::ThemeIcon(m_iconName), ink, devicePixelRatioF()));

    const QFont captionFont = hostimpl::ThemeFont(hostimpl::EFont::eCaption);
    painter.setFont(captionFont);
    painter.setPen(ink);
    const int captionHeight = painter.fontMetrics().height();
    const QRect place(margin, height() - captionHeight - margin / 2, width() - 2 * margin,
                      captionHeight);
    painter.drawText(place, Qt::AlignCenter, Fitting(text(), captionFont, place.width()));
    if (m_badge > 0) {
        DrawBadge(painter, ink,
                  hostimpl::ThemeColour(isActive ? hostimpl::EColour::eButtonSelected
                                                 : hostimpl::EColour::eButton));
    }
}

// The badge swaps the button's colours of text and background.
void TIconButton::DrawBadge(QPainter& painter, const QColor& ground, const QColor& ink) const
{
    const QString number =
        m_badge > maxBadge ? QStringLiteral("%1+").arg(maxBadge) : QString::number(m_badge);
    const QFontMetrics& letters = painter.fontMetrics();
    const int badgeHeight = letters.height();
    const int badgeWidth = qMax(badgeHeight, letters.horizontalAdvance(number) + 4 * margin);
    const QRect place(width() - badgeWidth - margin, margin, badgeWidth, badgeHeight);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(ground);
    painter.drawRoundedRect(place, badgeHeight / 2.0, badgeHeight / 2.0);
    painter.setPen(ink);
    painter.drawText(place, Qt::AlignCenter, number);
}

} // namespace console
