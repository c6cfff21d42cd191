// The drawing of the rows of a list of names.
#include "hostimpl/Theme.h"
#include "widgets/TListParts.h"

#include <QtGui/QPainter>
#include <QtGui/QTextLayout>

#include <algorithm>

namespace {

using hostimpl::EColour;
using hostimpl::ThemeColour;

constexpr int PADDING = 12;
constexpr int MARK_SIZE = 34;

// A name as its row shows it.
struct TLines
{
    QFont font;
    QStringList lines; // one or two
    bool isElided = false;
};

// The place of an entry's text in its row.
QRect TextPlace(const QRect& row, const QModelIndex& index)
{
    const bool hasIcon = !index.data(Qt::DecorationRole).value<QIcon>().isNull();
    const int marks = (hasIcon ? 2 : 1) * (MARK_SIZE + PADDING);
    return row.adjusted(PADDING + marks, 0, -PADDING, 0);
}

// The length of the first line. The break is after a blank or a hyphen if possible.
int FirstLineLength(const QString& name, const QFont& font, int width)
{
    QTextLayout layout(name, font);
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    layout.beginLayout();
    QTextLine line = layout.createLine();
    line.setLineWidth(width);
    layout.endLayout();
    return line.textLength();
}

// A name that is too long for one line gets two lines of smaller letters.
TLines LinesOf(const QModelIndex& index, int width)
{
    const QString name = index.data().toString();
    TLines result;
    const int body = hostimpl::ThemeFont(hostimpl::EFont::eBody).pixelSize();
    result.font = hostimpl::ThemeFont(std::max(body, index.data(LIST_TEXT_SIZE_ROLE).toInt()));
    if (QFontMetrics(result.font).horizontalAdvance(name) <= width) {
        result.lines = QStringList(name);
        return result;
    }
    result.font = hostimpl::ThemeFont(hostimpl::EFont::eCaption);
    const QFontMetrics metrics(result.font);
    const int length = FirstLineLength(name, result.font, width);
    const QString rest = name.mid(length).trimmed();
    const QString second = metrics.elidedText(rest, Qt::ElideMiddle, width);
    result.isElided = second != rest;
    result.lines = QStringList(name.left(length));
    if (!rest.isEmpty()) {
        result.lines << second;
    }
    return result;
}

} // namespace

// All rows have the same height, so that a list of ten thousand names needs no measuring.
QSize TListWidget::TParts::sizeHint(const QStyleOptionViewItem&, const QModelIndex&) const
{
    const QFontMetrics metrics(hostimpl::ThemeFont(hostimpl::EFont::eCaption));
    return {hostimpl::TOUCH_SIZE, std::max(hostimpl::TOUCH_SIZE, 2 * metrics.height())};
}

void TListWidget::TParts::paint(QPainter* painter, const QStyleOptionViewItem& option,
                                const QModelIndex& index) const
{
    const bool isSelected = (option.state & QStyle::State_Selected) != 0;
    const bool isOff = (option.state & QStyle::State_Enabled) == 0;
    const QRect row = option.rect;
    painter->save();
    painter->fillRect(row, ThemeColour(isOff        ? EColour::eOff
                                       : isSelected ? EColour::eSelected
                                                    : EColour::ePanel));
    painter->setPen(ThemeColour(EColour::eBorder));
    painter->drawLine(row.bottomLeft(), row.bottomRight());
    QRect mark(row.x() + PADDING, row.center().y() - MARK_SIZE / 2, MARK_SIZE, MARK_SIZE);
    painter->setPen(QPen(ThemeColour(isOff ? EColour::eBorder : EColour::eText), 2.0));
    painter->drawRect(mark);
    if (isSelected) {
        hostimpl::ThemeIcon(QStringLiteral("check"))
            .paint(painter, mark, Qt::AlignCenter, isOff ? QIcon::Disabled : QIcon::Selected);
    }
    mark.translate(MARK_SIZE + PADDING, 0);
    index.data(Qt::DecorationRole).value<QIcon>().paint(painter, mark);
    const QRect place = TextPlace(row, index);
    const TLines text = LinesOf(index, place.width());
    painter->setFont(text.font);
    painter->setPen(ThemeColour(isOff        ? EColour::eOffText
                                : isSelected ? EColour::eSelectedText
                                             : EColour::eText));
    painter->drawText(place, Qt::AlignLeft | Qt::AlignVCenter, text.lines.join(QLatin1Char('\n')));
    if (isWheelActive && index == m_list.currentIndex()) {
        hostimpl::DrawFocusRing(*painter, row);
    }
    painter->restore();
}

void TListWidget::TParts::ShowFullName()
{
    const QModelIndex index = m_list.currentIndex();
    const int room = TextPlace(QRect(0, 0, m_list.viewport()->width(), 1), index).width();
    m_isElided = index.isValid() && room > 0 && LinesOf(index, room).isElided;
    if (m_isElided) {
        m_band.SetName(index.data().toString());
    }
    PlaceBand();
}
