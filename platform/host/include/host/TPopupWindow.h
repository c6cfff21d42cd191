// A window that is shown over the screens until the operator answers it.
#pragma once

#include "host/HostExport.h"
#include "host/MMICapableWidget.h"

#include <QtCore/QPointer>
#include <QtCore/QSize>
#include <QtCore/QString>
#include <QtWidgets/QWidget>

// A top-level window that stays its parent's child and can be a member of its parent. Main thread.
class CONSOLEHOST_EXPORT TPopupWindow : public QWidget, public ZRA::MMICapableWidget
{
    Q_OBJECT

public:
    explicit TPopupWindow(QWidget* parent = nullptr);
    ~TPopupWindow() override;

    // Shows the window over all others and returns at once. With `isModal` the operator can use
    // nothing else until the window closes. If the window is shown already, it is only raised.
    void ShowWindow(bool isModal);
    void CloseWindow();

    bool OnWheelTurned(int steps) override;
    bool OnWheelPressed() override;
    bool OnBackPressed() override;
    bool eventFilter(QObject* watched, QEvent* event) override;

Q_SIGNALS:
    // The window was shown and is hidden now.
    void Closed();

protected:
    // The size of this window over a window or a screen of the size `available`.
    virtual QSize SizeWithin(const QSize& available) const;
    // Computes size and position again, after the content has changed.
    void Place();
    // How often ShowWindow() was called so far.
    int ShowCount() const { return m_showCount; }

    void showEvent(QShowEvent* event) override;
    // A close from outside (window system, QWidget::close()) does the same as Back.
    void closeEvent(QCloseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    QWidget* Host() const;

    QPointer<QWidget> m_host; // the window that this one is placed over while it is shown
    int m_showCount = 0;
};
