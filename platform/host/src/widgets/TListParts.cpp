#include "widgets/TListParts.h"

#include "hostimpl/FocusOrder.h"
#include "hostimpl/Listing.h"
#include "hostimpl/Theme.h"

#include <QtCore/QLocale>
#include <QtCore/QTimer>
#include <QtGui/QKeyEvent>
#include <QtGui/QPainter>
#include <QtWidgets/QApplication>

#include <algorithm>
#include <array>

namespace {

constexpr int EMPTY_MARGIN = 20;

// Small letters without accents: the operator finds "Düngung" by "dungung".
QString Folded(const QString& text)
{
    QString folded;
    const QString parts = text.normalized(QString::NormalizationForm_KD).toCaseFolded();
    for (const QChar each : parts) {
        if (each.category() != QChar::Mark_NonSpacing) {
            folded.append(each);
        }
    }
    return folded;
}

hostimpl::EListing listing = hostimpl::EListing::eListed;

// In the order of EListing.
constexpr std::array<const char*, 3> EMPTY_TEXTS = {
    QT_TRANSLATE_NOOP("TListWidget", "There is nothing here."),
    QT_TRANSLATE_NOOP("TListWidget", "There is nothing here.\nLog in to see the service's files."),
    QT_TRANSLATE_NOOP("TListWidget",
                      "There is nothing here yet.\nThe service has not listed its files yet."),
};

} // namespace

void hostimpl::SetListing(EListing now)
{
    if (now == listing) {
        return;
    }
    listing = now;
    const QWidgetList widgets = QApplication::allWidgets();
    for (QWidget* const widget : widgets) {
        if (auto* const list = qobject_cast<TListWidget*>(widget)) {
            list->viewport()->update();
        }
    }
}

hostimpl::EListing hostimpl::CurrentListing()
{
    return listing;
}

QString HiddenNamesNote(const QWidget& place)
{
    int hidden = 0;
    const auto lists = place.findChildren<TListWidget*>();
    for (const TListWidget* const list : lists) {
        if (list->isVisible()) {
            const auto selected = list->selectedItems();
            hidden += static_cast<int>(
                std::count_if(selected.cbegin(), selected.cend(),
                              [](const QListWidgetItem* item) { return item->isHidden(); }));
        }
    }
    return hidden == 0 ? QString()
                       : TListWidget::tr("Left out, because the search hides them: %1")
                             .arg(QLocale().toString(hidden));
}

TListWidget::TParts::TParts(TListWidget& list) : m_list(list), m_head(&list), m_band(&list)
{
    m_head.hide();
    m_band.hide();
    list.viewport()->installEventFilter(this);
    const auto refresh = [this] { RefreshSoon(); };
    connect(list.model(), &QAbstractItemModel::rowsInserted, this, refresh);
    connect(list.model(), &QAbstractItemModel::rowsRemoved, this, refresh);
    connect(list.model(), &QAbstractItemModel::modelReset, this, refresh);
    connect(&list, &QListWidget::itemSelectionChanged, this, refresh);
    connect(&m_head, &TListHead::WantedChanged, this, [this] { Search(); });
    connect(&m_head, &TListHead::AllWanted, this, [this](bool isAll) { SelectShown(isAll); });
    connect(&m_head, &TListHead::SearchLeft, this, [this] { LeaveEntry(); });
}

TListWidget::TParts::~TParts() = default;

// A list of ten thousand names changes in many steps. The head follows once.
void TListWidget::TParts::RefreshSoon()
{
    if (!m_isRefreshDue) {
        m_isRefreshDue = true;
        QTimer::singleShot(0, this, [this] { Refresh(); });
    }
}

void TListWidget::TParts::Refresh()
{
    m_isRefreshDue = false;
    TListHead::TCounts counts;
    counts.names = m_list.count();
    counts.found = counts.names;
    const QItemSelection selection = m_list.selectionModel()->selection();
    for (const QItemSelectionRange& range : selection) {
        counts.selected += range.height();
    }
    if (!m_wanted.isEmpty()) {
        for (int row = 0; row < counts.names; ++row) {
            const bool isHidden = m_list.isRowHidden(row);
            counts.found -= isHidden ? 1 : 0;
            counts.selectedHidden +=
                isHidden && m_list.selectionModel()->isRowSelected(row, QModelIndex()) ? 1 : 0;
        }
        counts.selected -= counts.selectedHidden;
    }
    m_head.Show(counts);
    const bool isMany = m_list.selectionMode() == QAbstractItemView::MultiSelection;
    const bool isNeeded = isMany && (counts.names > 0 || !m_wanted.isEmpty() || m_head.IsTyping());
    if (m_head.isHidden() == isNeeded) {
        m_head.setVisible(isNeeded);
        m_head.SetFocusBefore(m_list);
    }
    PlaceHead();
    m_list.viewport()->update();
}

// One row and the head: Qt's own minimum height has place for three widths of the scroll bar.
void TListWidget::TParts::FitFonts()
{
    m_list.setMinimumHeight(TListHead::Height() + hostimpl::TOUCH_SIZE + 2 * hostimpl::FOCUS_RING);
    m_head.FitFonts();
    PlaceHead();
    ShowFullName();
}

void TListWidget::TParts::PlaceHead()
{
    const QMargins margins(0, m_head.isHidden() ? 0 : TListHead::Height(), 0, 0);
    if (m_list.viewportMargins() != margins) {
        m_list.setViewportMargins(margins);
    }
    const QRect view = m_list.viewport()->geometry();
    m_head.setGeometry(view.left(), view.top() - TListHead::Height(), view.width(),
                       TListHead::Height());
}

// ---- The search.

void TListWidget::TParts::OnAdded(int row)
{
    if (!m_wanted.isEmpty() && !Folded(m_list.item(row)->text()).contains(m_wanted)) {
        m_list.setRowHidden(row, true);
    }
}

void TListWidget::TParts::Search()
{
    const QString wanted = Folded(m_head.Wanted());
    if (wanted == m_wanted) {
        return;
    }
    m_wanted = wanted;
    for (int row = 0; row < m_list.count(); ++row) {
        m_list.setRowHidden(row, !wanted.isEmpty() &&
                                     !Folded(m_list.item(row)->text()).contains(wanted));
    }
    ShowFullName();
    Refresh();
    if (m_list.selectionModel()->hasSelection()) {
        Q_EMIT m_list.itemSelectionChanged(); // other names are shown and selected now
    }
}

bool TListWidget::TParts::EndSearch()
{
    const bool isSearching = m_head.IsTyping() || !m_wanted.isEmpty();
    LeaveEntry();
    m_head.EndSearch();
    return isSearching;
}

bool TListWidget::TParts::LeaveEntry()
{
    const bool isTyping = m_head.IsTyping();
    if (isTyping) {
        m_list.setFocus(Qt::OtherFocusReason);
    }
    return isTyping;
}

bool TListWidget::TParts::OnKey(const QKeyEvent& event)
{
    constexpr Qt::KeyboardModifiers COMMANDS = Qt::ControlModifier | Qt::AltModifier;
    const QString text = event.text();
    if (m_head.isHidden() || (event.modifiers() & COMMANDS) != 0 || text.trimmed().isEmpty() ||
        !text.at(0).isPrint()) {
        return false;
    }
    m_head.StartSearch(m_head.Wanted() + text);
    return true;
}

int TListWidget::TParts::ShownRow(int from, int steps) const
{
    const int step = steps < 0 ? -1 : 1;
    int row = from;
    for (int left = std::abs(steps); left > 0; --left) {
        do {
            row += step;
        } while (row >= 0 && row < m_list.count() && m_list.isRowHidden(row));
    }
    return row >= 0 && row < m_list.count() ? row : -1;
}

// All rows are selected in one call, so that the selection signal is emitted once.
void TListWidget::TParts::SelectShown(bool isSelected)
{
    if (hostimpl::IsLockedAround(m_list)) {
        return;
    }
    if (!isSelected) {
        m_list.clearSelection();
        return;
    }
    QItemSelection selection;
    int begin = -1;
    for (int row = 0; row <= m_list.count(); ++row) {
        const bool isShown = row < m_list.count() && !m_list.isRowHidden(row);
        if (isShown && begin < 0) {
            begin = row;
        } else if (!isShown && begin >= 0) {
            selection.append(QItemSelectionRange(m_list.model()->index(begin, 0),
                                                 m_list.model()->index(row - 1, 0)));
            begin = -1;
        }
    }
    m_list.selectionModel()->select(selection, QItemSelectionModel::Select);
}

QStringList TListWidget::TParts::ReadSelection()
{
    QVector<int> rows;
    const QItemSelection selection = m_list.selectionModel()->selection();
    for (const QItemSelectionRange& range : selection) {
        for (int row = range.top(); row <= range.bottom(); ++row) {
            rows.append(row);
        }
    }
    if (rows.isEmpty()) {
        return {}; // clear() causes a read too: keep the last selection
    }
    std::sort(rows.begin(), rows.end());
    m_readHidden.clear();
    m_read = QStringList();
    m_read.reserve(rows.size()); // an empty list needs its own memory too
    for (const int row : qAsConst(rows)) {
        (m_list.isRowHidden(row) ? m_readHidden : m_read).append(m_list.item(row)->text());
    }
    return m_read;
}

QStringList TListWidget::TParts::HiddenBeside(const QStringList& texts) const
{
    return texts.isSharedWith(m_read) ? m_readHidden : QStringList();
}

// ---- The text of an empty list.

QString TListWidget::TParts::EmptyText() const
{
    if (m_list.count() > 0) {
        return ShownRow(-1, 1) >= 0
                   ? QString()
                   : TListWidget::tr("No name has the text \"%1\".").arg(m_head.Wanted());
    }
    return TListWidget::tr(EMPTY_TEXTS.at(static_cast<std::size_t>(listing)));
}

void TListWidget::TParts::PaintEmptyText()
{
    const QString text = EmptyText();
    if (text.isEmpty()) {
        return;
    }
    constexpr int FLAGS = Qt::AlignCenter | Qt::TextWordWrap;
    QPainter painter(m_list.viewport());
    const QRect place = m_list.viewport()->rect().adjusted(EMPTY_MARGIN, 0, -EMPTY_MARGIN, 0);
    painter.setFont(hostimpl::ThemeFont(hostimpl::EFont::eBody));
    if (!place.contains(painter.boundingRect(place, FLAGS, text))) {
        painter.setFont(hostimpl::ThemeFont(hostimpl::EFont::eCaption));
    }
    painter.setPen(hostimpl::ThemeColour(hostimpl::EColour::eMutedText));
    painter.drawText(place, FLAGS, text);
}

bool TListWidget::TParts::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Paint && watched == m_list.viewport()) {
        PaintEmptyText();
    }
    return QStyledItemDelegate::eventFilter(watched, event);
}

bool TListWidget::TParts::StopWheel()
{
    const bool wasActive = isWheelActive;
    isWheelActive = false;
    m_list.viewport()->update();
    m_list.update();
    return wasActive;
}

// ---- The band lies over the rows. The rows must not move: during a touch another row would come
// under the finger. If possible, the band leaves the current row free. In a low list, the band of a
// long name covers all rows, and the head too.

void TListWidget::TParts::PlaceBand()
{
    const QRect view = m_list.viewport()->geometry(); // without the scroll bar
    const QRect row = m_list.visualRect(m_list.currentIndex()).translated(view.topLeft());
    const QSize most(view.width(), view.bottom() + 1 - m_list.contentsRect().top());
    m_band.FitInto(most);
    const int needed = m_band.heightForWidth(view.width());
    const int height = needed > view.height() ? most.height() : needed; // not half of the head
    QRect place(view.left(), view.bottom() + 1 - height, view.width(), height);
    if (place.intersects(row) && row.top() - view.top() >= height) {
        place.moveTop(view.top());
    }
    m_band.setGeometry(place);
    m_band.setVisible(m_isElided && row.intersects(view));
}
