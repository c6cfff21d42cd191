// The console's one window: launcher, main area, mini views, status bar.
#pragma once

#include "host/MMICapableWidget.h"

#include <QtCore/QHash>
#include <QtWidgets/QWidget>

#include <functional>

class QLabel;
class QStackedWidget;

namespace console {

class TFocusKeeper;
class THomePage;
class TLauncherBar;
class TLinkBanner;
class TMiniViewDock;
class TPage;
class TStatusBar;

//   ┌────────┬──────────────────────────────┐
//   │        │ banner, if the link failed   │
//   │launcher├─────────────────────┬────────┤
//   │        │ main area: home or  │ mini   │
//   │        │ one page            │ views  │
//   ├────────┴─────────────────────┴────────┤
//   │ status bar                            │
//   ├ ─ ─ ─ ─ ─ ─ ─ ─ ─ ─ ─ ─ ─ ─ ─ ─ ─ ─ ─ ┤
//   │ on-screen keyboard, while it is used  │
//   └───────────────────────────────────────┘
//
// In a narrow window an open page also takes the place of the mini views; then the mini views are
// on the home page.
//
// Thread: main. Ownership: the window does not own the contents of pages. The caller of AddPage()
// calls RemovePage().
class TMainWindow : public QWidget, public ZRA::MMICapableWidget
{
    Q_OBJECT

public:
    static constexpr int wideEnough = 1100; // pixels, for a page beside the mini views

    explicit TMainWindow(QWidget* parent = nullptr);
    ~TMainWindow() override;

    TLauncherBar& Launcher() { return *m_launcher; }
    TMiniViewDock& Dock() { return *m_dock; }
    TStatusBar& Status() { return *m_status; }
    TLinkBanner& Banner() { return *m_banner; }
    THomePage& Home() { return *m_home; }

    void AddPage(QWidget* content, const QString& title);
    void SetPageTitle(QWidget* content, const QString& title);
    // Removes the page; the content has no parent then. If the page is shown, home is shown. Does
    // nothing for an unknown content.
    void RemovePage(QWidget* content);
    bool HasPage(QWidget* content) const { return m_pages.contains(content); }
    // Null means home. The focus goes to the page.
    void ShowPage(QWidget* content);
    QWidget* CurrentPage() const { return m_current; }
    // `mayLeave` is asked before ShowPage() leaves the current page for another; it gets the other
    // content, null for home. If it returns false, the current page stays. Empty: always true.
    void SetLeaveCheck(std::function<bool(QWidget* next)> mayLeave);

    // Shows the keyboard at the bottom while it is visible. The window owns it. Call it once.
    void SetKeyboard(QWidget* keyboard);

    // Makes the window at most as large as `available`, in pixels. If no title bar fits above the
    // window, the window has no title bar and lies in the upper left corner. Call it before show().
    void FitInto(const QRect& available);

    // Covers the window with a text that the console is ending.
    void ShowEnding();

    // Goes home. The focused widget handles the wheel and its button.
    bool OnBackPressed() override;
    bool eventFilter(QObject* watched, QEvent* event) override;

Q_SIGNALS:
    // The operator closes the console. The window stays until it is destroyed.
    void CloseRequested();
    void FullScreenChanged(bool isFullScreen);

protected:
    bool focusNextPrevChild(bool isNext) override;
    void closeEvent(QCloseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void ArrangeDock();
    // Puts the focus on the page, or on the mini views of the home page.
    void FocusContent();
    void Forget(QObject* content);

    TLauncherBar* m_launcher;
    TLinkBanner* m_banner;
    QStackedWidget* m_area;
    THomePage* m_home;
    TMiniViewDock* m_dock;
    TStatusBar* m_status;
    TFocusKeeper* m_focus;
    QLabel* m_ending = nullptr;
    QHash<QObject*, TPage*> m_pages; // by content
    QWidget* m_current = nullptr;
    std::function<bool(QWidget*)> m_mayLeave;
};

} // namespace console
