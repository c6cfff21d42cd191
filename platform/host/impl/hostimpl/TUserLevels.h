// What the operator may use, as the configuration has it.
#pragma once

#include "host/ConfigManager.h"
#include "host/TAppUserLevels.h"

namespace hostimpl {

// Everything is accessible that was not denied. Main thread. `settings` must outlive it.
class CONSOLEHOST_EXPORT TUserLevels final : public TAppUserLevels
{
public:
    explicit TUserLevels(ConfigManager& settings);
    ~TUserLevels() override;

    bool IsControlAccessible(EControl control) const override;
    // Persistent.
    void SetControlAccessible(EControl control, bool isAccessible);

private:
    ConfigManager& m_settings;
};

} // namespace hostimpl
