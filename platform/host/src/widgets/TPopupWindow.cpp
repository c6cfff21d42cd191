#include "host/TPopupWindow.h"

#include "hostimpl/FocusOrder.h"
#include "hostimpl/PopupHost.h"
#include "hostimpl/Theme.h"

#include <QtCore/QEvent>
#include <QtGui/QCloseEvent>
#include <QtGui/QGuiApplication>
#include <QtGui/QInputMethod>
#include <QtGui/QKeyEvent>
#include <QtGui/QPainter>
#include <QtGui/QScreen>
#include <QtWidgets/QApplication>

namespace hostimpl {

namespace {

// A static object of the function, so that no order of static constructors is needed.
QPointer<QWidget>& HostWindow()
{
    static QPointer<QWidget> window;
    return window;
}

} // namespace

void SetPopupHost(QWidget* window)
{
    HostWindow() = window;
}

QWidget* PopupHost()
{
    return HostWindow().data();
}

} // namespace hostimpl

TPopupWindow::TPopupWindow(QWidget* parent) : QWidget(parent, Qt::Dialog | Qt::FramelessWindowHint)
{}

TPopupWindow::~TPopupWindow() = default;

void TPopupWindow::ShowWindow(bool isModal)
{
    ++m_showCount;
    if (!isVisible()) {
        // The on-screen keyboard is not needed while a window asks for an answer.
        QGuiApplication::inputMethod()->hide();
        setWindowModality(isModal ? Qt::ApplicationModal : Qt::NonModal);
        m_host = Host();
        show();
    }
    raise();
    activateWindow();
}

void TPopupWindow::CloseWindow()
{
    if (!isVisible()) {
        return;
    }
    if (!m_host.isNull()) {
        m_host->removeEventFilter(this);
    }
    hide();
    Q_EMIT Closed();
}

bool TPopupWindow::OnWheelTurned(int steps)
{
    hostimpl::MoveFocus(*this, steps, true);
    return true;
}

bool TPopupWindow::OnWheelPressed()
{
    return false;
}

bool TPopupWindow::OnBackPressed()
{
    CloseWindow();
    return true;
}

bool TPopupWindow::eventFilter(QObject* watched, QEvent* event)
{
    const bool isPlaceChanged = event->type() == QEvent::Resize || event->type() == QEvent::Move;
    if (watched == m_host.data() && isPlaceChanged && isVisible()) {
        Place();
    }
    return QWidget::eventFilter(watched, event);
}

QSize TPopupWindow::SizeWithin(const QSize& available) const
{
    return sizeHint().expandedTo(minimumSizeHint()).boundedTo(available);
}

QWidget* TPopupWindow::Host() const
{
    const QWidget* const parent = parentWidget();
    QWidget* const candidates[] = {parent == nullptr ? nullptr : parent->window(),
                                   hostimpl::PopupHost(), QApplication::activeWindow()};
    for (QWidget* const candidate : candidates) {
        // A popup is no candidate: two popups would place themselves over each other in a loop.
        if (candidate != nullptr && candidate->isVisible() &&
            qobject_cast<const TPopupWindow*>(candidate) == nullptr) {
            return candidate;
        }
    }
    return nullptr;
}

void TPopupWindow::Place()
{
    QRect around = QGuiApplication::primaryScreen()->availableGeometry();
    if (!m_host.isNull()) {
        m_host->installEventFilter(this);
        around = QRect(m_host->mapToGlobal(QPoint(0, 0)), m_host->size());
    }
    QRect place(QPoint(0, 0), SizeWithin(around.size()));
    place.moveCenter(around.center());
    setGeometry(place);
}

void TPopupWindow::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    Place();
    if (focusWidget() == nullptr) {
        hostimpl::MoveFocus(*this, 1, true);
    }
}

void TPopupWindow::closeEvent(QCloseEvent* event)
{
    event->ignore();
    OnBackPressed();
}

void TPopupWindow::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Escape || event->key() == Qt::Key_Back) {
        OnBackPressed();
    } else {
        QWidget::keyPressEvent(event);
    }
}

void TPopupWindow::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.fillRect(rect(), hostimpl::ThemeColour(hostimpl::EColour::ePanel));
    painter.setPen(QPen(hostimpl::ThemeColour(hostimpl::EColour::eText), 3.0));
    painter.drawRect(rect().adjusted(1, 1, -2, -2));
}
