// A row that shows a name and a value. The operator can change the value.
#pragma once

#include "host/HostExport.h"
#include "host/MMICapableWidget.h"
#include "host/TEditItem.h"

#include <QtCore/QString>
#include <QtWidgets/QWidget>

#include <memory>

// The height of a row, in pixels. A finger in a glove can hit a row of this height.
constexpr int PROPERTY_WIDGET_HEIGHT = 73;
// The width of the system toolbar's column at the right edge, in pixels.
constexpr int SYSTEM_TOOLBAR_BUTTON_WIDTH = 80;

// Main thread.
class CONSOLEHOST_EXPORT TPropertyWidget : public QWidget, public ZRA::MMICapableWidget
{
    Q_OBJECT

public:
    enum EPropertyType : int {
        eText = 0,
        eChoice = 1,
    };

    // `index` is the row's number in a list, -1 for a single row.
    explicit TPropertyWidget(QWidget* parent = nullptr, int index = -1);
    ~TPropertyWidget() override;

    void SetPropertyIcon(const QString& iconName);
    void SetPropertyName(const QString& name);
    void SetToolTip(const QString& toolTip);
    // `type` is an EPropertyType. eChoice needs an item; the widget keeps a copy of the item.
    void SetPropertyType(int type, const TEditItem* item);
    // Shows the item's labels, offered choices and value. Emits nothing.
    void SetProperties(const TEditItem& item);

    double GetNumericalValue() const;
    // Emits ValueChanged() if the value differs from the old one.
    void SetNumericalValue(double value);
    QString GetTextValue() const;
    // Emits ValueChanged() if the text differs from the old one.
    void SetTextValue(const QString& text);
    // With `isAllowed` the text is hidden, and the operator can reveal it.
    void setAllowHideText(bool isAllowed);

    // A press of the button starts the editing, the next press ends it. During the editing the
    // wheel steps through the offered choices, or the keyboard writes the text. The press that ends
    // a text also opens the next row for editing, or presses the next button. A touch opens the
    // list of choices.
    bool OnWheelTurned(int steps) override;
    bool OnWheelPressed() override;
    bool OnBackPressed() override;

Q_SIGNALS:
    // The operator or a call has set another value. While a text is typed, emitted at each
    // character.
    void ValueChanged();

protected:
    bool event(QEvent* event) override;

private:
    class TRow;
    std::unique_ptr<TRow> m_row;
};
