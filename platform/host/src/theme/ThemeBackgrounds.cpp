// Draws the backgrounds of buttons, rows and dialogs.
#include "hostimpl/Theme.h"

#include <QtGui/QPainter>

namespace hostimpl {

namespace {

constexpr double CORNER = 8.0;
constexpr double FOCUS_RING_EDGE = 2.0;

struct TBackground
{
    const char* name;
    EColour ground;
    EColour text;
    EColour border;
    Qt::PenStyle borderStyle;
};

// The first row is used for unknown names.
constexpr TBackground BACKGROUNDS[] = {
    {"NewStandardButton", EColour::eButton, EColour::eButtonText, EColour::eBorder, Qt::SolidLine},
    {"NewStandardButtonSelected", EColour::eButtonSelected, EColour::eButtonSelectedText,
     EColour::eText, Qt::SolidLine},
    {"NewDisabledButton", EColour::eOff, EColour::eOffText, EColour::eBorder, Qt::DashLine},
};

const TBackground& FindBackground(const QString& name)
{
    for (const TBackground& background : BACKGROUNDS) {
        if (name == QLatin1String(background.name)) {
            return background;
        }
    }
    return BACKGROUNDS[0];
}

void DrawRounded(QPainter& painter, const QRect& place, const QColor& ground, const QPen& border)
{
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(border);
    painter.setBrush(ground);
    const double inset = border.widthF() / 2.0;
    painter.drawRoundedRect(QRectF(place).adjusted(inset, inset, -inset, -inset), CORNER, CORNER);
    painter.restore();
}

} // namespace

void DrawBackground(QPainter& painter, const QRect& place, const QString& name)
{
    const TBackground& background = FindBackground(name);
    DrawRounded(painter, place, ThemeColour(background.ground),
                QPen(ThemeColour(background.border), 2.0, background.borderStyle));
}

QColor BackgroundTextColour(const QString& name)
{
    return ThemeColour(FindBackground(name).text);
}

void DrawFocusRing(QPainter& painter, const QRect& place)
{
    DrawRounded(painter, place, Qt::transparent,
                QPen(ThemeColour(EColour::eFocus), static_cast<double>(FOCUS_RING)));
    DrawRounded(painter, place.adjusted(FOCUS_RING, FOCUS_RING, -FOCUS_RING, -FOCUS_RING),
                Qt::transparent, QPen(ThemeColour(EColour::eFocusEdge), FOCUS_RING_EDGE));
}

void DrawPanel(QPainter& painter, const QRect& place)
{
    DrawRounded(painter, place, ThemeColour(EColour::ePanel),
                QPen(ThemeColour(EColour::eBorder), 1.0));
}

} // namespace hostimpl
