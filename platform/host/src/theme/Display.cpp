#include "hostimpl/Display.h"

#include <cmath>

namespace hostimpl {

namespace {

constexpr double MILLIMETRES_PER_INCH = 25.4;
constexpr double EYE_MILLIMETRES = 1000.0;
constexpr double RADIANS_PER_MINUTE = 3.14159265358979 / 180.0 / 60.0;

} // namespace

double TDisplay::PixelMillimetres() const
{
    const double diagonal = std::hypot(pixels.width(), pixels.height());
    return diagonalInches * MILLIMETRES_PER_INCH / diagonal;
}

const TDisplay& DisplayOf(const QSize& pixels)
{
    for (const TDisplay& display : DISPLAYS) {
        if (display.pixels == pixels) {
            return display;
        }
    }
    return DISPLAYS[0];
}

double CapitalPixels(double arcMinutes, double pixelMillimetres)
{
    return EYE_MILLIMETRES * std::tan(arcMinutes * RADIANS_PER_MINUTE) / pixelMillimetres;
}

} // namespace hostimpl
