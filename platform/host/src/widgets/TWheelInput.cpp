#include "hostimpl/TWheelInput.h"

#include "host/MMICapableWidget.h"
#include "hostimpl/FocusOrder.h"

#include <QtGui/QKeyEvent>
#include <QtWidgets/QAbstractButton>
#include <QtWidgets/QAbstractItemView>
#include <QtWidgets/QApplication>

#include <functional>

namespace hostimpl {

namespace {

enum class EKeyUse : int { eNone = 0, eStepForward, eStepBackward, ePress, eBack };

struct TKeyRow
{
    int key;
    EKeyUse use;
};

constexpr TKeyRow KEYS[] = {
    {Qt::Key_Down, EKeyUse::eStepForward}, {Qt::Key_Up, EKeyUse::eStepBackward},
    {Qt::Key_Return, EKeyUse::ePress},     {Qt::Key_Enter, EKeyUse::ePress},
    {Qt::Key_Select, EKeyUse::ePress},     {Qt::Key_Escape, EKeyUse::eBack},
    {Qt::Key_Back, EKeyUse::eBack},
};

EKeyUse UseOf(const QKeyEvent& event)
{
    for (const TKeyRow& row : KEYS) {
        if (row.key == event.key()) {
            return row.use;
        }
    }
    return EKeyUse::eNone;
}

QWidget* CurrentWindow()
{
    QWidget* const modal = QApplication::activeModalWidget();
    return modal != nullptr ? modal : QApplication::activeWindow();
}

QWidget* CurrentWidget()
{
    QWidget* const window = CurrentWindow();
    if (window == nullptr) {
        return nullptr;
    }
    return window->focusWidget() != nullptr ? window->focusWidget() : window;
}

// Calls `step` for the widget with the focus and then for its parents, until a widget uses the
// step.
bool Offer(const std::function<bool(ZRA::MMICapableWidget&)>& step)
{
    for (QWidget* widget = CurrentWidget(); widget != nullptr;
         widget = widget->isWindow() ? nullptr : widget->parentWidget()) {
        auto* const capable = dynamic_cast<ZRA::MMICapableWidget*>(widget);
        if (capable != nullptr && step(*capable)) {
            return true;
        }
    }
    return false;
}

// Qt's own lists, such as a combo box's list, handle these keys themselves.
bool IsForeignList()
{
    QWidget* const popup = QApplication::activePopupWidget();
    QWidget* const current = CurrentWidget();
    return popup != nullptr || (qobject_cast<QAbstractItemView*>(current) != nullptr &&
                                dynamic_cast<ZRA::MMICapableWidget*>(current) == nullptr);
}

} // namespace

TWheelInput::TWheelInput(QObject* parent) : QObject(parent)
{
    QCoreApplication::instance()->installEventFilter(this);
}

TWheelInput::~TWheelInput() = default;

bool TWheelInput::Turn(int steps)
{
    if (Offer([steps](ZRA::MMICapableWidget& widget) { return widget.OnWheelTurned(steps); })) {
        return true;
    }
    const QWidget* const window = CurrentWindow();
    return window != nullptr && MoveFocus(*window, steps, true);
}

bool TWheelInput::Press()
{
    if (Offer([](ZRA::MMICapableWidget& widget) { return widget.OnWheelPressed(); })) {
        return true;
    }
    auto* const button = qobject_cast<QAbstractButton*>(CurrentWidget());
    if (button != nullptr && button->isEnabled()) {
        button->click();
    }
    return button != nullptr;
}

bool TWheelInput::Back()
{
    return Offer([](ZRA::MMICapableWidget& widget) { return widget.OnBackPressed(); });
}

// Qt sends a key that a widget ignores to the parent widgets too. Only the event of the focused
// widget is handled.
bool TWheelInput::eventFilter(QObject* watched, QEvent* event)
{
    const bool isPress = event->type() == QEvent::KeyPress;
    if ((!isPress && event->type() != QEvent::KeyRelease) || watched != CurrentWidget() ||
        IsForeignList()) {
        return QObject::eventFilter(watched, event);
    }
    const auto& key = static_cast<const QKeyEvent&>(*event);
    return isPress ? OnKeyPressed(key) : OnKeyReleased(key);
}

bool TWheelInput::OnKeyPressed(const QKeyEvent& event)
{
    switch (UseOf(event)) {
    case EKeyUse::eStepForward:
        return Turn(1);
    case EKeyUse::eStepBackward:
        return Turn(-1);
    case EKeyUse::eBack:
        return Back();
    case EKeyUse::ePress:
        if (!event.isAutoRepeat()) {
            m_heldKey = event.key();
            m_hasGoneBack = false;
        } else if (m_heldKey == event.key() && !m_hasGoneBack) {
            m_hasGoneBack = true;
            Back();
        }
        return true;
    case EKeyUse::eNone:
        break;
    }
    return false;
}

bool TWheelInput::OnKeyReleased(const QKeyEvent& event)
{
    if (UseOf(event) != EKeyUse::ePress) {
        return UseOf(event) != EKeyUse::eNone;
    }
    if (!event.isAutoRepeat() && m_heldKey == event.key()) {
        m_heldKey = 0;
        if (!m_hasGoneBack) {
            Press();
        }
    }
    return true;
}

} // namespace hostimpl
