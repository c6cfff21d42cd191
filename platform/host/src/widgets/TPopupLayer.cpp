#include "widgets/TPopupLayer.h"

#include "host/TPopupWindow.h"
#include "hostimpl/FocusOrder.h"
#include "hostimpl/PopupHost.h"

#include <QtCore/QChildEvent>
#include <QtGui/QPainter>
#include <QtWidgets/QApplication>

#include <algorithm>

namespace hostimpl {

namespace {

constexpr int GROUND_OPACITY = 150; // of 255

QList<TPopupLayer*>& Layers()
{
    static QList<TPopupLayer*> layers;
    return layers;
}

// The nearest widget around the focus that the wheel visits: a text field's row, not the field.
QWidget* FocusStop(QWidget* focus)
{
    for (QWidget* widget = focus; widget != nullptr && !widget->isWindow();
         widget = widget->parentWidget()) {
        if ((widget->focusPolicy() & Qt::TabFocus) != 0) {
            return widget;
        }
    }
    return focus;
}

} // namespace

// A child of the popup's former parent. If the parent is deleted while the popup is in a layer, the
// link deletes the popup.
class TPopupLayer::TOwnerLink : public QObject
{
public:
    TOwnerLink(QWidget& owner, TPopupLayer& layer) : QObject(&owner), m_layer(&layer) {}
    ~TOwnerLink() override
    {
        if (!m_layer.isNull()) {
            m_layer->m_owner.clear();
            m_layer->m_link.clear();
            delete m_layer->m_popup;
        }
    }

    void Drop() { m_layer.clear(); }

private:
    QPointer<TPopupLayer> m_layer;
};

TPopupLayer::TPopupLayer(QWidget& area, TPopupWindow& popup, bool isModal)
    : QWidget(&area),
      m_popup(&popup),
      m_owner(popup.parentWidget()),
      m_before(FocusStop(area.window()->focusWidget())),
      m_first(popup.focusWidget()),
      m_isModal(isModal)
{
    setAttribute(Qt::WA_NoMousePropagation);
    Layers().append(this);
    if (!m_owner.isNull()) {
        m_link = new TOwnerLink(*m_owner, *this);
    }
    popup.hide(); // stays hidden when it gets the parent
    popup.setParent(this, Qt::Widget);
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget*, const QWidget* now) {
        if (now != nullptr && (now == parentWidget() || Blocks(*now))) {
            TakeFocus();
        }
    });
}

TPopupLayer::~TPopupLayer()
{
    AnnounceClosed();
    GiveBack();
}

TPopupLayer* TPopupLayer::Of(const TPopupWindow& popup)
{
    return qobject_cast<TPopupLayer*>(popup.parentWidget());
}

const QList<TPopupLayer*>& TPopupLayer::All()
{
    return Layers();
}

bool TPopupLayer::Blocks(const QWidget& widget) const
{
    if (!m_isModal || !isVisible() || !Area().isAncestorOf(&widget) || isAncestorOf(&widget)) {
        return false;
    }
    const auto holdsWidget = [this, &widget](const TPopupLayer* other) {
        return other->isAncestorOf(&widget) && &other->Area() == &Area();
    };
    const auto self = std::find(Layers().cbegin(), Layers().cend(), this);
    return std::none_of(self, Layers().cend(), holdsWidget);
}

void TPopupLayer::Arrange(const QSize& popupSize)
{
    const QRect place = PlaceIn(Area(), popupSize);
    setGeometry(m_isModal ? Area().rect() : place);
    m_popup->setGeometry(m_isModal ? place : rect());
}

void TPopupLayer::Raise()
{
    Layers().removeOne(this);
    Layers().append(this);
    raise();
}

bool TPopupLayer::HoldsFocus() const
{
    const QWidget* const focus = window()->focusWidget();
    return focus != nullptr && isAncestorOf(focus);
}

bool TPopupLayer::MayTakeFocus() const
{
    if (m_popup == nullptr || !m_popup->isVisible() || IsBlocked(*m_popup)) {
        return false;
    }
    const QWidget* const focus = window()->focusWidget();
    return focus == nullptr || !focus->isVisible() || IsBlocked(*focus) || focus == &Area() ||
           Area().isAncestorOf(focus);
}

void TPopupLayer::TakeFocus()
{
    if (!MayTakeFocus() || (HoldsFocus() && CanTakeFocus(*FocusStop(window()->focusWidget())))) {
        return;
    }
    QWidget* const last = m_popup->focusWidget();
    QWidget* const wanted = last != nullptr ? last : m_first.data();
    FocusNear(wanted == nullptr ? *m_popup : *wanted, *m_popup);
}

void TPopupLayer::Close()
{
    const bool hadFocus = HoldsFocus();
    for (TPopupLayer* const other : qAsConst(Layers())) {
        if (!other->m_before.isNull() && isAncestorOf(other->m_before)) {
            other->m_before = m_before;
        }
    }
    GiveBack();
    hide();
    deleteLater();
    if (hadFocus && Area().isVisible()) {
        ReturnFocus();
    }
}

// Later, because the receivers may be half destroyed now.
void TPopupLayer::AnnounceClosed()
{
    TPopupWindow* const popup = m_popup;
    if (popup == nullptr) {
        return;
    }
    const auto announce = [popup] {
        if (popup->isHidden()) {
            Q_EMIT popup->Closed();
        }
    };
    QMetaObject::invokeMethod(popup, announce, Qt::QueuedConnection);
}

void TPopupLayer::GiveBack()
{
    TPopupWindow* const popup = m_popup;
    ForgetPopup();
    if (popup == nullptr) {
        return;
    }
    popup->hide();
    if (m_owner.isNull()) {
        popup->setParent(nullptr, Qt::Dialog | Qt::FramelessWindowHint);
    } else {
        popup->setParent(m_owner, Qt::Widget); // a window would have a window of the display
    }
}

void TPopupLayer::ForgetPopup()
{
    m_popup = nullptr;
    Layers().removeOne(this);
    if (!m_link.isNull()) {
        static_cast<TOwnerLink*>(m_link.data())->Drop();
        delete m_link.data();
    }
}

// The widget may have been disabled or hidden meanwhile. A popup that blocks the widget comes
// first. A widget that gets the focus may delete layers, also this layer and its area.
void TPopupLayer::ReturnFocus()
{
    const bool isNear = !m_before.isNull() && m_before->window() == window();
    const QPointer<QWidget> area(&Area());
    FocusNear(isNear ? *m_before : Area(), *window());
    const QList<TPopupLayer*> layers = Layers();
    for (TPopupLayer* const other : layers) {
        if (Layers().contains(other) && &other->Area() == area.data()) {
            other->TakeFocus();
        }
    }
}

// A screen takes its dialogs from its parent before the parent deletes its children.
void TPopupLayer::childEvent(QChildEvent* event)
{
    if (event->removed() && m_popup != nullptr && event->child() == m_popup) {
        AnnounceClosed();
        ForgetPopup();
        hide();
        deleteLater();
    }
}

bool TPopupLayer::focusNextPrevChild(bool isNext)
{
    if (m_popup != nullptr && !MoveFocus(*m_popup, isNext ? 1 : -1, true)) {
        FocusNear(*m_popup, *m_popup);
    }
    return true;
}

void TPopupLayer::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    TakeFocus();
}

void TPopupLayer::paintEvent(QPaintEvent*)
{
    if (m_isModal) {
        QPainter(this).fillRect(rect(), QColor(0, 0, 0, GROUND_OPACITY));
    }
}

} // namespace hostimpl
