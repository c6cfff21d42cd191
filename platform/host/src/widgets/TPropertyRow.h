// The implementation of TPropertyWidget: value, text field, list of choices, drawing.
#pragma once

#include "host/TPropertyWidget.h"

#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtGui/QFont>

class QLineEdit;
class QPainter;
class TChoicePopup;
class TPushButton;

// Owned by its TPropertyWidget. Main thread.
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
    // True if the value has changed.
    bool SetNumber(double value);
    bool SetText(const QString& text);

    // Handles wheel steps. Returns false if no choice is being edited.
    bool Step(int steps);
    bool IsEditing() const { return m_isEditing; }
    void StartEditing();
    // Returns true if the row was being edited.
    bool StopEditing();
    // Ends the editing. After a text, edits the next row, or presses the button that follows.
    void EndEntry();
    void OpenChoices();

    void OnEvent(QEvent& event);
    bool eventFilter(QObject* watched, QEvent* event) override;

    QString name;
    QString iconName;

private:
    void OnPaint();
    void OnKey(QEvent& event);
    void OnEditEvent(const QEvent& event);
    void Arrange();
    void ShowColours();
    void ShowLock();
    void CloseIfOff();
    void StopEditingAndClose();
    void ShowHidden(bool isHidden);
    void ShowClear();
    void DrawValue(QPainter& painter, const QRect& place) const;
    // The next offered value in a direction, or `from` if there is none.
    double NextOffered(double from, int direction) const;

    // The fonts of the name and of the value. Larger texts grow only as far as the row has room.
    QFont NameFont() const;
    QFont ValueFont() const;
    // 1, or less if the row has no room for the theme's fonts.
    double FontShare() const;
    // The places of the name above and of the value below, from `left` to `right`. In a row of the
    // usual height the lines overlap, but the letters do not.
    QRect NamePlace(int left, int right) const;
    QRect ValuePlace(int left, int right) const;

    static constexpr Qt::InputMethodHints TEXT_HINTS =
        Qt::ImhNoAutoUppercase | Qt::ImhNoPredictiveText;

    // In pixels.
    static constexpr int PADDING = 12;
    static constexpr int ICON_SIZE = 40;

    TPropertyWidget& m_widget;
    TEditItem m_item;
    int m_type = eText;
    bool m_isEditing = false;
    bool m_isTouched = false;
    bool m_isFirstTouch = false; // the touch that has started the editing
    QLineEdit* m_edit;
    TPushButton* m_eye;
    TPushButton* m_clear;
    QPointer<TChoicePopup> m_popup;
};
