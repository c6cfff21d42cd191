// What a property row is made of.
#pragma once

#include "host/TPropertyWidget.h"

#include <QtCore/QObject>
#include <QtCore/QPointer>

class QLineEdit;
class QPainter;
class TChoicePopup;
class TPushButton;

// Owned by its row. Main thread.
class Q_DECL_HIDDEN TPropertyWidget::TRow : public QObject
{
public:
    explicit TRow(TPropertyWidget& widget);
    ~TRow() override;

    void SetType(int type);
    void ShowItem(const TEditItem& item);
    void SetAllowHideText(bool isAllowed);

    double Number() const;
    QString Text() const;
    // Both: whether it is another one now.
    bool SetNumber(double value);
    bool SetText(const QString& text);

    // Of the wheel, while the row is in hand.
    bool Step(int steps);
    bool IsInHand() const { return m_isInHand; }
    void TakeInHand();
    bool LetGo();
    void OpenChoices();

    void OnEvent(QEvent& event);
    bool eventFilter(QObject* watched, QEvent* event) override;

    QString name;
    QString iconName;

private:
    void OnPaint();
    void OnKey(QEvent& event);
    void Arrange();
    void ShowColours();
    void ShowLock();
    void CloseIfOff();
    void Leave();
    void ShowHidden(bool isHidden);
    void DrawValue(QPainter& painter, const QRect& place) const;
    // The next value on offer in a direction, or the present one if there is none.
    double NextOffered(double from, int direction) const;

    // Pixels.
    static constexpr int PADDING = 12;
    static constexpr int ICON_SIZE = 40;
    static constexpr int NAME_HEIGHT = 28;

    TPropertyWidget& m_widget;
    TEditItem m_item;
    int m_type = eText;
    bool m_isInHand = false;
    bool m_isTouched = false;
    QLineEdit* m_edit;
    TPushButton* m_eye;
    QPointer<TChoicePopup> m_popup;
};
