// The controls that the signed-in operator may use.
#pragma once

#include "host/HostExport.h"

#include <cstdint>

// Main thread.
class CONSOLEHOST_EXPORT TAppUserLevels
{
public:
    // The numbers are the console's. Only controls that plug-ins ask for have names.
    enum EControl : std::int32_t {
        eKelvoControl = 168,
    };

    virtual ~TAppUserLevels();

    virtual bool IsControlAccessible(EControl control) const = 0;
};
