// Applies a theme: palette, font and style of the application.
#include "hostimpl/Theme.h"

#include "hostimpl/Display.h"
#include "theme/TThemeStyle.h"

#include <QtGui/QPalette>
#include <QtWidgets/QApplication>
#include <QtWidgets/QStyle>
#include <QtWidgets/QToolTip>
#include <QtWidgets/QWidget>

#include <algorithm>
#include <array>
#include <cmath>

namespace hostimpl {

namespace {

// By EFont: the least height of a capital letter, in minutes of arc at a distance of 1 m.
constexpr std::array<double, 3> ARC_MINUTES = {12.0, 16.0, 18.0};
constexpr double CAPITAL_PER_SIZE = 0.729; // for DejaVu Sans
// Narrow letters: a text keeps its width although the letters are high. Capitals are about 0.7 of
// their height wide.
constexpr int STRETCH = 80;

constexpr std::array<EFont, 3> FONTS = {EFont::eCaption, EFont::eBody, EFont::eTitle};

ETheme currentTheme = ETheme::eDay;
double pixelMillimetres = DISPLAYS[0].PixelMillimetres();
double textFactor = 1.0;

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

// The pixel size tells which font of the theme a widget has.
void SetTextSize(double newPixelMillimetres, double factor)
{
    if (newPixelMillimetres == pixelMillimetres && factor == textFactor) {
        return; // some widgets have made their letters bold or narrow
    }
    std::array<int, FONTS.size()> former{};
    std::transform(FONTS.cbegin(), FONTS.cend(), former.begin(),
                   [](EFont font) { return ThemeFont(font).pixelSize(); });
    pixelMillimetres = newPixelMillimetres;
    textFactor = factor;
    const QWidgetList widgets = QApplication::allWidgets();
    for (QWidget* const widget : widgets) {
        const auto* const found =
            std::find(former.cbegin(), former.cend(), widget->font().pixelSize());
        if (widget->testAttribute(Qt::WA_SetFont) && found != former.cend()) {
            widget->setFont(ThemeFont(FONTS.at(std::size_t(found - former.cbegin()))));
        }
    }
}

QFont ThemeFont(EFont font)
{
    // A drawn letter has a whole number of pixels.
    const double capital =
        std::ceil(CapitalPixels(ARC_MINUTES.at(static_cast<std::size_t>(font)), pixelMillimetres));
    QFont result(QStringLiteral("DejaVu Sans"));
    result.setPixelSize(static_cast<int>(std::ceil(textFactor * capital / CAPITAL_PER_SIZE)));
    result.setStretch(STRETCH);
    return result;
}

QFont ThemeFont(int sizePixels)
{
    QFont result = ThemeFont(EFont::eCaption);
    result.setPixelSize(std::max(sizePixels, result.pixelSize()));
    return result;
}

} // namespace hostimpl
