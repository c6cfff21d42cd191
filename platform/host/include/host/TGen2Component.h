// Base of everything that the host starts and stops in phases.
#pragma once

#include "host/HostExport.h"

// A component of the console. The host calls the phases on the main thread, in the order in which
// they are declared; each is called at most once a life. Slot order is part of the contract.
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
