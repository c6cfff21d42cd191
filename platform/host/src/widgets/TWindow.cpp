#include "host/TWindow.h"

#include "hostimpl/FocusOrder.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QEvent>

TWindow::TWindow(QWidget* parent) : QWidget(parent) {}

TWindow::~TWindow() = default;

void TWindow::Setup() {}

void TWindow::SetTitle(const QString& title)
{
    m_title = title;
    setWindowTitle(title);
}

bool TWindow::OnWheelTurned(int steps)
{
    return hostimpl::MoveFocus(*this, steps, false);
}

bool TWindow::OnWheelPressed()
{
    return false;
}

// The widgets inside ask IsLockedAround() when they get a ReadOnlyChange event.
void TWindow::SetLocked(bool isLocked)
{
    if (isLocked == IsLocked()) {
        return;
    }
    TLockingWidget::SetLocked(isLocked);
    const QList<QWidget*> inside = findChildren<QWidget*>();
    for (QWidget* const widget : inside) {
        QEvent event(QEvent::ReadOnlyChange);
        QCoreApplication::sendEvent(widget, &event);
        widget->update();
    }
}

void TWindow::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
}
