#include "widgets/ReadingOrder.h"

#include <algorithm>
#include <numeric>
#include <tuple>

namespace hostimpl {

namespace {

// The extent of a place in one direction.
using TExtent = std::pair<int, int> (*)(const QRect&);

std::pair<int, int> Rows(const QRect& place)
{
    return {place.top(), place.bottom()};
}

std::pair<int, int> Columns(const QRect& place)
{
    return {place.left(), place.right()};
}

// Splits the places wherever a straight line separates them.
QVector<QVector<int>> Split(QVector<int> indexes, const QVector<QRect>& places, TExtent extentOf)
{
    std::stable_sort(indexes.begin(), indexes.end(), [&](int one, int other) {
        return extentOf(places.at(one)).first < extentOf(places.at(other)).first;
    });
    QVector<QVector<int>> parts;
    int end = 0; // the end of the last part
    for (const int index : qAsConst(indexes)) {
        const auto [from, to] = extentOf(places.at(index));
        if (parts.isEmpty() || from > end) {
            parts.append(QVector<int>());
            end = to;
        }
        parts.last().append(index);
        end = std::max(end, to);
    }
    return parts;
}

void Append(const QVector<int>& indexes, const QVector<QRect>& places, QVector<int>& order)
{
    for (const TExtent extentOf : {&Rows, &Columns}) {
        const QVector<QVector<int>> parts = Split(indexes, places, extentOf);
        if (parts.size() > 1) {
            for (const QVector<int>& part : parts) {
                Append(part, places, order);
            }
            return;
        }
    }
    QVector<int> rest = indexes;
    std::stable_sort(rest.begin(), rest.end(), [&places](int one, int other) {
        const QRect& first = places.at(one);
        const QRect& second = places.at(other);
        return std::make_tuple(first.top(), first.left()) <
               std::make_tuple(second.top(), second.left());
    });
    order += rest;
}

} // namespace

QVector<int> ReadingOrder(const QVector<QRect>& places)
{
    QVector<int> indexes(places.size());
    std::iota(indexes.begin(), indexes.end(), 0);
    QVector<int> order;
    Append(indexes, places, order);
    return order;
}

} // namespace hostimpl
