// Holds an open popup over a part of a window.
#pragma once

#include <QtCore/QList>
#include <QtCore/QPointer>
#include <QtWidgets/QWidget>

class TPopupWindow;

namespace hostimpl {

// A dynamic property of the widgets of SetPopupArea().
constexpr char POPUP_AREA[] = "hostPopupArea";

// The widget over which the popup is shown; null if no window is visible.
QWidget* AreaFor(const TPopupWindow& popup);
// The place of a popup of this size in the area: the middle, or above the window's bottom bar.
QRect PlaceIn(const QWidget& area, const QSize& popupSize);

// A child of the widget over which the popup is shown. The layer of a modal popup covers the whole
// area with a dimmed ground and takes each touch beside the popup. The layer of another popup is
// only as large as the popup. While the layer exists, the popup is its child. The area may be
// deleted before the popup, and the popup before the area. If the popup loses its area, it emits
// Closed() from the event loop. Main thread.
class TPopupLayer : public QWidget
{
    Q_OBJECT

public:
    // Takes the popup from its parent and shows it.
    TPopupLayer(QWidget& area, TPopupWindow& popup, bool isModal);
    // Gives the popup back to its former parent, hidden.
    ~TPopupLayer() override;

    // Null if the popup is not in a layer.
    static TPopupLayer* Of(const TPopupWindow& popup);
    // The last layer was shown or raised last.
    static const QList<TPopupLayer*>& All();

    TPopupWindow* Popup() const { return m_popup; }
    // The popup's parent outside of the layer; may be null.
    const QWidget* Owner() const { return m_owner; }
    QWidget& Area() const { return *parentWidget(); }
    bool IsModal() const { return m_isModal; }
    // True if `widget` lies under this layer, which is visible and modal.
    bool Blocks(const QWidget& widget) const;

    // Centres the popup in the area.
    void Arrange(const QSize& popupSize);
    void Raise();
    // True if the popup is visible and the operator does not work outside of the area.
    bool MayTakeFocus() const;
    // Moves the focus into the popup, if it may. A popup without a widget for the focus takes the
    // focus itself.
    void TakeFocus();
    // Gives the popup back and the focus to where it was before. Deletes the layer later.
    void Close();

protected:
    // Keeps the tab key, and the focus of a disabled button, in the popup.
    bool focusNextPrevChild(bool isNext) override;
    void childEvent(QChildEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    class TOwnerLink;

    void AnnounceClosed();
    void GiveBack();
    void ForgetPopup();
    void ReturnFocus();
    bool HoldsFocus() const;

    TPopupWindow* m_popup;      // null after ForgetPopup()
    QPointer<QWidget> m_owner;  // the popup's parent before
    QPointer<QObject> m_link;   // a TOwnerLink
    QPointer<QWidget> m_before; // had the focus
    QPointer<QWidget> m_first;  // the popup's choice for the focus
    bool m_isModal;
};

} // namespace hostimpl
