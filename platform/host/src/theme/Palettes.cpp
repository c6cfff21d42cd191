// The colours of the console by day and by night.
#include "hostimpl/Theme.h"

#include <array>

namespace hostimpl {

namespace {

struct TColourRow
{
    EColour colour;
    QRgb day;
    QRgb night;
};

// In the order of EColour.
constexpr std::array<TColourRow, COLOUR_COUNT> COLOURS = {{
    {EColour::eWindow, 0xffe9ece6, 0xff0a0d0a},
    {EColour::ePanel, 0xffffffff, 0xff171c18},
    {EColour::eText, 0xff0b0f0a, 0xfff2f5ee},
    {EColour::eMutedText, 0xff333b33, 0xffc3cbc0},
    {EColour::eOffText, 0xff424742, 0xffa9b1a9},
    {EColour::eOff, 0xffe4e7e2, 0xff101410},
    {EColour::eBorder, 0xff6b746b, 0xff77827a},
    {EColour::eButton, 0xff14532d, 0xff1f4a2d},
    {EColour::eButtonText, 0xffffffff, 0xffffffff},
    {EColour::eButtonSelected, 0xff8fd0a0, 0xff5fae78},
    {EColour::eButtonSelectedText, 0xff000000, 0xff000000},
    {EColour::eSelected, 0xffbfe3c8, 0xff1d4d2b},
    {EColour::eSelectedText, 0xff0b0f0a, 0xffffffff},
    {EColour::eFocus, 0xff0b3fd9, 0xff7db3ff},
    {EColour::eFocusEdge, 0xffffffff, 0xff000000},
    {EColour::eAlert, 0xff960f0f, 0xffff9c94},
    {EColour::eGood, 0xff0a5220, 0xff8fe3a4},
    {EColour::eWarning, 0xffffc107, 0xff4d3800},
    {EColour::eWarningText, 0xff000000, 0xffffe3a3},
}};

constexpr bool IsInOrder()
{
    for (std::size_t index = 0; index < COLOURS.size(); ++index) {
        if (static_cast<std::size_t>(COLOURS[index].colour) != index) {
            return false;
        }
    }
    return true;
}
static_assert(IsInOrder(), "a colour's number is its index in COLOURS");

} // namespace

QColor ThemeColour(EColour colour, ETheme theme)
{
    const TColourRow& row = COLOURS.at(static_cast<std::size_t>(colour));
    return QColor(theme == ETheme::eNight ? row.night : row.day);
}

QColor ThemeColour(EColour colour)
{
    return ThemeColour(colour, CurrentTheme());
}

} // namespace hostimpl
