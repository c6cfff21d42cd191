#include "console/window/TStatusItem.h"

#include "hostimpl/Theme.h"

#include <QtCore/QStringList>
#include <QtGui/QFontMetrics>
#include <QtGui/QPainter>

namespace {

constexpr int iconExtent = 36;
constexpr int gap = 8;
constexpr int leastTextWidth = 72;

// Splits a text that is too wide at the last gap between two parts that fits the first line, or
// else between two words.
QStringList Lines(const QString& text, const QFontMetrics& metrics, int width)
{
    if (text.contains(QLatin1Char('\n'))) {
        QStringList lines = text.split(QLatin1Char('\n'));
        for (QString& line : lines) {
            line = metrics.elidedText(line, Qt::ElideRight, width);
        }
        return lines;
    }
    QString first = text;
    while (metrics.horizontalAdvance(first) > width) {
        int end = first.lastIndexOf(QStringLiteral("  "));
        if (end < 0) {
            end = first.lastIndexOf(QLatin1Char(' '));
        }
        if (end < 0) {
            return {metrics.elidedText(text, Qt::ElideRight, width)};
        }
        first.truncate(end);
    }
    const QString rest = text.mid(first.size()).trimmed();
    return rest.isEmpty() ? QStringList{first}
                          : QStringList{first, metrics.elidedText(rest, Qt::ElideRight, width)};
}

// With the narrowest letters, in two lines as Lines() makes them.
int LeastWidth(const QString& text, QFont font)
{
    font.setStretch(hostimpl::LEAST_STRETCH);
    const QFontMetrics metrics(font);
    int least = metrics.size(0, text).width();
    if (text.contains(QLatin1Char('\n'))) {
        return least;
    }
    const QString blank = QStringLiteral("  ");
    const QString gapText = text.contains(blank) ? blank : QStringLiteral(" ");
    for (int end = text.indexOf(gapText); end >= 0; end = text.indexOf(gapText, end + 1)) {
        least = qMin(least, qMax(metrics.horizontalAdvance(text.left(end)),
                                 metrics.horizontalAdvance(text.mid(end).trimmed())));
    }
    return least;
}

} // namespace

namespace console {

TStatusItem::TStatusItem(QWidget* parent) : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Expanding);
}

void TStatusItem::Show(const QString& iconName, const QString& text)
{
    if (m_iconName == iconName && m_text == text) {
        return;
    }
    m_iconName = iconName;
    m_text = text;
    setToolTip(text);
    setAccessibleName(text);
    updateGeometry();
    update();
}

QSize TStatusItem::sizeHint() const
{
    return {iconExtent + 2 * gap + fontMetrics().size(0, m_text).width(), iconExtent};
}

QSize TStatusItem::minimumSizeHint() const
{
    return {iconExtent + gap + qMax(leastTextWidth, LeastWidth(m_text, font())), iconExtent};
}

void TStatusItem::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    const QRect iconPlace(0, (height() - iconExtent) / 2, iconExtent, iconExtent);
    hostimpl::ThemeIcon(m_iconName).paint(&painter, iconPlace);
    painter.setPen(palette().color(QPalette::WindowText));
    const QRect textPlace = rect().adjusted(iconExtent + gap, 0, 0, 0);
    // A long text gets narrower letters of the same height. Only then the text is elided.
    const auto lines = [&](const QFont& narrow) {
        return Lines(m_text, QFontMetrics(narrow), textPlace.width()).join(QLatin1Char('\n'));
    };
    const auto fits = [&](const QFont& narrow) { return !lines(narrow).contains(QChar(0x2026)); };
    const QFont fitting = hostimpl::NarrowFont(font(), fits);
    painter.setFont(fitting);
    painter.drawText(textPlace, Qt::AlignVCenter | Qt::AlignLeft, lines(fitting));
}

} // namespace console
