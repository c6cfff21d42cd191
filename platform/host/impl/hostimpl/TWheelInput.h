// Turns keys into the steps of the wheel and the presses of its button.
#pragma once

#include "host/HostExport.h"

#include <QtCore/QObject>

class QKeyEvent;
class QWidget;

namespace hostimpl {

// Listens to the whole application while it lives. Down and Up are a step of the wheel forth and
// back, Return, Enter and Select press the button, Escape and Back go back; the button held down
// goes back too, so that a wheel with one button is enough. What no widget uses moves the focus on
// in the window, round and round. Main thread; may be made after the application object only.
class CONSOLEHOST_EXPORT TWheelInput : public QObject
{
    Q_OBJECT

public:
    explicit TWheelInput(QObject* parent = nullptr);
    ~TWheelInput() override;

    // For sources other than the keyboard. Each answers whether somebody used it.
    bool Turn(int steps);
    bool Press();
    bool Back();

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    bool OnKeyPressed(const QKeyEvent& event);
    bool OnKeyReleased(const QKeyEvent& event);

    int m_heldKey = 0;          // the button's key while it is down
    bool m_hasGoneBack = false; // by holding it
};

} // namespace hostimpl
