// A widget that can be locked against changes while its content stays readable.
#pragma once

#include "host/HostExport.h"

// Main thread.
class CONSOLEHOST_EXPORT TLockingWidget
{
public:
    virtual ~TLockingWidget();

    virtual void SetLocked(bool isLocked);
    bool IsLocked() const { return m_isLocked; }

private:
    bool m_isLocked = false;
};
