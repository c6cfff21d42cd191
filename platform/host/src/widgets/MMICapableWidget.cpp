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
