#include "host/TListWidget.h"

#include "hostimpl/FocusOrder.h"
#include "hostimpl/Theme.h"
#include "widgets/TNameBand.h"

#include <QtCore/QEvent>
#include <QtCore/QPointer>
#include <QtCore/QSet>
#include <QtGui/QPainter>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QScroller>
#include <QtWidgets/QStyledItemDelegate>

#include <algorithm>

namespace {

constexpr int TEXT_SIZE_ROLE = Qt::UserRole + 1;
constexpr int PADDING = 12;
constexpr int MARK_SIZE = 34;

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

QFont FontOf(const QModelIndex& index)
{
    return hostimpl::ThemeFont(index.data(TEXT_SIZE_ROLE).toInt());
}

// The place of an entry's text in its row.
QRect TextPlace(const QRect& row, const QModelIndex& index)
{
    const bool hasIcon = !index.data(Qt::DecorationRole).value<QIcon>().isNull();
    const int marks = (hasIcon ? 2 : 1) * (MARK_SIZE + PADDING);
    return row.adjusted(PADDING + marks, 0, -PADDING, 0);
}

} // namespace

// Draws the rows, and owns the band that shows the full name over the rows.
class Q_DECL_HIDDEN TListWidget::TParts : public QStyledItemDelegate
{
public:
    explicit TParts(TListWidget& list) : m_list(list), m_band(&list) { m_band.hide(); }

    bool isWheelActive = false; // the wheel moves through the entries

    QSize sizeHint(const QStyleOptionViewItem&, const QModelIndex&) const override
    {
        return {hostimpl::TOUCH_SIZE, hostimpl::TOUCH_SIZE};
    }

    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    void ShowFullName();
    void PlaceBand();

private:
    TListWidget& m_list;
    TNameBand m_band;
    bool m_isElided = false; // the current name
};

void TListWidget::TParts::paint(QPainter* painter, const QStyleOptionViewItem& option,
                                const QModelIndex& index) const
{
    using hostimpl::EColour;
    using hostimpl::ThemeColour;

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
    painter->setFont(FontOf(index));
    painter->setPen(ThemeColour(isOff        ? EColour::eOffText
                                : isSelected ? EColour::eSelectedText
                                             : EColour::eText));
    painter->drawText(
        place, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
        painter->fontMetrics().elidedText(index.data().toString(), Qt::ElideMiddle, place.width()));
    if (isWheelActive && index == m_list.currentIndex()) {
        hostimpl::DrawFocusRing(*painter, row);
    }
    painter->restore();
}

// The band is shown only if the current name is elided.
void TListWidget::TParts::ShowFullName()
{
    const QModelIndex index = m_list.currentIndex();
    const QString name = index.data().toString();
    const int room = TextPlace(QRect(0, 0, m_list.viewport()->width(), 1), index).width();
    m_isElided =
        index.isValid() && room > 0 && QFontMetrics(FontOf(index)).horizontalAdvance(name) > room;
    if (m_isElided) {
        m_band.SetName(name);
    }
    PlaceBand();
}

// The band lies over the rows. The rows must not move: during a touch another row would come under
// the finger. If possible, the band leaves the current row free.
void TListWidget::TParts::PlaceBand()
{
    const QRect view = m_list.viewport()->geometry(); // without the scroll bar
    const QRect row = m_list.visualRect(m_list.currentIndex()).translated(view.topLeft());
    const int height = std::min(m_band.heightForWidth(view.width()), view.height() * 2 / 3);
    QRect place(view.left(), view.bottom() + 1 - height, view.width(), height);
    if (place.intersects(row) && row.top() - view.top() >= height) {
        place.moveTop(view.top());
    }
    m_band.setGeometry(place);
    m_band.setVisible(m_isElided && row.intersects(view));
}

TListWidget::TListWidget(QWidget* parent) : QListWidget(parent)
{
    m_parts = std::make_unique<TParts>(*this); // sends events to the list while m_parts is null
    setItemDelegate(m_parts.get());
    setFrameStyle(QFrame::Box | QFrame::Plain);
    setLineWidth(hostimpl::FOCUS_RING);
    setUniformItemSizes(true);
    setFocusPolicy(Qt::StrongFocus);
    setFont(hostimpl::ThemeFont(hostimpl::EFont::eBody));
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
}

void TListWidget::AddString(const QString& text, int textSize, int value, const QIcon& icon)
{
    auto* const entry = new TEntry(text);
    if (!icon.isNull()) {
        entry->setIcon(icon);
    }
    entry->setData(Qt::UserRole, value);
    entry->setData(TEXT_SIZE_ROLE, textSize);
    addItem(entry);
}

QStringList TListWidget::GetSelectedTextItems() const
{
    QVector<int> rows;
    const QItemSelection selection = selectionModel()->selection();
    for (const QItemSelectionRange& range : selection) {
        for (int row = range.top(); row <= range.bottom(); ++row) {
            rows.append(row);
        }
    }
    std::sort(rows.begin(), rows.end());
    QStringList texts;
    for (const int row : rows) {
        texts.append(item(row)->text());
    }
    return texts;
}

// All entries are selected in one call, so that the selection signal is emitted once.
void TListWidget::SelectItems(const QStringList& texts)
{
    if (texts.isEmpty()) {
        return;
    }
    const QSet<QString> wanted(texts.cbegin(), texts.cend());
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
    const int row = currentRow() + steps;
    if (row < 0 || row >= count()) {
        return !OnBackPressed();
    }
    setCurrentRow(row, QItemSelectionModel::NoUpdate);
    scrollToItem(currentItem());
    return true;
}

bool TListWidget::OnWheelPressed()
{
    if (count() == 0) {
        return true;
    }
    if (!m_parts->isWheelActive) {
        m_parts->isWheelActive = true;
        setCurrentRow(std::max(currentRow(), 0), QItemSelectionModel::NoUpdate);
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
    const bool wasWheelActive = m_parts->isWheelActive;
    m_parts->isWheelActive = false;
    viewport()->update();
    update();
    return wasWheelActive;
}

bool TListWidget::event(QEvent* event)
{
    const QPointer<TListWidget> self(this); // handling an event may delete the list
    const bool isTaken = QListWidget::event(event);
    if (self.isNull() || m_parts == nullptr) {
        return isTaken;
    }
    if (event->type() == QEvent::FocusOut) {
        OnBackPressed();
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
    m_parts->ShowFullName();
}

QItemSelectionModel::SelectionFlags TListWidget::selectionCommand(const QModelIndex& index,
                                                                  const QEvent* event) const
{
    return hostimpl::IsLockedAround(*this) ? QItemSelectionModel::NoUpdate
                                           : QListWidget::selectionCommand(index, event);
}
