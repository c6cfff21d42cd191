// A widget that can be worked with a rotary wheel and one button, without touching it.
#include "host/MMICapableWidget.h"

namespace ZRA {

MMICapableWidget::~MMICapableWidget() = default;

bool MMICapableWidget::OnWheelTurned(int)
{
    return false;
}

bool MMICapableWidget::OnWheelPressed()
{
    return false;
}

bool MMICapableWidget::OnBackPressed()
{
    return false;
}

} // namespace ZRA
