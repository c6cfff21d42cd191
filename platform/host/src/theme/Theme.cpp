// Applies a theme: palette, font and style of the application.
#include "hostimpl/Theme.h"

#include "theme/TThemeStyle.h"

#include <QtGui/QPalette>
#include <QtWidgets/QApplication>
#include <QtWidgets/QStyle>
#include <QtWidgets/QToolTip>
#include <QtWidgets/QWidget>

#include <algorithm>
#include <array>

namespace hostimpl {

namespace {

constexpr int SMALLEST_TEXT = 20;
constexpr std::array<int, 3> FONT_SIZES = {20, 26, 30}; // by EFont, pixels

ETheme currentTheme = ETheme::eDay;

struct TPaletteRow
{
    QPalette::ColorRole role;
    EColour usual;
    EColour off;
};

constexpr TPaletteRow PALETTE[] = {
    {QPalette::Window, EColour::eWindow, EColour::eWindow},
    {QPalette::WindowText, EColour::eText, EColour::eOffText},
    {QPalette::Base, EColour::ePanel, EColour::eOff},
    {QPalette::AlternateBase, EColour::eWindow, EColour::eOff},
    {QPalette::Text, EColour::eText, EColour::eOffText},
    {QPalette::PlaceholderText, EColour::eMutedText, EColour::eOffText},
    {QPalette::Button, EColour::ePanel, EColour::eOff},
    {QPalette::ButtonText, EColour::eText, EColour::eOffText},
    {QPalette::BrightText, EColour::eAlert, EColour::eOffText},
    {QPalette::Highlight, EColour::eSelected, EColour::eOff},
    {QPalette::HighlightedText, EColour::eSelectedText, EColour::eOffText},
    {QPalette::ToolTipBase, EColour::ePanel, EColour::ePanel},
    {QPalette::ToolTipText, EColour::eText, EColour::eText},
    {QPalette::Link, EColour::eText, EColour::eOffText},
    {QPalette::LinkVisited, EColour::eText, EColour::eOffText},
};

QPalette PaletteOf(ETheme theme)
{
    QPalette palette(ThemeColour(EColour::ePanel, theme), ThemeColour(EColour::eWindow, theme));
    for (const TPaletteRow& row : PALETTE) {
        const QColor usual = ThemeColour(row.usual, theme);
        palette.setColor(QPalette::Active, row.role, usual);
        palette.setColor(QPalette::Inactive, row.role, usual);
        palette.setColor(QPalette::Disabled, row.role, ThemeColour(row.off, theme));
    }
    return palette;
}

} // namespace

// The console's own widgets read the theme's colours at each drawing. Qt's widgets use the palette.
void SetTheme(ETheme theme)
{
    currentTheme = theme;
    if (qobject_cast<TThemeStyle*>(QApplication::style()) == nullptr) {
        QApplication::setStyle(new TThemeStyle);
    }
    const QPalette palette = PaletteOf(theme);
    QApplication::setFont(ThemeFont(EFont::eBody));
    QApplication::setPalette(palette);
    QToolTip::setFont(ThemeFont(EFont::eCaption));
    QToolTip::setPalette(palette);
    const QWidgetList widgets = QApplication::allWidgets();
    for (QWidget* const widget : widgets) {
        widget->update();
    }
}

ETheme CurrentTheme()
{
    return currentTheme;
}

QFont ThemeFont(EFont font)
{
    return ThemeFont(FONT_SIZES.at(static_cast<std::size_t>(font)));
}

QFont ThemeFont(int sizePixels)
{
    QFont result(QStringLiteral("DejaVu Sans"));
    result.setPixelSize(std::max(sizePixels, SMALLEST_TEXT));
    return result;
}

} // namespace hostimpl
