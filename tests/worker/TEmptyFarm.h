// A farm with one user and nothing else.
#pragma once

#include "tests/worker/TWorkerFixture.h"

// A worker on a farm without inboxes.
class TEmptyFarm : public TWorkerFixture
{
public:
    TEmptyFarm()
    {
        Sdk().Reset();
        userId = Farm().AddUser(L"olga", L"secret");
    }
};
