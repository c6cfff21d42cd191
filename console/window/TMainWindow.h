// The console's one window: launcher, main area, mini views, status bar.
#pragma once

#include "host/MMICapableWidget.h"

#include <QtCore/QHash>
#include <QtWidgets/QWidget>

class QLabel;
class QStackedWidget;

namespace console {

class THomePage;
class TLauncherBar;
class TLinkBanner;
class TMiniViewDock;
class TPage;
class TStatusBar;

//   ┌────────┬──────────────────────────────┐
//   │        │ banner, when there is no link│
//   │launcher├─────────────────────┬────────┤
//   │        │ main area: home or  │ mini   │
//   │        │ one page            │ views  │
//   ├────────┴─────────────────────┴────────┤
//   │ status bar                            │
//   ├ ─ ─ ─ ─ ─ ─ ─ ─ ─ ─ ─ ─ ─ ─ ─ ─ ─ ─ ─ ┤
//   │ on-screen keyboard, while one is used │
//   └───────────────────────────────────────┘
//
// In a narrow window an open page has the mini views' room too; they are at home then.
//
// Thread: main. Ownership: pages' contents are not its own: whoever added one removes it.
class TMainWindow : public QWidget, public ZRA::MMICapableWidget
{
    Q_OBJECT

public:
    static constexpr int wideEnough = 1100; // for a page and the mini views side by side, pixels

    explicit TMainWindow(QWidget* parent = nullptr);
    ~TMainWindow() override;

    TLauncherBar& Launcher() { return *m_launcher; }
    TMiniViewDock& Dock() { return *m_dock; }
    TStatusBar& Status() { return *m_status; }
    TLinkBanner& Banner() { return *m_banner; }
    THomePage& Home() { return *m_home; }

    void AddPage(QWidget* content, const QString& title);
    void SetPageTitle(QWidget* content, const QString& title);
    // Goes home if the page is open. Gives the content back without a parent. Nothing happens for
    // one that is not there.
    void RemovePage(QWidget* content);
    bool HasPage(QWidget* content) const { return m_pages.contains(content); }
    // Null means home.
    void ShowPage(QWidget* content);
    QWidget* CurrentPage() const { return m_current; }

    // Goes below everything else while it is visible; becomes the window's. Once a life.
    void SetKeyboard(QWidget* keyboard);

    // Covers everything with a word that the console is ending.
    void ShowEnding();

    // Home; the wheel and its button are the focused widget's.
    bool OnBackPressed() override;
    bool eventFilter(QObject* watched, QEvent* event) override;

Q_SIGNALS:
    // The operator wants the console to end; the window stays until it is destroyed.
    void CloseWanted();
    void FullScreenChanged(bool isFullScreen);

protected:
    void closeEvent(QCloseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    void ArrangeDock();
    void Forget(QObject* content);

    TLauncherBar* m_launcher;
    TLinkBanner* m_banner;
    QStackedWidget* m_area;
    THomePage* m_home;
    TMiniViewDock* m_dock;
    TStatusBar* m_status;
    QLabel* m_ending = nullptr;
    QHash<QObject*, TPage*> m_pages; // by content
    QWidget* m_current = nullptr;
};

} // namespace console
