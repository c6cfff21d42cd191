#include "host/TLockingWidget.h"

TLockingWidget::~TLockingWidget() = default;

void TLockingWidget::SetLocked(bool isLocked)
{
    m_isLocked = isLocked;
}
