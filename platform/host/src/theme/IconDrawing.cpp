#include "theme/IconDrawing.h"

#include <QtCore/QStringList>
#include <QtCore/QVector>

namespace hostimpl {

namespace {

using TNumbers = QVector<double>;

struct TMark
{
    char16_t letter;
    int numberCount;
    void (*draw)(QPainterPath& path, const TNumbers& n);
};

constexpr TMark MARKS[] = {
    {u'M', 2, [](QPainterPath& path, const TNumbers& n) { path.moveTo(n[0], n[1]); }},
    {u'L', 2, [](QPainterPath& path, const TNumbers& n) { path.lineTo(n[0], n[1]); }},
    {u'Q', 4, [](QPainterPath& path, const TNumbers& n) { path.quadTo(n[0], n[1], n[2], n[3]); }},
    {u'C', 6,
     [](QPainterPath& path, const TNumbers& n) {
         path.cubicTo(n[0], n[1], n[2], n[3], n[4], n[5]);
     }},
    {u'Z', 0, [](QPainterPath& path, const TNumbers&) { path.closeSubpath(); }},
    {u'O', 3,
     [](QPainterPath& path, const TNumbers& n) {
         path.addEllipse(QPointF(n[0], n[1]), n[2], n[2]);
     }},
    {u'A', 5,
     [](QPainterPath& path, const TNumbers& n) {
         const QRectF circle(n[0] - n[2], n[1] - n[2], 2.0 * n[2], 2.0 * n[2]);
         path.arcMoveTo(circle, n[3]);
         path.arcTo(circle, n[3], n[4]);
     }},
};

const TMark* FindMark(const QString& word)
{
    for (const TMark& mark : MARKS) {
        if (word.size() == 1 && word.at(0) == QChar(mark.letter)) {
            return &mark;
        }
    }
    return nullptr;
}

} // namespace

QPainterPath ParseDrawing(const QString& text)
{
    QPainterPath path;
    const QStringList words = text.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    for (int index = 0; index < words.size();) {
        const TMark* const mark = FindMark(words.at(index));
        if (mark == nullptr || index + mark->numberCount >= words.size()) {
            break;
        }
        TNumbers numbers;
        for (int each = 1; each <= mark->numberCount; ++each) {
            numbers.append(words.at(index + each).toDouble());
        }
        mark->draw(path, numbers);
        index += 1 + mark->numberCount;
    }
    return path;
}

} // namespace hostimpl
