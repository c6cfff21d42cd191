// Parses a drawing that is written as a short text.
#pragma once

#include <QtGui/QPainterPath>

class QString;

namespace hostimpl {

// The text is a list of letters and numbers, separated by blanks, on a field of 24 by 24:
// M x y (move), L x y (line), Q cx cy x y and C c1x c1y c2x c2y x y (curves), Z (close),
// O cx cy r (circle), A cx cy r start sweep (arc, degrees, counter-clockwise from three o'clock).
// The drawing ends at the first word that cannot be parsed.
QPainterPath ParseDrawing(const QString& text);

constexpr double DRAWING_FIELD = 24.0;

} // namespace hostimpl
