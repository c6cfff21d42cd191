// The features of the console that the application runs on.
#pragma once

#include "host/HostExport.h"
#include "host/TConsoleCharacteristics.h"

// From any thread; never changes.
class CONSOLEHOST_EXPORT TAppFeatures
{
public:
    virtual ~TAppFeatures();

    virtual const TConsoleCharacteristics& GetConsoleCharacteristics() const = 0;
};
