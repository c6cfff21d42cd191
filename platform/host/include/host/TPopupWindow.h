// A window that comes up over the screens until it is answered.
#pragma once

#include "host/HostExport.h"
#include "host/MMICapableWidget.h"

#include <QtCore/QPointer>
#include <QtCore/QSize>
#include <QtCore/QString>
#include <QtWidgets/QWidget>

// A window of its own: it stays its parent's child and can be a member of it. Main thread.
class CONSOLEHOST_EXPORT TPopupWindow : public QWidget, public ZRA::MMICapableWidget
{
    Q_OBJECT

public:
    explicit TPopupWindow(QWidget* parent = nullptr);
    ~TPopupWindow() override;

    // Shows the window over all others; one that is shown already comes to the front and stays as
    // it is. `isModal`: nothing else can be worked with meanwhile. Returns at once.
    void ShowWindow(bool isModal);
    void CloseWindow();

    bool OnWheelTurned(int steps) override;
    bool OnWheelPressed() override;
    bool OnBackPressed() override;
    bool eventFilter(QObject* watched, QEvent* event) override;

Q_SIGNALS:
    // It was shown and is no more.
    void Closed();

protected:
    // The size it takes over a window, or a screen, of the size given.
    virtual QSize SizeWithin(const QSize& available) const;
    // Again at its place, after its content has changed.
    void Place();
    // How often it was asked to show itself so far.
    int ShowCount() const { return m_showCount; }

    void showEvent(QShowEvent* event) override;
    // Asked to close from outside, it does what Back does.
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    QWidget* Host() const;

    QPointer<QWidget> m_host; // what it is placed over while it is shown
    int m_showCount = 0;
};
