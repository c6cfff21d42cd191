#include "host/TListWidget.h"

#include "hostimpl/FocusOrder.h"
#include "hostimpl/Theme.h"
#include "widgets/TListParts.h"

#include <QtCore/QEvent>
#include <QtCore/QPointer>
#include <QtCore/QSet>
#include <QtGui/QKeyEvent>
#include <QtGui/QPainter>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QScroller>

#include <algorithm>

namespace {

// Builds its tool tip on demand: most of ten thousand entries never show a tool tip.
class TEntry : public QListWidgetItem
{
public:
    using QListWidgetItem::QListWidgetItem;

    QVariant data(int role) const override
    {
        if (role == Qt::ToolTipRole) {
            return QStringLiteral("<span>%1</span>").arg(text().toHtmlEscaped());
        }
        return QListWidgetItem::data(role);
    }
};

} // namespace

TListWidget::TListWidget(QWidget* parent) : QListWidget(parent)
{
    m_parts = std::make_unique<TParts>(*this); // sends events to the list while m_parts is null
    setItemDelegate(m_parts.get());
    setFrameStyle(QFrame::Box | QFrame::Plain);
    setLineWidth(hostimpl::FOCUS_RING);
    setUniformItemSizes(true);
    setFocusPolicy(Qt::StrongFocus);
    setFont(hostimpl::ThemeFont(hostimpl::EFont::eBody));
    m_parts->FitFonts();
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    QScroller::grabGesture(viewport(), QScroller::LeftMouseButtonGesture);
    connect(this, &QListWidget::currentRowChanged, this, [this] { m_parts->ShowFullName(); });
    connect(verticalScrollBar(), &QScrollBar::valueChanged, this, [this] { m_parts->PlaceBand(); });
}

TListWidget::~TListWidget()
{
    // QListWidget's destructor emits signals and sends events when m_parts is gone already.
    setItemDelegate(nullptr);
    disconnect(this, nullptr, this, nullptr);
    m_parts.reset(); // sends events to the list, which find m_parts null
}

void TListWidget::AddString(const QString& text, int textSize, int value, const QIcon& icon)
{
    auto* const entry = new TEntry(text);
    if (!icon.isNull()) {
        entry->setIcon(icon);
    }
    entry->setData(Qt::UserRole, value);
    entry->setData(LIST_TEXT_SIZE_ROLE, textSize);
    addItem(entry);
    m_parts->OnAdded(count() - 1);
}

QStringList TListWidget::GetSelectedTextItems() const
{
    return m_parts->ReadSelection();
}

// All entries are selected in one call, so that the selection signal is emitted once.
void TListWidget::SelectItems(const QStringList& texts)
{
    const QStringList kept = m_parts->HiddenBeside(texts);
    QSet<QString> wanted(texts.cbegin(), texts.cend());
    wanted.unite(QSet<QString>(kept.cbegin(), kept.cend()));
    if (wanted.isEmpty()) {
        return;
    }
    QItemSelection selection;
    int begin = -1;
    for (int row = 0; row <= count(); ++row) {
        const bool isWanted = row < count() && wanted.contains(item(row)->text());
        if (isWanted && begin < 0) {
            begin = row;
        } else if (!isWanted && begin >= 0) {
            selection.append(
                QItemSelectionRange(indexFromItem(item(begin)), indexFromItem(item(row - 1))));
            begin = -1;
        }
    }
    selectionModel()->select(selection, QItemSelectionModel::Select);
}

bool TListWidget::OnWheelTurned(int steps)
{
    if (!m_parts->isWheelActive) {
        return false;
    }
    const int row = m_parts->ShownRow(currentRow(), steps);
    if (row < 0) {
        return !m_parts->StopWheel();
    }
    setCurrentRow(row, QItemSelectionModel::NoUpdate);
    scrollToItem(currentItem());
    return true;
}

bool TListWidget::OnWheelPressed()
{
    m_parts->LeaveEntry();
    const int first = m_parts->ShownRow(-1, 1);
    if (first < 0) {
        return true;
    }
    if (!m_parts->isWheelActive) {
        m_parts->isWheelActive = true;
        if (currentItem() == nullptr || currentItem()->isHidden()) {
            setCurrentRow(first, QItemSelectionModel::NoUpdate);
        }
        scrollToItem(currentItem());
    } else if (currentItem() != nullptr && !hostimpl::IsLockedAround(*this)) {
        currentItem()->setSelected(!currentItem()->isSelected());
    }
    viewport()->update();
    update();
    return true;
}

bool TListWidget::OnBackPressed()
{
    return m_parts->StopWheel() || m_parts->EndSearch();
}

bool TListWidget::event(QEvent* event)
{
    if (m_parts != nullptr && event->type() == QEvent::KeyPress &&
        m_parts->OnKey(static_cast<QKeyEvent&>(*event))) {
        return true;
    }
    const QPointer<TListWidget> self(this); // handling an event may delete the list
    const bool isTaken = QListWidget::event(event);
    if (self.isNull() || m_parts == nullptr) {
        return isTaken;
    }
    if (event->type() == QEvent::FontChange) {
        m_parts->FitFonts();
    } else if (event->type() == QEvent::FocusOut) {
        m_parts->StopWheel();
    } else if (event->type() == QEvent::Paint) {
        QPainter painter(this);
        painter.fillRect(rect(), hostimpl::ThemeColour(hostimpl::EColour::eWindow));
        hostimpl::DrawPanel(painter, rect());
        if (hasFocus() && !m_parts->isWheelActive) {
            hostimpl::DrawFocusRing(painter, rect());
        }
    }
    return isTaken;
}

void TListWidget::resizeEvent(QResizeEvent* event)
{
    QListWidget::resizeEvent(event);
    m_parts->PlaceHead();
    m_parts->ShowFullName();
}

QItemSelectionModel::SelectionFlags TListWidget::selectionCommand(const QModelIndex& index,
                                                                  const QEvent* event) const
{
    return hostimpl::IsLockedAround(*this) ? QItemSelectionModel::NoUpdate
                                           : QListWidget::selectionCommand(index, event);
}
