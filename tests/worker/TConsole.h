// A console with characteristics that the test sets.
#pragma once

#include "host/TAppFeatures.h"

#include <QtCore/QString>

// "lo" is used as the wired interface, because every system has it.
class TConsole final : public TAppFeatures, private TConsoleCharacteristics
{
public:
    explicit TConsole(const QString& text = QStringLiteral("Console"),
                      const QString& ethernet = QStringLiteral("lo"))
        : consoleString(text), ethernetName(ethernet)
    {}

    const TConsoleCharacteristics& GetConsoleCharacteristics() const override { return *this; }

    QString consoleString;
    QString ethernetName;

private:
    QString GetEthernetName() const override { return ethernetName; }
    QString GetConsoleString() const override { return consoleString; }
};
