#include "console/window/TStatusBar.h"

#include "console/window/TStatusItem.h"
#include "host/TLocalTime.h"
#include "hostimpl/Theme.h"

#include <QtCore/QEvent>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLabel>

namespace {

constexpr int tickMs = 1000; // an error of one second is acceptable
constexpr int margin = 2;

} // namespace

namespace console {

TStatusBar::TStatusBar(QWidget* parent)
    : QFrame(parent), m_position(new TStatusItem), m_link(new TStatusItem), m_clock(new QLabel)
{
    setBackgroundRole(QPalette::Base);
    setAutoFillBackground(true);
    const QFont textFont = hostimpl::ThemeFont(hostimpl::EFont::eCaption);
    auto* const row = new QHBoxLayout(this);
    row->setContentsMargins(12, margin, 12, margin);
    row->setSpacing(20);
    for (QWidget* const item : {static_cast<QWidget*>(m_position), static_cast<QWidget*>(m_link),
                                static_cast<QWidget*>(m_clock)}) {
        item->setFont(textFont);
        row->addWidget(item, item == m_position ? 1 : 0);
    }
    ShowPosition({});
    ShowLink(LinkWords({}));
    ShowTime();
    FitHeight();
    connect(&m_tick, &QTimer::timeout, this, &TStatusBar::ShowTime);
    m_tick.start(tickMs);
}

// The bar has place for two lines.
void TStatusBar::FitHeight()
{
    const QFontMetrics letters(hostimpl::ThemeFont(hostimpl::EFont::eCaption));
    setFixedHeight(2 * letters.height() + 2 * margin);
}

void TStatusBar::changeEvent(QEvent* event)
{
    QFrame::changeEvent(event);
    if (event->type() == QEvent::FontChange) {
        FitHeight();
    }
}

void TStatusBar::ShowPosition(const TPositionState& state)
{
    const TStatusWords words = PositionWords(state);
    m_position->Show(words.iconName, words.text);
}

void TStatusBar::ShowLink(const TStatusWords& words)
{
    m_link->Show(words.iconName, words.text);
}

void TStatusBar::ShowTime()
{
    m_clock->setText(TLocalTime::currentDateTime().toString(QStringLiteral("HH:mm")));
}

QString TStatusBar::PositionText() const
{
    return m_position->Text();
}

QString TStatusBar::LinkText() const
{
    return m_link->Text();
}

QString TStatusBar::ClockText() const
{
    return m_clock->text();
}

} // namespace console
