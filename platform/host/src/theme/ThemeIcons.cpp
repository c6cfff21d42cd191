// The console's icons.
#include "hostimpl/Theme.h"

#include "theme/IconDrawing.h"

#include <QtCore/QStringList>
#include <QtGui/QIconEngine>
#include <QtGui/QPainter>
#include <QtGui/QPixmap>

#include <algorithm>

namespace hostimpl {

namespace {

struct TDrawing
{
    const char* name;
    const char* lines;
    const char* areas;
};

// The first row is used for unknown names.
constexpr TDrawing DRAWINGS[] = {
    {"", "M 4 4 L 20 4 L 20 20 L 4 20 Z", "O 12 12 3"},
    // A cloud with an arrow up and an arrow down.
    {"NavKelvo",
     "M 6 14 C 2 14 2 8 6 8 C 7 3 15 3 16 8 C 22 7 23 14 18 14 M 9 21 L 9 12 M 6 15 L 9 12 L 12 15 "
     "M 15 12 L 15 21 M 12 18 L 15 21 L 18 18",
     ""},
    {"Select",
     "M 3 6 L 5 8 L 8 4 M 11 6 L 21 6 M 3 13 L 5 15 L 8 11 M 11 13 L 21 13 M 11 20 L 21 20",
     "O 5 20 1.5"},
    {"save", "M 3 7 L 3 19 L 21 19 L 21 7 L 12 7 L 10 4 L 4 4 Z M 3 11 L 21 11", ""},
    {"settings",
     "O 12 12 6 M 12 2 L 12 6 M 12 18 L 12 22 M 2 12 L 6 12 M 18 12 L 22 12 M 5 5 L 7.8 7.8 "
     "M 16.2 16.2 L 19 19 M 19 5 L 16.2 7.8 M 7.8 16.2 L 5 19",
     "O 12 12 2"},
    {"gps-fix", "O 12 12 7 M 12 2 L 12 5 M 12 19 L 12 22 M 2 12 L 5 12 M 19 12 L 22 12",
     "O 12 12 3"},
    {"gps-lost",
     "O 12 12 7 M 12 2 L 12 5 M 12 19 L 12 22 M 2 12 L 5 12 M 19 12 L 22 12 M 4 4 L 20 20", ""},
    {"link-up", "A 12 18 5 45 90 A 12 18 9 45 90 A 12 18 13 45 90", "O 12 18 2"},
    {"link-down", "A 12 18 5 45 90 A 12 18 9 45 90 A 12 18 13 45 90 M 4 4 L 20 21", ""},
    {"sun",
     "O 12 12 4 M 12 2 L 12 5 M 12 19 L 12 22 M 2 12 L 5 12 M 19 12 L 22 12 M 5 5 L 7 7 "
     "M 17 17 L 19 19 M 19 5 L 17 7 M 7 17 L 5 19",
     ""},
    {"moon", "M 15 3 C 7 4 5 15 12 19 C 15 21 19 20 21 17 C 13 18 10 9 15 3 Z", ""},
    {"keyboard", "M 2 6 L 22 6 L 22 18 L 2 18 Z M 7 15 L 17 15",
     "O 6 10 1 O 10 10 1 O 14 10 1 O 18 10 1"},
    {"back", "M 21 12 L 4 12 M 11 5 L 4 12 L 11 19", ""},
    {"home", "M 3 12 L 12 4 L 21 12 M 6 10 L 6 20 L 18 20 L 18 10 M 10 20 L 10 14 L 14 14 L 14 20",
     ""},
    {"eye", "M 2 12 Q 12 2 22 12 Q 12 22 2 12 Z", "O 12 12 3"},
    {"eye-off", "M 2 12 Q 12 2 22 12 Q 12 22 2 12 Z O 12 12 3 M 4 20 L 20 4", ""},
    {"choose", "M 6 9 L 12 3 L 18 9 M 6 15 L 12 21 L 18 15", ""},
    {"check", "M 4 13 L 10 19 L 20 6", ""},
    {"not-offered", "O 12 12 9 M 5.6 5.6 L 18.4 18.4", ""},
    {"close", "M 5 5 L 19 19 M 19 5 L 5 19", ""},
    {"alert", "M 12 3 L 22 21 L 2 21 Z M 12 9 L 12 15", "O 12 18 1"},
    {"info", "O 12 12 9 M 12 11 L 12 17", "O 12 7.5 1.2"},
    {"lock", "M 5 11 L 19 11 L 19 21 L 5 21 Z M 8 11 L 8 8 C 8 2 16 2 16 8 L 16 11", ""},
    {"download", "M 12 3 L 12 16 M 6 10 L 12 16 L 18 10 M 4 21 L 20 21", ""},
    {"upload", "M 12 17 L 12 4 M 6 10 L 12 4 L 18 10 M 4 21 L 20 21", ""},
    {"delete",
     "M 4 6 L 20 6 M 9 6 L 9 3 L 15 3 L 15 6 M 6 6 L 7 21 L 17 21 L 18 6 M 10 10 L 10 17 "
     "M 14 10 L 14 17",
     ""},
    {"search", "O 10 10 7 M 15.2 15.2 L 21 21", ""},
    {"user", "O 12 8 4 M 4 21 C 4 12 20 12 20 21", ""},
    {"clock", "O 12 12 9 M 12 6 L 12 12 L 16 14", ""},
    {"language", "O 12 12 9 M 3 12 L 21 12 M 12 3 C 6 8 6 16 12 21 C 18 16 18 8 12 3", ""},
};

const TDrawing& FindDrawing(const QString& name)
{
    for (const TDrawing& drawing : DRAWINGS) {
        if (name == QLatin1String(drawing.name)) {
            return drawing;
        }
    }
    return DRAWINGS[0];
}

// Reads its colour at each drawing, so that an icon that a widget stores follows the theme.
class TThemeIconEngine : public QIconEngine
{
public:
    explicit TThemeIconEngine(const TDrawing& drawing)
        : m_lines(ParseDrawing(QString::fromLatin1(drawing.lines))),
          m_areas(ParseDrawing(QString::fromLatin1(drawing.areas)))
    {}

    void paint(QPainter* painter, const QRect& place, QIcon::Mode mode, QIcon::State) override
    {
        const QColor colour = ThemeColour(mode == QIcon::Disabled   ? EColour::eOffText
                                          : mode == QIcon::Selected ? EColour::eSelectedText
                                                                    : EColour::eText);
        const double size = std::min(place.width(), place.height());
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->translate(place.x() + (place.width() - size) / 2.0,
                           place.y() + (place.height() - size) / 2.0);
        painter->scale(size / DRAWING_FIELD, size / DRAWING_FIELD);
        painter->strokePath(m_lines, QPen(colour, 2.0, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter->fillPath(m_areas, colour);
        painter->restore();
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override
    {
        QPixmap result(size);
        result.fill(Qt::transparent);
        QPainter painter(&result);
        paint(&painter, QRect(QPoint(0, 0), size), mode, state);
        return result;
    }

    QIconEngine* clone() const override { return new TThemeIconEngine(*this); }

private:
    QPainterPath m_lines;
    QPainterPath m_areas;
};

} // namespace

QIcon ThemeIcon(const QString& name)
{
    return name.isEmpty() ? QIcon() : QIcon(new TThemeIconEngine(FindDrawing(name)));
}

QStringList ThemeIconNames()
{
    QStringList names;
    for (const TDrawing& drawing : DRAWINGS) {
        if (*drawing.name != '\0') {
            names.append(QString::fromLatin1(drawing.name));
        }
    }
    return names;
}

} // namespace hostimpl
