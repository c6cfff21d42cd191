// A row that shows a named value and lets the operator change it.
#pragma once

#include "host/HostExport.h"
#include "host/MMICapableWidget.h"
#include "host/TEditItem.h"

#include <QtCore/QString>
#include <QtWidgets/QWidget>

#include <memory>

// The height of a row that a gloved finger hits, pixels.
constexpr int PROPERTY_WIDGET_HEIGHT = 73;
// The width of the column on the right that the system's toolbar takes, pixels.
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

    // `index` tells rows of a list apart; -1 for a row by itself.
    explicit TPropertyWidget(QWidget* parent = nullptr, int index = -1);
    ~TPropertyWidget() override;

    void SetPropertyIcon(const QString& iconName);
    void SetPropertyName(const QString& name);
    void SetToolTip(const QString& toolTip);
    // What is edited, an EPropertyType; a choice needs an item, of which a copy is kept.
    void SetPropertyType(int type, const TEditItem* item);
    // Shows the item afresh: labels, choices on offer, value. Emits nothing.
    void SetProperties(const TEditItem& item);

    double GetNumericalValue() const;
    // Emits ValueChanged() if the value is another one.
    void SetNumericalValue(double value);
    QString GetTextValue() const;
    // As SetNumericalValue().
    void SetTextValue(const QString& text);
    // The text is hidden then, with a way to look at it.
    void setAllowHideText(bool isAllowed);

    // The button takes the row in hand and lets it go again: the wheel steps through the choices
    // on offer meanwhile, or the keyboard writes the text. A touch opens the list of choices.
    bool OnWheelTurned(int steps) override;
    bool OnWheelPressed() override;
    bool OnBackPressed() override;

Q_SIGNALS:
    // The operator, or a call, has set another value; of a text, with each character typed.
    void ValueChanged();

protected:
    bool event(QEvent* event) override;

private:
    class TRow;
    std::unique_ptr<TRow> m_row;
};
