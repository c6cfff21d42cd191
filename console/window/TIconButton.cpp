// A large button with an icon above its name.
#include "console/window/TIconButton.h"

#include "hostimpl/Theme.h"

#include <QtGui/QFontMetrics>
#include <QtGui/QPainter>

namespace {

constexpr QSize buttonSize(104, 84);
constexpr int iconExtent = 44;
constexpr int captionHeight = 26;
constexpr int margin = hostimpl::FOCUS_RING;

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

bool TIconButton::OnWheelPressed()
{
    click();
    return true;
}

QSize TIconButton::sizeHint() const
{
    return buttonSize;
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
    const QRect iconPlace((width() - iconExtent) / 2, 2 * margin, iconExtent, iconExtent);
    hostimpl::ThemeIcon(m_iconName).paint(&painter, iconPlace);

    const QFont captionFont = hostimpl::ThemeFont(hostimpl::EFont::eCaption);
    painter.setFont(captionFont);
    painter.setPen(hostimpl::BackgroundTextColour(ground));
    const QRect place(margin, height() - captionHeight - margin, width() - 2 * margin,
                      captionHeight);
    painter.drawText(place, Qt::AlignCenter,
                     QFontMetrics(captionFont).elidedText(text(), Qt::ElideRight, place.width()));
}

} // namespace console
