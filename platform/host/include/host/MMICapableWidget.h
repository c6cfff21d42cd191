// A widget that can be worked with a rotary wheel and one button, without touching it.
#pragma once

#include "host/HostExport.h"

class QWidget;

namespace ZRA {

// The window manager turns the wheel's steps and the button into these calls, on the widget that
// has the focus or, where that is none, on the ones around it. Main thread. Each answers whether
// the step was used; if not, it goes on to the widget around.
class CONSOLEHOST_EXPORT MMICapableWidget
{
public:
    virtual ~MMICapableWidget();

    // `steps` of the wheel, clockwise is positive: on to the next part, or the value's next one.
    virtual bool OnWheelTurned(int steps);
    virtual bool OnWheelPressed();
    virtual bool OnBackPressed();
};

} // namespace ZRA
