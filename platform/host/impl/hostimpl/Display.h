// The displays that the console knows, and the real size of their pixels.
#pragma once

#include "host/HostExport.h"

#include <QtCore/QSize>

namespace hostimpl {

struct CONSOLEHOST_EXPORT TDisplay
{
    QSize pixels;
    double diagonalInches;
    // Pixels of the display for one pixel of the layout. The rows of the plug-in have a fixed
    // height of 73 pixels of the layout, which must be 9 mm at least.
    double scale;

    double PixelMillimetres() const;
    QSize LayoutPixels() const { return pixels / scale; }
};

// The first row is used for other displays.
constexpr TDisplay DISPLAYS[] = {
    {{1280, 800}, 10.1, 1.0},
    {{800, 480}, 7.0, 1.0},
    {{1920, 1080}, 10.1, 1.5},
};

CONSOLEHOST_EXPORT const TDisplay& DisplayOf(const QSize& pixels);

// The height of a capital letter in pixels of the layout. An eye at a distance of 1 m sees the
// letter under an angle of `arcMinutes`.
CONSOLEHOST_EXPORT double CapitalPixels(double arcMinutes, double pixelMillimetres);

} // namespace hostimpl
