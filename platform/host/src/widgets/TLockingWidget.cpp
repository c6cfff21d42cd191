// A widget that can be locked against changes while its content stays readable.
#include "host/TLockingWidget.h"

TLockingWidget::~TLockingWidget() = default;

void TLockingWidget::SetLocked(bool isLocked)
{
    m_isLocked = isLocked;
}
