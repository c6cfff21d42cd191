// The console's features according to the configuration at its start.
#pragma once

#include "host/ConfigManager.h"
#include "host/TAppFeatures.h"

namespace hostimpl {

class CONSOLEHOST_EXPORT TCharacteristics final : public TConsoleCharacteristics
{
public:
    TCharacteristics(const QString& ethernetName, const QString& consoleString);
    ~TCharacteristics() override;

    QString GetEthernetName() const override { return m_ethernetName; }
    QString GetConsoleString() const override { return m_consoleString; }

private:
    const QString m_ethernetName;
    const QString m_consoleString;
};

// From any thread; never changes.
class CONSOLEHOST_EXPORT TFeatures final : public TAppFeatures
{
public:
    explicit TFeatures(const ConfigManager& settings);
    ~TFeatures() override;

    const TConsoleCharacteristics& GetConsoleCharacteristics() const override
    {
        return m_characteristics;
    }

private:
    const TCharacteristics m_characteristics;
};

// The system's first wired interface, or "eth0" if there is none.
CONSOLEHOST_EXPORT QString FindEthernetName();

} // namespace hostimpl
