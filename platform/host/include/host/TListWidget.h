// A list of names of which the operator selects some.
#pragma once

#include "host/HostExport.h"
#include "host/MMICapableWidget.h"

#include <QtCore/QStringList>
#include <QtGui/QIcon>
#include <QtWidgets/QListWidget>

// Scrolls kinetically; a name that is too long is elided in the middle and can be read in full.
// Main thread.
class CONSOLEHOST_EXPORT TListWidget : public QListWidget, public ZRA::MMICapableWidget
{
    Q_OBJECT

public:
    explicit TListWidget(QWidget* parent = nullptr);
    ~TListWidget() override;

    // Appends an entry. `textSize` in pixels is the least that is drawn; `data` is kept with it.
    void AddString(const QString& text, int textSize, int data, const QIcon& icon);
    // In the order of the list.
    QStringList GetSelectedTextItems() const;
    // Selects every entry with one of the texts, beside what is selected already.
    void SelectItems(const QStringList& texts);

    bool OnWheelTurned(int steps) override;
    bool OnWheelPressed() override;
};
