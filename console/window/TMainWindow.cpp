#include "console/window/TMainWindow.h"

#include "console/settings/Scrolling.h"
#include "console/window/TFocusKeeper.h"
#include "console/window/THomePage.h"
#include "console/window/TIconButton.h"
#include "console/window/TLauncherBar.h"
#include "console/window/TLinkBanner.h"
#include "console/window/TMiniViewDock.h"
#include "console/window/TPage.h"
#include "console/window/TStatusBar.h"
#include "hostimpl/FocusOrder.h"
#include "hostimpl/Theme.h"

#include <QtCore/QTimer>
#include <QtGui/QCloseEvent>
#include <QtGui/QKeyEvent>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QStackedWidget>
#include <QtWidgets/QVBoxLayout>

#include <utility>

namespace {

constexpr QSize defaultSize(1280, 800);
constexpr QSize leastSize(800, 480);
constexpr int endingPixels = 48;
constexpr int titleBarPixels = 48; // more than common window managers use

} // namespace

namespace console {

TMainWindow::TMainWindow(QWidget* parent)
    : QWidget(parent),
      m_launcher(new TLauncherBar),
      m_banner(new TLinkBanner),
      m_area(new QStackedWidget),
      m_home(new THomePage),
      m_dock(new TMiniViewDock),
      m_status(new TStatusBar),
      m_focus(new TFocusKeeper(this))
{
    setWindowTitle(QStringLiteral("KELVO"));
    setMinimumSize(leastSize);
    resize(defaultSize);
    m_area->addWidget(m_home);

    auto* const views = new QHBoxLayout;
    views->addWidget(m_area, 1);
    views->addWidget(m_dock);
    auto* const right = new QVBoxLayout;
    right->setSpacing(0);
    right->addWidget(m_banner);
    right->addLayout(views, 1);
    auto* const upper = new QHBoxLayout;
    upper->setSpacing(0);
    upper->addWidget(m_launcher);
    upper->addLayout(right, 1);
    auto* const all = new QVBoxLayout(this);
    all->setContentsMargins(0, 0, 0, 0);
    all->setSpacing(0);
    all->addLayout(upper, 1);
    all->addWidget(m_status);
    ArrangeDock();

    connect(m_dock, &TMiniViewDock::Changed, this, &TMainWindow::ArrangeDock);
    connect(m_launcher, &TLauncherBar::OpenHome, this, [this] { ShowPage(nullptr); });
}

TMainWindow::~TMainWindow()
{
    disconnect(m_dock, nullptr, this, nullptr);
    for (auto entry = m_pages.cbegin(); entry != m_pages.cend(); ++entry) {
        disconnect(entry.key(), nullptr, this, nullptr);
        entry.value()->Release();
    }
}

void TMainWindow::AddPage(QWidget* content, const QString& title)
{
    if (HasPage(content)) {
        SetPageTitle(content, title);
        return;
    }
    auto* const page = new TPage(content, title);
    m_pages.insert(content, page);
    m_area->addWidget(page);
    connect(content, &QObject::destroyed, this, &TMainWindow::Forget);
}

void TMainWindow::SetPageTitle(QWidget* content, const QString& title)
{
    if (TPage* const page = m_pages.value(content)) {
        page->SetTitle(title);
    }
}

void TMainWindow::RemovePage(QWidget* content)
{
    if (TPage* const page = m_pages.value(content)) {
        disconnect(content, &QObject::destroyed, this, nullptr);
        page->Release();
        Forget(content);
    }
}

// `content` may be half destroyed: only its address is used. It is still a child of the page, so
// the page is deleted later.
void TMainWindow::Forget(QObject* content)
{
    if (m_current == content) {
        ShowPage(nullptr);
    }
    if (TPage* const page = m_pages.take(content)) {
        m_area->removeWidget(page);
        page->hide();
        page->deleteLater();
    }
}

void TMainWindow::SetLeaveCheck(std::function<bool(QWidget* next)> mayLeave)
{
    m_mayLeave = std::move(mayLeave);
}

void TMainWindow::ShowPage(QWidget* content)
{
    if (content != m_current && m_current != nullptr && m_mayLeave && !m_mayLeave(content)) {
        m_launcher->SetCurrentPage(m_current); // its touched button is released
        return;
    }
    TPage* const page = m_pages.value(content);
    m_current = page == nullptr ? nullptr : content;
    m_area->setCurrentWidget(page == nullptr ? static_cast<QWidget*>(m_home) : page);
    m_launcher->SetCurrentPage(m_current);
    ArrangeDock();
    FocusContent();
}

void TMainWindow::FocusContent()
{
    QWidget* const content = m_current == nullptr && m_dock->isVisible()
                                 ? static_cast<QWidget*>(m_dock)
                                 : m_area->currentWidget();
    if (content->isVisible()) {
        hostimpl::FocusNear(*content, *content);
    }
}

// Called for the tab key, and if the focused widget is disabled or hidden.
bool TMainWindow::focusNextPrevChild(bool isNext)
{
    QWidget* const focus = focusWidget();
    if (focus == nullptr || (focus->isVisible() && focus->isEnabled())) {
        hostimpl::MoveFocus(*this, isNext ? 1 : -1, true);
        return true;
    }
    QWidget* region = focus;
    while (region != this && region != m_dock && region != m_launcher &&
           region->parentWidget() != m_area) {
        region = region->parentWidget();
    }
    m_focus->Keep(*focus, region->isVisible() ? *region : *this);
    return true;
}

void TMainWindow::SetKeyboard(QWidget* keyboard)
{
    layout()->addWidget(keyboard);
    keyboard->installEventFilter(this);
}

// The keyboard takes place: the focused entry must stay visible, and the status bar is hidden.
bool TMainWindow::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Show || event->type() == QEvent::Hide) {
        m_status->setVisible(event->type() == QEvent::Hide);
        QTimer::singleShot(0, this, [this] { ScrollTo(focusWidget()); }); // after the layout
    }
    return QWidget::eventFilter(watched, event);
}

void TMainWindow::FitInto(const QRect& available)
{
    resize(size().boundedTo(available.size()));
    if (height() + titleBarPixels > available.height()) {
        setWindowFlag(Qt::FramelessWindowHint);
        move(available.topLeft());
    }
}

void TMainWindow::ShowEnding()
{
    if (m_ending == nullptr) {
        m_ending = new QLabel(tr("Ending..."), this);
        m_ending->setAlignment(Qt::AlignCenter);
        m_ending->setAutoFillBackground(true);
        m_ending->setFont(hostimpl::ThemeFont(endingPixels));
    }
    m_ending->setGeometry(rect());
    m_ending->show();
    m_ending->raise();
    // The next step may block this thread.
    repaint();
    m_ending->repaint();
}

bool TMainWindow::OnBackPressed()
{
    const bool isAway = m_current != nullptr;
    ShowPage(nullptr);
    return isAway;
}

void TMainWindow::closeEvent(QCloseEvent* event)
{
    event->ignore();
    Q_EMIT CloseRequested();
}

void TMainWindow::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    ArrangeDock();
    if (m_ending != nullptr) {
        m_ending->setGeometry(rect());
    }
}

void TMainWindow::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_F11) {
        setWindowState(windowState() ^ Qt::WindowFullScreen);
        Q_EMIT FullScreenChanged(isFullScreen());
    } else if (event->matches(QKeySequence::Quit)) {
        Q_EMIT CloseRequested();
    } else {
        QWidget::keyPressEvent(event);
    }
}

void TMainWindow::ArrangeDock()
{
    const bool hasRoom = m_current == nullptr || width() >= wideEnough;
    const bool wasVisible = m_dock->isVisible();
    m_dock->setVisible(hasRoom && !m_dock->IsEmpty());
    const QWidget* const focus = focusWidget();
    const bool isIdle = focus == nullptr || focus == m_launcher->HomeButton();
    if (m_dock->isVisible() && !wasVisible && isIdle) {
        FocusContent(); // the operator begins at the first mini view
    }
}

} // namespace console
