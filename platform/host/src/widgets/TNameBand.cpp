#include "widgets/TNameBand.h"

#include "hostimpl/Theme.h"

#include <QtGui/QAbstractTextDocumentLayout>
#include <QtGui/QPainter>
#include <QtGui/QTextOption>

#include <cmath>
#include <memory>

namespace {

constexpr int MARGIN = 10;

} // namespace

TNameBand::TNameBand(QWidget* parent) : QWidget(parent)
{
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    m_text.setDefaultTextOption(option);
    m_text.setDocumentMargin(MARGIN);
}

TNameBand::~TNameBand() = default;

void TNameBand::SetName(const QString& name)
{
    m_text.setDefaultFont(hostimpl::ThemeFont(hostimpl::EFont::eCaption));
    m_text.setPlainText(name);
    update();
}

int TNameBand::heightForWidth(int width) const
{
    const std::unique_ptr<QTextDocument> copy(m_text.clone());
    copy->setTextWidth(width);
    return static_cast<int>(std::ceil(copy->size().height()));
}

void TNameBand::mousePressEvent(QMouseEvent*)
{
    hide();
}

void TNameBand::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), hostimpl::ThemeColour(hostimpl::EColour::eWindow));
    QAbstractTextDocumentLayout::PaintContext context;
    context.palette.setColor(QPalette::Text, hostimpl::ThemeColour(hostimpl::EColour::eText));
    m_text.documentLayout()->draw(&painter, context);
}

void TNameBand::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    m_text.setTextWidth(width());
}
