// Base of the objects that the host starts and stops in phases.
#pragma once

#include "host/HostExport.h"

// A component of the console. The host calls the phases on the main thread, in the order in which
// they are declared, and each phase at most once. The order of the virtual functions is part of the
// contract.
class CONSOLEHOST_EXPORT TGen2Component
{
public:
    TGen2Component() = default;
    TGen2Component(const TGen2Component&) = delete;
    TGen2Component& operator=(const TGen2Component&) = delete;

    virtual ~TGen2Component();

    virtual void PreInitialise();
    virtual void Initialise();
    virtual void PostInitialise();
    virtual void InitialiseSettings();
    virtual void Finalise();
};
