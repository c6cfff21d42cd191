#include "widgets/TTransferProgress.h"

#include "hostimpl/Theme.h"
#include "hostimpl/TransferProgress.h"

#include <QtCore/QList>
#include <QtGui/QFontMetrics>
#include <QtWidgets/QVBoxLayout>

#include <optional>
#include <utility>

namespace {

constexpr int GAP = 4;

std::optional<hostimpl::TTransferState>& Current()
{
    static std::optional<hostimpl::TTransferState> progress;
    return progress;
}

std::function<void()>& CancelObserver()
{
    static std::function<void()> observer;
    return observer;
}

QList<TTransferProgress*>& All()
{
    static QList<TTransferProgress*> widgets;
    return widgets;
}

} // namespace

namespace hostimpl {

void SetTransferProgress(const std::optional<TTransferState>& progress)
{
    Current() = progress;
    for (TTransferProgress* const widget : qAsConst(All())) {
        widget->Refresh();
    }
}

void ObserveCancel(std::function<void()> observer)
{
    CancelObserver() = std::move(observer);
}

} // namespace hostimpl

void TTransferProgress::AnnounceCancel()
{
    if (CancelObserver()) {
        CancelObserver()();
    }
}

TTransferProgress::TTransferProgress(QWidget* parent) : QWidget(parent)
{
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(GAP);
    m_text.setFont(hostimpl::ThemeFont(hostimpl::EFont::eBody));
    m_text.setTextFormat(Qt::PlainText);
    m_text.setWordWrap(true);
    column->addWidget(&m_bar);
    column->addWidget(&m_text);
    All().append(this);
    Refresh();
}

TTransferProgress::~TTransferProgress()
{
    All().removeOne(this);
}

void TTransferProgress::SetRunning(bool isRunning)
{
    if (m_isRunning != isRunning) {
        m_isRunning = isRunning;
        Refresh();
    }
}

bool TTransferProgress::IsMoving() const
{
    return !Current() || Current()->isMoving;
}

int TTransferProgress::HeightFor(int width) const
{
    const int bar = m_bar.isHidden() ? 0 : m_bar.height() + GAP;
    return isHidden() ? 0 : bar + TextHeight(FontFor(width), width);
}

int TTransferProgress::TextHeight(const QFont& font, int width) const
{
    const QRect room(0, 0, width, QWIDGETSIZE_MAX);
    return QFontMetrics(font).boundingRect(room, Qt::TextWordWrap, m_text.text()).height();
}

// Narrower letters of the same height if the text then needs fewer lines.
QFont TTransferProgress::FontFor(int width) const
{
    const QFont font = hostimpl::ThemeFont(hostimpl::EFont::eBody);
    const QFont narrowest = hostimpl::NarrowFont(font, [](const QFont&) { return false; });
    const int least = TextHeight(narrowest, width);
    return hostimpl::NarrowFont(
        font, [&](const QFont& narrow) { return TextHeight(narrow, width) <= least; });
}

void TTransferProgress::Refresh()
{
    const bool isShown = Current() && Current()->isResult != m_isRunning;
    if (isShown) {
        m_bar.SetPercent(Current()->percent.value_or(0));
        m_bar.setVisible(Current()->percent.has_value());
        m_text.setText(Current()->text);
    }
    setVisible(isShown);
    m_text.setFont(FontFor(width()));
    const TLook look(HeightFor(width()), IsMoving());
    if (look != std::exchange(m_look, look)) {
        Q_EMIT Changed();
    }
}

void TTransferProgress::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    m_text.setFont(FontFor(width()));
}
