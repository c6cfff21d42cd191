// A window that is shown over the screens until the operator answers it.
#pragma once

#include "host/HostExport.h"
#include "host/MMICapableWidget.h"

#include <QtCore/QPointer>
#include <QtCore/QSize>
#include <QtCore/QString>
#include <QtWidgets/QWidget>

// A popup is shown inside the window of its parent, over the screen that its parent is part of, or
// over the whole window. It can be a member of its parent. While it is shown, its parentWidget() is
// a part of the window. If no window is visible, the popup becomes a separate window. Main thread.
class CONSOLEHOST_EXPORT TPopupWindow : public QWidget, public ZRA::MMICapableWidget
{
    Q_OBJECT

public:
    explicit TPopupWindow(QWidget* parent = nullptr);
    ~TPopupWindow() override;

    // Shows the popup and returns at once. With `isModal` the operator can use nothing else of the
    // screen until the popup closes. If the popup is shown already, it is only raised.
    void ShowWindow(bool isModal);
    void CloseWindow();

    bool OnWheelTurned(int steps) override;
    bool OnWheelPressed() override;
    bool OnBackPressed() override;
    bool eventFilter(QObject* watched, QEvent* event) override;

Q_SIGNALS:
    // The popup was shown and is hidden now.
    void Closed();

protected:
    // The size of this popup over a screen of the size `available`.
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
    QPointer<QWidget> m_host; // what the popup is placed over while it is shown
    int m_showCount = 0;
};
