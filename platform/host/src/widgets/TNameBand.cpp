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
    m_name = name;
    m_text.setDefaultFont(hostimpl::ThemeFont(hostimpl::EFont::eCaption));
    m_text.setPlainText(name);
    update();
}

void TNameBand::FitInto(const QSize& most)
{
    constexpr int STEP = 4; // letters
    const auto fits = [this, &most](const QFont& font) {
        m_text.setDefaultFont(font);
        return heightForWidth(most.width()) <= most.height();
    };
    m_text.setPlainText(m_name);
    const QFont font = hostimpl::NarrowFont(hostimpl::ThemeFont(hostimpl::EFont::eCaption), fits);
    for (int left = m_name.size() - STEP; !fits(font) && left > 0; left -= STEP) {
        m_text.setPlainText(m_name.left(left / 2) + QChar(0x2026) + m_name.right(left / 2));
    }
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
