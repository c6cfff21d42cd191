// The list of a property's choices. The operator touches a choice.
#pragma once

#include "host/TEditItem.h"
#include "host/TPopupWindow.h"

#include <QtCore/QVector>

class QScrollArea;
class TPushButton;

// Deletes itself when it is closed. Its parent may delete it earlier. Main thread.
class TChoicePopup : public TPopupWindow
{
    Q_OBJECT

public:
    TChoicePopup(QWidget* parent, const QString& title, const TEditItem& item);
    ~TChoicePopup() override;

    // Updates which choices are offered.
    void ShowOffered(const TEditItem& item);
    QVector<TPushButton*> Choices() const { return m_choices; }

Q_SIGNALS:
    // The popup closes after the signal.
    void Chosen(double value);

protected:
    QSize SizeWithin(const QSize& available) const override;

private:
    void AddChoice(QWidget& column, const TEditItem& item, int value);

    QScrollArea* m_area;
    QVector<TPushButton*> m_choices; // their ids are the values
};
