#include "console/window/THomeCardView.h"

#include "console/window/HomeTexts.h"
#include "hostimpl/Theme.h"

#include <QtCore/QEvent>
#include <QtGui/QPainter>
#include <QtWidgets/QBoxLayout>
#include <QtWidgets/QLabel>

namespace {

constexpr int margin = 10;

QFont LabelFont(bool isBold)
{
    QFont font = hostimpl::ThemeFont(hostimpl::EFont::eCaption);
    font.setBold(isBold);
    return font;
}

QLabel* MakeLabel(bool isBold)
{
    auto* const label = new QLabel;
    label->setFont(LabelFont(isBold));
    label->setTextFormat(Qt::PlainText);
    return label;
}

// A long word gets narrower letters of the same height.
void Narrow(QLabel& label, const QFont& font, int width)
{
    label.setFont(hostimpl::NarrowFont(font, [&label, width](const QFont& narrow) {
        label.setFont(narrow);
        return label.minimumSizeHint().width() <= width;
    }));
}

QString JoinedText(const QString& title, const QString& badge, const QString& text)
{
    const QString head = badge.isEmpty() ? title : title + QLatin1Char(' ') + badge;
    return head + QLatin1Char('\n') + text;
}

} // namespace

namespace console {

THomeCardView::THomeCardView(QWidget* parent)
    : QFrame(parent),
      m_head(new QBoxLayout(QBoxLayout::LeftToRight)),
      m_title(MakeLabel(true)),
      m_badge(MakeLabel(true)),
      m_text(MakeLabel(false))
{
    m_title->setWordWrap(true);
    m_text->setWordWrap(true);
    m_badge->setAutoFillBackground(true);
    m_badge->setContentsMargins(margin, 0, margin, 0);
    m_head->addWidget(m_title, 1);
    m_head->addWidget(m_badge, 0, Qt::AlignTop | Qt::AlignLeft);
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(margin, 3, margin, 3);
    column->setSpacing(0);
    column->addLayout(m_head);
    column->addWidget(m_text);
    column->addStretch();
    m_badge->hide();
    ShowColours();
}

void THomeCardView::Show(const THomeCard& card, int width)
{
    if (Text() == JoinedText(card.title, card.badge, card.text) && m_width == width) {
        return;
    }
    m_width = width;
    m_text->setText(card.text);
    m_title->setText(card.title);
    m_badge->setText(card.badge);
    m_badge->setVisible(!card.badge.isEmpty());
    Fit();
}

void THomeCardView::Fit()
{
    Narrow(*m_title, LabelFont(true), m_width - 2 * margin);
    Narrow(*m_badge, LabelFont(true), m_width - 2 * margin);
    Narrow(*m_text, LabelFont(false), m_width - 2 * margin);
    const int beside = m_title->minimumSizeHint().width() + m_badge->sizeHint().width() +
                       m_head->spacing() + 2 * margin;
    m_head->setDirection(beside > m_width ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight);
}

QString THomeCardView::Text() const
{
    return JoinedText(m_title->text(), m_badge->text(), m_text->text());
}

void THomeCardView::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    hostimpl::DrawPanel(painter, rect());
}

// The badge swaps the panel's colours of text and background.
void THomeCardView::ShowColours()
{
    QPalette colours = m_badge->palette();
    colours.setColor(QPalette::Window, hostimpl::ThemeColour(hostimpl::EColour::eText));
    colours.setColor(QPalette::WindowText, hostimpl::ThemeColour(hostimpl::EColour::ePanel));
    if (colours != m_badge->palette()) {
        m_badge->setPalette(colours);
    }
}

void THomeCardView::changeEvent(QEvent* event)
{
    QFrame::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) {
        ShowColours();
    } else if (event->type() == QEvent::FontChange) {
        Fit();
    }
}

} // namespace console
