// The list of the choices of a property, to touch one.
#pragma once

#include "host/TEditItem.h"
#include "host/TPopupWindow.h"

#include <QtCore/QVector>

class QScrollArea;
class TPushButton;

// Destroys itself when it is closed; what it is made for may destroy it before. Main thread.
class TChoicePopup : public TPopupWindow
{
    Q_OBJECT

public:
    TChoicePopup(QWidget* parent, const QString& title, const TEditItem& item);
    ~TChoicePopup() override;

    // Shows anew which choices are offered.
    void ShowOffered(const TEditItem& item);
    QVector<TPushButton*> Choices() const { return m_choices; }

    bool OnWheelTurned(int steps) override;

Q_SIGNALS:
    // Then it closes.
    void Chosen(double value);

protected:
    QSize SizeWithin(const QSize& available) const override;

private:
    void AddChoice(QWidget& column, const TEditItem& item, int value);

    QScrollArea* m_area;
    QVector<TPushButton*> m_choices; // their ids are the values
};
