#include "console/window/THomePage.h"

#include "console/settings/Scrolling.h"
#include "console/window/THomeCardView.h"
#include "hostimpl/Theme.h"

#include <QtCore/QEvent>
#include <QtGui/QPainter>
#include <QtWidgets/QGridLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QScrollArea>
#include <QtWidgets/QScrollBar>

namespace {

constexpr int gap = 6;
constexpr int edges = 24 + 2 * hostimpl::FOCUS_RING; // with the scroll bar
constexpr double columnLetters = 16.0; // the least width of a card, in heights of its letters

QVector<console::THomeCard> Cards(const console::THomeState& state)
{
    return console::CategoryCards(state) + console::StateCards(state);
}

int Columns(int width)
{
    const QFontMetrics letters(hostimpl::ThemeFont(hostimpl::EFont::eCaption));
    return qMax(1, static_cast<int>(width / (columnLetters * letters.capHeight())));
}

} // namespace

namespace console {

THomePage::THomePage(QWidget* parent) : QWidget(parent), m_notice(new QLabel), m_grid(nullptr)
{
    m_notice->setFont(hostimpl::ThemeFont(hostimpl::EFont::eBody));
    m_notice->setWordWrap(true);
    m_notice->setTextFormat(Qt::PlainText);
    auto* const content = new QWidget;
    m_grid = new QGridLayout;
    m_grid->setSpacing(gap);
    auto* const column = new QVBoxLayout(content);
    column->setContentsMargins(gap, gap, gap, gap);
    column->addWidget(m_notice);
    column->addLayout(m_grid);
    column->addStretch();
    m_area = MakeScrollArea(content, EBar::eSign);
    auto* const outer = new QVBoxLayout(this);
    outer->setContentsMargins(hostimpl::FOCUS_RING, hostimpl::FOCUS_RING, hostimpl::FOCUS_RING,
                              hostimpl::FOCUS_RING);
    outer->addWidget(m_area);
    connect(m_area->verticalScrollBar(), &QScrollBar::rangeChanged, this,
            &THomePage::UpdateFocusPolicy);
    for (int card = Cards({}).size(); card > 0; --card) {
        m_views << new THomeCardView;
    }
    SetNotice({});
    Arrange();
    Show({});
}

void THomePage::Show(const THomeState& state)
{
    m_cards = Cards(state);
    ShowCards();
}

void THomePage::ShowCards()
{
    const int cardWidth = (width() - edges) / m_columns - 2 * gap;
    for (int i = 0; i < m_cards.size(); ++i) {
        m_views.at(i)->Show(m_cards.at(i), cardWidth);
    }
}

QStringList THomePage::Texts() const
{
    QStringList texts;
    for (const THomeCardView* const view : m_views) {
        texts << view->Text();
    }
    return texts;
}

void THomePage::Arrange()
{
    const int columns = Columns(width());
    if (columns == m_columns) {
        return;
    }
    m_columns = columns;
    for (int i = 0; i < m_views.size(); ++i) {
        m_grid->addWidget(m_views.at(i), i / columns, i % columns);
    }
    for (int i = 0; i < m_grid->columnCount(); ++i) {
        m_grid->setColumnStretch(i, i < columns ? 1 : 0);
    }
}

void THomePage::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    Q_EMIT Opened();
}

void THomePage::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    Arrange();
    ShowCards();
}

void THomePage::UpdateFocusPolicy()
{
    const bool scrolls = m_area->verticalScrollBar()->maximum() > 0;
    setFocusPolicy(scrolls ? Qt::StrongFocus : Qt::NoFocus);
}

void THomePage::paintEvent(QPaintEvent*)
{
    if (hasFocus() && focusPolicy() != Qt::NoFocus) {
        QPainter painter(this);
        hostimpl::DrawFocusRing(painter, rect());
    }
}

bool THomePage::event(QEvent* event)
{
    if (event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut) {
        update();
    }
    if (event->type() == QEvent::FontChange) {
        Arrange();
        ShowCards();
    }
    return QWidget::event(event);
}

bool THomePage::OnWheelTurned(int steps)
{
    QScrollBar& bar = *m_area->verticalScrollBar();
    const int before = bar.value();
    bar.setValue(before + steps * bar.pageStep() / 2);
    return bar.value() != before;
}

void THomePage::SetNotice(const QString& text)
{
    m_notice->setText(text);
    m_notice->setVisible(!text.isEmpty());
}

QString THomePage::Notice() const
{
    return m_notice->text();
}

} // namespace console
