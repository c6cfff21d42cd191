// Shows a name in full, on as many lines as it takes.
#include "widgets/TNameBand.h"

#include "hostimpl/Theme.h"

#include <QtGui/QPainter>

namespace {

constexpr int MARGIN_X = 12;
constexpr int MARGIN_Y = 4;
constexpr int FLAGS = Qt::AlignLeft | Qt::AlignTop | Qt::TextWrapAnywhere;

} // namespace

TNameBand::TNameBand(QWidget* parent) : QWidget(parent)
{
    setFont(hostimpl::ThemeFont(hostimpl::EFont::eCaption));
}

TNameBand::~TNameBand() = default;

void TNameBand::SetName(const QString& name)
{
    m_name = name;
    update();
}

int TNameBand::heightForWidth(int width) const
{
    const QRect room(0, 0, width - 2 * MARGIN_X, QWIDGETSIZE_MAX);
    return fontMetrics().boundingRect(room, FLAGS, m_name).height() + 2 * MARGIN_Y;
}

void TNameBand::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), hostimpl::ThemeColour(hostimpl::EColour::eWindow));
    painter.setPen(hostimpl::ThemeColour(hostimpl::EColour::eText));
    painter.drawText(rect().adjusted(MARGIN_X, MARGIN_Y, -MARGIN_X, -MARGIN_Y), FLAGS, m_name);
}
