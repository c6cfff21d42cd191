// A list of names of which the operator selects some.
#pragma once

#include "host/HostExport.h"
#include "host/MMICapableWidget.h"

#include <QtCore/QStringList>
#include <QtGui/QIcon>
#include <QtWidgets/QListWidget>

#include <memory>

// Scrolls kinetically; a name that is too long is elided in the middle and can be read in full.
// Main thread.
class CONSOLEHOST_EXPORT TListWidget : public QListWidget, public ZRA::MMICapableWidget
{
    Q_OBJECT

public:
    explicit TListWidget(QWidget* parent = nullptr);
    ~TListWidget() override;

    // Appends an entry. `textSize` in pixels is the least that is drawn; `value` is kept with it.
    void AddString(const QString& text, int textSize, int value, const QIcon& icon);
    // In the order of the list.
    QStringList GetSelectedTextItems() const;
    // Selects every entry with one of the texts, beside what is selected already.
    void SelectItems(const QStringList& texts);

    // The button takes the list in hand: the wheel goes through the entries then, the button
    // selects, and a step beyond either end, or Back, lets it go again.
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
