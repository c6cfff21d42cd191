#include "host/TPopupWindow.h"

#include "hostimpl/FocusOrder.h"
#include "hostimpl/Theme.h"
#include "widgets/TPopupLayer.h"

#include <QtCore/QEvent>
#include <QtGui/QCloseEvent>
#include <QtGui/QGuiApplication>
#include <QtGui/QInputMethod>
#include <QtGui/QKeyEvent>
#include <QtGui/QPainter>
#include <QtGui/QScreen>

using hostimpl::TPopupLayer;

TPopupWindow::TPopupWindow(QWidget* parent) : QWidget(parent, Qt::Dialog | Qt::FramelessWindowHint)
{
    setAttribute(Qt::WA_OpaquePaintEvent); // else each change also paints the page below
}

TPopupWindow::~TPopupWindow()
{
    if (const QPointer<TPopupLayer> layer = TPopupLayer::Of(*this)) {
        layer->Close();
        delete layer.data();
    }
}

void TPopupWindow::ShowWindow(bool isModal)
{
    ++m_showCount;
    if (isHidden()) {
        m_host = hostimpl::AreaFor(*this);
        if (m_host.isNull()) {
            setParent(parentWidget(), Qt::Dialog | Qt::FramelessWindowHint);
            setWindowModality(isModal ? Qt::ApplicationModal : Qt::NonModal);
        } else {
            m_host->installEventFilter(this);
            if (windowHandle() != nullptr) {
                destroy(); // the popup was a separate window before
            }
            (new TPopupLayer(*m_host, *this, isModal))->show();
        }
        show();
        if (isVisible()) { // the on-screen keyboard is not needed for an answer
            QGuiApplication::inputMethod()->hide();
        }
    }
    if (TPopupLayer* const layer = TPopupLayer::Of(*this)) {
        layer->Raise();
        layer->TakeFocus();
    } else {
        raise();
        activateWindow();
    }
}

void TPopupWindow::CloseWindow()
{
    if (isHidden()) {
        return;
    }
    if (!m_host.isNull()) {
        m_host->removeEventFilter(this);
    }
    if (TPopupLayer* const layer = TPopupLayer::Of(*this)) {
        layer->Close();
    } else {
        hide();
    }
    Q_EMIT Closed();
}

// At the ends the focus leaves the popup, if there is another place for the focus in the window.
bool TPopupWindow::OnWheelTurned(int steps)
{
    return hostimpl::MoveFocus(*this, steps, isWindow()) || isWindow();
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
    if (watched == m_host.data() && event->type() == QEvent::Resize && !isHidden()) {
        Place();
    }
    return QWidget::eventFilter(watched, event);
}

QSize TPopupWindow::SizeWithin(const QSize& available) const
{
    return sizeHint().expandedTo(minimumSizeHint()).boundedTo(available);
}

void TPopupWindow::Place()
{
    if (TPopupLayer* const layer = TPopupLayer::Of(*this)) {
        layer->Arrange(SizeWithin(layer->Area().size()));
        return;
    }
    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
    QRect place(QPoint(0, 0), SizeWithin(screen.size()));
    place.moveCenter(screen.center());
    setGeometry(place);
}

void TPopupWindow::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    Place();
    if (TPopupLayer* const layer = TPopupLayer::Of(*this)) {
        layer->TakeFocus();
    } else if (focusWidget() == nullptr) {
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
