// The order in which the eye reads rectangles.
#pragma once

#include <QtCore/QRect>
#include <QtCore/QVector>

namespace hostimpl {

// The indexes of `places` in reading order. The places are cut into rows. A row that cannot be cut
// further is cut into columns, each column into rows again, and so on. Places that no straight line
// separates are sorted by their upper left corner.
QVector<int> ReadingOrder(const QVector<QRect>& places);

} // namespace hostimpl
