// What sets one model of console apart from another.
#pragma once

#include "host/HostExport.h"

#include <QtCore/QString>

// From any thread; never changes.
class CONSOLEHOST_EXPORT TConsoleCharacteristics
{
public:
    virtual ~TConsoleCharacteristics();

    // Name of the wired network interface, such as "eth0".
    virtual QString GetEthernetName() const = 0;
    // What the console calls itself towards a service.
    virtual QString GetConsoleString() const = 0;
};
