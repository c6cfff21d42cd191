// Turns keys into wheel steps and button presses.
#pragma once

#include "host/HostExport.h"

#include <QtCore/QObject>

class QKeyEvent;
class QWidget;

namespace hostimpl {

// Filters the key events of the whole application.
// - Down and Up are a wheel step forward and backward.
// - Return, Enter and Select press the button.
// - Escape, Back and a long press of the button go back. Therefore a wheel with one button is
//   enough.
// If no widget uses a wheel step, the step moves the focus in the window; the last widget is
// followed by the first. Main thread. The application object must exist before this object.
class CONSOLEHOST_EXPORT TWheelInput : public QObject
{
    Q_OBJECT

public:
    explicit TWheelInput(QObject* parent = nullptr);
    ~TWheelInput() override;

    // For sources other than the keyboard. The functions return true if a widget used the input.
    bool Turn(int steps);
    bool Press();
    bool Back();

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool OnKeyPressed(const QKeyEvent& event);
    bool OnKeyReleased(const QKeyEvent& event);

    int m_heldKey = 0;          // the button's key while it is down
    bool m_hasGoneBack = false; // by a long press of the button
};

} // namespace hostimpl
