// The controls that the operator may use according to the configuration.
#pragma once

#include "host/ConfigManager.h"
#include "host/TAppUserLevels.h"

namespace hostimpl {

// A control is accessible unless it was denied. Main thread. `settings` must outlive the object.
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
