// The console's clock.
#pragma once

#include "host/HostExport.h"

#include <QtCore/QDateTime>

// From any thread.
class CONSOLEHOST_EXPORT TLocalTime
{
public:
    TLocalTime() = delete;

    // The current date and time in the console's time zone.
    static QDateTime currentDateTime();
};
