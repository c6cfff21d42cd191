// A window that comes up over the screens until it is answered.
#pragma once

#include "host/HostExport.h"
#include "host/MMICapableWidget.h"

#include <QtCore/QString>
#include <QtWidgets/QWidget>

// A window of its own: it stays its parent's child and can be a member of it. Main thread.
class CONSOLEHOST_EXPORT TPopupWindow : public QWidget, public ZRA::MMICapableWidget
{
    Q_OBJECT

public:
    explicit TPopupWindow(QWidget* parent = nullptr);
    ~TPopupWindow() override;

    // Shows the window over all others; nothing happens if it is shown already. `isModal`: nothing
    // else can be worked with meanwhile. Returns at once.
    void ShowWindow(bool isModal);
    void CloseWindow();

    bool OnWheelTurned(int steps) override;
    bool OnWheelPressed() override;

Q_SIGNALS:
    void Closed();
};
