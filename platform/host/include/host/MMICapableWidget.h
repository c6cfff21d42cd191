// A widget that the operator can use with a rotary wheel and one button, without touching it.
#pragma once

#include "host/HostExport.h"

class QWidget;

namespace ZRA {

// The window manager turns the wheel's steps and the button into these calls. The first call goes
// to the widget that has the focus. A function returns true if the widget used the input. If it
// returns false, or if the widget is no MMICapableWidget, the parent widget is called next. Main
// thread.
class CONSOLEHOST_EXPORT MMICapableWidget
{
public:
    virtual ~MMICapableWidget();

    // `steps` of the wheel; clockwise is positive and leads to the next part or the next value.
    virtual bool OnWheelTurned(int steps);
    virtual bool OnWheelPressed();
    virtual bool OnBackPressed();
};

} // namespace ZRA
