// Draws pictures that are written as short texts.
#pragma once

#include <QtGui/QPainterPath>

class QString;

namespace hostimpl {

// Marks with their numbers, all parted by blanks, on a field of 24 by 24: M x y (go there),
// L x y (line), Q cx cy x y and C c1x c1y c2x c2y x y (curves), Z (close), O cx cy r (circle),
// A cx cy r start sweep (arc, degrees, counter-clockwise from three o'clock). What cannot be read
// ends the picture.
QPainterPath ParseDrawing(const QString& text);

constexpr double DRAWING_FIELD = 24.0;

} // namespace hostimpl
