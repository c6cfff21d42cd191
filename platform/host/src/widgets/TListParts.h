// The implementation of TListWidget: drawing, search, the head, the band with a full name.
#pragma once

#include "host/TListWidget.h"
#include "widgets/TListHead.h"
#include "widgets/TNameBand.h"

#include <QtWidgets/QStyledItemDelegate>

// A role of each entry: the least text size.
constexpr int LIST_TEXT_SIZE_ROLE = Qt::UserRole + 1;

// Tells how many selected names of the visible lists in `place` are left out, because a search
// hides them. Empty if there are none.
QString HiddenNamesNote(const QWidget& place);

// Owned by its TListWidget. Main thread.
class Q_DECL_HIDDEN TListWidget::TParts : public QStyledItemDelegate
{
public:
    explicit TParts(TListWidget& list);
    ~TParts() override;

    bool isWheelActive = false; // the wheel moves through the entries

    // True if the wheel moved through the entries.
    bool StopWheel();
    // Hides a new entry that the search does not find.
    void OnAdded(int row);
    // The row `steps` shown rows after `from`; -1 beyond either end.
    int ShownRow(int from, int steps) const;
    // A printable key starts the search. True if the search has taken the key.
    bool OnKey(const QKeyEvent& event);
    // True if the search had the focus, which the list has now.
    bool LeaveEntry();
    // True if there was a search.
    bool EndSearch();

    // The shown selected names, in the order of the list.
    QStringList ReadSelection();
    // The selected names that the search hid at the last ReadSelection(). Empty unless `texts` is a
    // copy of its result: then the caller fills the list again and keeps the selection.
    QStringList HiddenBeside(const QStringList& texts) const;

    // ---- The band is shown only if the current name is elided.
    void ShowFullName();
    void PlaceBand();
    void PlaceHead();
    // After a change of the font.
    void FitFonts();

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void RefreshSoon();
    void Refresh();
    void Search();
    void SelectShown(bool isSelected);
    QString EmptyText() const;
    void PaintEmptyText();

    TListWidget& m_list;
    TListHead m_head;
    TNameBand m_band;
    QString m_wanted;   // the searched text, folded
    QStringList m_read; // by ReadSelection()
    QStringList m_readHidden;
    bool m_isElided = false; // the current name
    bool m_isRefreshDue = false;
};
