// A list of names. The operator selects some of the names.
#pragma once

#include "host/HostExport.h"
#include "host/MMICapableWidget.h"

#include <QtCore/QStringList>
#include <QtGui/QIcon>
#include <QtWidgets/QListWidget>

#include <memory>

// The list scrolls kinetically. A name that is too long is elided in the middle. If the current
// entry's name is elided, a band over the list shows the whole name. Main thread.
class CONSOLEHOST_EXPORT TListWidget : public QListWidget, public ZRA::MMICapableWidget
{
    Q_OBJECT

public:
    explicit TListWidget(QWidget* parent = nullptr);
    ~TListWidget() override;

    // Appends an entry. `textSize` is the least text size in pixels. `value` is stored with the
    // entry.
    void AddString(const QString& text, int textSize, int value, const QIcon& icon);
    // In the order of the list. A selected name that a search hides is left out: the operator acts
    // on what the list shows.
    QStringList GetSelectedTextItems() const;
    // Selects every entry that has one of the texts. Entries that are selected already stay
    // selected. A caller that fills the list again and keeps the selection passes the result of
    // GetSelectedTextItems() itself: then the selected names that a search hid stay selected too.
    // Otherwise a list that is filled again, for example with other files, has no selected name.
    void SelectItems(const QStringList& texts);

    // The first press of the button starts the use by wheel: the wheel moves through the entries
    // and the button selects. A step beyond either end, or Back, ends the use by wheel.
    bool OnWheelTurned(int steps) override;
    bool OnWheelPressed() override;
    bool OnBackPressed() override;

protected:
    bool event(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    QItemSelectionModel::SelectionFlags selectionCommand(const QModelIndex& index,
                                                         const QEvent* event) const override;

private:
    class TParts;
    std::unique_ptr<TParts> m_parts;
};
