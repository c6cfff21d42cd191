#include "host/TPushButton.h"

#include "hostimpl/FocusOrder.h"
#include "hostimpl/Theme.h"

#include <QtGui/QKeyEvent>
#include <QtGui/QPainter>

#include <algorithm>

namespace {

constexpr int PADDING = 12;
constexpr int EDGE = 2; // leaves place for two lines
// The buttons of a group have the same width, so that a column of buttons keeps its place when a
// button hides.
constexpr int LEAST_LETTERS = 8;

// The icon drawn in `colour`.
QPixmap Tinted(const QIcon& icon, int size, const QColor& colour)
{
    QPixmap result = icon.pixmap(size, size);
    QPainter painter(&result);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(result.rect(), colour);
    return result;
}

// The caption is wrapped. If it does not fit, its letters get narrower, so that they have the size
// of the neighbours' letters. Then the smaller font is used. If the caption still does not fit, it
// is elided.
void DrawCaption(QPainter& painter, const QRect& place, const QString& caption)
{
    constexpr int FLAGS = Qt::AlignCenter | Qt::TextWordWrap;
    const auto fits = [&](const QFont& font) {
        painter.setFont(font);
        return place.contains(painter.boundingRect(place, FLAGS, caption));
    };
    if (fits(hostimpl::NarrowFont(hostimpl::ThemeFont(hostimpl::EFont::eBody), fits)) ||
        fits(hostimpl::NarrowFont(hostimpl::ThemeFont(hostimpl::EFont::eCaption), fits))) {
        painter.drawText(place, FLAGS, caption);
    } else {
        painter.drawText(place, Qt::AlignCenter,
                         painter.fontMetrics().elidedText(caption, Qt::ElideMiddle, place.width()));
    }
}

} // namespace

TPushButton::TPushButton(QWidget* parent, const QString& caption, const QSize& size,
                         const QPoint& position, int style, const QString& toolTip)
    : QAbstractButton(parent), m_size(size)
{
    Q_UNUSED(style); // there is only the standard style
    m_background = QStringLiteral("NewStandardButton");
    m_selectedBackground = QStringLiteral("NewStandardButtonSelected");
    setText(caption);
    Init(toolTip);
    setGeometry(QRect(position, size));
}

TPushButton::TPushButton(QWidget* parent, const QString& caption, const QString& background,
                         const QString& selectedBackground, int id, const QString& toolTip)
    : QAbstractButton(parent),
      m_background(background),
      m_selectedBackground(selectedBackground),
      m_id(id)
{
    setText(caption);
    Init(toolTip);
    resize(TPushButton::sizeHint());
}

TPushButton::~TPushButton() = default;

void TPushButton::Init(const QString& toolTip)
{
    m_disabledBackground = QStringLiteral("NewDisabledButton");
    m_untranslatedCaption = text();
    setFocusPolicy(Qt::StrongFocus);
    setMinimumHeight(hostimpl::TOUCH_SIZE);
    setMinimumWidth(hostimpl::TOUCH_SIZE);
    SetToolTip(toolTip);
    connect(this, &QAbstractButton::clicked, this, [this] { Q_EMIT Clicked(m_id); });
}

void TPushButton::SetBackground(const QString& name)
{
    m_background = name;
    update();
}

void TPushButton::SetSelectedBackground(const QString& name)
{
    m_selectedBackground = name;
    update();
}

void TPushButton::SetDisabledBackground(const QString& name)
{
    m_disabledBackground = name;
    update();
}

void TPushButton::SetCaption(const QString& translated, const QString& untranslated)
{
    m_untranslatedCaption = untranslated;
    setText(translated);
    Name();
    updateGeometry();
}

// The tool tip names a button that has only an icon.
void TPushButton::Name()
{
    setAccessibleName(text().isEmpty() ? toolTip() : QString());
}

void TPushButton::SetToolTip(const QString& toolTip)
{
    setToolTip(toolTip);
    Name();
}

bool TPushButton::OnWheelPressed()
{
    if (!isEnabled()) {
        return false;
    }
    if (!hostimpl::IsLockedAround(*this)) {
        click();
    }
    return true;
}

QSize TPushButton::sizeHint() const
{
    if (m_size.isValid()) {
        return m_size.expandedTo({hostimpl::TOUCH_SIZE, hostimpl::TOUCH_SIZE});
    }
    if (text().isEmpty()) {
        return {hostimpl::TOUCH_SIZE, hostimpl::TOUCH_SIZE};
    }
    const QFontMetrics metrics(hostimpl::ThemeFont(hostimpl::EFont::eBody));
    const int least = LEAST_LETTERS * metrics.horizontalAdvance(QLatin1Char('n'));
    return {std::max(least, metrics.horizontalAdvance(text())) + 4 * PADDING, hostimpl::TOUCH_SIZE};
}

bool TPushButton::hitButton(const QPoint& position) const
{
    return !hostimpl::IsLockedAround(*this) && QAbstractButton::hitButton(position);
}

void TPushButton::keyPressEvent(QKeyEvent* event)
{
    if (hostimpl::IsLockedAround(*this)) {
        event->ignore();
    } else {
        QAbstractButton::keyPressEvent(event);
    }
}

void TPushButton::paintEvent(QPaintEvent*)
{
    const bool isOff = !isEnabled() || hostimpl::IsLockedAround(*this);
    const bool isSelected = !isOff && (isDown() || isChecked());
    const QString ground =
        isOff ? m_disabledBackground : (isSelected ? m_selectedBackground : m_background);
    QPainter painter(this);
    hostimpl::DrawBackground(painter, rect(), ground);
    if (hasFocus()) {
        hostimpl::DrawFocusRing(painter, rect());
    }
    const QColor colour = hostimpl::BackgroundTextColour(ground);
    QRect place = rect().adjusted(PADDING, EDGE, -PADDING, -EDGE);
    if (!icon().isNull()) {
        const int size = std::min({place.height(), place.width(), 40});
        const QPixmap picture = Tinted(icon(), size, colour);
        const int x = text().isEmpty() ? place.center().x() - size / 2 : place.x();
        painter.drawPixmap(x, place.center().y() - size / 2, picture);
        place.setLeft(place.left() + size + PADDING);
    }
    painter.setPen(colour);
    DrawCaption(painter, place, text());
}
