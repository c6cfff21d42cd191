// The properties in which models of consoles differ.
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
    // The name that the console sends to a service.
    virtual QString GetConsoleString() const = 0;
};
